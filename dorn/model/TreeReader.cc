#include "dorn/model/TreeReader.h"

#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "dorn/json/DialogValue.h"
#include "dorn/json/MemberSearch.h"
#include "dorn/model/TreeWalk.h"
#include "dorn/model/VQJsonParser.h"
#include "dorn/model/WireWords.h"

namespace dorn {
namespace {

using Attributes = std::map<KZString, VQValue>;

// The keys that the "NotifyList" of a JSON object lets in. False if it has none.
bool ReadFilter(const value::object& members, bool group, KZStringArray& keys) {
  const value* list = FindMember(members, kKeyNotifyList);
  if (list == nullptr || !list->is<std::string>()) return false;
  KZString(list->get<std::string>()).Separate(',', keys);
  keys += kKeyAlias;
  keys += kKeyType;
  if (group) keys += kKeyLayout;
  return true;
}

bool HasZeroByte(const KZString& key) { return std::memchr(key.data(), 0, key.size()) != nullptr; }

// Whether the text is no more than a few times as long as the shortest member that could bring it.
bool IsShort(const value& member) {
  constexpr std::size_t kShort = 64;
  if (member.is<std::string>()) return member.get<std::string>().size() <= kShort;
  return !member.is<value::array>() && !member.is<value::object>();
}

// Returns the place behind the attribute, where the next one usually goes: the members that are
// read have the order of the attributes. `known` is what the member was converted to before.
Attributes::iterator Store(Attributes& list, Attributes::iterator place, KZString key,
                           const value& member, const VQValue* known) {
  const std::size_t before = list.size();
  const auto stored = list.try_emplace(place, std::move(key));
  // A setter would leave the containers of an earlier value.
  const bool isNew = list.size() != before;
  if (!isNew && (stored->second.mObject || stored->second.mArray)) stored->second = VQValue();
  if (known != nullptr) {
    stored->second = *known;
  } else {
    static_cast<void>(StoreDialogValue(member, stored->second));
  }
  return std::next(stored);
}

// The member of the current value, which is an object, if it is of type T; otherwise null.
template <class T>
const T* MemberOf(const JsonParser& jp, std::string_view key) {
  const value* member = FindMember(jp.mValueCurrent->get<value::object>(), key);
  return member != nullptr && member->is<T>() ? &member->get<T>() : nullptr;
}

// What the member of a JSON object that makes the children was converted to, or null: a part of
// what the object itself was converted to, or else an attribute that it has just got.
const VQValue* FindKnown(const VQJsonObjectHasList& jo, const VQJObject* known, bool isFresh,
                         const char* key) {
  if (known != nullptr) {
    const auto found = known->find(key);
    return found != known->end() ? &found->second : nullptr;
  }
  return isFresh ? FindMember(jo.mList, key) : nullptr;
}

}  // namespace

// `known` has the same members in the same order.
void TreeReader::ReadAttributes(VQJsonObject& to, const VQJObject* known) {
  if (!mReader.IsObject()) return;
  const auto& members = mReader.mValueCurrent->get<value::object>();
  if (members.empty()) return;
  const value* named = FindMember(members, kKeyName);
  if (named != nullptr && named->is<std::string>()) to.mName.assign(named->get<std::string>());
  KZStringArray allowed;
  const bool filtered = !mShard && ReadFilter(members, to.HasGroup(), allowed);
  auto place = to.mList.begin();
  VQJObject::const_iterator converted;
  if (known != nullptr) converted = known->begin();
  for (const auto& [key, member] : members) {
    const VQValue* same = known != nullptr ? &(converted++)->second : nullptr;
    if (Equals(key, kKeyObject) || Equals(key, kKeyObjects)) continue;
    KZString name(key);
    if (filtered && allowed.Find(name) < 0) continue;
    const value* meant = &member;
    if (HasZeroByte(name)) {
      const auto found = members.find(name.c_str());
      if (found == members.end() || !MayBring(found->second)) continue;
      meant = &found->second;
      if (known != nullptr) same = &known->find(name.c_str())->second;
    }
    if (IsDialogValue(*meant)) place = Store(to.mList, place, std::move(name), *meant, same);
  }
}

// Through the virtual operation, which a host's class may have overridden.
void TreeReader::ReadRoot(VQJsonObjectHasList& jo) {
  const bool isFresh = jo.mList.empty() && IsOwnClass(jo);
  jo.Parse(mReader, mShard);
  ReadList(jo, nullptr, isFresh, 1);
}

bool TreeReader::MayBring(const value& member) {
  return !mIsLimited || IsShort(member) || ++mZeroKeys <= kLongZeroKeys;
}

// A new object of the class that the current JSON object asks for. Never inlined: its texts would
// be held at every level of the recursion.
__attribute__((noinline)) VQJsonObject* TreeReader::Create(VQJsonObject* parent) const {
  if (!mReader.IsObject()) return new VQJsonObject(parent);
  VQJsonParser parser;
  const auto* command = MemberOf<std::string>(mReader, kKeyCommand);
  if (command != nullptr) return parser.CreateCommand(*command);
  const auto* type = MemberOf<std::string>(mReader, kKeyType);
  if (type == nullptr) return new VQJsonObject(parent);
  const auto* layout = MemberOf<std::string>(mReader, kKeyLayout);
  return parser.CreateObject(*type, layout != nullptr ? *layout : "", parent);
}

VQJsonObject* TreeReader::ReadObject(VQJsonObject* parent, const VQJObject* known, int level) {
  VQJsonObject* created = Create(parent);
  ReadAttributes(*created, known);
  VQJsonObjectHasList* group = AsGroup(*created);
  if (group != nullptr) ReadList(*group, known, true, level);
  return created;
}

int TreeReader::ReadList(VQJsonObjectHasList& jo, const VQJObject* known, bool isFresh, int level) {
  if (!mReader.IsObject()) return 0;
  const bool hasDialogs = !mIsLimited || level <= kDeepestLevelOfDialogs;
  for (const char* key : {kKeyObjects, kKeyCommands}) {
    if (key == kKeyCommands && !hasDialogs) continue;
    const auto* list = MemberOf<value::array>(mReader, key);
    if (list == nullptr) continue;
    const VQValue* same = FindKnown(jo, known, isFresh, key);
    // Held, because AddObject() of a host's class may change the attributes.
    const std::shared_ptr<VQJArray> held = same != nullptr ? same->mArray : nullptr;
    return ReadChildren(jo, *list, held.get(), level);
  }
  for (const char* key : {kKeyObject, kKeyDialog}) {
    if (key == kKeyDialog && !hasDialogs) continue;
    const VQValue* same = FindKnown(jo, known, isFresh, key);
    if (!mReader.GetObject(key)) continue;
    const std::shared_ptr<VQJObject> held = same != nullptr ? same->mObject : nullptr;
    return ReadChild(jo, held.get(), level);
  }
  return 0;
}

// Elements that are no objects are passed over: nothing else has members to read.
int TreeReader::ReadChildren(VQJsonObjectHasList& jo, const value::array& list,
                             const VQJArray* known, int level) {
  if (list.empty()) return 0;
  int added = 0;
  std::size_t index = 0;
  auto element = mReader.Begin(list);
  while (mReader.Next(list, element)) {
    const VQJObject* same = known != nullptr ? (*known)[index].mObject.get() : nullptr;
    ++index;
    if (mReader.IsObject()) added += ReadChild(jo, same, level);
  }
  return added;
}

int TreeReader::ReadChild(VQJsonObjectHasList& jo, const VQJObject* known, int level) {
  return jo.AddObject(ReadObject(&jo, known, level + 1), 0) ? 1 : 0;
}

}  // namespace dorn
