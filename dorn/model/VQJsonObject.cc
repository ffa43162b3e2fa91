#include "dorn/model/VQJsonObject.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "dorn/base/ShortCopy.h"
#include "dorn/model/ClassTags.h"
#include "dorn/model/Family.h"
#include "dorn/model/FreshAllocations.h"
#include "dorn/model/MemberText.h"
#include "dorn/model/TreeReader.h"
#include "dorn/model/WireWords.h"

namespace {

// mDebugFlag lies directly behind the pointer to the virtual table.
constexpr std::size_t kMarkerOffset = sizeof(void*);

void* MarkFresh(void* storage, std::size_t size) noexcept {
  if (size >= kMarkerOffset + sizeof(dorn::kAllocationMarker)) {
    std::memcpy(static_cast<char*>(storage) + kMarkerOffset, &dorn::kAllocationMarker,
                sizeof(dorn::kAllocationMarker));
  }
  dorn::NoteFresh(storage, size);
  return storage;
}

// The entry of mDirty for a change that a session has made, or the host itself.
KZString Tagged(const KZString& key, const KZString& sessionid) {
  if (sessionid.empty()) return key;
  constexpr std::string_view kMark(dorn::kSessionMark);
  KZString tagged;
  char* const to = dorn::AppendRoom(tagged, key.size() + kMark.size() + sessionid.size());
  static_cast<void>(dorn::Put(dorn::Put(dorn::Put(to, key), kMark), sessionid));
  return tagged;
}

}  // namespace

VQJsonObject::VQJsonObject(VQJsonObject* parent)
    : mDebugFlag(dorn::TakeFresh(this) ? dorn::kTagObjectOnHeap : dorn::kTagObject),
      mParent(parent),
      mDirtyAdd(false),
      mClassTag(dorn::kTagObject),
      mWasAdded(0),
      mIsDoomed(0) {
  if (parent != nullptr) dorn::Family::Join(*parent, *this);
}

VQJsonObject::VQJsonObject(const VQJsonObject& other)
    : mDebugFlag(other.mDebugFlag),
      mName(other.mName),
      mParent(other.mParent),
      mDirty(other.mDirty),
      mDirtyAdd(other.mDirtyAdd),
      mDirtyDel(other.mDirtyDel),
      mList(other.mList),
      mClassTag(dorn::kTagObject),
      mWasAdded(0),
      mIsDoomed(0) {
  static_cast<void>(dorn::TakeFresh(this));  // The tag is the source's.
  dorn::Family::JoinParentOf(other, *this);
}

VQJsonObject& VQJsonObject::operator=(const VQJsonObject& other) {
  if (this == &other) return *this;
  mName = other.mName;
  mParent = other.mParent;
  mDirty = other.mDirty;
  mDirtyAdd = other.mDirtyAdd;
  mDirtyDel = other.mDirtyDel;
  mList = other.mList;
  dorn::Family::JoinParentOf(other, *this);
  return *this;
}

VQJsonObject::~VQJsonObject() { dorn::Family::End(*this); }

bool VQJsonObject::HasGroup() { return false; }

bool VQJsonObject::AddObject(VQJsonObject* /*jo*/, int /*command*/) { return false; }

void VQJsonObject::OutJson(std::ostream& out) {
  int count = 0;
  OutJson(out, count);
}

void VQJsonObject::OutJson(std::ostream& out, int& b) {
  if (b++ != 0) out.put(',');
  out.put('{');
  int count = 0;
  OutJsonMember(out, count);
  OutJsonList(out, count);
  out.put('}');
}

void VQJsonObject::OutJsonMember(std::ostream& out, int& b) {
  std::string text;
  dorn::AppendAttributes(text, *this, b);
  dorn::WriteWhole(out, text);
}

void VQJsonObject::OutJsonDirtyMember(std::ostream& out, int& b, const KZString& sessionid) {
  std::string text;
  dorn::AppendDirtyAttributes(text, *this, b, sessionid);
  dorn::WriteWhole(out, text);
}

void VQJsonObject::OutJsonList(std::ostream& /*out*/, int& /*b*/) {}

VQJsonObject* VQJsonObject::SearchName(const KZString& name) {
  return mName == name ? this : nullptr;
}

VQJsonObject* VQJsonObject::SetValue(const KZString& key, VQValue value, int dirty,
                                     const KZString& sessionid) {
  VQValue& current = mList[key];
  const bool differs = value != current;  // In this order: the stored value's kind decides.
  if (!differs && dirty == -1) return this;
  if (dirty >= 1 || (dirty == -1 && differs)) {
    mDirty.insert(Tagged(key, sessionid));
  }
  current = std::move(value);
  if (dorn::Equals(key, dorn::kKeyName) && mName != current.mString) {
    mName = current.mString;
  }
  return this;
}

bool VQJsonObject::Parse(JsonParser& jp, bool shard) {
  dorn::TreeReader(jp, shard, dorn::Source::kHost).ReadAttributes(*this);
  return true;
}

KZString VQJsonObject::GetJson() {
  constexpr std::size_t kUsualLength = 200;
  KZString json;
  json.reserve(kUsualLength);
  dorn::AppendObject(json, *this);
  return json;
}

VQJsonObject* VQJsonObject::SetValueByName(const KZString& key, VQValue value, const KZString& name,
                                           int dirty, const KZString& sessionid) {
  VQJsonObject* found = SearchName(name);
  if (found != nullptr) found->SetValue(key, std::move(value), dirty, sessionid);
  return this;
}

VQValue& VQJsonObject::GetValue(const KZString& key) {
  if (HasKey(key)) return mList[key];
  // Never destroyed: objects of static storage may still ask when the program ends.
  static VQValue& none = *new VQValue;
  none = VQValue();  // A caller may have assigned to it.
  return none;
}

VQJsonObject* VQJsonObject::GetParent() { return mParent; }

bool VQJsonObject::HasKey(const KZString& key) { return mList.find(key) != mList.end(); }

void VQJsonObject::ResetDirty() { mDirty.clear(); }

void VQJsonObject::SetDirtyDel(KZString name) { mDirtyDel = std::move(name); }

void VQJsonObject::Delete(const KZString& point) {
  if (point == "THIS") {
    if (mParent != nullptr) mParent->SetDirtyDel(mName);
    return;  // This object, and with it `point`, may be gone.
  }
  if (point == "CHILD" && HasGroup()) SetDirtyDel(dorn::kAllChildrenDeleted);
}

void VQJsonObject::SetDirty(const KZString& key) { mDirty.insert(key); }

void VQJsonObject::SetDirtyAdd() { mDirtyAdd = true; }

void VQJsonObject::ResetDirtyAdd() { mDirtyAdd = false; }

void VQJsonObject::ResetDirtyDel() { mDirtyDel.Clear(); }

void* VQJsonObject::operator new(std::size_t size) { return MarkFresh(::operator new(size), size); }

void* VQJsonObject::operator new(std::size_t size, const std::nothrow_t& tag) noexcept {
  void* storage = ::operator new(size, tag);
  return storage != nullptr ? MarkFresh(storage, size) : nullptr;
}

void* VQJsonObject::operator new(std::size_t /*size*/, void* place) noexcept { return place; }

void VQJsonObject::operator delete(void* storage) noexcept {
  dorn::ForgetFresh(storage);
  ::operator delete(storage);
}

void VQJsonObject::operator delete(void* storage, const std::nothrow_t& /*tag*/) noexcept {
  VQJsonObject::operator delete(storage);
}

void VQJsonObject::operator delete(void* /*storage*/, void* /*place*/) noexcept {}
