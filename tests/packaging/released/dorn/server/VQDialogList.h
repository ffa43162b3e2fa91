#ifndef DORN_SERVER_VQDIALOGLIST_H_
#define DORN_SERVER_VQDIALOGLIST_H_
#include <map>
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
class VQDialog;
class DORN_EXPORT VQDialogList {
 public:
  VQDialogList();
  virtual ~VQDialogList();
  VQDialogList(const VQDialogList&) = delete;
  VQDialogList& operator=(const VQDialogList&) = delete;
  bool Has(const KZString& name) const;
  VQDialog* Search(const KZString& name) const;
  void Add(const KZString& name, VQDialog* dialog);
  void Remove(const KZString& name);
  void RemoveBySession(const KZString& sid);
  std::map<KZString, VQDialog*> mDialogList;
};
#endif
