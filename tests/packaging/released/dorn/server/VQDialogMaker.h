#ifndef DORN_SERVER_VQDIALOGMAKER_H_
#define DORN_SERVER_VQDIALOGMAKER_H_
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
class VQDialog;
class DORN_EXPORT VQDialogMaker {
 public:
  virtual ~VQDialogMaker();
  virtual const char* GetFilename(const KZString& name);
  virtual VQDialog* CreateDialog(const KZString& name);
  virtual const char* GetFilename(const KZString& name) const;
  virtual VQDialog* CreateDialog(const KZString& name) const;
};
#endif
