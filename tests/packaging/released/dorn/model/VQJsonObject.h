#ifndef DORN_MODEL_VQJSONOBJECT_H_
#define DORN_MODEL_VQJSONOBJECT_H_
#include <cstddef>
#include <map>
#include <new>
#include <ostream>
#include <set>
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/json/VQValue.h"
class JsonParser;
class DORN_EXPORT VQJsonObject {
 public:
  explicit VQJsonObject(VQJsonObject* parent);
  VQJsonObject(const VQJsonObject& other);
  VQJsonObject& operator=(const VQJsonObject& other);
  virtual ~VQJsonObject();
  virtual bool HasGroup();
  virtual bool AddObject(VQJsonObject* jo, int command);
  virtual void OutJson(std::ostream& out);
  virtual void OutJson(std::ostream& out, int& b);
  virtual void OutJsonMember(std::ostream& out, int& b);
  virtual void OutJsonDirtyMember(std::ostream& out, int& b, const KZString& sessionid);
  virtual void OutJsonList(std::ostream& out, int& b);
  virtual VQJsonObject* SearchName(const KZString& name);
  virtual VQJsonObject* SetValue(const KZString& key, VQValue value, int dirty,
                                 const KZString& sessionid);
  virtual bool Parse(JsonParser& jp, bool shard);
  virtual KZString GetJson();
  virtual VQJsonObject* SetValueByName(const KZString& key, VQValue value, const KZString& name,
                                       int dirty, const KZString& sessionid);
  virtual VQValue& GetValue(const KZString& key);
  virtual VQJsonObject* GetParent();
  virtual bool HasKey(const KZString& key);
  virtual void ResetDirty();
  virtual void SetDirtyDel(KZString name);
  void Delete(const KZString& point);
  void SetDirty(const KZString& key);
  bool IsDirty() const noexcept { return !mDirty.empty(); }
  void SetDirtyAdd();
  void ResetDirtyAdd();
  bool IsDirtyAdd() const noexcept { return mDirtyAdd; }
  void ResetDirtyDel();
  bool IsDirtyDel() const noexcept { return !mDirtyDel.empty(); }
  KZString& GetDirtyDel() noexcept { return mDirtyDel; }
  const std::map<KZString, VQValue>& GetObject() const noexcept { return mList; }
  operator const std::map<KZString, VQValue>&() const noexcept { return mList; }
  std::map<KZString, VQValue>::const_iterator KeyValueBegin() const noexcept {
    return mList.begin();
  }
  std::map<KZString, VQValue>::const_iterator KeyValueEnd() const noexcept { return mList.end(); }
  static void* operator new(std::size_t size);
  static void* operator new(std::size_t size, const std::nothrow_t& tag) noexcept;
  static void* operator new(std::size_t size, void* place) noexcept;
  static void operator delete(void* storage) noexcept;
  static void operator delete(void* storage, const std::nothrow_t& tag) noexcept;
  static void operator delete(void* storage, void* place) noexcept;
  int mDebugFlag;
  KZString mName;
  VQJsonObject* mParent;
  std::set<KZString> mDirty;
  bool mDirtyAdd;
  KZString mDirtyDel;
  std::map<KZString, VQValue> mList;

 private:
  friend class VQJsonObjectHasList;
  int mMoreOwners = 0;
  bool mWasAdded = false;
};
#include "dorn/model/VQJsonObjectHasList.h"
#include "dorn/model/VQJsonRadioButton.h"
#endif
