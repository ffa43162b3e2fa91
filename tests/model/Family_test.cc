// Relations by themselves: who is related to whom, and what a family takes of the memory.
#include "dorn/model/Family.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "dorn/model/VQJsonObject.h"
#include "tests/support/Allocations.h"

namespace {

using dorn::Family;

// Groups and objects that nobody has related yet.
class FamilyTest : public testing::Test {
 protected:
  static bool IsHeld(const VQJsonObject& member) {
    std::size_t place = 0;
    return Family::IsHeld(member, place);
  }

  // As a host lists an object: without any relation.
  static void List(VQJsonObjectHasList& group, VQJsonObject& child) {
    group.mObjectList.push_back(&child);
  }

  // The lists hold what is no group's to destroy.
  void TearDown() override {
    mFirst.mObjectList.clear();
    mSecond.mObjectList.clear();
  }

  VQJsonObject mA{nullptr};
  VQJsonObject mB{nullptr};
  VQJsonObjectHasList mFirst{"Objects", nullptr};
  VQJsonObjectHasList mSecond{"Objects", nullptr};
};

TEST_F(FamilyTest, ARelationEndsWhenTheGroupLetsTheMemberGo) {
  List(mFirst, mA);
  Family::Join(mFirst, mA);
  ASSERT_TRUE(IsHeld(mA));
  Family::Leave(mFirst, mA);
  EXPECT_FALSE(IsHeld(mA));
  EXPECT_FALSE(Family::HasOnlyHead(mA, mFirst));
  EXPECT_FALSE(Family::HasOnlyItsList(mFirst, nullptr));
}

TEST_F(FamilyTest, OfTwoRelationsTheOtherOneStays) {
  for (VQJsonObjectHasList* group : {&mFirst, &mSecond}) {
    List(*group, mA);
    Family::Join(*group, mA);
  }
  Family::Leave(mFirst, mA);
  EXPECT_TRUE(IsHeld(mA));
  EXPECT_TRUE(Family::HasOnlyItsList(mSecond, nullptr));
  mSecond.mObjectList.clear();
  EXPECT_FALSE(IsHeld(mA));
}

TEST_F(FamilyTest, AGroupThatLetsASharedChildGoIsNotRelatedToItAnyMore) {
  VQJsonObjectHasList group("Objects", nullptr);
  mA.mName = "a";
  for (VQJsonObjectHasList* holder : {&group, &mFirst}) holder->AddObject(&mA, 0);
  group.DeleteChild("a");
  mFirst.mObjectList.clear();
  List(group, mA);
  EXPECT_FALSE(IsHeld(mA));
  group.mObjectList.clear();
}

TEST_F(FamilyTest, WhoIsNoMemberHasNothingToLeave) {
  List(mFirst, mA);
  List(mSecond, mB);
  Family::Join(mFirst, mA);
  Family::Join(mSecond, mB);
  Family::Leave(mSecond, mA);
  EXPECT_TRUE(IsHeld(mA) && IsHeld(mB));
  EXPECT_TRUE(Family::HasOnlyItsList(mFirst, nullptr));
  EXPECT_TRUE(Family::HasOnlyItsList(mSecond, nullptr));
}

TEST_F(FamilyTest, AGroupWithoutRelationsHasOnlyItsListIfThatIsEmpty) {
  EXPECT_TRUE(Family::HasOnlyItsList(mFirst, nullptr));
  List(mFirst, mA);
  EXPECT_FALSE(Family::HasOnlyItsList(mFirst, nullptr));
}

TEST_F(FamilyTest, AGroupWithAHeadHasOnlyItsListOfThatHeadAlone) {
  for (const bool hasChild : {false, true}) {
    if (hasChild) {
      List(mSecond, mA);
      Family::Join(mSecond, mA);
    }
    Family::Join(mFirst, mSecond);
    EXPECT_TRUE(Family::HasOnlyItsList(mSecond, &mFirst)) << hasChild;
    EXPECT_FALSE(Family::HasOnlyItsList(mSecond, nullptr)) << hasChild;
    EXPECT_FALSE(Family::HasOnlyItsList(mSecond, &mB)) << hasChild;
    Family::Join(mB, mSecond);
    EXPECT_FALSE(Family::HasOnlyItsList(mSecond, &mFirst)) << hasChild;
    Family::Leave(mB, mSecond);
    EXPECT_TRUE(Family::HasOnlyItsList(mSecond, &mFirst)) << hasChild;
  }
}

TEST_F(FamilyTest, AnObjectWithoutAnyRelationHasNoHead) {
  EXPECT_FALSE(Family::HasOnlyHead(mA, mB));
  Family::Join(mB, mA);
  EXPECT_TRUE(Family::HasOnlyHead(mA, mB));
  EXPECT_FALSE(Family::HasOnlyHead(mA, mFirst));
}

// --- What a family takes of the memory ------------------------------------------------------

std::vector<std::unique_ptr<VQJsonObject>> Loose(int count) {
  std::vector<std::unique_ptr<VQJsonObject>> objects;
  for (int i = 0; i < count; ++i) objects.push_back(std::make_unique<VQJsonObject>(nullptr));
  return objects;
}

// The allocations that relating so many objects to a new one takes.
std::size_t AllocationsFor(int members) {
  const auto objects = Loose(members);
  VQJsonObject head(nullptr);
  const Allocations allocations;
  for (const auto& object : objects) Family::Join(head, *object);
  return allocations.Count();
}

TEST(FamilyMemoryTest, TheNextOneFindsRoomForAsManyMembersAsUsual) {
  AllocationsFor(64);
  for (int round = 0; round < 1000; ++round) ASSERT_EQ(AllocationsFor(64), 0U) << round;
}

TEST(FamilyMemoryTest, TheRoomForVeryManyMembersIsNotKept) {
  AllocationsFor(65);
  EXPECT_GT(AllocationsFor(1), 0U);
}

}  // namespace
