#include "dorn/model/VQJsonParser.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "dorn/json/JsonParser.h"
#include "tests/model/Trees.h"
#include "tests/support/CapturedStdout.h"

namespace {

bool Load(VQJsonResource& tree, const std::string& json, bool shard = true) {
  CapturedStdout captured;
  return VQJsonParser().ParseDialog(&tree, json, shard);
}

// The object that the reader makes of a JSON object, without a parent.
std::unique_ptr<VQJsonObject> Read(const char* json, bool shard = true) {
  CapturedStdout captured;
  JsonParser reader;
  EXPECT_TRUE(reader.Parse(json));
  return std::unique_ptr<VQJsonObject>(VQJsonParser().ParseObject(reader, nullptr, shard));
}

VQJsonObjectHasList* AsGroup(VQJsonObject* node) {
  return dynamic_cast<VQJsonObjectHasList*>(node);
}

template <class T>
bool Is(VQJsonObject* node) {
  return node != nullptr && typeid(*node) == typeid(T);
}

// --- Dialog texts ---------------------------------------------------------------------------

TEST(VQJsonParserTest, LoadsASingleDialogObject) {
  VQJsonResource tree;
  EXPECT_TRUE(Load(tree,
                   "{\"Command\":\"DIALOG\",\"Name\":\"top\",\"Title\":\"T\",\"Objects\":["
                   "{\"Name\":\"a\",\"Type\":\"LABEL\"},{\"Name\":\"b\",\"Type\":\"BUTTON\"}]}"));
  EXPECT_EQ(Plain(tree.mName), "top");
  EXPECT_EQ(KeysOf(tree), (Texts{"Command", "Name", "Title"}));
  EXPECT_EQ(ChildrenOf(tree), (Texts{"a", "b"}));
  EXPECT_EQ(tree.mObjectList[0]->GetParent(), &tree);
}

TEST(VQJsonParserTest, LoadsTheFirstDialogOfACommandList) {
  VQJsonResource tree;
  EXPECT_TRUE(
      Load(tree,
           "{\"Commands\":[{\"Command\":\"HELLO\",\"Name\":\"x\"},{\"Name\":\"y\"},"
           "{\"Command\":\"DIALOG\",\"Name\":\"third\",\"Objects\":[{\"Name\":\"a\"}]},"
           "{\"Command\":\"DIALOG\",\"Name\":\"fourth\",\"Objects\":[{\"Name\":\"b\"}]}]}"));
  EXPECT_EQ(Plain(tree.mName), "third");
  EXPECT_EQ(ChildrenOf(tree), (Texts{"a"}));
}

TEST(VQJsonParserTest, AnEmptyCommandListLeavesTheTopLevelToBeRead) {
  VQJsonResource tree;
  EXPECT_TRUE(Load(tree, "{\"Commands\":[],\"Command\":\"DIALOG\",\"Name\":\"top\"}"));
  EXPECT_EQ(Plain(tree.mName), "top");
}

TEST(VQJsonParserTest, CommandsThatAreNoArrayLeaveTheTopLevelToBeRead) {
  VQJsonResource tree;
  EXPECT_TRUE(Load(tree, "{\"Commands\":{\"Command\":\"HELLO\"},\"Command\":\"DIALOG\"}"));
  EXPECT_EQ(KeysOf(tree), (Texts{"Command", "Commands"}));
}

TEST(VQJsonParserTest, TextsWithoutADialogAreRefusedAndLeaveTheTreeAlone) {
  const char* const texts[] = {
      "{}",
      "{\"Command\":\"HELLO\"}",
      "{\"Command\":\"dialog\"}",
      "{\"Command\":5,\"Name\":\"x\"}",
      "{\"Command\":[\"DIALOG\"]}",
      "{\"Commands\":[]}",
      "{\"Commands\":[{\"Command\":\"HELLO\"}]}",
      "{\"Commands\":[{\"Command\":\"HELLO\",\"Objects\":[{\"Command\":\"DIALOG\"}]}]}",
      "{\"Commands\":[{}],\"Command\":\"DIALOG\",\"Name\":\"x\",\"Objects\":[{\"Name\":\"b\"}]}",
      "{\"Commands\":[1,\"DIALOG\",null,[{\"Command\":\"DIALOG\"}]]}",
      "{\"Commands\":[5],\"Command\":\"DIALOG\"}",
      "[]",
      "[{\"Command\":\"DIALOG\"}]",
      "5",
      "-",
      "1.5",
      "\"DIALOG\"",
      "true",
      "false",
      "null",
  };
  for (const char* text : texts) {
    SCOPED_TRACE(text);
    VQJsonResource tree;
    Named(&tree, "before");
    AddChild(tree, "a");
    CapturedStdout captured;
    EXPECT_FALSE(VQJsonParser().ParseDialog(&tree, text, true));
    EXPECT_EQ(captured.Text(), "");
    EXPECT_EQ(Plain(tree.mName), "before");
    EXPECT_EQ(KeysOf(tree), (Texts{"Name"}));
    EXPECT_EQ(ChildrenOf(tree), (Texts{"a"}));
  }
}

TEST(VQJsonParserTest, ElementsThatAreNoObjectsAreSteppedOver) {
  VQJsonResource tree;
  EXPECT_TRUE(Load(tree,
                   "{\"Commands\":[1,[],null,\"x\",true,2.5,"
                   "{\"Command\":\"DIALOG\",\"Name\":\"top\"}]}"));
  EXPECT_EQ(Plain(tree.mName), "top");
}

TEST(VQJsonParserTest, UnparsableTextsPrintOneLineAndLeaveTheTreeAlone) {
  const struct {
    const char* text;
    const char* line;
  } cases[] = {
      {"", "Parse error:syntax error at line 1 near: \n"},
      {"   ", "Parse error:syntax error at line 1 near: \n"},
      {"{\"Command\":\"DIALOG\"", "Parse error:syntax error at line 1 near: \n"},
      {"{\"Command\":\"DIALOG\",\n\"Objects\":[x]}",
       "Parse error:syntax error at line 2 near: x]}\n"},
      {"{\"Command\":\"DIALOG\",\"Objects\":[{},]}",
       "Parse error:syntax error at line 1 near: ]}\n"},
      {"DIALOG", "Parse error:syntax error at line 1 near: DIALOG\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    VQJsonResource tree;
    AddChild(tree, "a");
    CapturedStdout captured;
    EXPECT_FALSE(VQJsonParser().ParseDialog(&tree, c.text, false));
    EXPECT_EQ(captured.Text(), c.line);
    EXPECT_EQ(ChildrenOf(tree), (Texts{"a"}));
    EXPECT_TRUE(tree.mList.empty());
  }
}

TEST(VQJsonParserTest, TextBehindTheDialogIsIgnored) {
  VQJsonResource tree;
  EXPECT_TRUE(Load(tree, "{\"Command\":\"DIALOG\",\"Name\":\"top\"} and more"));
  EXPECT_EQ(Plain(tree.mName), "top");
}

TEST(VQJsonParserTest, LoadingAgainAppendsEveryChildAgain) {
  const char* text = "{\"Command\":\"DIALOG\",\"Name\":\"top\",\"Objects\":[{\"Name\":\"a\"}]}";
  VQJsonResource tree;
  EXPECT_TRUE(Load(tree, text));
  EXPECT_TRUE(Load(tree, text));
  EXPECT_EQ(ChildrenOf(tree), (Texts{"a", "a"}));
}

TEST(VQJsonParserTest, AFreshlyLoadedTreeHasNoChangeRecords) {
  VQJsonResource tree;
  ASSERT_TRUE(Load(tree,
                   "{\"Command\":\"DIALOG\",\"Name\":\"top\",\"Objects\":["
                   "{\"Name\":\"g\",\"Type\":\"GROUP\",\"Objects\":[{\"Name\":\"b\"}]}]}"));
  auto* group = AsGroup(tree.SearchName("g"));
  ASSERT_NE(group, nullptr);
  for (const VQJsonObject* node : {static_cast<VQJsonObject*>(&tree),
                                   static_cast<VQJsonObject*>(group), tree.SearchName("b")}) {
    EXPECT_FALSE(node->IsDirty());
    EXPECT_FALSE(node->IsDirtyAdd());
    EXPECT_FALSE(node->IsDirtyDel());
  }
}

TEST(VQJsonParserTest, TheShardFlagReachesTheWholeTree) {
  const char* text =
      "{\"Command\":\"DIALOG\",\"Name\":\"top\",\"NotifyList\":\"Title\",\"Title\":\"T\","
      "\"Objects\":[{\"Name\":\"g\",\"Type\":\"GROUP\",\"Layout\":\"V\",\"NotifyList\":\"Value\","
      "\"Text\":\"t\",\"Objects\":[{\"Name\":\"b\",\"Type\":\"B\",\"NotifyList\":\"Value\","
      "\"Value\":\"ON\",\"Attr\":\"x\"}]}]}";
  VQJsonResource unique;
  ASSERT_TRUE(Load(unique, text, false));
  EXPECT_EQ(Plain(unique.GetJson()),
            "{\"Title\":\"T\",\"Objects\":[{\"Layout\":\"V\",\"Type\":\"GROUP\","
            "\"Objects\":[{\"Type\":\"B\",\"Value\":\"ON\"}]}]}");
  ASSERT_NE(unique.SearchName("b"), nullptr);
  EXPECT_FALSE(unique.SearchName("b")->HasKey("Name"));
  VQJsonResource shared;
  ASSERT_TRUE(Load(shared, text, true));
  EXPECT_EQ(Plain(shared.GetJson()),
            "{\"Command\":\"DIALOG\",\"Name\":\"top\",\"NotifyList\":\"Title\",\"Title\":\"T\","
            "\"Objects\":[{\"Layout\":\"V\",\"Name\":\"g\",\"NotifyList\":\"Value\","
            "\"Text\":\"t\",\"Type\":\"GROUP\",\"Objects\":[{\"Attr\":\"x\",\"Name\":\"b\","
            "\"NotifyList\":\"Value\",\"Type\":\"B\",\"Value\":\"ON\"}]}]}");
}

// --- Classes --------------------------------------------------------------------------------

struct ClassCase {
  const char* type;
  const char* layout;
  bool (*isRight)(VQJsonObject*);
  const char* printed;
};

TEST(VQJsonParserTest, TypeAndLayoutSelectTheClass) {
  const ClassCase cases[] = {
      {"GRID", "", Is<VQJsonGrid>, "GRID!\n"},
      {"GRID", "RADIO", Is<VQJsonGrid>, "GRID!\n"},
      {"RADIOBTN", "", Is<VQJsonRadioButtonObject>, "RADIOBTN!\n"},
      {"RADIOBTN", "RADIO", Is<VQJsonRadioButtonObject>, "RADIOBTN!\n"},
      {"GROUP", "RADIO", Is<VQJsonRadioButtonGroup>, "RADIO GROUP!\n"},
      {"GROUP", "", Is<VQJsonObjectHasList>, ""},
      {"GROUP", "GRID", Is<VQJsonObjectHasList>, ""},
      {"GROUP", "radio", Is<VQJsonObjectHasList>, ""},
      {"UNKNOWN", "", Is<VQJsonObject>, ""},
      {"LABEL", "RADIO", Is<VQJsonObject>, ""},
      {"group", "RADIO", Is<VQJsonObject>, ""},
      {"GROUP ", "", Is<VQJsonObject>, ""},
      {"", "", Is<VQJsonObject>, ""},
  };
  for (const ClassCase& c : cases) {
    SCOPED_TRACE(std::string(c.type) + "/" + c.layout);
    VQJsonObjectHasList parent("Objects", nullptr);
    CapturedStdout captured;
    const std::unique_ptr<VQJsonObject> node(
        VQJsonParser().CreateObject(c.type, c.layout, &parent));
    EXPECT_EQ(captured.Text(), c.printed);
    EXPECT_TRUE(c.isRight(node.get()));
    EXPECT_EQ(node->GetParent(), &parent);
    EXPECT_TRUE(node->mList.empty());
    EXPECT_EQ(Plain(node->mName), "");
    if (AsGroup(node.get()) != nullptr) {
      EXPECT_EQ(Plain(AsGroup(node.get())->mListKey), "Objects");
    }
    EXPECT_TRUE(parent.mObjectList.empty());
  }
}

TEST(VQJsonParserTest, DialogIsAResourceAndEveryOtherWordACommand) {
  VQJsonParser parser;
  const std::unique_ptr<VQJsonObject> dialog(parser.CreateCommand("DIALOG"));
  EXPECT_TRUE(Is<VQJsonResource>(dialog.get()));
  EXPECT_TRUE(dialog->mList.empty());
  for (const char* word : {"CHANGE", "dialog", "DIALOG ", ""}) {
    const std::unique_ptr<VQJsonObject> command(parser.CreateCommand(word));
    EXPECT_TRUE(Is<VQJsonCommand>(command.get())) << word;
    EXPECT_EQ(Plain(command->mName), word);
  }
}

TEST(VQJsonParserTest, ACommandWordComesBeforeATypeAndHasNoParent) {
  VQJsonObjectHasList parent("Objects", nullptr);
  JsonParser reader;
  ASSERT_TRUE(reader.Parse("{\"Command\":\"SET\",\"Type\":\"GRID\",\"Name\":\"n\"}"));
  const std::unique_ptr<VQJsonObject> node(VQJsonParser().ParseObject(reader, &parent, true));
  EXPECT_TRUE(Is<VQJsonCommand>(node.get()));
  EXPECT_EQ(node->GetParent(), nullptr);
  EXPECT_EQ(Plain(node->mName), "n");
  EXPECT_EQ(KeysOf(*node), (Texts{"Command", "Name", "Type"}));
}

TEST(VQJsonParserTest, WordsThatAreNoStringsDoNotCount) {
  EXPECT_TRUE(Is<VQJsonObject>(Read("{\"Command\":5}").get()));
  EXPECT_TRUE(Is<VQJsonGrid>(Read("{\"Command\":null,\"Type\":\"GRID\"}").get()));
  EXPECT_TRUE(Is<VQJsonObject>(Read("{\"Type\":7,\"Layout\":\"RADIO\"}").get()));
  EXPECT_TRUE(Is<VQJsonObjectHasList>(Read("{\"Type\":\"GROUP\",\"Layout\":[\"RADIO\"]}").get()));
}

TEST(VQJsonParserTest, AnElementWithoutATypeIsPlainAndHasNoChildren) {
  const auto node = Read("{\"Name\":\"n\",\"Objects\":[{\"Name\":\"c\"}]}");
  EXPECT_TRUE(Is<VQJsonObject>(node.get()));
  EXPECT_EQ(node->SearchName("c"), nullptr);
  EXPECT_EQ(KeysOf(*node), (Texts{"Name"}));
}

TEST(VQJsonParserTest, WhatIsNoJsonObjectMakesAnEmptyPlainObject) {
  const CapturedStdout console;
  VQJsonObject parent(nullptr);
  for (const char* const json : {"[]", "[{\"Command\":\"A\"}]", "5", "\"text\"", "null"}) {
    JsonParser reader;
    ASSERT_TRUE(reader.Parse(json)) << json;
    const std::unique_ptr<VQJsonObject> node(VQJsonParser().ParseObject(reader, &parent, true));
    ASSERT_NE(node, nullptr) << json;
    EXPECT_EQ(node->mDebugFlag, 10) << json;
    EXPECT_EQ(node->GetParent(), &parent) << json;
    EXPECT_EQ(Plain(node->GetJson()), "{}") << json;
  }
}

TEST(VQJsonParserTest, ObjectsHaveTheEnclosingGroupAsParent) {
  const auto node = Read(
      "{\"Type\":\"GROUP\",\"Objects\":[{\"Type\":\"GROUP\",\"Name\":\"inner\",\"Objects\":["
      "{\"Name\":\"leaf\"}]}]}");
  auto* inner = node->SearchName("inner");
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(inner->GetParent(), node.get());
  EXPECT_EQ(node->SearchName("leaf")->GetParent(), inner);
}

TEST(VQJsonParserTest, TracesAreWrittenInReadingOrder) {
  JsonParser reader;
  ASSERT_TRUE(
      reader.Parse("{\"Type\":\"GROUP\",\"Layout\":\"RADIO\",\"Objects\":[{\"Type\":\"RADIOBTN\"},"
                   "{\"Type\":\"GRID\"},{\"Type\":\"RADIOBTN\"}]}"));
  CapturedStdout captured;
  const std::unique_ptr<VQJsonObject> node(VQJsonParser().ParseObject(reader, nullptr, true));
  EXPECT_EQ(captured.Text(), "RADIO GROUP!\nRADIOBTN!\nGRID!\nRADIOBTN!\n");
}

// --- Child lists ----------------------------------------------------------------------------

struct ListCase {
  const char* name;
  const char* json;
  Texts children;
};

TEST(VQJsonParserTest, ChildrenAreReadFromTheFirstKindOfListThatIsThere) {
  const ListCase cases[] = {
      {"objects", "{\"Objects\":[{\"Name\":\"a\"},{\"Name\":\"b\"}]}", {"a", "b"}},
      {"commands", "{\"Commands\":[{\"Name\":\"a\"},{\"Name\":\"b\"}]}", {"a", "b"}},
      {"object", "{\"Object\":{\"Name\":\"a\"}}", {"a"}},
      {"dialog", "{\"Dialog\":{\"Name\":\"a\"}}", {"a"}},
      {"nothing", "{\"Name\":\"n\"}", {}},
      {"objects before object",
       "{\"Objects\":[{\"Name\":\"a\"}],\"Object\":{\"Name\":\"b\"}}",
       {"a"}},
      {"objects before commands",
       "{\"Commands\":[{\"Name\":\"b\"}],\"Objects\":[{\"Name\":\"a\"}]}",
       {"a"}},
      {"commands before object",
       "{\"Commands\":[{\"Name\":\"a\"}],\"Object\":{\"Name\":\"b\"}}",
       {"a"}},
      {"object before dialog", "{\"Dialog\":{\"Name\":\"b\"},\"Object\":{\"Name\":\"a\"}}", {"a"}},
      {"an empty array is an array", "{\"Objects\":[],\"Object\":{\"Name\":\"b\"}}", {}},
      {"an empty array of commands too", "{\"Commands\":[],\"Dialog\":{\"Name\":\"b\"}}", {}},
      {"objects that are no array",
       "{\"Objects\":{\"Name\":\"b\"},\"Commands\":[{\"Name\":\"a\"}]}",
       {"a"}},
      {"an object that is none",
       "{\"Object\":[{\"Name\":\"b\"}],\"Dialog\":{\"Name\":\"a\"}}",
       {"a"}},
      {"elements that are no objects",
       "{\"Objects\":[1,\"x\",null,true,2.5,[{\"Name\":\"b\"}],{\"Name\":\"a\"},[]]}",
       {"a"}},
  };
  for (const ListCase& c : cases) {
    SCOPED_TRACE(c.name);
    JsonParser reader;
    ASSERT_TRUE(reader.Parse(c.json));
    VQJsonObjectHasList group("Objects", nullptr);
    EXPECT_EQ(VQJsonParser().ParseList(&group, reader, true), static_cast<int>(c.children.size()));
    EXPECT_EQ(ChildrenOf(group), c.children);
    EXPECT_FALSE(group.IsDirtyAdd());
    for (const VQJsonObject* child : group.mObjectList) EXPECT_FALSE(child->IsDirtyAdd());
  }
}

TEST(VQJsonParserTest, AReaderWithoutADocumentGivesNoChildren) {
  JsonParser reader;
  VQJsonObjectHasList group("Objects", nullptr);
  EXPECT_EQ(VQJsonParser().ParseList(&group, reader, true), 0);
}

TEST(VQJsonParserTest, NestedListsDoNotDisturbTheOuterWalk) {
  VQJsonResource tree;
  ASSERT_TRUE(
      Load(tree,
           "{\"Command\":\"DIALOG\",\"Objects\":["
           "{\"Name\":\"g1\",\"Type\":\"GROUP\",\"Objects\":[{\"Name\":\"a\"},{\"Name\":\"b\"}]},"
           "{\"Name\":\"g2\",\"Type\":\"GROUP\",\"Object\":{\"Name\":\"c\"}},"
           "{\"Name\":\"d\"}]}"));
  EXPECT_EQ(ChildrenOf(tree), (Texts{"g1", "g2", "d"}));
  EXPECT_EQ(ChildrenOf(*AsGroup(tree.mObjectList[0])), (Texts{"a", "b"}));
  EXPECT_EQ(ChildrenOf(*AsGroup(tree.mObjectList[1])), (Texts{"c"}));
}

// Only "Object" and "Objects" are no attributes: a child list under another key is kept as one too.
TEST(VQJsonParserTest, ChildrenUnderCommandsOrDialogAreAttributesToo) {
  EXPECT_EQ(Plain(Read("{\"Type\":\"GROUP\",\"Commands\":[{\"Name\":\"a\"}]}")->GetJson()),
            "{\"Commands\":[{\"Name\":\"a\"}],\"Type\":\"GROUP\",\"Objects\":[{\"Name\":\"a\"}]}");
  EXPECT_EQ(Plain(Read("{\"Type\":\"GROUP\",\"Dialog\":{\"Name\":\"a\"}}")->GetJson()),
            "{\"Dialog\":{\"Name\":\"a\"},\"Type\":\"GROUP\",\"Objects\":[{\"Name\":\"a\"}]}");
}

class Refusing : public VQJsonObjectHasList {
 public:
  Refusing() : VQJsonObjectHasList("Objects", nullptr) {}
  bool AddObject(VQJsonObject* jo, int command) override {
    mRefused.emplace_back(jo);
    mCommands.push_back(command);
    return false;
  }
  std::vector<std::unique_ptr<VQJsonObject>> mRefused;
  std::vector<int> mCommands;
};

TEST(VQJsonParserTest, ARefusedChildIsNotCountedAndNotDestroyed) {
  for (const char* text : {"{\"Objects\":[{\"Name\":\"a\"}]}", "{\"Object\":{\"Name\":\"a\"}}"}) {
    JsonParser reader;
    ASSERT_TRUE(reader.Parse(text));
    Refusing group;
    EXPECT_EQ(VQJsonParser().ParseList(&group, reader, true), 0);
    ASSERT_EQ(group.mRefused.size(), 1u);
    EXPECT_EQ(Plain(group.mRefused[0]->mName), "a");
    EXPECT_EQ(group.mCommands, (std::vector<int>{0}));
  }
}

TEST(VQJsonParserTest, LoadsADialogOfSeveralHundredLevels) {
  std::string text = "{\"Command\":\"DIALOG\",\"Objects\":[";
  for (int level = 0; level < 500; ++level) text += "{\"Type\":\"GROUP\",\"Objects\":[";
  text += "{\"Name\":\"leaf\"}";
  for (int level = 0; level < 501; ++level) text += "]}";
  VQJsonResource tree;
  EXPECT_TRUE(Load(tree, text));
  EXPECT_NE(tree.SearchName("leaf"), nullptr);
}

TEST(VQJsonParserTest, RefusesADialogOfEndlessNesting) {
  std::string text = "{\"Command\":\"DIALOG\",\"Objects\":[";
  for (int level = 0; level < 20000; ++level) text += "{\"Type\":\"GROUP\",\"Objects\":[";
  for (int level = 0; level < 20000; ++level) text += "]}";
  text += "]}";
  VQJsonResource tree;
  EXPECT_FALSE(Load(tree, text));
  EXPECT_TRUE(tree.mObjectList.empty());
}

}  // namespace
