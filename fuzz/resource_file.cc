// Resource files: a text becomes a tree, host code changes the tree, and updates are made of it.
#include <sstream>
#include <string>
#include <vector>

#include "dorn/model/NameIndex.h"
#include "dorn/model/VQJsonParser.h"
#include "fuzz/FuzzTarget.h"

namespace {

constexpr size_t kMaxSteps = 200;

void Collect(VQJsonObject* object, std::vector<VQJsonObject*>& all) {
  all.push_back(object);
  auto* group = dynamic_cast<VQJsonObjectHasList*>(object);
  if (group == nullptr) return;
  for (VQJsonObject* child : group->mObjectList) Collect(child, all);
}

class Driver {
 public:
  explicit Driver(FuzzInput& in) : mIn(in) {}

  void Run() {
    const bool isShared = mIn.Flag();
    const KZString text(mIn.Until('\0'));
    VQJsonParser parser;
    if (!parser.ParseDialog(&mTree, text, isShared)) {
      FUZZ_CHECK(mTree.mObjectList.empty() && mTree.mName.empty());
      return;
    }
    CheckWriters();
    for (size_t i = 0; i < kMaxSteps && !mIn.IsEmpty(); ++i) Step();
    CheckWriters();
    CheckIndex();
    CheckUpdates();
  }

 private:
  VQJsonObject* Any() {
    std::vector<VQJsonObject*> all;
    Collect(&mTree, all);
    return all[mIn.Number(2) % all.size()];
  }

  KZString Key() {
    static const char* const kKeys[] = {"Value", "Attr", "Name", "Data", "Type", "x|:|S1"};
    return kKeys[mIn.Below(6)];
  }

  KZString Session() {
    static const char* const kSessions[] = {"", "S1", "S2"};
    return kSessions[mIn.Below(3)];
  }

  void Step() {
    VQJsonObject* object = Any();
    switch (mIn.Below(10)) {
      case 0: {
        const KZString key = Key();
        const int dirty = static_cast<int>(mIn.Below(3)) - 1;
        object->SetValue(key, mIn.Text(), dirty, Session());
        return;
      }
      case 1:
        object->SetValue(Key(), static_cast<int>(mIn.Byte()), -1, Session());
        return;
      case 2:
        if (object != &mTree) object->Delete(mIn.Flag() ? "THIS" : "CHILD");
        return;
      case 3:
        Add(object);
        return;
      case 4:
        ChangeTable(object);
        return;
      case 5:
        // Its name may be any string, also that of a sibling.
        object->SetDirty(Key());
        return;
      case 6:
        object->SetDirtyDel(mIn.Text());
        return;
      case 7:
        CheckUpdates();
        return;
      case 8:
        CheckIndex();
        return;
      default:
        Copy();
    }
  }

  void Add(VQJsonObject* parent) {
    VQJsonParser parser;
    static const char* const kTypes[] = {"GRID", "RADIOBTN", "GROUP", "LABEL"};
    VQJsonObject* made =
        parser.CreateObject(kTypes[mIn.Below(4)], mIn.Flag() ? "RADIO" : "", parent);
    made->SetValue("Name", mIn.Text(), 1, "");
    if (!parent->AddObject(made, mIn.Flag() ? 1 : 0)) delete made;
  }

  void ChangeTable(VQJsonObject* object) {
    auto* grid = dynamic_cast<VQJsonGrid*>(object);
    if (grid == nullptr) return;
    grid->SetDataSize(static_cast<int>(mIn.Below(8)) - 1, static_cast<int>(mIn.Below(8)) - 1);
    const int x = static_cast<int>(mIn.Below(10)) - 1;
    const int y = static_cast<int>(mIn.Below(10)) - 1;
    grid->SetData(x, y, mIn.Text().c_str());
    static_cast<void>(grid->GetData(y, x));
  }

  // A copy shares the children of its source, and either may die first.
  void Copy() {
    VQJsonResource copy(mTree);
    FUZZ_CHECK(copy.GetJson() == mTree.GetJson());
    if (mIn.Flag()) mTree.DeleteChildAll();
    static_cast<void>(copy.GetJson());
  }

  // All ways to write a tree give the same text.
  void CheckWriters() {
    std::ostringstream out;
    mTree.OutJson(out);
    FUZZ_CHECK(mTree.GetJson() == out.str());
  }

  void CheckIndex() {
    dorn::NameIndex index(&mTree);
    std::vector<VQJsonObject*> all;
    Collect(&mTree, all);
    for (VQJsonObject* object : all) {
      FUZZ_CHECK(index.Find(object->mName) == mTree.SearchName(object->mName));
    }
    FUZZ_CHECK(index.Find("no such name") == mTree.SearchName("no such name"));
  }

  // Added and deleted objects are told once, changes until they are reset.
  void CheckUpdates() {
    VQJsonParser parser;
    const KZString session = Session();
    KZString first;
    KZString second;
    KZString third;
    parser.MakeUpdateCommand(first, &mTree, false, session);
    const bool changed = parser.MakeUpdateCommand(second, &mTree, false, session);
    FUZZ_CHECK(parser.MakeUpdateCommand(third, &mTree, false, session) == changed);
    FUZZ_CHECK(second == third);
    std::ostringstream out;
    int comma = 0;
    for (VQJsonObject* child : mTree.mObjectList) {
      parser.OutUpdateCommandRaw(out, child, comma, false, session);
    }
    FUZZ_CHECK(second.find(out.str()) != std::string::npos && (comma > 0) == changed);
    if (mIn.Flag()) return;
    mTree.ResetDirty();
    FUZZ_CHECK(!parser.MakeUpdateCommand(third, &mTree, false, session));
    parser.MakeUpdateCommand(third, &mTree, true, session);
  }

  FuzzInput& mIn;
  VQJsonResource mTree;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  Driver(in).Run();
  return 0;
}
