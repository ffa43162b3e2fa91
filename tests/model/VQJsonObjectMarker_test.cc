// The class tag tells a tree object made with `new` from any other one. A compiler may take the
// allocation marker away; these tests hold at every optimisation level.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonParser.h"
#include "dorn/model/VQJsonResource.h"
#include "tests/support/CapturedStdout.h"

namespace {

template <class T, class... Args>
int TagOnHeap(Args&&... args) {
  const std::unique_ptr<T> object(new T(std::forward<Args>(args)...));
  return object->mDebugFlag;
}

template <class T, class... Args>
int TagOnStack(Args&&... args) {
  const T object(std::forward<Args>(args)...);
  return object.mDebugFlag;
}

VQJsonObject* const kNoParent = nullptr;
VQJsonObject gStatic(nullptr);

TEST(VQJsonObjectMarkerTest, APlainObjectOnTheHeapHasTag10) {
  for (int round = 0; round < 100; ++round) EXPECT_EQ(TagOnHeap<VQJsonObject>(kNoParent), 10);
}

TEST(VQJsonObjectMarkerTest, AnObjectOfAHostThatAsksForNoExceptionsHasTheTagOfTheHeapToo) {
  const std::unique_ptr<VQJsonObject> object(new (std::nothrow) VQJsonObject(nullptr));
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->mDebugFlag, 10);
}

TEST(VQJsonObjectMarkerTest, APlainObjectElsewhereHasTag1) {
  EXPECT_EQ(TagOnStack<VQJsonObject>(kNoParent), 1);
  EXPECT_EQ(gStatic.mDebugFlag, 1);
  std::optional<VQJsonObject> inside;
  inside.emplace(nullptr);
  EXPECT_EQ(inside->mDebugFlag, 1);
}

TEST(VQJsonObjectMarkerTest, EverySubclassHasItsSingleDigitTagOnTheHeap) {
  EXPECT_EQ(TagOnHeap<VQJsonObjectHasList>("Objects", kNoParent), 2);
  EXPECT_EQ(TagOnHeap<VQJsonRadioButtonObject>(kNoParent), 3);
  EXPECT_EQ(TagOnHeap<VQJsonRadioButtonGroup>(kNoParent), 4);
  EXPECT_EQ(TagOnHeap<VQJsonCommand>("HELLO"), 5);
  EXPECT_EQ(TagOnHeap<VQJsonResource>(), 6);
  EXPECT_EQ(TagOnHeap<VQJsonGrid>(kNoParent), 7);
  EXPECT_EQ(TagOnHeap<VQJsonCommands>(), 2);
}

TEST(VQJsonObjectMarkerTest, EverySubclassHasTheSameTagOnTheStack) {
  EXPECT_EQ(TagOnStack<VQJsonObjectHasList>("Objects", kNoParent), 2);
  EXPECT_EQ(TagOnStack<VQJsonRadioButtonObject>(kNoParent), 3);
  EXPECT_EQ(TagOnStack<VQJsonRadioButtonGroup>(kNoParent), 4);
  EXPECT_EQ(TagOnStack<VQJsonCommand>("HELLO"), 5);
  EXPECT_EQ(TagOnStack<VQJsonResource>(), 6);
  EXPECT_EQ(TagOnStack<VQJsonGrid>(kNoParent), 7);
  EXPECT_EQ(TagOnStack<VQJsonCommands>(), 2);
}

TEST(VQJsonObjectMarkerTest, CopiesOfGroupsCarryTheTagOfTheirClass) {
  const VQJsonObjectHasList group("Objects", nullptr);
  const VQJsonResource resource;
  const VQJsonObjectHasList groupCopy(group);
  const VQJsonResource resourceCopy(resource);
  EXPECT_EQ(groupCopy.mDebugFlag, 2);
  EXPECT_EQ(resourceCopy.mDebugFlag, 6);
  EXPECT_EQ(TagOnHeap<VQJsonResource>(resource), 6);
}

// Allocation comes before the constructor's arguments are evaluated, so the outer object is
// allocated first and constructed last.
TEST(VQJsonObjectMarkerTest, NestedNewsEachKeepTheirMarker) {
  VQJsonObject* inner = nullptr;
  VQJsonObject* middle = nullptr;
  const std::unique_ptr<VQJsonObject> outer(
      new VQJsonObject(middle = new VQJsonObject(inner = new VQJsonObject(nullptr))));
  EXPECT_EQ(outer->mDebugFlag, 10);
  EXPECT_EQ(middle->mDebugFlag, 10);
  EXPECT_EQ(inner->mDebugFlag, 10);
  EXPECT_EQ(outer->mParent, middle);
  delete middle;
  delete inner;
}

VQJsonObject* ParentFromAStackObject(int& tag) {
  const VQJsonObject local(nullptr);
  tag = local.mDebugFlag;
  return nullptr;
}

TEST(VQJsonObjectMarkerTest, AnObjectOnTheStackBetweenAllocationAndConstructionHasTag1) {
  int localTag = 0;
  const std::unique_ptr<VQJsonObject> object(new VQJsonObject(ParentFromAStackObject(localTag)));
  EXPECT_EQ(localTag, 1);
  EXPECT_EQ(object->mDebugFlag, 10);
}

TEST(VQJsonObjectMarkerTest, DeepNestingKeepsEveryMarker) {
  struct Chain {
    static VQJsonObject* Make(int depth, std::vector<std::unique_ptr<VQJsonObject>>& made) {
      if (depth == 0) return nullptr;
      auto* object = new VQJsonObject(Make(depth - 1, made));
      made.emplace_back(object);
      return object;
    }
  };
  std::vector<std::unique_ptr<VQJsonObject>> made;
  Chain::Make(64, made);
  ASSERT_EQ(made.size(), 64u);
  for (const auto& object : made) EXPECT_EQ(object->mDebugFlag, 10);
}

TEST(VQJsonObjectMarkerTest, StorageThatNobodyUsesDoesNotCrowdOutObjects) {
  std::vector<void*> unused;
  for (int i = 0; i < 200; ++i) unused.push_back(VQJsonObject::operator new(sizeof(VQJsonObject)));
  EXPECT_EQ(TagOnHeap<VQJsonObject>(kNoParent), 10);
  for (void* storage : unused) VQJsonObject::operator delete(storage);
  EXPECT_EQ(TagOnHeap<VQJsonObject>(kNoParent), 10);
}

TEST(VQJsonObjectMarkerTest, MakeUniqueUsesTheAllocationOperator) {
  EXPECT_EQ(std::make_unique<VQJsonObject>(kNoParent)->mDebugFlag, 10);
  EXPECT_EQ(std::make_unique<VQJsonGrid>(kNoParent)->mDebugFlag, 7);
}

TEST(VQJsonObjectMarkerTest, MakeSharedAndMapValuesAreNotMarked) {
  EXPECT_EQ(std::make_shared<VQJsonObject>(kNoParent)->mDebugFlag, 1);
  std::map<int, VQJsonObject> objects;
  EXPECT_EQ(objects.try_emplace(1, kNoParent).first->second.mDebugFlag, 1);
  std::map<int, VQJsonResource> resources;
  EXPECT_EQ(resources[1].mDebugFlag, 6);
}

TEST(VQJsonObjectMarkerTest, PlacementNewIsNotMarked) {
  alignas(VQJsonObject) unsigned char storage[sizeof(VQJsonObject)];
  auto* global = ::new (storage) VQJsonObject(nullptr);
  EXPECT_EQ(global->mDebugFlag, 1);
  global->~VQJsonObject();
  auto* unqualified = new (storage) VQJsonObject(nullptr);
  EXPECT_EQ(unqualified->mDebugFlag, 1);
  unqualified->~VQJsonObject();
}

TEST(VQJsonObjectMarkerTest, PlacementNewOnAFreedObjectsPlaceIsNotMarked) {
  auto* object = new VQJsonObject(nullptr);
  ASSERT_EQ(object->mDebugFlag, 10);
  object->~VQJsonObject();
  auto* again = ::new (static_cast<void*>(object)) VQJsonObject(nullptr);
  EXPECT_EQ(again->mDebugFlag, 1);
  delete again;
}

TEST(VQJsonObjectMarkerTest, TheAllocationOperatorStoresTheMarker) {
  const VQJsonObject layout(nullptr);
  const auto offset =
      reinterpret_cast<const char*>(&layout.mDebugFlag) - reinterpret_cast<const char*>(&layout);
  const size_t least = static_cast<size_t>(offset) + sizeof(std::int32_t);
  for (const size_t size : {least, sizeof(VQJsonObject), sizeof(VQJsonGrid), size_t{4096}}) {
    void* storage = VQJsonObject::operator new(size);
    std::int32_t marker = 0;
    std::memcpy(&marker, static_cast<const char*>(storage) + offset, sizeof marker);
    EXPECT_EQ(marker, 123454321);
    VQJsonObject::operator delete(storage);
  }
}

VQJsonObject* Refuse() { throw std::runtime_error("no parent"); }

// A constructor that never ran must leave nothing behind for whoever gets that memory next.
TEST(VQJsonObjectMarkerTest, AnAllocationWithoutConstructionLeavesNoMarker) {
  for (int round = 0; round < 50; ++round) {
    EXPECT_THROW(delete new VQJsonObject(Refuse()), std::runtime_error);
    void* memory = ::operator new(sizeof(VQJsonObject));
    auto* object = ::new (memory) VQJsonObject(nullptr);
    EXPECT_EQ(object->mDebugFlag, 1);
    object->~VQJsonObject();
    ::operator delete(memory);
    EXPECT_EQ(TagOnHeap<VQJsonObject>(kNoParent), 10);
  }
}

class HostObject : public VQJsonObject {
 public:
  HostObject() : VQJsonObject(nullptr), mInner(this) {}
  VQJsonObject mInner;
};

TEST(VQJsonObjectMarkerTest, AHostClassHasTheBaseTagAndItsMemberObjectsAreNotMarked) {
  const std::unique_ptr<HostObject> heap(new HostObject);
  EXPECT_EQ(heap->mDebugFlag, 10);
  EXPECT_EQ(heap->mInner.mDebugFlag, 1);
  const HostObject stack;
  EXPECT_EQ(stack.mDebugFlag, 1);
  EXPECT_EQ(stack.mInner.mDebugFlag, 1);
}

struct Other {
  virtual ~Other() = default;
  long mWord = 0;
};
class SecondBase : public Other, public VQJsonObject {
 public:
  SecondBase() : VQJsonObject(nullptr) {}
};

TEST(VQJsonObjectMarkerTest, AnObjectThatIsASecondBaseDisturbsNoOther) {
  const std::unique_ptr<VQJsonObject> second(new SecondBase);
  EXPECT_TRUE(second->mDebugFlag == 10 || second->mDebugFlag == 1);
  EXPECT_EQ(TagOnStack<VQJsonObject>(kNoParent), 1);
  EXPECT_EQ(TagOnHeap<VQJsonObject>(kNoParent), 10);
}

TEST(VQJsonObjectMarkerTest, EachThreadMarksItsOwnObjects) {
  std::vector<std::thread> threads;
  int wrong[4] = {};
  for (int& mine : wrong) {
    threads.emplace_back([&mine] {
      for (int round = 0; round < 1000; ++round)
        mine +=
            TagOnHeap<VQJsonObject>(kNoParent) != 10 || TagOnStack<VQJsonObject>(kNoParent) != 1;
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const int mine : wrong) EXPECT_EQ(mine, 0);
}

TEST(VQJsonObjectMarkerTest, TheParserAllocatesWithTheClassesOperator) {
  VQJsonParser parser;
  CapturedStdout captured;
  const std::unique_ptr<VQJsonObject> plain(parser.CreateObject("LABEL", "", nullptr));
  const std::unique_ptr<VQJsonObject> group(parser.CreateObject("GROUP", "", nullptr));
  const std::unique_ptr<VQJsonObject> button(parser.CreateObject("RADIOBTN", "", nullptr));
  const std::unique_ptr<VQJsonObject> radio(parser.CreateObject("GROUP", "RADIO", nullptr));
  const std::unique_ptr<VQJsonObject> command(parser.CreateCommand("CHANGE"));
  const std::unique_ptr<VQJsonObject> dialog(parser.CreateCommand("DIALOG"));
  const std::unique_ptr<VQJsonObject> grid(parser.CreateObject("GRID", "", nullptr));
  captured.Text();
  EXPECT_EQ(plain->mDebugFlag, 10);
  EXPECT_EQ(group->mDebugFlag, 2);
  EXPECT_EQ(button->mDebugFlag, 3);
  EXPECT_EQ(radio->mDebugFlag, 4);
  EXPECT_EQ(command->mDebugFlag, 5);
  EXPECT_EQ(dialog->mDebugFlag, 6);
  EXPECT_EQ(grid->mDebugFlag, 7);
}

}  // namespace
