// Objects that are made, added, shared, taken out, copied, assigned and destroyed in any order,
// against a model that only knows lists: an object lives as long as some list holds it, or as long
// as it belongs to the target. The sanitizer finds what is used after its end, the model what dies
// at another time or is left pointing to the dead.
#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "dorn/model/UpdateComposer.h"
#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonParser.h"
#include "dorn/model/VQJsonResource.h"
#include "fuzz/FuzzTarget.h"

namespace {

using List = std::vector<VQJsonObject*>;

// A host's own classes, beside the library's.
class HostObject : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
};
class HostGroup : public VQJsonObjectHasList {
 public:
  using VQJsonObjectHasList::VQJsonObjectHasList;
};
class HostRadioGroup : public VQJsonRadioButtonGroup {
 public:
  using VQJsonRadioButtonGroup::VQJsonRadioButtonGroup;
};

enum Kind { kPlain, kGroup, kButton, kRadioGroup, kGrid, kHost, kHostGroup, kHostRadio, kRoot };

struct Known {
  Kind kind;
  VQJsonObject* parent;
  List list;
  bool byHand = false;  // In a list that got it without the library's knowledge.

  bool IsGroup() const {
    return kind != kPlain && kind != kButton && kind != kGrid && kind != kHost;
  }
};

class Orchard {
 public:
  explicit Orchard(FuzzInput& in) : mIn(in) {}
  ~Orchard();

  void Step();

 private:
  VQJsonObject* Any();
  VQJsonObjectHasList* AnyGroup();
  VQJsonObjectHasList& Group(VQJsonObject* object) {
    return static_cast<VQJsonObjectHasList&>(*object);
  }
  Known& Of(VQJsonObject* object) { return mKnown.at(object); }
  bool IsInAnyList(const VQJsonObject* object) const;
  bool IsBelow(const VQJsonObject* object, VQJsonObject* top);
  int Visits(VQJsonObject* object, int most);

  void Make();
  void Copy();
  void Add();
  void PutIn();
  void TakeOut();
  void AssignGroup();
  void AssignObject();
  void DeleteThis();
  void DeleteChildren();
  void Destroy(VQJsonObject* object);
  void SetValue();
  void ChangeGrid();
  void Compose();

  void Learn(VQJsonObject* object, Kind kind, VQJsonObject* parent);
  void LetGo(VQJsonObject* group, const List& children);
  void Die(VQJsonObject* object);
  void Check();

  FuzzInput& mIn;
  std::map<VQJsonObject*, Known> mKnown;  // Whatever lives.
  List mOrder;  // The same, as it was made: inputs must not depend on addresses.
};

VQJsonObject* Orchard::Any() {
  return mOrder.empty() ? nullptr : mOrder[mIn.Byte() % mOrder.size()];
}

VQJsonObjectHasList* Orchard::AnyGroup() {
  VQJsonObject* object = Any();
  return object != nullptr && Of(object).IsGroup() ? &Group(object) : nullptr;
}

bool Orchard::IsInAnyList(const VQJsonObject* object) const {
  return std::any_of(mKnown.begin(), mKnown.end(), [object](const auto& known) {
    const List& list = known.second.list;
    return std::find(list.begin(), list.end(), object) != list.end();
  });
}

bool Orchard::IsBelow(const VQJsonObject* object, VQJsonObject* top) {
  const List& list = Of(top).list;
  return std::any_of(list.begin(), list.end(), [&](VQJsonObject* child) {
    return child == object || IsBelow(object, child);
  });
}

// How many objects a walk meets, or `most` if there are more: shared groups multiply.
int Orchard::Visits(VQJsonObject* object, int most) {
  int visits = 1;
  for (VQJsonObject* child : Of(object).list) {
    if (visits >= most) return most;
    visits += Visits(child, most - visits);
  }
  return visits;
}

VQJsonObject* Create(Kind kind, VQJsonObject* parent) {
  switch (kind) {
    case kGroup:
      return new VQJsonObjectHasList("Objects", parent);
    case kButton:
      return new VQJsonRadioButtonObject(parent);
    case kRadioGroup:
      return new VQJsonRadioButtonGroup(parent);
    case kGrid:
      return new VQJsonGrid(parent);
    case kHost:
      return new HostObject(parent);
    case kHostGroup:
      return new HostGroup("Objects", parent);
    case kHostRadio:
      return new HostRadioGroup(parent);
    case kRoot:
      return new VQJsonResource;
    case kPlain:
      break;
  }
  return new VQJsonObject(parent);
}

VQJsonObject* CreateCopy(Kind kind, const VQJsonObject& of) {
  switch (kind) {
    case kGroup:
      return new VQJsonObjectHasList(static_cast<const VQJsonObjectHasList&>(of));
    case kButton:
      return new VQJsonRadioButtonObject(static_cast<const VQJsonRadioButtonObject&>(of));
    case kRadioGroup:
      return new VQJsonRadioButtonGroup(static_cast<const VQJsonRadioButtonGroup&>(of));
    case kGrid:
      return new VQJsonGrid(static_cast<const VQJsonGrid&>(of));
    case kHost:
      return new HostObject(static_cast<const HostObject&>(of));
    case kHostGroup:
      return new HostGroup(static_cast<const HostGroup&>(of));
    case kHostRadio:
      return new HostRadioGroup(static_cast<const HostRadioGroup&>(of));
    case kRoot:
      return new VQJsonResource(static_cast<const VQJsonResource&>(of));
    case kPlain:
      break;
  }
  return new VQJsonObject(of);
}

void Orchard::Learn(VQJsonObject* object, Kind kind, VQJsonObject* parent) {
  mKnown[object] = Known{kind, parent, {}, false};
  mOrder.push_back(object);
}

void Orchard::Make() {
  const auto kind = static_cast<Kind>(mIn.Below(kRoot + 1));
  VQJsonObject* parent = mIn.Flag() ? Any() : nullptr;
  VQJsonObject* object = Create(kind, parent);
  Learn(object, kind, kind == kRoot ? nullptr : parent);
  object->SetValue("Name", std::string(1, static_cast<char>('a' + mIn.Below(3))).c_str(), 0, "");
  if (kind == kButton) object->SetValue("Type", "RADIOBTN", 0, "");
}

void Orchard::Copy() {
  VQJsonObject* source = Any();
  if (source == nullptr) return;
  // Sliced, perhaps: a plain copy of whatever it is.
  const Kind kind = mIn.Flag() ? kPlain : Of(source).kind;
  VQJsonObject* copy = CreateCopy(kind, *source);
  Learn(copy, kind, Of(source).parent);
  if (!Of(copy).IsGroup()) return;
  Of(copy).list = Of(source).list;
  for (VQJsonObject* child : Of(copy).list) Of(child).byHand = false;
}

void Orchard::Add() {
  VQJsonObjectHasList* group = AnyGroup();
  VQJsonObject* child = Any();
  if (group == nullptr || (Of(child).byHand && IsInAnyList(child))) return;
  List& list = Of(group).list;
  const bool isCycle = child == group || IsBelow(group, child);
  if (isCycle && Of(group).byHand) return;  // Nobody knows where it is.
  FUZZ_CHECK(group->AddObject(child, mIn.Flag() ? 1 : 0) == !isCycle);
  if (!isCycle && std::find(list.begin(), list.end(), child) == list.end()) list.push_back(child);
  Of(child).byHand = false;
}

// Only what is in no list: a host that puts one pointer into two lists is beyond help. A null
// pointer does no harm anywhere.
void Orchard::PutIn() {
  VQJsonObjectHasList* group = AnyGroup();
  VQJsonObject* child = Any();
  if (group == nullptr || IsInAnyList(child) || child == group || IsBelow(group, child)) return;
  group->mObjectList.push_back(child);
  Of(group).list.push_back(child);
  Of(child).byHand = true;
}

void Orchard::TakeOut() {
  VQJsonObjectHasList* group = AnyGroup();
  if (group == nullptr || Of(group).list.empty()) return;
  const auto place = static_cast<long>(mIn.Byte() % Of(group).list.size());
  group->mObjectList.erase(group->mObjectList.begin() + place);
  Of(group).list.erase(Of(group).list.begin() + place);
}

void Orchard::AssignGroup() {
  VQJsonObjectHasList* to = AnyGroup();
  VQJsonObjectHasList* from = AnyGroup();
  if (to == nullptr || from == nullptr) return;
  *to = *from;
  if (to == from || IsBelow(to, from)) return;
  Of(to).parent = Of(from).parent;
  for (VQJsonObject* child : Of(from).list) Of(child).byHand = false;
  const List before = Of(to).list;
  Of(to).list = Of(from).list;
  LetGo(to, before);
}

void Orchard::AssignObject() {
  VQJsonObject* to = Any();
  const VQJsonObject* from = Any();
  if (to == nullptr) return;
  to->VQJsonObject::operator=(*from);
  if (to != from) Of(to).parent = from->mParent;
}

void Orchard::DeleteThis() {
  VQJsonObject* object = Any();
  if (object == nullptr) return;
  VQJsonObject* parent = Of(object).parent;
  const KZString name = object->mName;
  VQJsonObject* victim = nullptr;
  if (parent != nullptr) {
    for (VQJsonObject* child : Of(parent).list) {
      if (victim == nullptr && child->mName == name) victim = child;
    }
  }
  object->Delete("THIS");
  if (victim == nullptr) return;
  List& list = Of(parent).list;
  list.erase(std::find(list.begin(), list.end(), victim));
  LetGo(parent, {victim});
}

void Orchard::DeleteChildren() {
  VQJsonObjectHasList* group = AnyGroup();
  if (group == nullptr) return;
  group->Delete("CHILD");
  const List before = Of(group).list;
  Of(group).list.clear();
  LetGo(group, before);
}

void Orchard::Destroy(VQJsonObject* object) {
  if (object == nullptr || IsInAnyList(object)) return;
  delete object;
  Die(object);
}

// The library has destroyed those that no list holds.
void Orchard::LetGo(VQJsonObject* group, const List& children) {
  for (VQJsonObject* child : children) {
    if (mKnown.count(child) == 0) continue;
    const List& list = Of(group).list;
    const bool isKept = std::find(list.begin(), list.end(), child) != list.end();
    if (!IsInAnyList(child)) {
      Die(child);
    } else if (!isKept && Of(child).parent == group) {
      Of(child).parent = nullptr;
    }
  }
}

void Orchard::Die(VQJsonObject* object) {
  const List children = std::move(Of(object).list);
  mKnown.erase(object);
  mOrder.erase(std::find(mOrder.begin(), mOrder.end(), object));
  for (auto& known : mKnown) {
    if (known.second.parent == object) known.second.parent = nullptr;
  }
  for (VQJsonObject* child : children) {
    if (mKnown.count(child) != 0 && !IsInAnyList(child)) Die(child);
  }
}

void Orchard::SetValue() {
  VQJsonObject* object = Any();
  if (object == nullptr) return;
  object->SetValue("Attr", mIn.Flag() ? "ON" : "OFF", -1, mIn.Flag() ? "S1" : "");
}

void Orchard::ChangeGrid() {
  VQJsonObject* object = Any();
  if (object == nullptr || Of(object).kind != kGrid) return;
  auto* grid = static_cast<VQJsonGrid*>(object);
  grid->SetDataSize(static_cast<int>(mIn.Below(4)), static_cast<int>(mIn.Below(4)));
  grid->SetData(static_cast<int>(mIn.Below(4)), static_cast<int>(mIn.Below(4)), "x");
}

void Orchard::Compose() {
  VQJsonObject* object = Any();
  constexpr int kMostVisits = 2000;
  if (object == nullptr || Of(object).kind != kRoot) return;
  if (Visits(object, kMostVisits) == kMostVisits) return;
  auto* root = static_cast<VQJsonResource*>(object);
  const bool all = mIn.Flag();
  dorn::UpdateComposer composer(root, all, dorn::SideCommands::kFirst);
  composer.Compose("S1");
  const auto text = composer.Compose("S2");
  KZString json;
  FUZZ_CHECK(VQJsonParser().MakeUpdateCommand(json, root, all, "S2") == (text != nullptr));
  FUZZ_CHECK(text == nullptr || json == *text);
  static_cast<void>(root->SearchName("nobody"));
  static_cast<void>(root->GetJson());
  root->ResetDirty();
}

void Orchard::Check() {
  for (const auto& [object, known] : mKnown) {
    FUZZ_CHECK(object->mParent == known.parent && object->GetParent() == known.parent);
    FUZZ_CHECK(known.parent == nullptr || mKnown.count(known.parent) == 1);
    FUZZ_CHECK(object->HasGroup() == known.IsGroup());
    if (known.IsGroup()) FUZZ_CHECK(Group(object).mObjectList == known.list);
  }
}

void Orchard::Step() {
  constexpr size_t kMostObjects = 60;
  switch (mIn.Below(16)) {
    case 0:
    case 1:
      if (mOrder.size() < kMostObjects) Make();
      break;
    case 2:
      if (mOrder.size() < kMostObjects) Copy();
      break;
    case 3:
    case 4:
    case 5:
      Add();
      break;
    case 6:
      PutIn();
      break;
    case 7:
      TakeOut();
      break;
    case 8:
      AssignGroup();
      break;
    case 9:
      AssignObject();
      break;
    case 10:
      DeleteThis();
      break;
    case 11:
      DeleteChildren();
      break;
    case 12:
      Destroy(Any());
      break;
    case 13:
      SetValue();
      break;
    case 14:
      ChangeGrid();
      break;
    default:
      Compose();
  }
  Check();
}

// What is in no list is the target's; with it goes the rest.
Orchard::~Orchard() {
  while (!mOrder.empty()) {
    const auto loose = std::find_if(mOrder.begin(), mOrder.end(),
                                    [this](VQJsonObject* object) { return !IsInAnyList(object); });
    FUZZ_CHECK(loose != mOrder.end());
    Destroy(*loose);
    Check();
  }
}

}  // namespace

// Each step takes a byte for what to do and a few more for whom to do it to.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, std::min<size_t>(size, 2000));
  Orchard orchard(in);
  while (!in.IsEmpty()) orchard.Step();
  return 0;
}
