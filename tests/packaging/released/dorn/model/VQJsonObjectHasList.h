#include "dorn/model/VQJsonObject.h"
#ifndef DORN_MODEL_VQJSONOBJECTHASLIST_H_
#define DORN_MODEL_VQJSONOBJECTHASLIST_H_
#include <ostream>
#include <vector>
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
class DORN_EXPORT VQJsonObjectHasList : public VQJsonObject {
 public:
  VQJsonObjectHasList(const KZString& listkey, VQJsonObject* parent);
  VQJsonObjectHasList(const VQJsonObjectHasList& other);
  VQJsonObjectHasList& operator=(const VQJsonObjectHasList& other);
  ~VQJsonObjectHasList() override;
  bool HasGroup() override;
  bool AddObject(VQJsonObject* jo, int command) override;
  void OutJsonList(std::ostream& out, int& b) override;
  VQJsonObject* SearchName(const KZString& name) override;
  void ResetDirty() override;
  void SetDirtyDel(KZString name) override;
  void DeleteChild(const KZString& name);
  void DeleteChildAll();
  KZString mListKey;
  std::vector<VQJsonObject*> mObjectList;

 private:
  void ShareChildren();
  void ReleaseChild(VQJsonObject* child);
};
#endif
