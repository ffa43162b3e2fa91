#include "dorn/model/VQJsonCommand.h"

#include <gtest/gtest.h>

#include "dorn/model/ObjectClass.h"
#include "tests/model/Trees.h"

namespace {

TEST(VQJsonCommandTest, IsNamedAfterItsWord) {
  VQJsonCommand command("CHANGE");
  EXPECT_EQ(Plain(command.mName), "CHANGE");
  EXPECT_STREQ(command.GetValue("Command").GetChar(), "CHANGE");
  EXPECT_EQ(command.GetValue("Command").GetType(), VQValue::TYPE_STRING);
  EXPECT_EQ(KeysOf(command), (Texts{"Command"}));
  EXPECT_EQ(Plain(command.mListKey), "Objects");
  EXPECT_EQ(command.GetParent(), nullptr);
  EXPECT_TRUE(command.HasGroup());
}

TEST(VQJsonCommandTest, TheWordIsMarkedAsAChange) {
  VQJsonCommand command("CHANGE");
  EXPECT_EQ(DirtyOf(command), (Texts{"Command"}));
  EXPECT_FALSE(command.IsDirtyAdd());
  EXPECT_FALSE(command.IsDirtyDel());
}

TEST(VQJsonCommandTest, TakesAnyWord) {
  VQJsonCommand empty("");
  EXPECT_EQ(Plain(empty.mName), "");
  EXPECT_EQ(Plain(empty.GetJson()), "{\"Command\":\"\"}");
  EXPECT_EQ(DirtyOf(empty), (Texts{"Command"}));
  VQJsonCommand odd("a\"b");
  EXPECT_EQ(Plain(odd.GetJson()), "{\"Command\":\"a\"b\"}");
}

// Replies are composed of commands; their members come out in key order, not in the order in which
// they were set.
TEST(VQJsonCommandTest, WritesMembersInKeyOrder) {
  VQJsonCommand error("ERROR");
  error.SetValue("Status", "NG", -1, "");
  error.SetValue("Message", "no", -1, "");
  EXPECT_EQ(Plain(error.GetJson()), "{\"Command\":\"ERROR\",\"Message\":\"no\",\"Status\":\"NG\"}");

  VQJsonCommand open("OPEN");
  open.SetValue("SessionId", "S1", -1, "");
  open.SetValue("FileSource", "X", -1, "");
  open.SetValue("File", "top", -1, "");
  EXPECT_EQ(Plain(open.GetJson()),
            "{\"Command\":\"OPEN\",\"File\":\"top\",\"FileSource\":\"X\",\"SessionId\":\"S1\"}");
}

TEST(VQJsonCommandTest, WritesItsObjects) {
  VQJsonCommand command("CHANGE");
  AddChild(command, "b1");
  EXPECT_EQ(Plain(command.GetJson()), "{\"Command\":\"CHANGE\",\"Objects\":[{\"Name\":\"b1\"}]}");
}

class HostCommand : public VQJsonCommand {
 public:
  using VQJsonCommand::VQJsonCommand;
};

TEST(VQJsonCommandTest, AHostsCommandIsOneTooAndSoAreItsCopies) {
  HostCommand command("A");
  HostCommand copy(command);
  HostCommand assigned("B");
  assigned = command;
  for (HostCommand* one : {&command, &copy, &assigned}) EXPECT_EQ(dorn::AsCommand(*one), one);
  VQJsonCommand plainCopy(command);
  EXPECT_EQ(dorn::AsCommand(plainCopy), &plainCopy);
  VQJsonCommands list;
  EXPECT_EQ(dorn::AsCommand(list), nullptr);
}

TEST(VQJsonCommandsTest, IsAnEmptyListWithListKeyCommands) {
  VQJsonCommands commands;
  EXPECT_EQ(Plain(commands.mListKey), "Commands");
  EXPECT_EQ(commands.GetParent(), nullptr);
  EXPECT_EQ(Plain(commands.mName), "");
  EXPECT_TRUE(commands.mList.empty());
  EXPECT_EQ(Plain(commands.GetJson()), "{}");
}

TEST(VQJsonCommandsTest, WritesItsCommands) {
  VQJsonCommands commands;
  commands.AddObject(new VQJsonCommand("A"), 0);
  commands.AddObject(new VQJsonCommand("B"), 0);
  EXPECT_EQ(Plain(commands.GetJson()), "{\"Commands\":[{\"Command\":\"A\"},{\"Command\":\"B\"}]}");
}

}  // namespace
