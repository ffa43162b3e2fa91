#include "site/core/TreeCodec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonParser.h"
#include "dorn/model/VQJsonRadioButton.h"
#include "tests/model/Trees.h"
#include "tests/support/TreeDump.h"

namespace dorn::site {
namespace {

using testing::ElementsAre;

VQValue ObjectOf(VQJObject members) { return VQValue(members); }
VQValue ArrayOf(VQJArray elements) { return VQValue(elements); }

// Written and read back; nothing of the other tree is left.
class TreeCodecTest : public testing::Test {
 protected:
  TreeCodecTest() { AddChild(mRead, "before"); }

  // Expects both to be alike in everything, and to give the same bytes.
  void ReadBack() {
    const std::string bytes = EncodeTree(mTree);
    ASSERT_TRUE(DecodeTree(bytes, mRead));
    EXPECT_EQ(DumpOf(mRead), DumpOf(mTree));
    EXPECT_EQ(EncodeTree(mRead), bytes);
  }

  VQJsonObjectHasList& GroupAt(std::size_t place) {
    return static_cast<VQJsonObjectHasList&>(*mRead.mObjectList[place]);
  }

  VQJsonResource mTree;
  VQJsonResource mRead;
};

TEST_F(TreeCodecTest, AnEmptyTreeIsReadBack) {
  ReadBack();
  EXPECT_TRUE(mRead.mObjectList.empty());
}

TEST_F(TreeCodecTest, EveryClassIsReadBackInItsPlace) {
  Named(&mTree, "root");
  AddChild(mTree, "plain");
  AddChild<VQJsonRadioButtonObject>(mTree, "button");
  AddChild<VQJsonGrid>(mTree, "grid");
  AddChild(*AddGroup(mTree, "group"), "inside");
  AddChild<VQJsonRadioButtonGroup>(mTree, "radio group");
  mTree.AddObject(new VQJsonCommands, 0);
  mTree.AddObject(new VQJsonResource, 0);
  mTree.mListKey = "Items";

  ReadBack();
  EXPECT_EQ(mRead.mListKey, "Items");
}

// A command is marked as a new one is, so it is not compared by its marks.
TEST_F(TreeCodecTest, ACommandInsideIsReadBack) {
  auto* command = new VQJsonCommand("UPDATE");
  AddChild(*command, "lamp");
  mTree.AddObject(command, 0);

  ReadBack();
  EXPECT_NE(dynamic_cast<VQJsonCommand*>(mRead.mObjectList[0]), nullptr);
}

TEST_F(TreeCodecTest, ValuesOfEveryKindAreReadBack) {
  const VQValue values[] = {
      VQValue(),
      VQValue(0),
      VQValue(-2147483647 - 1),
      VQValue(2147483647),
      VQValue("12 pieces"),
      VQValue(""),
      VQValue(true),
      VQValue(false),
      ObjectOf({}),
      ArrayOf({}),
      ObjectOf({{"", 1}, {"a", ArrayOf({1, "x", VQValue()})}, {"b", ObjectOf({{"c", true}})}}),
      ArrayOf({ArrayOf({}), ObjectOf({{"k", "v"}})})};
  int number = 0;
  for (const VQValue& value : values) {
    mTree.mList["key" + std::to_string(number++)] = value;
  }

  ReadBack();
}

TEST_F(TreeCodecTest, ContainersThatAScalarHasKeptAreReadBack) {
  VQValue value = ObjectOf({{"member", 1}});
  value.Set(5);
  mTree.mList["Value"] = value;

  ReadBack();
  EXPECT_EQ(mRead.mList["Value"].GetObject().size(), 1U);
}

TEST_F(TreeCodecTest, WhatAHostHasWrittenIntoAValueIsReadBack) {
  VQValue value(7);
  value.mString = std::string("se\0ven", 6);
  mTree.mList["odd"] = value;
  VQValue moved = ArrayOf({1});
  moved.mArray.reset();
  mTree.mList["moved"] = moved;

  ReadBack();
}

TEST_F(TreeCodecTest, AKindThatNobodyKnowsIsNone) {
  mTree.mList["odd"].mType = 77;

  ASSERT_TRUE(DecodeTree(EncodeTree(mTree), mRead));
  EXPECT_EQ(mRead.mList["odd"].mType, VQValue::TYPE_NONE);
}

TEST_F(TreeCodecTest, AnArrayThatWasLookedAtGivesTheSameBytes) {
  mTree.mList["Data"] = ArrayOf({1, 2, 3});
  const std::string bytes = EncodeTree(mTree);

  ASSERT_EQ(mTree.mList["Data"].GetString(), "[123]");
  EXPECT_EQ(EncodeTree(mTree), bytes);
  ASSERT_TRUE(DecodeTree(bytes, mRead));
  EXPECT_STREQ(mRead.mList["Data"].GetChar(), "[]");
}

TEST_F(TreeCodecTest, SharedContainersStaySharedAndOthersDoNot) {
  const VQValue shared = ArrayOf({1});
  mTree.mList["a"] = shared;
  mTree.mList["b"] = ArrayOf({1});
  AddChild(mTree, "child")->mList["c"] = ObjectOf({{"inner", shared}});

  ReadBack();
  EXPECT_EQ(mRead.mList["a"].mArray, mRead.mObjectList[0]->mList["c"].mObject->at("inner").mArray);
  EXPECT_NE(mRead.mList["a"].mArray, mRead.mList["b"].mArray);
}

TEST_F(TreeCodecTest, RowsOfAGridMayDifferInLength) {
  auto* grid = AddChild<VQJsonGrid>(mTree, "grid");
  grid->mData = {{}, {VQValue(1)}, {VQValue("a\"b"), VQValue(), ArrayOf({true})}};

  ReadBack();
  const auto& rows = static_cast<VQJsonGrid&>(*mRead.mObjectList[0]).mData;
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_EQ(rows[0].size(), 0U);
  EXPECT_EQ(rows[1][0].GetInt(), 1);
  EXPECT_EQ(rows[2].size(), 3U);
  EXPECT_EQ(rows[2][1].GetType(), VQValue::TYPE_NONE);
}

TEST_F(TreeCodecTest, TextsMayHoldQuotesControlBytesAndAnythingElse) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all.push_back(static_cast<char>(byte));
  VQJsonObject* child = AddChild(mTree, "x");
  child->mName = all;
  child->mList[KZString(all)].mString = all;
  AddGroup(mTree, "\"\\\n\x01")->mListKey = all;

  ReadBack();
}

// The name of an object and its attribute of that name are two things.
TEST_F(TreeCodecTest, NameAndAttributeAreWrittenEach) {
  AddChild(mTree, "attribute")->mName = "member";
  mTree.AddObject(new VQJsonObject(&mTree), 0);

  ReadBack();
}

TEST_F(TreeCodecTest, RadioButtonsSwitchEachOtherOffAsBefore) {
  auto* group = AddChild<VQJsonRadioButtonGroup>(mTree, "radio");
  for (const char* name : {"one", "two"}) {
    auto* button = AddChild<VQJsonRadioButtonObject>(*group, name);
    button->SetValue("Type", "RADIOBTN", 0, "");
    button->SetValue("Attr", "OFF", 0, "");
  }
  group->mObjectList[0]->SetValue("Attr", "ON", 0, "");

  ReadBack();
  mRead.SearchName("two")->SetValue("Attr", "ON", -1, "");
  EXPECT_EQ(Plain(mRead.SearchName("one")->GetValue("Attr").GetString()), "OFF");
}

TEST_F(TreeCodecTest, SharedChildrenStayShared) {
  VQJsonObjectHasList* first = AddGroup(mTree, "first");
  VQJsonObjectHasList* second = AddGroup(mTree, "second");
  VQJsonObjectHasList* child = AddGroup(*second, "shared");
  AddChild(*child, "below");
  first->AddObject(child, 0);

  ReadBack();
  VQJsonObject* shared = GroupAt(0).mObjectList[0];
  EXPECT_EQ(shared, GroupAt(1).mObjectList[0]);
  // It belonged to the second group, as its parent: it goes on living without.
  EXPECT_EQ(shared->mParent, &GroupAt(1));
  mRead.DeleteChild("second");
  EXPECT_EQ(shared->mParent, nullptr);
  EXPECT_EQ(shared->mName, "shared");
}

TEST_F(TreeCodecTest, ACopyOfAGroupSharesItsChildren) {
  VQJsonObjectHasList* group = AddGroup(mTree, "group");
  AddChild(*group, "one");
  AddChild(*group, "two");
  mTree.AddObject(new VQJsonObjectHasList(*group), 0);

  ReadBack();
  EXPECT_EQ(GroupAt(0).mObjectList, GroupAt(1).mObjectList);
}

TEST_F(TreeCodecTest, ListsThatAHostHasWrittenAreReadBack) {
  VQJsonObject* child = AddChild(mTree, "twice");
  mTree.mObjectList = {nullptr, child, child};

  ASSERT_TRUE(DecodeTree(EncodeTree(mTree), mRead));
  ASSERT_EQ(mRead.mObjectList.size(), 3U);
  EXPECT_EQ(mRead.mObjectList[0], nullptr);
  EXPECT_EQ(mRead.mObjectList[1], mRead.mObjectList[2]);
  EXPECT_EQ(EncodeTree(mRead), EncodeTree(mTree));
}

TEST_F(TreeCodecTest, AParentThatHoldsSomeoneElseIsReadBack) {
  VQJsonObjectHasList* holder = AddGroup(mTree, "holder");
  VQJsonObject* parent = AddChild(mTree, "parent");
  holder->AddObject(Named(new VQJsonObject(parent), "child"), 0);

  ReadBack();
  VQJsonObject* child = GroupAt(0).mObjectList[0];
  EXPECT_EQ(child->mParent, mRead.mObjectList[1]);
  mRead.DeleteChild("parent");
  EXPECT_EQ(child->mParent, nullptr);
}

TEST_F(TreeCodecTest, ParentsOutsideTheTreeOrInACircleAreNone) {
  VQJsonObject outside(nullptr);
  mTree.AddObject(new VQJsonObject(&outside), 0);
  VQJsonObject* own = AddChild(mTree, "own");
  own->mParent = own;
  VQJsonObject* one = AddChild(mTree, "one");
  VQJsonObject* other = AddChild(mTree, "other");
  one->mParent = other;
  other->mParent = one;
  AddChild(mTree, "below")->mParent = one;
  AddChild(mTree, "usual");

  ASSERT_TRUE(DecodeTree(EncodeTree(mTree), mRead));
  std::vector<bool> hasParent;
  for (const VQJsonObject* child : mRead.mObjectList)
    hasParent.push_back(child->mParent != nullptr);
  EXPECT_THAT(hasParent, ElementsAre(false, false, false, false, false, true));
  EXPECT_EQ(EncodeTree(mRead), EncodeTree(mTree));
}

class HostLamp : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
};
class HostPanel : public VQJsonObjectHasList {
 public:
  explicit HostPanel(VQJsonObject* parent) : VQJsonObjectHasList("Lamps", parent) {}
  bool HasGroup() override { return false; }
};
class HostButton : public VQJsonRadioButtonObject {
 public:
  using VQJsonRadioButtonObject::VQJsonRadioButtonObject;
};
class HostTable : public VQJsonGrid {
 public:
  using VQJsonGrid::VQJsonGrid;
};
class HostChoice : public VQJsonRadioButtonGroup {
 public:
  using VQJsonRadioButtonGroup::VQJsonRadioButtonGroup;
};
class HostOrder : public VQJsonCommand {
 public:
  HostOrder() : VQJsonCommand("ORDER") {}
};

TEST_F(TreeCodecTest, AHostsOwnClassIsReadAsTheOneThatItDerivesFrom) {
  AddChild<HostLamp>(mTree, "lamp");
  AddChild<HostButton>(mTree, "button");
  AddChild<HostTable>(mTree, "table")->mData = {{VQValue(1)}};
  AddChild(*AddChild<HostPanel>(mTree, "panel"), "inside");
  AddChild(*AddChild<HostChoice>(mTree, "choice"), "inside too");
  mTree.AddObject(new HostOrder, 0);

  ASSERT_TRUE(DecodeTree(EncodeTree(mTree), mRead));
  const auto& list = mRead.mObjectList;
  ASSERT_EQ(list.size(), 6U);
  EXPECT_TRUE(typeid(*list[0]) == typeid(VQJsonObject));
  EXPECT_TRUE(typeid(*list[1]) == typeid(VQJsonRadioButtonObject));
  EXPECT_TRUE(typeid(*list[2]) == typeid(VQJsonGrid));
  EXPECT_TRUE(typeid(*list[3]) == typeid(VQJsonObjectHasList));
  EXPECT_TRUE(typeid(*list[4]) == typeid(VQJsonRadioButtonGroup));
  EXPECT_TRUE(typeid(*list[5]) == typeid(VQJsonCommand));
  EXPECT_EQ(GroupAt(3).mListKey, "Lamps");
  EXPECT_THAT(ChildrenOf(GroupAt(3)), ElementsAre("inside"));
  EXPECT_THAT(ChildrenOf(GroupAt(4)), ElementsAre("inside too"));
  EXPECT_EQ(EncodeTree(mRead), EncodeTree(mTree));
}

TEST_F(TreeCodecTest, ChangeMarksAreNotWritten) {
  VQJsonObject* child = AddChild(mTree, "child");
  const std::string bytes = EncodeTree(mTree);
  child->SetDirty("Value");
  child->SetDirtyAdd();
  mTree.SetDirtyDel("gone");

  EXPECT_EQ(EncodeTree(mTree), bytes);
}

TEST_F(TreeCodecTest, NothingIsMarkedInATreeThatWasRead) {
  AddChild(mTree, "child");
  mRead.SetDirty("Value");
  mRead.SetDirtyAdd();
  mRead.SetDirtyDel("before");

  ReadBack();
  KZString update;
  EXPECT_FALSE(VQJsonParser().MakeUpdateCommand(update, &mRead, false, ""));
}

TEST_F(TreeCodecTest, ATreeMayBeReadIntoItself) {
  AddChild(*AddGroup(mTree, "group"), "child");
  const std::string bytes = EncodeTree(mTree);

  ASSERT_TRUE(DecodeTree(bytes, mTree));
  EXPECT_EQ(EncodeTree(mTree), bytes);
}

TEST_F(TreeCodecTest, AResourceFileIsReadBack) {
  ASSERT_TRUE(VQJsonParser().ParseDialog(&mTree,
                                         R"({"Command":"DIALOG","Name":"d","Objects":[
        {"Type":"GRID","Name":"g"},
        {"Type":"GROUP","Layout":"RADIO","Name":"r","Objects":[
          {"Type":"RADIOBTN","Name":"r1","Attr":"ON"},{"Type":"RADIOBTN","Name":"r2"}]},
        {"Type":"LABEL","Name":"l","Value":[1,{"a":[true,null,"x"]}],"Dialog":{"Name":"inner",
          "Dialog":{"Name":"innermost","Value":{"deep":[1,2]}}}}]})",
                                         true));

  ReadBack();
}

VQJsonCommand& ReceivedCommand(VQJsonCommands& commands, const std::string& json) {
  EXPECT_TRUE(VQJsonParser().ParseCommand(&commands, json));
  return static_cast<VQJsonCommand&>(*commands.mObjectList.at(0));
}

TEST(CommandCodecTest, AReceivedCommandIsReadBackAsItCame) {
  VQJsonCommands commands;
  VQJsonCommand& command =
      ReceivedCommand(commands,
                      R"({"Command":"CONDITION","Dialog":{"Name":"d"},"Objects":[
        {"Name":"a","Value":"1"},{"Name":"b","Value":{"x":[1,2]},"Attr":"ON"}]})");

  const std::unique_ptr<VQJsonCommand> read = DecodeCommand(EncodeCommand(command));
  ASSERT_NE(read, nullptr);
  command.mParent = nullptr;
  EXPECT_EQ(DumpOf(*read), DumpOf(command));
  EXPECT_EQ(EncodeCommand(*read), EncodeCommand(command));
}

// What a station can send can be handed on.
TEST(CommandCodecTest, CommandsAsDeepAsTextsMayBeAreReadBack) {
  std::string value = "1";
  for (int i = 0; i < 1022; ++i) value = '[' + value + ']';
  std::string objects = R"({"Name":"innermost"})";
  for (int i = 0; i < 510; ++i) objects = R"({"Name":"n","Objects":[)" + objects + "]}";
  for (const std::string& json : {R"({"Command":"UPDATE","Value":)" + value + "}",
                                  R"({"Command":"UPDATE","Objects":[)" + objects + "]}"}) {
    VQJsonCommands commands;
    VQJsonCommand& command = ReceivedCommand(commands, json);

    const std::unique_ptr<VQJsonCommand> read = DecodeCommand(EncodeCommand(command));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetJson(), command.GetJson());
  }
}

TEST(CommandCodecTest, ATreeIsNoCommandAndACommandNoTree) {
  VQJsonResource tree;
  EXPECT_EQ(DecodeCommand(EncodeTree(tree)), nullptr);
  EXPECT_FALSE(DecodeTree(EncodeCommand(VQJsonCommand("UPDATE")), tree));
}

}  // namespace
}  // namespace dorn::site
