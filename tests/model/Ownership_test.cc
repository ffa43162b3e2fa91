// Who holds an object, who names it as its parent, and what is left when one of them dies.
#include <gtest/gtest.h>
#include <sys/time.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonResource.h"
#include "tests/model/Trees.h"
#include "tests/support/Deadline.h"

namespace {

using CountedObject = Counted<VQJsonObject>;
using CountedGroup = Counted<VQJsonObjectHasList>;
using Group = VQJsonObjectHasList;

// Ends the process with SIGPROF when it has worked longer than tests wait: for what takes hours
// when it is wrong. What other processes do meanwhile does not count.
class WorkLimit {
 public:
  WorkLimit() { Set(TestTimeout()); }
  ~WorkLimit() { Set(std::chrono::milliseconds(0)); }
  WorkLimit(const WorkLimit&) = delete;
  WorkLimit& operator=(const WorkLimit&) = delete;

 private:
  static void Set(std::chrono::milliseconds limit) {
    const itimerval timer{{0, 0}, {limit.count() / 1000, limit.count() % 1000 * 1000}};
    EXPECT_EQ(setitimer(ITIMER_PROF, &timer, nullptr), 0);
  }
};

std::unique_ptr<Group> MakeGroup(VQJsonObject* parent = nullptr) {
  return std::make_unique<Group>("Objects", parent);
}

// --- Several holders ------------------------------------------------------------------------

// What holds its children besides it is asked for each of them, and has as many.
TEST(OwnershipTest, ACopyOfAVeryWideGroupDiesQuickly) {
  constexpr std::size_t kWide = 200000;
  const auto group = MakeGroup();
  for (std::size_t i = 0; i < kWide; ++i) group->AddObject(new VQJsonObject(group.get()), 0);
  const WorkLimit limit;
  auto copy = std::make_unique<Group>(*group);
  delete group->mObjectList.front();
  group->mObjectList.erase(group->mObjectList.begin());
  copy->mObjectList.erase(copy->mObjectList.begin());
  group->mObjectList.erase(group->mObjectList.begin() + 1);
  copy.reset();
  EXPECT_EQ(group->mObjectList.size(), kWide - 2);
}

TEST(OwnershipTest, VeryManyNewObjectsAndCopiesAreAddedQuickly) {
  constexpr std::size_t kWide = 200000;
  const VQJsonObject source(nullptr);
  const auto group = MakeGroup();
  const WorkLimit limit;
  for (std::size_t i = 0; i < kWide; i += 2) {
    group->AddObject(new VQJsonObject(nullptr), 0);
    group->AddObject(new VQJsonObject(source), 0);
  }
  EXPECT_EQ(group->mObjectList.size(), kWide);
}

TEST(OwnershipTest, CopiesOfAVeryWideGroupAreAssignedQuickly) {
  constexpr std::size_t kWide = 200000;
  const auto group = MakeGroup();
  for (std::size_t i = 0; i < kWide; ++i) group->AddObject(new VQJsonObject(group.get()), 0);
  const WorkLimit limit;
  Group copy(*group);
  const Group other(*group);
  copy = other;
  EXPECT_EQ(copy.mObjectList.size(), kWide);
  copy = Group("Objects", nullptr);
  copy = *group;
  EXPECT_EQ(copy.mObjectList, group->mObjectList);
}

TEST(OwnershipTest, AChildOfNoGroupAddedToTwoDiesOnceWithTheLastOfThem) {
  for (const bool firstFirst : {true, false}) {
    int destroyed = 0;
    auto first = MakeGroup();
    auto second = MakeGroup();
    auto* child = new CountedObject(destroyed, nullptr);
    EXPECT_TRUE(first->AddObject(child, 0));
    EXPECT_TRUE(second->AddObject(child, 1));
    (firstFirst ? first : second).reset();
    EXPECT_EQ(destroyed, 0);
    EXPECT_TRUE(child->IsDirtyAdd());
    first.reset();
    second.reset();
    EXPECT_EQ(destroyed, 1);
  }
}

TEST(OwnershipTest, AChildAddedToManyGroupsDiesWithTheLastOfThem) {
  int destroyed = 0;
  auto* child = new CountedObject(destroyed, nullptr);
  std::vector<std::unique_ptr<Group>> groups;
  for (int i = 0; i < 20; ++i) {
    groups.push_back(MakeGroup());
    groups.back()->AddObject(child, 0);
  }
  for (const int next : {7, 0, 19, 3}) groups[static_cast<size_t>(next)].reset();
  EXPECT_EQ(destroyed, 0);
  groups.clear();
  EXPECT_EQ(destroyed, 1);
}

TEST(OwnershipTest, AChildThatTwoGroupsShareIsDeletedFromEach) {
  int destroyed = 0;
  Group first("Objects", nullptr);
  Group second("Objects", nullptr);
  auto* child = Named(new CountedObject(destroyed, nullptr), "c");
  first.AddObject(child, 0);
  second.AddObject(child, 0);
  first.DeleteChild("c");
  EXPECT_EQ(ChildrenOf(second), (Texts{"c"}));
  EXPECT_EQ(destroyed, 0);
  second.DeleteChildAll();
  EXPECT_EQ(destroyed, 1);
}

// One of two siblings holds the other: the group that holds both must not meet the dead one.
// A group that lets several go at once is the parent of none of them any more.
TEST(OwnershipTest, ChildrenThatTwoGroupsShareForgetTheOneThatIsEmptied) {
  const auto group = MakeGroup();
  auto* first = new VQJsonObject(group.get());
  auto* second = new VQJsonObject(group.get());
  for (VQJsonObject* child : {first, second}) group->AddObject(child, 0);
  const Group copy(*group);
  group->DeleteChildAll();
  EXPECT_EQ(first->mParent, nullptr);
  EXPECT_EQ(second->mParent, nullptr);
  EXPECT_EQ(copy.mObjectList, (std::vector<VQJsonObject*>{first, second}));
}

TEST(OwnershipTest, ASiblingThatASiblingHoldsTooDiesOnce) {
  for (const bool innerFirst : {true, false}) {
    int destroyed = 0;
    {
      Group root("Objects", nullptr);
      auto* inner = new CountedGroup(destroyed, "Objects", &root);
      auto* child = new CountedObject(destroyed, nullptr);
      root.AddObject(innerFirst ? static_cast<VQJsonObject*>(inner) : child, 0);
      root.AddObject(innerFirst ? static_cast<VQJsonObject*>(child) : inner, 0);
      inner->AddObject(child, 0);
    }
    EXPECT_EQ(destroyed, 2) << innerFirst;
  }
}

TEST(OwnershipTest, ACopyDiesWithTheGroupThatItIsAddedTo) {
  int destroyed = 0;
  {
    Group group("Objects", nullptr);
    auto* child = new CountedObject(destroyed, nullptr);
    group.AddObject(child, 0);
    group.AddObject(new CountedObject(destroyed, static_cast<const VQJsonObject&>(*child)), 0);
    EXPECT_EQ(group.mObjectList.size(), 2U);
  }
  EXPECT_EQ(destroyed, 2);
}

TEST(OwnershipTest, AChildThatAHostListedTwiceDiesOnce) {
  int destroyed = 0;
  {
    Group group("Objects", nullptr);
    auto* child = new CountedObject(destroyed, &group);
    group.AddObject(child, 0);
    group.mObjectList.push_back(child);
  }
  EXPECT_EQ(destroyed, 1);
}

// Only a list holds: a parent that has none does not keep a child of a group alive.
TEST(OwnershipTest, AParentThatIsNoGroupHoldsNobody) {
  int destroyed = 0;
  VQJsonObject parent(nullptr);
  auto group = MakeGroup();
  group->mObjectList.push_back(new CountedObject(destroyed, &parent));
  group.reset();
  EXPECT_EQ(destroyed, 1);
}

// It is its own parent then, and so its copies name it.
TEST(OwnershipTest, ACopyOfWhatWasAssignedFromItsChildDoesNotNameADeadParent) {
  auto parent = std::make_unique<VQJsonObject>(nullptr);
  const VQJsonObject child(parent.get());
  *parent = child;
  ASSERT_EQ(parent->mParent, parent.get());
  const VQJsonObject copy(*parent);
  EXPECT_EQ(copy.mParent, parent.get());
  parent.reset();
  EXPECT_EQ(copy.mParent, nullptr);
}

// --- What hosts do to the lists -------------------------------------------------------------

TEST(OwnershipTest, AChildTakenOutByHandAndAddedElsewhereOutlivesItsParent) {
  int destroyed = 0;
  auto* parent = new Group("Objects", nullptr);
  auto* child = Named(new CountedObject(destroyed, parent), "c");
  parent->AddObject(child, 0);
  parent->mObjectList.clear();
  delete parent;
  EXPECT_EQ(child->GetParent(), nullptr);
  auto other = MakeGroup();
  EXPECT_TRUE(other->AddObject(child, 0));
  child->Delete("THIS");
  EXPECT_EQ(ChildrenOf(*other), (Texts{"c"}));
  other.reset();
  EXPECT_EQ(destroyed, 1);
}

TEST(OwnershipTest, AListThatAHostEmptiedHoldsNothing) {
  int destroyed = 0;
  Group source("Objects", nullptr);
  source.AddObject(new CountedObject(destroyed, &source), 0);
  Group copy(source);
  copy.mObjectList.clear();
  source.DeleteChildAll();
  EXPECT_EQ(destroyed, 1);
}

TEST(OwnershipTest, ListsThatAHostSwappedDestroyEachChildOnce) {
  int destroyed = 0;
  {
    Group first("Objects", nullptr);
    auto second = MakeGroup();
    first.AddObject(new CountedObject(destroyed, &first), 0);
    second->AddObject(new CountedObject(destroyed, second.get()), 0);
    first.mObjectList.swap(second->mObjectList);
    second.reset();
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(first.mObjectList[0]->mParent, nullptr);
  }
  EXPECT_EQ(destroyed, 2);
}

TEST(OwnershipTest, ACopySharesWhatAHostPutIntoTheSourceByHand) {
  int destroyed = 0;
  auto source = MakeGroup();
  source->mObjectList.push_back(new CountedObject(destroyed, nullptr));
  auto copy = std::make_unique<Group>(*source);
  copy.reset();
  EXPECT_EQ(destroyed, 0);
  copy = std::make_unique<Group>(*source);
  source.reset();
  EXPECT_EQ(destroyed, 0);
  copy.reset();
  EXPECT_EQ(destroyed, 1);
}

// --- Parents that die -----------------------------------------------------------------------

TEST(OwnershipTest, AnObjectThatWasNeverAddedForgetsItsDeadParent) {
  auto parent = MakeGroup();
  VQJsonRadioButtonObject button(parent.get());
  VQJsonObject plain(&button);
  parent.reset();
  EXPECT_EQ(button.mParent, nullptr);
  EXPECT_EQ(plain.mParent, &button);
  button.SetValue("Attr", "ON", -1, "");
  button.Delete("THIS");
}

TEST(OwnershipTest, APlainParentIsForgottenToo) {
  auto parent = std::make_unique<VQJsonObject>(nullptr);
  VQJsonObject child(parent.get());
  parent.reset();
  EXPECT_EQ(child.mParent, nullptr);
}

TEST(OwnershipTest, ACopyForgetsTheDeadParentOfItsSource) {
  auto parent = std::make_unique<VQJsonRadioButtonGroup>(nullptr);
  auto* button = AddChild<VQJsonRadioButtonObject>(*parent, "b");
  VQJsonRadioButtonObject copy(*button);
  VQJsonRadioButtonObject assigned(nullptr);
  assigned = *button;
  VQJsonRadioButtonObject copyOfCopy(copy);
  EXPECT_EQ(copy.mParent, parent.get());
  EXPECT_EQ(assigned.mParent, parent.get());
  button->SetValue("Type", "RADIOBTN", 0, "");
  button->SetValue("Attr", "ON", 0, "");
  copy.SetValue("Attr", "ON", -1, "");
  EXPECT_EQ(button->GetValue("Attr"), "OFF");
  parent.reset();
  for (VQJsonRadioButtonObject* left : {&copy, &assigned, &copyOfCopy}) {
    EXPECT_EQ(left->mParent, nullptr);
    left->SetValue("Value", "ON", -1, "");
    left->Delete("THIS");
  }
}

TEST(OwnershipTest, ASharedChildForgetsAParentThatLetItGo) {
  Group parent("Objects", nullptr);
  auto* child = AddChild(parent, "c");
  const Group copy(parent);
  parent.DeleteChild("c");
  EXPECT_EQ(child->mParent, nullptr);
  EXPECT_EQ(ChildrenOf(copy), (Texts{"c"}));
}

TEST(OwnershipTest, AParentOutlivesAnyNumberOfItsChildrenInAnyOrder) {
  auto parent = MakeGroup();
  std::vector<std::unique_ptr<VQJsonObject>> loose;
  for (int i = 0; i < 30; ++i) loose.push_back(std::make_unique<VQJsonObject>(parent.get()));
  for (const size_t next : {size_t{3}, size_t{29}, size_t{0}, size_t{28}}) loose[next].reset();
  AddChild(*parent, "kept");
  loose[10].reset();
  parent.reset();
  for (const auto& object : loose) {
    EXPECT_TRUE(object == nullptr || object->mParent == nullptr);
  }
}

// A child's destructor may still look at the parent that lets it go.
class LooksUp : public VQJsonObject {
 public:
  LooksUp(VQJsonObject* parent, std::string& seen) : VQJsonObject(parent), mSeen(seen) {}
  ~LooksUp() override { mSeen += mParent != nullptr ? std::string(mParent->mName) + ";" : "none;"; }

 private:
  std::string& mSeen;
};

TEST(OwnershipTest, ADyingChildStillHasItsLivingParent) {
  std::string seen;
  {
    Group group("Objects", nullptr);
    group.mName = "g";
    for (const char* name : {"a", "b", "c"}) {
      group.AddObject(Named(new LooksUp(&group, seen), name), 0);
    }
    group.DeleteChild("b");
    EXPECT_EQ(seen, "g;");
  }
  EXPECT_EQ(seen, "g;g;g;");
}

// --- Assignment -----------------------------------------------------------------------------

TEST(OwnershipTest, AnAssignmentThatWouldMakeACycleIsRefused) {
  int destroyed = 0;
  {
    CountedGroup root(destroyed, "Objects", nullptr);
    root.mName = "root";
    auto* middle = AddGroup(root, "middle");
    auto* leaf = AddGroup(*middle, "leaf");
    *middle = root;
    *leaf = root;
    *leaf = *middle;
    EXPECT_EQ(Plain(middle->mName), "middle");
    EXPECT_EQ(Plain(leaf->mListKey), "Objects");
    EXPECT_EQ(Plain(root.GetJson()),
              "{\"Objects\":[{\"Name\":\"middle\",\"Objects\":[{\"Name\":\"leaf\"}]}]}");
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(OwnershipTest, AnAncestorTakesOverTheChildrenOfItsDescendant) {
  int destroyed = 0;
  {
    Group root("Objects", nullptr);
    auto* middle = new CountedGroup(destroyed, "Objects", &root);
    root.AddObject(middle, 0);
    auto* leaf = Named(new CountedObject(destroyed, middle), "leaf");
    middle->AddObject(leaf, 0);
    root = *middle;
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(ChildrenOf(root), (Texts{"leaf"}));
    EXPECT_EQ(leaf->mParent, nullptr);
  }
  EXPECT_EQ(destroyed, 2);
}

TEST(OwnershipTest, AssigningTheSameChildrenAgainKeepsThem) {
  int destroyed = 0;
  Group source("Objects", nullptr);
  source.AddObject(Named(new CountedObject(destroyed, &source), "c"), 0);
  Group target(source);
  target = source;
  source = target;
  EXPECT_EQ(destroyed, 0);
  EXPECT_EQ(ChildrenOf(source), (Texts{"c"}));
  EXPECT_EQ(source.mObjectList[0]->mParent, &source);
}

TEST(OwnershipTest, ChildrenThatStayInAListKeepTheirParent) {
  Group source("Objects", nullptr);
  for (const char* const name : {"a", "b"}) AddChild(source, name);
  const Group copy(source);
  source = copy;
  EXPECT_EQ(ChildrenOf(source), (Texts{"a", "b"}));
  for (const VQJsonObject* child : source.mObjectList) EXPECT_EQ(child->mParent, &source);
}

TEST(OwnershipTest, AnObjectMayBeAssignedFromItsOwnChild) {
  Group root("Objects", nullptr);
  auto* child = AddChild(root, "c");
  root.VQJsonObject::operator=(*child);
  EXPECT_EQ(Plain(root.mName), "c");
  EXPECT_EQ(ChildrenOf(root), (Texts{"c"}));
}

}  // namespace
