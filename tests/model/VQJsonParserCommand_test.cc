// What stations send, as it becomes command objects.
#include <gtest/gtest.h>

#include <string>

#include "dorn/model/VQJsonParser.h"
#include "tests/model/Trees.h"
#include "tests/support/CapturedStdout.h"

namespace {

bool Receive(VQJsonCommands& commands, const std::string& text) {
  CapturedStdout captured;
  return VQJsonParser().ParseCommand(&commands, text);
}

TEST(VQJsonParserCommandTest, ASingleCommand) {
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(commands, "{\"Command\":\"CHANGE\",\"Name\":\"b1\",\"Value\":\"ON\"}"));
  ASSERT_EQ(commands.mObjectList.size(), 1u);
  auto* command = dynamic_cast<VQJsonCommand*>(commands.mObjectList[0]);
  ASSERT_NE(command, nullptr);
  EXPECT_EQ(Plain(command->mName), "b1");
  EXPECT_EQ(KeysOf(*command), (Texts{"Command", "Name", "Value"}));
  EXPECT_STREQ(command->GetValue("Command").GetChar(), "CHANGE");
  EXPECT_EQ(command->GetParent(), nullptr);
  EXPECT_FALSE(commands.IsDirtyAdd());
  EXPECT_FALSE(command->IsDirtyAdd());
}

TEST(VQJsonParserCommandTest, AListOfCommandsKeepsItsOrder) {
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(commands,
                      "{\"Commands\":[{\"Command\":\"CHANGE\",\"Name\":\"b1\"},"
                      "{\"Command\":\"KEEPALIVE\"},{\"Command\":\"CHANGE\",\"Name\":\"b2\"}]}"));
  EXPECT_EQ(ChildrenOf(commands), (Texts{"b1", "KEEPALIVE", "b2"}));
}

TEST(VQJsonParserCommandTest, AnEmptyListIsAccepted) {
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(commands, "{\"Commands\":[]}"));
  EXPECT_TRUE(Receive(commands, "{\"Commands\":[],\"Command\":\"HELLO\"}"));
  EXPECT_TRUE(commands.mObjectList.empty());
}

TEST(VQJsonParserCommandTest, TheListComesBeforeASingleCommand) {
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(commands, "{\"Command\":\"A\",\"Commands\":[{\"Command\":\"B\"}]}"));
  EXPECT_EQ(ChildrenOf(commands), (Texts{"B"}));
}

// The list reader looks for "Objects" first, whatever made it run.
TEST(VQJsonParserCommandTest, ObjectsBesideACommandListAreReadInItsPlace) {
  VQJsonCommands commands;
  EXPECT_TRUE(
      Receive(commands, "{\"Commands\":[{\"Command\":\"B\"}],\"Objects\":[{\"Name\":\"o\"}]}"));
  EXPECT_EQ(ChildrenOf(commands), (Texts{"o"}));
}

TEST(VQJsonParserCommandTest, CommandsThatAreNoArrayLeaveASingleCommand) {
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(commands, "{\"Command\":\"A\",\"Commands\":\"x\"}"));
  EXPECT_EQ(ChildrenOf(commands), (Texts{"A"}));
}

TEST(VQJsonParserCommandTest, CommandsAreAppendedToWhatIsThere) {
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(commands, "{\"Command\":\"A\"}"));
  EXPECT_TRUE(Receive(commands, "{\"Commands\":[{\"Command\":\"B\"}]}"));
  EXPECT_EQ(ChildrenOf(commands), (Texts{"A", "B"}));
}

TEST(VQJsonParserCommandTest, OtherDocumentsAreRefusedSilently) {
  const char* const texts[] = {"{}",
                               "{\"Name\":\"x\"}",
                               "{\"Command\":5}",
                               "{\"Command\":null}",
                               "{\"Command\":[\"HELLO\"]}",
                               "{\"Commands\":{\"Command\":\"A\"}}",
                               "{\"Objects\":[{\"Command\":\"A\"}]}",
                               "[]",
                               "[1]",
                               "[{\"Command\":\"A\"}]",
                               "5",
                               "\"x\"",
                               "true",
                               "false",
                               "null",
                               "1.5",
                               "-"};
  for (const char* text : texts) {
    SCOPED_TRACE(text);
    VQJsonCommands commands;
    CapturedStdout captured;
    EXPECT_FALSE(VQJsonParser().ParseCommand(&commands, text));
    EXPECT_EQ(captured.Text(), "");
    EXPECT_TRUE(commands.mObjectList.empty());
  }
}

TEST(VQJsonParserCommandTest, UnparsableTextsPrintOneLine) {
  const struct {
    const char* text;
    const char* line;
  } cases[] = {
      {"", "Parse error:syntax error at line 1 near: \n"},
      {"HELLO", "Parse error:syntax error at line 1 near: HELLO\n"},
      {"{\"Command\":}", "Parse error:syntax error at line 1 near: }\n"},
      {"%s%n", "Parse error:syntax error at line 1 near: %s%n\n"},
  };
  for (const auto& c : cases) {
    VQJsonCommands commands;
    CapturedStdout captured;
    EXPECT_FALSE(VQJsonParser().ParseCommand(&commands, c.text));
    EXPECT_EQ(captured.Text(), c.line);
    EXPECT_TRUE(commands.mObjectList.empty());
  }
}

TEST(VQJsonParserCommandTest, ElementsThatAreNoObjectsAreSkipped) {
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(commands, "{\"Commands\":[1,[],null,{\"Command\":\"A\"},\"HELLO\",true]}"));
  EXPECT_EQ(ChildrenOf(commands), (Texts{"A"}));
  VQJsonCommands nested;
  EXPECT_TRUE(Receive(nested, "{\"Command\":\"A\",\"Objects\":[[],5,{\"Name\":\"o\"}]}"));
  EXPECT_EQ(ChildrenOf(*static_cast<VQJsonCommand*>(nested.mObjectList[0])), (Texts{"o"}));
}

// Whoever walks the list has to ask what an entry is.
TEST(VQJsonParserCommandTest, NotEveryEntryIsACommand) {
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(commands,
                      "{\"Commands\":[{},{\"Type\":\"GRID\"},{\"Type\":\"GROUP\"},"
                      "{\"Command\":\"DIALOG\"},{\"Command\":\"HELLO\"},{\"Command\":7}]}"));
  ASSERT_EQ(commands.mObjectList.size(), 6u);
  const bool isCommand[] = {false, false, false, false, true, false};
  for (size_t i = 0; i < 6; ++i)
    EXPECT_EQ(dynamic_cast<VQJsonCommand*>(commands.mObjectList[i]) != nullptr, isCommand[i]) << i;
  EXPECT_NE(dynamic_cast<VQJsonResource*>(commands.mObjectList[3]), nullptr);
  EXPECT_EQ(commands.mObjectList[0]->GetParent(), &commands);
  EXPECT_EQ(commands.mObjectList[4]->GetParent(), nullptr);
}

TEST(VQJsonParserCommandTest, ACommandCarriesItsObjects) {
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(commands,
                      "{\"Command\":\"CONDITION\",\"Objects\":["
                      "{\"Name\":\"b1\",\"Value\":\"ON\"},{\"Name\":\"b2\",\"Value\":3}]}"));
  auto* command = dynamic_cast<VQJsonCommand*>(commands.mObjectList[0]);
  ASSERT_NE(command, nullptr);
  EXPECT_EQ(Plain(command->mName), "CONDITION");
  EXPECT_EQ(KeysOf(*command), (Texts{"Command"}));
  EXPECT_EQ(ChildrenOf(*command), (Texts{"b1", "b2"}));
  EXPECT_EQ(command->mObjectList[1]->GetValue("Value").GetType(), VQValue::TYPE_INT);
  EXPECT_EQ(command->mObjectList[1]->GetParent(), command);
  EXPECT_EQ(Plain(command->GetJson()),
            "{\"Command\":\"CONDITION\",\"Objects\":[{\"Name\":\"b1\",\"Value\":\"ON\"},"
            "{\"Name\":\"b2\",\"Value\":3}]}");
}

TEST(VQJsonParserCommandTest, ACommandMayCarryOneObject) {
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(commands, "{\"Command\":\"CONDITION\",\"Object\":{\"Name\":\"b1\"}}"));
  EXPECT_EQ(ChildrenOf(*static_cast<VQJsonCommand*>(commands.mObjectList[0])), (Texts{"b1"}));
}

TEST(VQJsonParserCommandTest, ANumberAsNameLeavesTheWord) {
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(commands, "{\"Command\":\"CHANGE\",\"Name\":12}"));
  EXPECT_EQ(ChildrenOf(commands), (Texts{"CHANGE"}));
  EXPECT_STREQ(commands.mObjectList[0]->GetValue("Name").GetChar(), "12");
}

TEST(VQJsonParserCommandTest, ANotifyListThatAStationSendsSelects) {
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(
      commands, "{\"Command\":\"CHANGE\",\"A\":1,\"B\":2,\"Layout\":\"L\",\"NotifyList\":\"B\"}"));
  // The attribute "Command" comes from the word, not from the text, so no list takes it away.
  EXPECT_EQ(KeysOf(*commands.mObjectList[0]), (Texts{"B", "Command", "Layout"}));
}

TEST(VQJsonParserCommandTest, DecodedTextIsTakenAsItIs) {
  VQJsonCommands commands;
  EXPECT_TRUE(
      Receive(commands, "{\"Command\":\"CHANGE\",\"V\":\"a\\\"b\\u0003\\u00e3\",\"K\\u0000Z\":1}"));
  EXPECT_STREQ(commands.mObjectList[0]->GetValue("V").GetChar(), "a\"b\x03\xc3\xa3");
  EXPECT_TRUE(commands.mObjectList[0]->HasKey("Command"));
}

TEST(VQJsonParserCommandTest, ManyCommandsInOneText) {
  std::string text = "{\"Commands\":[{\"Command\":\"\"}";
  for (int i = 1; i < 20000; ++i) text += ",{\"Command\":\"\"}";
  text += "]}";
  VQJsonCommands commands;
  EXPECT_TRUE(Receive(commands, text));
  EXPECT_EQ(commands.mObjectList.size(), 20000u);
}

TEST(VQJsonParserCommandTest, EndlessNestingIsASyntaxError) {
  const std::string arrays(200000, '[');
  std::string objects;
  for (int level = 0; level < 100000; ++level) objects += "{\"\":";
  std::string nested = "{\"Command\":\"A\",\"Objects\":";
  for (int level = 0; level < 50000; ++level) nested += "[{\"Type\":\"GROUP\",\"Objects\":";
  for (const std::string& text : {arrays, "{\"Command\":\"A\",\"x\":" + arrays, objects, nested}) {
    VQJsonCommands commands;
    EXPECT_FALSE(Receive(commands, text));
    EXPECT_TRUE(commands.mObjectList.empty());
  }
}

}  // namespace
