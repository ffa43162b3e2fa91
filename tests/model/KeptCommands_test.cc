// Lists of commands that are used again: that nobody can tell, and which are not.
#include "dorn/model/KeptCommands.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dorn/base/Poison.h"
#include "dorn/model/VQJsonGrid.h"
#include "tests/support/Allocations.h"
#include "tests/support/LiteralReader.h"
#include "tests/support/TreeDump.h"

namespace {

using dorn::KeptCommands;

constexpr char kCondition[] =
    R"({"Command":"CONDITION","ActionName":"p","Objects":[{"Name":"p","Value":"ON"},{"n":1}]})";

std::string DumpOfNew(const std::string& text) {
  VQJsonCommands commands;
  static_cast<void>(LiteralReader::ParseCommand(&commands, text));
  return DumpOf(commands);
}

class KeptCommandsTest : public ::testing::Test {
 protected:
  KeptCommands::List Read(const std::string& text) {
    bool isReadable = false;
    KeptCommands::List list = mKept.Read(text, isReadable);
    EXPECT_TRUE(isReadable) << text;
    EXPECT_EQ(DumpOf(*list), DumpOfNew(text));
    return list;
  }

  static VQJsonCommand& CommandOf(const KeptCommands::List& list) {
    return static_cast<VQJsonCommand&>(*list->mObjectList.front());
  }

  // Whether the list of a condition is kept with which a hook has done this.
  bool IsKeptAfter(const std::function<void(VQJsonCommand&)>& hook) {
    KeptCommands::List list = Read(kCondition);
    hook(CommandOf(list));
    const std::size_t before = mKept.Count();
    mKept.GiveBack(std::move(list));
    return mKept.Count() == before + 1;
  }

  KeptCommands mKept;
};

TEST_F(KeptCommandsTest, ObjectsOfTheSameShapeAreUsedAgain) {
  KeptCommands::List list = Read(kCondition);
  const VQJsonCommand* const command = &CommandOf(list);
  const std::vector<VQJsonObject*> children = CommandOf(list).mObjectList;
  mKept.GiveBack(std::move(list));
  list = Read(R"({"Command":"OTHER","Objects":[{"Value":-5,"Name":"q","zz":true},{}]})");
  EXPECT_EQ(&CommandOf(list), command);
  EXPECT_EQ(CommandOf(list).mObjectList, children);
}

TEST_F(KeptCommandsTest, AnotherShapeGetsOtherObjects) {
  for (const char* const text :
       {R"({"Command":"A"})", R"({"Command":"A","Objects":[{}]})", kCondition,
        R"({"Commands":[{"Command":"A"},{"Command":"B"}]})",
        R"({"Commands":[{"Command":"A","Objects":[{}]},{"Command":"B"}]})",
        R"({"Commands":[{"Command":"A"},{"Command":"B","Objects":[{}]}]})"}) {
    const std::size_t before = mKept.Count();
    KeptCommands::List list = Read(text);
    EXPECT_EQ(mKept.Count(), before) << text;
    mKept.GiveBack(std::move(list));
    EXPECT_EQ(mKept.Count(), before + 1) << text;
  }
}

TEST_F(KeptCommandsTest, ListsThatAreReadWhileOthersAreInUseAreApart) {
  mKept.GiveBack(Read(kCondition));
  const KeptCommands::List outer = Read(kCondition);
  const KeptCommands::List inner = Read(R"({"Command":"B","Objects":[{},{"x":"y"}]})");
  EXPECT_NE(&CommandOf(outer), &CommandOf(inner));
  EXPECT_EQ(DumpOf(*outer), DumpOfNew(kCondition));
}

TEST_F(KeptCommandsTest, UnreadableTextsGiveNothing) {
  bool isReadable = true;
  KeptCommands::List list = mKept.Read(R"({"Name":"x"})", isReadable);
  EXPECT_FALSE(isReadable);
  EXPECT_TRUE(list->mObjectList.empty());
  mKept.GiveBack(std::move(list));
  EXPECT_EQ(mKept.Count(), 0U);
}

TEST_F(KeptCommandsTest, WhatADocumentHasMadeIsKeptIfItLooksAlike) {
  mKept.GiveBack(Read(R"({"Command":"A","b":"\n","b":"c","d":null})"));
  EXPECT_EQ(mKept.Count(), 1U);
  mKept.GiveBack(Read(R"({"Command":"A","b":{}})"));
  mKept.GiveBack(Read(R"({"Command":"A","b":[1]})"));
  mKept.GiveBack(Read(R"({"Command":"DIALOG"})"));
  mKept.GiveBack(Read(R"({"Commands":[{"Name":"n"}]})"));
  mKept.GiveBack(Read(R"({"Command":"A","Objects":[{"Objects":[{}]},{"Command":"B"}]})"));
  EXPECT_EQ(mKept.Count(), 1U);
  Read(R"({"Command":"B"})");
}

TEST_F(KeptCommandsTest, WhatHooksWriteIsWrittenAgain) {
  const std::vector<std::function<void(VQJsonCommand&)>> hooks = {
      [](auto& command) { command.SetValue("Name", "renamed", 0, ""); },
      [](auto& command) { command.mName = ""; },
      [](auto& command) { command.mDirty = {"Value|:|S1"}; },
      [](auto& command) { command.ResetDirty(); },
      [](auto& command) { command.SetDirtyAdd(); },
      [](auto& command) { command.VQJsonObject::SetDirtyDel("x"); },
      [](auto& command) { command.mDebugFlag = 77; },
      [](auto& command) { command.mListKey = "Commands"; },
      [](auto& command) { command.mListKey.reserve(1024); },
      [](auto& command) { command.mList.clear(); },
      [](auto& command) { command.mList["Command"].mInt = 9; },
      [](auto& command) { command.mList["Command"].mType = VQValue::TYPE_NONE; },
      [](auto& command) { command.mObjectList[0]->SetValue("Value", true, -1, "S1"); },
      [](auto& command) { command.mObjectList[0]->mName = "renamed"; },
      [](auto& command) { command.mObjectList[0]->mDebugFlag = 1; },
      [](auto& command) { command.mObjectList[1]->SetDirtyAdd(); },
      [](auto& command) { command.mObjectList[1]->SetDirtyDel("x"); },
      [](auto& command) { command.mObjectList[1]->SetValue("new", 1, 0, ""); },
      [](auto& command) { command.DeleteChild("p"); },
      [](auto& command) { command.DeleteChildAll(); },
      [](auto& command) { command.mObjectList[0]->Delete("THIS"); },
      [](auto& command) { command.AddObject(new VQJsonObject(&command), 0); },
      [](auto& command) { std::swap(command.mObjectList[0]->mList, command.mList); },
      [](auto& command) { VQJsonObject(*command.mObjectList[0]).SetValue("new", 1, 0, ""); },
  };
  for (std::size_t i = 0; i < hooks.size(); ++i) {
    EXPECT_TRUE(IsKeptAfter(hooks[i])) << i;
    Read(R"({"Command":"A","x":1,"Objects":[{"Type":"T"},{"Name":"5"}]})");
  }
}

TEST_F(KeptCommandsTest, WhatHooksHaveSharedCopiedOrMovedIsNotKept) {
  VQJsonObjectHasList group("Objects", nullptr);
  std::vector<std::unique_ptr<VQJsonObject>> host;
  const std::vector<std::function<void(VQJsonCommand&)>> hooks = {
      [&](auto& command) { group.AddObject(command.mObjectList[0], 0); },
      [&](auto& command) { group.AddObject(&command, 1); },
      [&](auto& command) { host.emplace_back(new VQJsonObject(*command.mObjectList[0])); },
      [&](auto& command) { host.emplace_back(new VQJsonCommand(command)); },
      [&](auto& command) { host.emplace_back(new VQJsonObject(&command)); },
      [&](auto& command) { host.emplace_back(new VQJsonObject(command.mObjectList[1])); },
      [&](auto& command) { *command.mObjectList[0] = VQJsonObject(&group); },
      [&](auto& command) { command.mParent = &group; },
      [&](auto& command) { command.mObjectList[0]->mParent = nullptr; },
      [](auto& command) { std::swap(command.mObjectList[0], command.mObjectList[1]); },
      [](auto& command) { command.AddObject(new VQJsonGrid(&command), 0); },
      [](auto& command) { command.AddObject(new VQJsonCommand("x"), 0); },
      [](auto& command) { command.mObjectList.push_back(nullptr); },
      [&](auto& command) {
        host.emplace_back(command.mObjectList.back());
        command.mObjectList.pop_back();
      },
      [](auto& command) { command.mObjectList[0]->SetValue("a", VQValue::VQJObject(), 0, ""); },
      [](auto& command) { command.SetValue("a", VQValue(VQValue::VQJArray()), 0, ""); },
      [](auto& command) {
        command.mDirty = {"a", "b"};
      },
      [](auto& command) { command.mName.reserve(2000); },
      [](auto& command) { command.mListKey.reserve(1025); },
      [](auto& command) { command.mObjectList[1]->mDirtyDel.reserve(2000); },
      [](auto& command) { command.mObjectList[1]->mList["a"].mString.reserve(2000); },
      [](auto& command) { command.mObjectList[1]->mList[std::string(2000, 'k')]; },
      [](auto& command) {
        for (int i = 0; i < 20; ++i) command.mList[std::to_string(i)];
      },
  };
  for (std::size_t i = 0; i < hooks.size(); ++i) {
    EXPECT_FALSE(IsKeptAfter(hooks[i])) << i;
    Read(kCondition);
  }
  for (const auto& object : host) EXPECT_EQ(object->mParent, nullptr);
  ASSERT_EQ(group.mObjectList.size(), 2U);
  EXPECT_EQ(group.mObjectList[0]->GetJson(), R"({"Name":"p","Value":"ON"})");
  EXPECT_EQ(group.mObjectList[1]->mName, "CONDITION");
}

// Twelve attributes, and 1,024 bytes for texts, counted as they are reserved.
TEST_F(KeptCommandsTest, WhatIsJustSmallEnoughIsKept) {
  const auto isKept = [](int attributes, std::size_t nameBytes) {
    KeptCommands kept;
    bool isReadable = false;
    KeptCommands::List list = kept.Read(R"({"Command":"A","Objects":[{}]})", isReadable);
    VQJsonObject& child = *CommandOf(list).mObjectList[0];
    for (int i = 0; i < attributes; ++i) child.mList[std::to_string(i)] = i;
    const std::size_t others =
        child.mDirtyDel.capacity() + child.mList.size() * 2 * std::string().capacity();
    child.mName.reserve(nameBytes - others);
    kept.GiveBack(std::move(list));
    return kept.Count() == 1;
  };
  EXPECT_TRUE(isKept(12, 1024));
  EXPECT_FALSE(isKept(13, 1024));
  EXPECT_FALSE(isKept(12, 1025));
  EXPECT_TRUE(isKept(0, 1024));
  EXPECT_FALSE(isKept(0, 1025));
}

TEST_F(KeptCommandsTest, AMessageLikeTheOneBeforeTakesNoMemory) {
  const std::string text = kCondition;
  mKept.GiveBack(Read(text));
  bool isReadable = false;
  const Allocations allocations;
  const KeptCommands::List list = mKept.Read(text, isReadable);
  EXPECT_EQ(allocations.Count(), 0U);
}

TEST_F(KeptCommandsTest, AListThatWasFilledByHandIsNotKept) {
  auto list = std::make_unique<VQJsonCommands>();
  list->mObjectList.push_back(new VQJsonCommand("A"));
  mKept.GiveBack(std::move(list));
  EXPECT_EQ(mKept.Count(), 0U);
}

// A command with objects, so many altogether.
std::string MessageOf(int objects) {
  std::string text = R"({"Command":"A","Objects":[{})";
  for (int i = 2; i < objects; ++i) text += ",{}";
  return text + "]}";
}

TEST_F(KeptCommandsTest, ThirtyTwoObjectsAreKept) {
  std::vector<KeptCommands::List> lists;
  for (int i = 0; i < 2; ++i) lists.push_back(Read(MessageOf(16)));
  for (KeptCommands::List& list : lists) mKept.GiveBack(std::move(list));
  EXPECT_EQ(mKept.Count(), 2U);
}

// The oldest goes. 32 objects stay at most, commands included.
TEST_F(KeptCommandsTest, FewListsAreKept) {
  mKept.GiveBack(Read(MessageOf(16)));
  mKept.GiveBack(Read(MessageOf(15)));
  EXPECT_EQ(mKept.Count(), 2U);
  mKept.GiveBack(Read(MessageOf(14)));
  EXPECT_EQ(mKept.Count(), 2U);
  std::vector<KeptCommands::List> lists;
  for (int i = 0; i < 12; ++i) lists.push_back(Read(MessageOf(3)));
  for (KeptCommands::List& list : lists) mKept.GiveBack(std::move(list));
  EXPECT_EQ(mKept.Count(), 10U);
  lists.clear();
  for (int i = 0; i < 20; ++i) lists.push_back(Read(R"({"Command":"A"})"));
  for (KeptCommands::List& list : lists) mKept.GiveBack(std::move(list));
  EXPECT_EQ(mKept.Count(), 16U);
  bool isReadable = false;
  KeptCommands::List big = mKept.Read(R"({"Command":"A","Objects":[)" + std::string(16, ' ') +
                                          R"({},{},{},{},{},{},{},{},{},{},{},{},{},{},{},{}]})",
                                      isReadable);
  mKept.GiveBack(std::move(big));
  EXPECT_EQ(mKept.Count(), 16U);
}

// More than an outline has: sixteen, commands included.
TEST_F(KeptCommandsTest, AListOfSeventeenObjectsIsNotKept) {
  const auto add = [](VQJsonCommands& list, const char* word, int children) {
    auto* command = new VQJsonCommand(word);
    for (int i = 0; i < children; ++i) command->AddObject(new VQJsonObject(command), 0);
    list.AddObject(command, 0);
  };
  for (const int more : {0, 1}) {
    for (const int commands : {1, 2, 16}) {
      KeptCommands kept;
      auto list = std::make_unique<VQJsonCommands>();
      for (int i = 1; i < commands; ++i) add(*list, "A", 0);
      add(*list, "B", 16 - commands + more);
      kept.GiveBack(std::move(list));
      EXPECT_EQ(kept.Count(), more == 0 ? 1U : 0U) << commands;
    }
    KeptCommands kept;
    auto list = std::make_unique<VQJsonCommands>();
    add(*list, "A", 14 + more);
    add(*list, "B", 0);
    kept.GiveBack(std::move(list));
    EXPECT_EQ(kept.Count(), more == 0 ? 1U : 0U);
  }
}

// Sanitized builds only; in the others nobody could tell.
TEST_F(KeptCommandsTest, AUseOfAnObjectThatWasGivenBackIsFound) {
  const std::string word(100, 'w');
  KeptCommands::List list = Read(R"({"Command":")" + word + R"(","Objects":[{"Value":")" + word +
                                 R"(",")" + word + R"(":1}]})");
  VQJsonCommand* const command = &CommandOf(list);
  VQJsonObject* const child = command->mObjectList[0];
  const VQValue* const value = &child->mList["Value"];
  child->mDirty = {word};
  child->mDirtyDel = word;
  const std::vector<const void*> all = {command,
                                        child,
                                        &command->mObjectList,
                                        command->mObjectList.data(),
                                        &*command->mDirty.begin(),
                                        value,
                                        value->GetChar(),
                                        command->mName.data(),
                                        &child->mList.begin()->first,
                                        child->mList.rbegin()->first.data(),
                                        &*child->mDirty.begin(),
                                        child->mDirty.begin()->data(),
                                        child->mDirtyDel.data()};
  mKept.GiveBack(std::move(list));
  ASSERT_EQ(mKept.Count(), 1U);
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(dorn::IsPoisoned(all[i]), dorn::kHasPoison) << i;
  }
  list = Read(R"({"Command":"A","Objects":[{"Value":1}]})");
  EXPECT_EQ(&CommandOf(list), command);
  for (std::size_t i = 0; i < 5; ++i) EXPECT_FALSE(dorn::IsPoisoned(all[i])) << i;
}

// Anything that hooks may do, between messages of any kind.
TEST_F(KeptCommandsTest, RefilledListsAreAsNewOnesWhateverHappensToThem) {
  const std::string texts[] = {
      kCondition,
      R"({"Command":"KEEPALIVE"})",
      R"({"Command":"CHANGE","DialogName":"top","Name":"n","x":1})",
      R"({"Command":"CONDITION","Objects":[{"Name":"long name of an object","Value":7},{}]})",
      R"({"Commands":[{"Command":"A"},{"Command":"B","Objects":[{"a":"it","b":true}]}]})",
      R"({"Command":"A","Objects":[{"b":"\u0041"},{"c":"\n"}]})",
      R"({"Command":"A","Objects":[{"b":{"c":[1,2]}},{"Type":"GROUP","Objects":[{}]}]})",
  };
  std::mt19937 random(11);
  VQJsonObjectHasList group("Objects", nullptr);
  for (int round = 0; round < 4000; ++round) {
    KeptCommands::List list = Read(texts[random() % std::size(texts)]);
    for (unsigned left = random() % 4; left > 0; --left) {
      auto& command = CommandOf(list);
      auto* child = command.mObjectList.empty() ? nullptr : command.mObjectList.front();
      switch (random() % 12) {
        case 0:
          command.SetValue("Value", static_cast<int>(random() % 5), -1, "S1");
          break;
        case 1:
          if (child != nullptr) child->SetValue("Name", "other", 1, "");
          break;
        case 2:
          if (child != nullptr) group.AddObject(child, 1);
          break;
        case 3:
          group.AddObject(&command, 0);
          break;
        case 4:
          group.AddObject(new VQJsonCommand(command), 0);
          break;
        case 5:
          if (child != nullptr) group.AddObject(new VQJsonObject(*child), 0);
          break;
        case 6:
          command.AddObject(new VQJsonObject(&command), 1);
          break;
        case 7:
          command.DeleteChild("p");
          break;
        case 8:
          if (child == nullptr) break;
          command.mObjectList.erase(command.mObjectList.begin());
          if (child->HasGroup() || !VQJsonObject(*child).mList.empty())
            group.AddObject(child, 0);
          else
            command.mObjectList.push_back(child);
          break;
        case 9:
          if (child != nullptr) child->SetValue("Value", VQValue(VQValue::VQJObject()), 0, "");
          break;
        case 10:
          command.mDirty.clear();
          break;
        default:
          command.mList.erase(command.mList.begin(), command.mList.end());
      }
    }
    mKept.GiveBack(std::move(list));
    if (group.mObjectList.size() > 20) group.DeleteChildAll();
    static_cast<void>(group.GetJson());
  }
}

}  // namespace
