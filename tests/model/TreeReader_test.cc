// Members that become a child of their object and an attribute as well: what they share, how deep
// they go in what a station sends, and that nobody can tell otherwise.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "dorn/model/TreeReader.h"
#include "dorn/model/VQJsonParser.h"
#include "tests/model/Trees.h"
#include "tests/support/CapturedStdout.h"
#include "tests/support/LiteralReader.h"
#include "tests/support/TreeDump.h"

namespace {

std::string Repeat(const std::string& piece, int times) {
  std::string text;
  for (int i = 0; i < times; ++i) text += piece;
  return text;
}

// So many objects, each the "Dialog" of the one before.
std::string Dialogs(const std::string& command, int count) {
  return R"({"Command":")" + command + '"' +
         Repeat(R"(,"Dialog":{"Name":"d","Type":"GROUP")", count - 1) + Repeat("}", count);
}

// The number of objects below one another, the first included.
int DepthOf(VQJsonObject* object) {
  int depth = 0;
  for (; object != nullptr; ++depth) {
    auto* group = dynamic_cast<VQJsonObjectHasList*>(object);
    const bool hasChild = group != nullptr && !group->mObjectList.empty();
    object = hasChild ? group->mObjectList.front() : nullptr;
  }
  return depth;
}

bool Receive(VQJsonCommands& commands, const std::string& text) {
  const CapturedStdout console;
  return VQJsonParser().ParseCommand(&commands, text);
}

TEST(TreeReaderTest, DialogsOfAStationMakeChildrenDownToTheFourthLevel) {
  for (int count = 1; count < 9; ++count) {
    VQJsonCommands commands;
    ASSERT_TRUE(Receive(commands, Dialogs("A", count)));
    EXPECT_EQ(DepthOf(commands.mObjectList.at(0)), std::min(count, 5)) << count;
  }
}

TEST(TreeReaderTest, CommandListsOfAStationMakeChildrenDownToTheFourthLevel) {
  VQJsonCommands commands;
  ASSERT_TRUE(Receive(commands, R"({"Commands":[{"Command":"A")" +
                                    Repeat(R"(,"Commands":[{"Command":"B")", 7) + Repeat("}]", 7) +
                                    "}]}"));
  EXPECT_EQ(DepthOf(commands.mObjectList.at(0)), 5);
}

TEST(TreeReaderTest, BelowTheFourthLevelADialogIsAnAttributeAlone) {
  VQJsonCommands commands;
  ASSERT_TRUE(Receive(commands, Dialogs("A", 6)));
  auto* object = static_cast<VQJsonObjectHasList*>(commands.mObjectList.at(0));
  for (int level = 1; level < 5; ++level) {
    EXPECT_TRUE(object->HasKey("Dialog"));
    object = static_cast<VQJsonObjectHasList*>(object->mObjectList.at(0));
  }
  EXPECT_TRUE(object->mObjectList.empty());
  EXPECT_EQ(Plain(object->GetJson()),
            R"({"Dialog":{"Name":"d","Type":"GROUP"},"Name":"d","Type":"GROUP"})");
}

TEST(TreeReaderTest, ListsOfObjectsCountAsLevels) {
  const std::string objects = Repeat(R"(,"Objects":[{"Type":"GROUP")", 4);
  VQJsonCommands commands;
  ASSERT_TRUE(Receive(commands, R"({"Command":"A")" + objects + R"(,"Dialog":{"Name":"d"})" +
                                    Repeat("}]", 4) + "}"));
  EXPECT_EQ(DepthOf(commands.mObjectList.at(0)), 5);
}

TEST(TreeReaderTest, ListsOfObjectsGoOnBelowTheFourthLevel) {
  VQJsonCommands commands;
  ASSERT_TRUE(Receive(commands, R"({"Command":"A")" + Repeat(R"(,"Objects":[{"Type":"GROUP")", 50) +
                                    Repeat("}]", 50) + "}"));
  EXPECT_EQ(DepthOf(commands.mObjectList.at(0)), 51);
}

TEST(TreeReaderTest, ARootIsAnObjectOfTheFirstLevel) {
  JsonParser parser;
  ASSERT_TRUE(parser.Parse(Dialogs("DIALOG", 9).c_str()));
  VQJsonResource tree;
  const CapturedStdout console;
  dorn::TreeReader(parser, true, dorn::Source::kStation).ReadRoot(tree);
  EXPECT_EQ(DepthOf(&tree), 5);
}

TEST(TreeReaderTest, TheFilesOfAHostAreNotLimited) {
  VQJsonResource tree;
  const CapturedStdout console;
  ASSERT_TRUE(VQJsonParser().ParseDialog(&tree, Dialogs("DIALOG", 60), true));
  EXPECT_EQ(DepthOf(&tree), 60);
}

TEST(TreeReaderTest, AttributesOfAChildShareTheContainersOfItsParent) {
  VQJsonCommands commands;
  ASSERT_TRUE(Receive(commands, R"({"Command":"A","Dialog":{"Type":"GROUP","x":{"y":1},)"
                                R"("Commands":[5,{"Name":"n","z":[1,[2]]}]}})"));
  auto* command = static_cast<VQJsonObjectHasList*>(commands.mObjectList.at(0));
  auto* dialog = static_cast<VQJsonObjectHasList*>(command->mObjectList.at(0));
  const VQJObject& known = *command->mList["Dialog"].mObject;
  EXPECT_EQ(dialog->mList["x"].mObject, known.at("x").mObject);
  EXPECT_EQ(dialog->mList["Commands"].mArray, known.at("Commands").mArray);
  EXPECT_EQ(dialog->mObjectList.at(0)->mList["z"].mArray,
            known.at("Commands").mArray->at(1).mObject->at("z").mArray);
  EXPECT_NE(dialog->mList["x"].mObject, nullptr);
}

TEST(TreeReaderTest, TheRootOfAFileSharesToo) {
  VQJsonResource tree;
  const CapturedStdout console;
  ASSERT_TRUE(
      VQJsonParser().ParseDialog(&tree, R"({"Command":"DIALOG","Dialog":{"x":[1]}})", true));
  EXPECT_EQ(tree.mObjectList.at(0)->mList["x"].mArray,
            tree.mList["Dialog"].mObject->at("x").mArray);
}

// What was an attribute before the text was read has nothing to do with it.
TEST(TreeReaderTest, ARootThatHadAttributesSharesNothingWithThem) {
  VQJsonResource tree;
  const CapturedStdout console;
  VQJsonParser parser;
  ASSERT_TRUE(parser.ParseDialog(&tree, R"({"Command":"DIALOG","Dialog":{"x":[1]}})", false));
  ASSERT_TRUE(parser.ParseDialog(
      &tree, R"({"Command":"DIALOG","NotifyList":"Value","Dialog":{"x":[2]}})", false));
  EXPECT_EQ(Plain(tree.mObjectList.at(1)->GetJson()), R"({"x":[2]})");
}

// Sets an attribute of its own instead of the one that was read.
class OwnAttributes : public VQJsonResource {
 public:
  bool Parse(JsonParser& /*jp*/, bool /*shard*/) override {
    SetValue("Dialog", VQJObject{{"x", VQValue(VQJArray{VQValue(1)})}}, 0, "");
    return true;
  }
};

TEST(TreeReaderTest, ARootOfAHostsClassSharesNothing) {
  OwnAttributes tree;
  const CapturedStdout console;
  ASSERT_TRUE(
      VQJsonParser().ParseDialog(&tree, R"({"Command":"DIALOG","Dialog":{"x":[2]}})", true));
  EXPECT_EQ(Plain(tree.mObjectList.at(0)->GetJson()), R"({"x":[2]})");
}

TEST(TreeReaderTest, AnAttributeThatIsReadAgainKeepsNoContainer) {
  for (const char* const container : {R"({"y":1})", "[1]"}) {
    VQJsonResource tree;
    const CapturedStdout console;
    VQJsonParser parser;
    ASSERT_TRUE(parser.ParseDialog(
        &tree, std::string(R"({"Command":"DIALOG","x":)") + container + "}", true));
    ASSERT_TRUE(tree.mList["x"].mObject != nullptr || tree.mList["x"].mArray != nullptr);
    ASSERT_TRUE(parser.ParseDialog(&tree, R"({"Command":"DIALOG","x":5})", true));
    EXPECT_EQ(tree.mList["x"].mObject, nullptr);
    EXPECT_EQ(tree.mList["x"].mArray, nullptr);
  }
}

TEST(TreeReaderTest, FourKeysWithAZeroByteBringALongMember) {
  std::string members =
      R"("a":")" + std::string(65, 'x') + R"(","b":")" + std::string(64, 'y') + R"(","c":[],"d":7)";
  for (const char* key : {"a", "b", "c", "d"}) {
    for (int i = 0; i < 9; ++i) {
      members += ",\"" + std::string(key) + "\\u0000" + std::to_string(i) + "\":0";
    }
  }
  VQJsonCommands commands;
  ASSERT_TRUE(Receive(commands, R"({"Command":"A",)" + members + "}"));
  // Of "a" four, of "b" and "d", which are short, all, of "c" none.
  EXPECT_EQ(commands.mObjectList.at(0)->mList.size(), 1u + 4u + 4u + 18u);

  VQJsonResource tree;
  const CapturedStdout console;
  ASSERT_TRUE(VQJsonParser().ParseDialog(&tree, R"({"Command":"DIALOG",)" + members + "}", true));
  EXPECT_EQ(tree.mList.size(), 1u + 4u + 36u);
}

// Texts of the words that mean something, in every combination.
class RandomText {
 public:
  explicit RandomText(unsigned seed) : mRandom(seed) {}

  std::string Object(int depth) {
    std::string text = "{";
    const unsigned members = Below(6);
    for (unsigned i = 0; i < members; ++i) {
      if (i > 0) text += ',';
      text += Member(depth);
    }
    return text + '}';
  }

 private:
  unsigned Below(unsigned bound) { return static_cast<unsigned>(mRandom() % bound); }

  std::string Member(int depth) {
    static const char* const kKeys[] = {
        "Dialog",  "Commands",       "Object",     "Objects",         "Name", "Type",
        "Dialog",  "Commands",       "Layout",     "Value",           "x",    "Alias",
        "Command", "Dialog\\u0000b", "NotifyList", "Commands\\u0000", "Attr", "",
        "\\u0000", "Objects"};
    const std::string key = kKeys[Below(20)];
    std::string text = "\"" + key + "\":";
    if (key == "Type") return text + OneOf("\"GROUP\"", "\"GRID\"", "\"RADIOBTN\"", "\"GROUP\"");
    if (key == "Layout") return text + OneOf("\"RADIO\"", "\"GRID\"", "1", "\"\"");
    if (key == "NotifyList") return text + OneOf("\"Dialog,x\"", "\"\"", "\"Value,Commands\"", "7");
    return text + Value(depth);
  }

  std::string OneOf(const char* a, const char* b, const char* c, const char* d) {
    const char* const choices[] = {a, b, c, d};
    return choices[Below(4)];
  }

  std::string Value(int depth) {
    if (depth == 0 || Below(3) == 0) {
      return Below(2) == 0 ? OneOf("1", "\"t\"", "true", "null") : OneOf("1.5", "[]", "{}", "-3");
    }
    if (Below(2) == 0) return Object(depth - 1);
    std::string text = "[";
    const unsigned elements = Below(4);
    for (unsigned i = 0; i < elements; ++i) {
      if (i > 0) text += ',';
      text += Below(4) == 0 ? Value(depth - 1) : Object(depth - 1);
    }
    return text + ']';
  }

  std::mt19937 mRandom;
};

TEST(TreeReaderTest, ReadsAsALiteralReaderDoes) {
  for (unsigned seed = 0; seed < 1500; ++seed) {
    const std::string body = RandomText(seed).Object(6).substr(1);
    const std::string text = std::string(R"({"Command":"A")") + (body == "}" ? "" : ",") + body;
    VQJsonCommands expected, actual;
    CapturedStdout expectedConsole;
    const bool isCommand = LiteralReader::ParseCommand(&expected, text);
    const std::string expectedLines = expectedConsole.Text();
    CapturedStdout actualConsole;
    ASSERT_EQ(isCommand, VQJsonParser().ParseCommand(&actual, text)) << text;
    ASSERT_EQ(expectedLines, actualConsole.Text()) << text;
    ASSERT_EQ(DumpOf(expected), DumpOf(actual)) << text;
  }
}

TEST(TreeReaderTest, ReadsFilesAsALiteralReaderDoes) {
  const CapturedStdout console;
  for (unsigned seed = 0; seed < 400; ++seed) {
    const std::string text =
        R"({"Command":"DIALOG","Name":"r","Dialog":)" + RandomText(seed).Object(6) + "}";
    for (const bool shard : {false, true}) {
      VQJsonResource expected, actual;
      ASSERT_TRUE(VQJsonParser().ParseDialog(&actual, text, shard));
      ASSERT_TRUE(LiteralReader::ParseDialog(&expected, text, shard));
      ASSERT_EQ(DumpOf(expected), DumpOf(actual)) << text;
    }
  }
}

}  // namespace
