// The short way for usual commands: which texts take it, and that nobody can tell.
#include "dorn/model/CommandReader.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "dorn/model/VQJsonParser.h"
#include "tests/support/CapturedStdout.h"
#include "tests/support/LiteralReader.h"
#include "tests/support/TreeDump.h"

namespace {

void ExpectAsLiteral(const std::string& text) {
  VQJsonCommands expected, actual;
  CapturedStdout expectedConsole;
  const bool isCommand = LiteralReader::ParseCommand(&expected, text);
  const std::string lines = expectedConsole.Text();
  CapturedStdout console;
  ASSERT_EQ(VQJsonParser().ParseCommand(&actual, text), isCommand) << text;
  ASSERT_EQ(console.Text(), lines) << text;
  ASSERT_EQ(DumpOf(actual), DumpOf(expected)) << text;
}

// Whether the text takes the short way, which makes nothing otherwise.
bool IsUsual(const std::string& text) {
  VQJsonCommands commands;
  const CapturedStdout console;
  const bool isUsual = dorn::ReadUsualCommands(text, commands);
  EXPECT_NE(isUsual, commands.mObjectList.empty()) << text;
  return isUsual;
}

TEST(CommandReaderTest, WhatStationsSendAllDayTakesTheShortWay) {
  for (const char* text : {
           R"({"Command":"KEEPALIVE"})",
           R"({"Command":"HELLO","Id":"u","Pass":"p","Type":"T","ResolutionH":1,"ResolutionV":2})",
           R"({"Command":"CHANGE","DialogName":"top","SessionId":"s"})",
           R"({"Command":"CONDITION","ActionName":"b","Objects":[{"Name":"b","Value":"ON"},{}]})",
           R"({"Objects":[{"Type":"LABEL","x":-12,"y":true,"z":false}],"Command":"CONDITION"})",
           R"({"Commands":[{"Command":"A","Name":"n"},{"Objects":[{"a":""}],"Command":""}]})",
           "{'Command':'A'}",
           " {\t\"Command\" :\r\n\"A\" , \"b\":\"\xe3\x81\x82\" } behind {\"",
           R"({"Command":"A","Commands":"x","Dialog":1,"Name":5,"Type":"GRID"})",
       }) {
    EXPECT_TRUE(IsUsual(text)) << text;
    ExpectAsLiteral(text);
  }
}

TEST(CommandReaderTest, WhatIsRareIsLeftAlone) {
  for (const char* text : {
           "",
           "{}",
           "[]",
           R"({"Command":"A")",
           R"({"Command":"A",})",
           R"({"Command":"A" "b":1})",
           R"({"Command":"DIALOG"})",
           R"({"Command":5})",
           R"({"Name":"x"})",
           R"({"Command":"A","b":"\n"})",
           R"({"Command":"A","b":"it's"})",
           R"({"Command":"A","b":null})",
           R"({"Command":"A","b":1.5})",
           R"({"Command":"A","b":1-2})",
           R"({"Command":"A","b":-})",
           R"({"Command":"A","b":1234567890})",
           R"({"Command":"A","b":1e5})",
           R"({"Command":"A","b":1+})",
           R"({"Command":"A","b":1 2})",
           R"({"Command":"A","b":trux})",
           R"({"Command":"A","b":t})",
           R"({"Command":"A","b":falsy})",
           R"({"Command":"A","b":1)",
           R"({"Command":"A","b":[1]})",
           R"({"Command":"A","b":{}})",
           R"({"Command":"A","b":1,"b":2})",
           R"({"Command":"A","c":1,"b":1,"c":2})",
           R"({"Command":"A","Command":"B"})",
           R"({"Command":"A","Object":{"Name":"b"}})",
           R"({"Command":"A","Object":1})",
           R"({"Command":"A","Objects":1})",
           R"({"Command":"A","Objects":[]})",
           R"({"Command":"A","Objects":[1]})",
           R"({"Command":"A","Objects":[{"Command":"B"}]})",
           R"({"Command":"A","Objects":[{"Type":"GRID"}]})",
           R"({"Command":"A","Objects":[{"Type":"GROUP"}]})",
           R"({"Command":"A","Objects":[{"Type":"RADIOBTN"}]})",
           R"({"Command":"A","Objects":[{"Objects":[{}]}]})",
           R"({"Command":"A","Objects":[{"NotifyList":"x"}]})",
           R"({"Command":"A","Objects":[{"a":1}],"Objects":[{"b":1}]})",
           R"({"Command":"A","NotifyList":"x","x":1,"y":2})",
           R"({"Commands":[]})",
           R"({"Commands":[{}]})",
           R"({"Commands":[{"Command":"A"}],"b":1})",
           R"({"Commands":[{"Command":"A"},{"Command":"DIALOG"}]})",
           R"({"b":1,"Commands":[{"Command":"A"}]})",
       }) {
    EXPECT_FALSE(IsUsual(text)) << text;
    ExpectAsLiteral(text);
  }
}

std::string ManyMembers(int count) {
  std::string text = R"({"Command":"A")";
  for (int i = 1; i < count; ++i) text += ",\"k" + std::to_string(1000 - i) + "\":1";
  return text + "}";
}

std::string ManyObjects(int count) {
  std::string text = R"({"Command":"A","Objects":[{})";
  for (int i = 2; i < count; ++i) text += ",{}";
  return text + "]}";
}

// A comma has to bring a member, wherever the room for them ends.
TEST(CommandReaderTest, ACommaBehindTheLastMemberIsAnError) {
  for (const int count : {1, 47, 48, 49}) {
    for (const char* const end : {",}", ",,}", ",]"}) {
      std::string text = ManyMembers(count);
      text.replace(text.size() - 1, 1, end);
      EXPECT_FALSE(IsUsual(text)) << text;
      ExpectAsLiteral(text);
    }
  }
}

// As the attributes of an object are, also where an object is filled that has some already.
TEST(CommandReaderTest, MembersComeInTheOrderOfTheirBytes) {
  const std::string text =
      "{\"b\":1,\"Command\":\"A\",\"\xe3\x81\x82\":2,\"\":3,\"ab\":4,\"a\":5,\"\x7f\":6}";
  dorn::CommandOutline outline(text);
  ASSERT_TRUE(outline.Read());
  std::vector<std::string> keys;
  for (const auto* member = outline.begin()->first; member != nullptr; member = member->next) {
    keys.emplace_back(member->key);
  }
  EXPECT_EQ(keys,
            (std::vector<std::string>{"", "Command", "a", "ab", "b", "\x7f", "\xe3\x81\x82"}));
  ExpectAsLiteral(text);
}

TEST(CommandReaderTest, AnObjectThatIsFilledHasNothingElse) {
  const std::string text = R"({"Command":"B","a":1,"c":"x","e":true})";
  dorn::CommandOutline outline(text);
  ASSERT_TRUE(outline.Read());
  for (const std::string old : {"", "A", "Command", "a", "b", "c", "d", "e", "f"}) {
    VQJsonCommands expected;
    ASSERT_TRUE(LiteralReader::ParseCommand(&expected, text));
    VQJsonObject object(nullptr);
    object.SetValue("Name", "before", 0, "");
    object.SetValue(old, "was there", 0, "");
    dorn::FillObject(*outline.begin(), object);
    EXPECT_EQ(object.mName, "B") << old;
    EXPECT_EQ(object.GetJson(), expected.mObjectList.front()->GetJson()) << old;
  }
}

TEST(CommandReaderTest, TheOutlineHasRoomForFortyEightMembersAndSixteenObjects) {
  EXPECT_TRUE(IsUsual(ManyMembers(48)));
  EXPECT_FALSE(IsUsual(ManyMembers(49)));
  EXPECT_TRUE(IsUsual(ManyObjects(16)));
  EXPECT_FALSE(IsUsual(ManyObjects(17)));
  for (const int count : {47, 48, 49, 50}) ExpectAsLiteral(ManyMembers(count));
  for (const int count : {15, 16, 17, 18}) ExpectAsLiteral(ManyObjects(count));
}

// One that is cut anywhere is an error of the same line, and nothing was made.
TEST(CommandReaderTest, EveryTruncationIsLeftAlone) {
  const std::string text =
      R"({"Commands":[{"Command":"A","b":-1,"c":true},{"Objects":[{"Name":"x"}],"Command":"B"}]})";
  for (size_t length = 0; length < text.size(); ++length) {
    EXPECT_FALSE(IsUsual(text.substr(0, length)));
    ExpectAsLiteral(text.substr(0, length));
  }
}

TEST(CommandReaderTest, ChangedTextsAreReadAsALiteralReaderDoes) {
  const std::string texts[] = {
      R"({"Command":"CONDITION","ActionName":"p","Objects":[{"Name":"p","Value":"ON","n":12}]})",
      R"({"Commands":[{"Command":"A","Name":"n","t":true},{"Command":"B","Objects":[{},{}]}]})",
      R"({"Objects":[{"Type":"LABEL","a":-1}],"Command":"A","Dialog":1,"Commands":"x"})"};
  const char* const pieces[] = {"\"Command\"", "\"Objects\"", "\"Commands\"",
                                "\"DIALOG\"",  "\"Type\"",    "\"GRID\"",
                                "\"GROUP\"",   "[",           "]",
                                "{",           "}",           ",",
                                ":",           "\"",          "'",
                                "1",           "-",           "e",
                                "null",        "{}",          "\"Name\"",
                                "\"Object\"",  "[{}]",        "\\",
                                "true"};
  std::mt19937 random(7);
  for (int round = 0; round < 6000; ++round) {
    std::string text = texts[random() % 3];
    for (unsigned edits = 1 + random() % 3; edits > 0; --edits) {
      const size_t at = random() % text.size();
      text.replace(at, random() % 12, pieces[random() % 25]);
    }
    ExpectAsLiteral(text);
  }
}

}  // namespace
