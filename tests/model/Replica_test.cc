// Stations that keep their own copy of the tree from what they receive: after a flush every copy is
// the server's tree, whatever the host and the stations did before.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstdint>
#include <cstdlib>
#include <list>
#include <string>
#include <tuple>
#include <vector>

#include "dorn/model/UpdateComposer.h"
#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonParser.h"
#include "tests/model/Replica.h"

namespace {

// Which operation, and three numbers that choose what it works on.
using Step = std::tuple<std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t>;

struct Station {
  std::string mSession;
  Replica mCopy;
};

class Floor {
 public:
  Floor() { mTree.SetValue("Name", "root", 0, ""); }

  void Run(const Step& step) {
    const auto [operation, a, b, c] = step;
    switch (operation % 16) {
      case 0:
      case 1:
      case 2:
        return Add(a, b);
      case 3:
        return DeleteThis(a);
      case 4:
        return DeleteChildren(a);
      case 5:
        return ChangeTable(a, b, c);
      case 6:
        return Join();
      case 7:
        return Leave(a);
      case 8:
      case 9:
        return Flush(false);
      case 10:
        return Flush(a % 4 == 0);
      case 11:
      case 12:
        return HostSets(a, b, c);
      default:
        return StationSets(a, b, c, operation);
    }
  }

  // By the server's own texts, so that a change that is not sent is a difference.
  void Flush(bool all) {
    dorn::UpdateComposer composer(&mTree, all || mTableChanged, dorn::SideCommands::kEveryone);
    for (Station& station : mStations) {
      const auto text = composer.Compose(station.mSession);
      if (text != nullptr) RC_ASSERT(station.mCopy.Receive(*text));
    }
    composer.ResetDirty();
    mTableChanged = false;
    const Replica tree(mTree.GetJson());
    for (const Station& station : mStations) RC_ASSERT(station.mCopy.Describe() == tree.Describe());
  }

  size_t mStationSteps = 0;

 private:
  static void Collect(VQJsonObject& object, std::vector<VQJsonObject*>& all) {
    all.push_back(&object);
    if (auto* group = dynamic_cast<VQJsonObjectHasList*>(&object))
      for (VQJsonObject* child : group->mObjectList) Collect(*child, all);
  }

  VQJsonObject& Any(std::uint8_t choice) {
    std::vector<VQJsonObject*> all;
    Collect(mTree, all);
    return *all[choice % all.size()];
  }

  // A name that no object has: a new one or one that was deleted.
  std::string FreeName() {
    for (int i = 0;; ++i) {
      const std::string name = "n" + std::to_string(i);
      if (mTree.SearchName(name) == nullptr) return name;
    }
  }

  VQJsonObject* Create(std::uint8_t kind, VQJsonObject* parent) {
    switch (kind % 6) {
      case 0:
      case 1:
        return new VQJsonObjectHasList("Objects", parent);
      case 2:
        return new VQJsonRadioButtonGroup(parent);
      case 3: {
        auto* button = new VQJsonRadioButtonObject(parent);
        button->SetValue("Type", "RADIOBTN", 0, "");
        return button;
      }
      case 4:
        return new VQJsonGrid(parent);
      default:
        return new VQJsonObject(parent);
    }
  }

  void Add(std::uint8_t where, std::uint8_t kind) {
    auto* group = dynamic_cast<VQJsonObjectHasList*>(&Any(where));
    if (group == nullptr) return;
    const std::string name = FreeName();
    VQJsonObject* child = Create(kind, group);
    child->SetValue("Name", name, 0, "");
    group->AddObject(child, 1);
  }

  // A group remembers one deletion only, so the host flushes before the next one.
  void DeleteThis(std::uint8_t which) {
    VQJsonObject& object = Any(which);
    if (object.mParent == nullptr) return;
    if (object.mParent->IsDirtyDel()) Flush(false);
    object.Delete("THIS");
  }

  void DeleteChildren(std::uint8_t which) {
    if (which % 3 == 0) Any(which).Delete("CHILD");
  }

  // Updates of the changes do not carry the table, so the host sends everything next time.
  void ChangeTable(std::uint8_t which, std::uint8_t x, std::uint8_t y) {
    auto* grid = dynamic_cast<VQJsonGrid*>(&Any(which));
    if (grid == nullptr) return;
    grid->SetDataSize(x % 3, y % 3);
    for (int row = 0; row < y % 3; ++row)
      for (int column = 0; column < x % 3; ++column)
        grid->SetData(column, row, std::to_string(x + y + row).c_str());
    mTableChanged = true;
  }

  void Join() {
    if (mStations.size() >= 6) return;
    mStations.push_back({"S" + std::to_string(++mJoined), Replica(mTree.GetJson())});
  }

  void Leave(std::uint8_t which) {
    if (mStations.empty()) return;
    auto station = mStations.begin();
    std::advance(station, which % mStations.size());
    mStations.erase(station);
  }

  static std::string Key(std::uint8_t choice) {
    static const char* const kKeys[] = {"Attr", "Value", "Text"};
    return kKeys[choice % 3];
  }

  static std::string Text(std::uint8_t choice) {
    static const char* const kTexts[] = {"ON", "OFF", "ON", "x", ""};
    return kTexts[choice % 5];
  }

  void HostSets(std::uint8_t which, std::uint8_t key, std::uint8_t text) {
    VQJsonObject& object = Any(which);
    if (&object == &mTree) return;
    object.SetValue(Key(key), Text(text), text % 7 == 0 ? 1 : -1, "");
  }

  // A station sets what it sees on its own copy and tells the server.
  void StationSets(std::uint8_t which, std::uint8_t key, std::uint8_t text, std::uint8_t who) {
    if (mStations.empty()) return;
    auto station = mStations.begin();
    std::advance(station, who % mStations.size());
    auto object = station->mCopy.mObjects.begin();
    std::advance(object, which % station->mCopy.mObjects.size());
    if (object->first == "root") return;
    ++mStationSteps;
    const std::string name = object->first;
    station->mCopy.Set(name, Key(key), Text(text));
    mTree.SetValueByName(Key(key), Text(text), name, -1, station->mSession);
  }

  VQJsonResource mTree;
  std::list<Station> mStations;
  int mJoined = 0;
  bool mTableChanged = false;
};

TEST(ReplicaTest, EveryStationsCopyIsTheTreeAfterAFlush) {
  // The same programs every time; set RC_PARAMS oneself to look at others.
  setenv("RC_PARAMS", "seed=20240229 max_success=300", 0);
  size_t stationSteps = 0;
  const bool held = rc::check([&stationSteps] {
    const auto program = *rc::gen::scale(4.0, rc::gen::arbitrary<std::vector<Step>>());
    Floor floor;
    for (const Step& step : program) floor.Run(step);
    floor.Flush(false);
    stationSteps += floor.mStationSteps;
  });
  EXPECT_TRUE(held);
  EXPECT_GT(stationSteps, 1000u);
}

}  // namespace
