// Hosts derive from these classes and were compiled against their members and tables: both orders
// are pinned here.
#include <gtest/gtest.h>

#include <iostream>
#include <type_traits>

#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonResource.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/VirtualSlot.h"

namespace {

TEST(VQJsonObjectLayoutTest, VirtualOperationsKeepTheirSlots) {
  using WriteFresh = void (VQJsonObject::*)(std::ostream&);
  using WriteCounted = void (VQJsonObject::*)(std::ostream&, int&);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::HasGroup), 2);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::AddObject), 3);
  EXPECT_EQ(VirtualSlot<WriteFresh>(&VQJsonObject::OutJson), 4);
  EXPECT_EQ(VirtualSlot<WriteCounted>(&VQJsonObject::OutJson), 5);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::OutJsonMember), 6);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::OutJsonDirtyMember), 7);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::OutJsonList), 8);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::SearchName), 9);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::SetValue), 10);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::Parse), 11);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::GetJson), 12);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::SetValueByName), 13);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::GetValue), 14);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::GetParent), 15);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::HasKey), 16);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::ResetDirty), 17);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::SetDirtyDel), 18);
}

TEST(VQJsonObjectLayoutTest, TheOtherOperationsAreNotVirtual) {
  EXPECT_EQ(VirtualSlot(&VQJsonObject::Delete), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::SetDirty), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::IsDirty), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::IsDirtyAdd), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::IsDirtyDel), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::SetDirtyAdd), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::GetDirtyDel), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::ResetDirtyAdd), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::ResetDirtyDel), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::GetObject), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::KeyValueBegin), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObject::KeyValueEnd), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObjectHasList::DeleteChild), -1);
  EXPECT_EQ(VirtualSlot(&VQJsonObjectHasList::DeleteChildAll), -1);
}

// The grid's own form is a new slot behind the last one of the base, no override of the
// three-argument form, which stays reachable on a grid.
TEST(VQJsonObjectLayoutTest, TheGridAppendsItsOwnDirtyWriter) {
  using GridWriter = void (VQJsonGrid::*)(std::ostream&, int&);
  EXPECT_EQ(VirtualSlot<GridWriter>(&VQJsonGrid::OutJsonDirtyMember), 19);
  VQJsonGrid grid(nullptr);
  int count = 0;
  grid.OutJsonDirtyMember(std::cout, count, "S1");
  EXPECT_EQ(count, 0);
}

TEST(VQJsonObjectLayoutTest, ObjectMembersLieInTheirOrder) {
  VQJsonObject object(nullptr);
  EXPECT_TRUE(AreInOrder({MemberAddress(object), MemberAddress(object.mDebugFlag),
                          MemberAddress(object.mName), MemberAddress(object.mParent),
                          MemberAddress(object.mDirty), MemberAddress(object.mDirtyAdd),
                          MemberAddress(object.mDirtyDel), MemberAddress(object.mList)}));
  // The tag lies directly behind the table pointer: the allocation operator relies on it.
  EXPECT_EQ(MemberAddress(object.mDebugFlag) - MemberAddress(object), sizeof(void*));
  EXPECT_TRUE((std::is_same_v<decltype(object.mDirty), std::set<KZString>>));
  EXPECT_TRUE((std::is_same_v<decltype(object.mList), std::map<KZString, VQValue>>));
  EXPECT_TRUE((std::is_same_v<decltype(object.mDirtyAdd), bool>));
  EXPECT_TRUE((std::is_same_v<decltype(object.mDirtyDel), KZString>));
  EXPECT_TRUE((std::is_same_v<decltype(object.mParent), VQJsonObject*>));
  EXPECT_EQ(sizeof(object.mDebugFlag), 4u);
  EXPECT_TRUE(std::is_signed_v<decltype(object.mDebugFlag)>);
}

TEST(VQJsonObjectLayoutTest, GroupMembersFollowTheBase) {
  VQJsonObjectHasList group("Objects", nullptr);
  EXPECT_TRUE(AreInOrder({MemberAddress(group.mList), MemberAddress(group.mListKey),
                          MemberAddress(group.mObjectList)}));
  EXPECT_GE(MemberAddress(group.mListKey), MemberAddress(group) + sizeof(VQJsonObject) - 8);
  EXPECT_TRUE((std::is_same_v<decltype(group.mObjectList), std::vector<VQJsonObject*>>));
}

TEST(VQJsonObjectLayoutTest, TheGridsTableFollowsTheBase) {
  VQJsonGrid grid(nullptr);
  EXPECT_TRUE(AreInOrder({MemberAddress(grid.mList), MemberAddress(grid.mData)}));
  EXPECT_TRUE((std::is_same_v<decltype(grid.mData), std::vector<std::vector<VQValue>>>));
}

TEST(VQJsonObjectLayoutTest, ClassesDeriveFromOneAnother) {
  EXPECT_TRUE((std::is_base_of_v<VQJsonObject, VQJsonObjectHasList>));
  EXPECT_TRUE((std::is_base_of_v<VQJsonObject, VQJsonRadioButtonObject>));
  EXPECT_FALSE((std::is_base_of_v<VQJsonObjectHasList, VQJsonRadioButtonObject>));
  EXPECT_TRUE((std::is_base_of_v<VQJsonObjectHasList, VQJsonRadioButtonGroup>));
  EXPECT_TRUE((std::is_base_of_v<VQJsonObject, VQJsonGrid>));
  EXPECT_FALSE((std::is_base_of_v<VQJsonObjectHasList, VQJsonGrid>));
  EXPECT_TRUE((std::is_base_of_v<VQJsonObjectHasList, VQJsonResource>));
  EXPECT_TRUE((std::is_base_of_v<VQJsonObjectHasList, VQJsonCommand>));
  EXPECT_TRUE((std::is_base_of_v<VQJsonObjectHasList, VQJsonCommands>));
  EXPECT_TRUE(std::has_virtual_destructor_v<VQJsonObject>);
}

TEST(VQJsonObjectLayoutTest, RadioClassesResourcesAndCommandsAddNoMembers) {
  EXPECT_EQ(sizeof(VQJsonRadioButtonObject), sizeof(VQJsonObject));
  EXPECT_EQ(sizeof(VQJsonRadioButtonGroup), sizeof(VQJsonObjectHasList));
  EXPECT_EQ(sizeof(VQJsonResource), sizeof(VQJsonObjectHasList));
  EXPECT_EQ(sizeof(VQJsonCommand), sizeof(VQJsonObjectHasList));
  EXPECT_EQ(sizeof(VQJsonCommands), sizeof(VQJsonObjectHasList));
}

}  // namespace
