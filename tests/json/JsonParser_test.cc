#include "dorn/json/JsonParser.h"

#include <signal.h>

#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "dorn/json/VQValue.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "tests/support/CapturedStdout.h"

namespace {

using namespace std::string_literals;

static_assert(std::has_virtual_destructor_v<JsonParser>);
static_assert(std::is_same_v<decltype(JsonParser::mValue), value>);
static_assert(std::is_same_v<decltype(JsonParser::mValueCurrent), const value*>);
static_assert(sizeof(JsonParser) == sizeof(void*) + sizeof(value) + sizeof(const value*));
static_assert(std::is_same_v<decltype(std::declval<JsonParser&>().Parse("")), bool>);
static_assert(std::is_same_v<decltype(std::declval<JsonParser&>().Serialize()), KZString>);
static_assert(
    std::is_same_v<decltype(std::declval<JsonParser&>().GetArray("")), const std::vector<value>&>);
static_assert(std::is_same_v<decltype(std::declval<JsonParser&>().MapBegin()),
                             std::map<std::string, value>::const_iterator>);
static_assert(
    std::is_same_v<decltype(std::declval<JsonParser&>().Begin(std::declval<const array&>())),
                   std::vector<value>::const_iterator>);

// A parser that was given a document which is valid.
class Document {
 public:
  explicit Document(const std::string& text) { EXPECT_TRUE(mParser.Parse(text.c_str())) << text; }
  JsonParser* operator->() { return &mParser; }
  JsonParser& operator*() { return mParser; }

 private:
  JsonParser mParser;
};

// What Parse() of a text prints; the text must fail.
std::string PrintedByFailing(JsonParser& parser, const std::string& text) {
  CapturedStdout captured;
  const bool parsed = parser.Parse(text.c_str());
  const std::string printed = captured.Text();
  EXPECT_FALSE(parsed) << text;
  return printed;
}

std::string PrintedByFailing(const std::string& text) {
  JsonParser parser;
  return PrintedByFailing(parser, text);
}

std::vector<std::string> KeysOf(JsonParser& parser) {
  std::vector<std::string> keys;
  auto it = parser.MapBegin();
  KZString key;
  while (parser.MapNext(it, key)) keys.push_back(key);
  return keys;
}

// Parsing.

TEST(JsonParserTest, StartsWithNullAndWithoutACursor) {
  const JsonParser parser;
  EXPECT_TRUE(parser.mValue.is<null>());
  EXPECT_EQ(parser.mValueCurrent, nullptr);
}

TEST(JsonParserTest, KeepsItsMembersInTheirOrder) {
  const JsonParser parser;
  const auto* self = reinterpret_cast<const char*>(&parser);
  EXPECT_EQ(reinterpret_cast<const char*>(&parser.mValue) - self, 8);
  EXPECT_EQ(reinterpret_cast<const char*>(&parser.mValueCurrent) - self, 24);
}

TEST(JsonParserTest, ParsePutsTheCursorOnTheRootAndPrintsNothing) {
  JsonParser parser;
  CapturedStdout captured;
  EXPECT_TRUE(parser.Parse("{\"a\":1}"));
  EXPECT_EQ(captured.Text(), "");
  EXPECT_EQ(parser.mValueCurrent, &parser.mValue);
  EXPECT_EQ(parser.mValue.get("a").get<int>(), 1);
}

TEST(JsonParserTest, ParseTakesAnyKindOfRoot) {
  for (const char* text : {"[1]", "5", "\"x\"", "true", "null", "1.5"}) {
    JsonParser parser;
    EXPECT_TRUE(parser.Parse(text)) << text;
    EXPECT_EQ(parser.mValueCurrent, &parser.mValue);
  }
}

TEST(JsonParserTest, ParseIgnoresWhatFollowsTheFirstValue) {
  Document document("{\"a\":1} and other words }");
  int number = 0;
  EXPECT_TRUE(document->GetInteger("a", number));
  EXPECT_EQ(number, 1);
}

TEST(JsonParserTest, FailingParsePrintsTheError) {
  EXPECT_EQ(PrintedByFailing(""), "Parse error:syntax error at line 1 near: \n");
  EXPECT_EQ(PrintedByFailing("[1,]"), "Parse error:syntax error at line 1 near: ]\n");
  EXPECT_EQ(PrintedByFailing("{\"a\":1,\n\"b\":tru}\nnext"),
            "Parse error:syntax error at line 2 near: }\n");
  EXPECT_EQ(PrintedByFailing("日本\t語\n"), "Parse error:syntax error at line 1 near: 日本語\n");
}

TEST(JsonParserTest, PercentSignsOfTheTextArePrintedAsTheyAre) {
  EXPECT_EQ(PrintedByFailing("%s%n%d"), "Parse error:syntax error at line 1 near: %s%n%d\n");
}

TEST(JsonParserTest, FailingFirstParseLeavesNoCursor) {
  JsonParser parser;
  PrintedByFailing(parser, "{\"a\":1,");
  EXPECT_EQ(parser.mValueCurrent, nullptr);
  int number = 9;
  EXPECT_FALSE(parser.GetInteger("a", number));
  EXPECT_EQ(number, 9);
}

TEST(JsonParserTest, FailingLaterParseKeepsDocumentAndCursor) {
  Document document("{\"in\":{\"text\":\"kept\"},\"out\":1}");
  ASSERT_TRUE(document->GetObject("in"));
  const value* cursor = document->mValueCurrent;
  PrintedByFailing(*document, "{\"text\":\"lost\",");
  EXPECT_EQ(document->mValueCurrent, cursor);
  KZString text;
  EXPECT_TRUE(document->GetString("text", text));
  EXPECT_TRUE(text == "kept");
}

TEST(JsonParserTest, LaterParseReplacesTheDocumentAndReturnsToTheRoot) {
  Document document("{\"in\":{\"a\":1}}");
  ASSERT_TRUE(document->GetObject("in"));
  ASSERT_TRUE(document->Parse("{\"b\":2}"));
  EXPECT_EQ(document->mValueCurrent, &document->mValue);
  int number = 0;
  EXPECT_TRUE(document->GetInteger("b", number));
  EXPECT_FALSE(document->GetInteger("a", number));
  EXPECT_EQ(number, 2);
}

TEST(JsonParserTest, ParseMayReadATextOfItsOwnDocument) {
  Document document("{\"json\":\"{\\\"a\\\":5}\"}");
  ASSERT_TRUE(document->Parse(document->mValue.get("json").get<std::string>().c_str()));
  int number = 0;
  EXPECT_TRUE(document->GetInteger("a", number));
  EXPECT_EQ(number, 5);
}

TEST(JsonParserTest, SerializeIsAlwaysEmpty) {
  JsonParser parser;
  EXPECT_TRUE(parser.Serialize() == "");
  Document document("{\"a\":1}");
  EXPECT_TRUE(document->Serialize() == "");
}

// Access by key.

constexpr char kKinds[] =
    "{\"true\":true,\"int\":5,\"double\":3.0,\"string\":\"x\",\"array\":[1,2],"
    "\"object\":{\"k\":1},\"null\":null}";

TEST(JsonParserTest, EachAccessorTakesExactlyItsType) {
  for (const char* key :
       {"true", "int", "double", "string", "array", "object", "null", "missing", "INT", ""}) {
    Document document(kKinds);
    EXPECT_EQ(document->IsArray(key), key == "array"s) << key;
    EXPECT_EQ(document->IsString(key), key == "string"s) << key;

    KZString text("before");
    EXPECT_EQ(document->GetString(key, text), key == "string"s) << key;
    EXPECT_TRUE(text == (key == "string"s ? "x" : "before")) << key;

    int number = 99;
    EXPECT_EQ(document->GetInteger(key, number), key == "int"s) << key;
    EXPECT_EQ(number, key == "int"s ? 5 : 99) << key;

    bool flag = false;
    EXPECT_EQ(document->GetBoolean(key, flag), key == "true"s) << key;
    EXPECT_EQ(flag, key == "true"s) << key;

    EXPECT_EQ(document->GetArray(key).size(), key == "array"s ? 2u : 0u) << key;
    EXPECT_EQ(document->mValueCurrent, &document->mValue) << key;

    EXPECT_EQ(document->GetObject(key), key == "object"s) << key;
    EXPECT_EQ(document->mValueCurrent != &document->mValue, key == "object"s) << key;
  }
}

TEST(JsonParserTest, GetBooleanStoresFalseToo) {
  Document document("{\"off\":false}");
  bool flag = true;
  EXPECT_TRUE(document->GetBoolean("off", flag));
  EXPECT_FALSE(flag);
}

TEST(JsonParserTest, KeysAreWholeAndLiteral) {
  Document document("{\"a\":{\"b\":1},\"a.b\":2,\"A\":3}");
  int number = 0;
  EXPECT_TRUE(document->GetInteger("a.b", number));
  EXPECT_EQ(number, 2);
  EXPECT_TRUE(document->GetInteger("A", number));
  EXPECT_EQ(number, 3);
  EXPECT_FALSE(document->GetInteger("a", number));
}

TEST(JsonParserTest, GetStringCopiesZeroBytes) {
  Document document("{\"a\":\"x\\u0000y\"}");
  KZString text;
  EXPECT_TRUE(document->GetString("a", text));
  EXPECT_TRUE(text == "x\0y"s);
}

TEST(JsonParserTest, WithoutACursorEveryAccessorIsEmpty) {
  JsonParser parser;
  KZString text("before");
  int number = 9;
  bool flag = true;
  VQValue dat(7);
  EXPECT_FALSE(parser.IsArray("a"));
  EXPECT_FALSE(parser.IsString("a"));
  EXPECT_FALSE(parser.GetObject("a"));
  EXPECT_FALSE(parser.GetString("a", text));
  EXPECT_FALSE(parser.GetInteger("a", number));
  EXPECT_FALSE(parser.GetBoolean("a", flag));
  EXPECT_FALSE(parser.GetValue("a", dat));
  EXPECT_TRUE(parser.GetArray("a").empty());
  EXPECT_TRUE(text == "before");
  EXPECT_EQ(number, 9);
  EXPECT_TRUE(flag);
  EXPECT_EQ(dat.GetInt(), 7);
  EXPECT_EQ(parser.mValueCurrent, nullptr);
}

TEST(JsonParserTest, GetArrayWithoutAnArrayIsOneSharedEmptyArray) {
  Document document(kKinds);
  const std::vector<value>* shared = &document->GetArray("missing");
  EXPECT_TRUE(shared->empty());
  EXPECT_EQ(&document->GetArray("missing"), shared);
  EXPECT_EQ(&document->GetArray("string"), shared);
  EXPECT_EQ(&document->GetArray("object"), shared);
  EXPECT_EQ(&JsonParser().GetArray("a"), shared);
  EXPECT_NE(&document->GetArray("array"), shared);
}

TEST(JsonParserTest, GetArrayRefersIntoTheDocument) {
  Document document(kKinds);
  EXPECT_EQ(&document->GetArray("array"), &document->mValue.get("array").get<array>());
}

TEST(JsonParserTest, GetObjectDescendsOneWay) {
  Document document("{\"Object\":{\"in\":{\"a\":1}},\"a\":2}");
  ASSERT_TRUE(document->GetObject("Object"));
  ASSERT_TRUE(document->GetObject("in"));
  int number = 0;
  EXPECT_TRUE(document->GetInteger("a", number));
  EXPECT_EQ(number, 1);
  EXPECT_FALSE(document->GetObject("Object"));
}

TEST(JsonParserTest, GetObjectOfAStringLeavesTheCursorOnTheRoot) {
  Document document("{\"Object\":\"text\",\"Dialog\":{\"a\":1}}");
  EXPECT_FALSE(document->GetObject("Object"));
  EXPECT_EQ(document->mValueCurrent, &document->mValue);
  EXPECT_TRUE(document->GetObject("Dialog"));
}

// Walks.

TEST(JsonParserTest, WalkVisitsEachElement) {
  Document document("{\"list\":[{\"k\":\"a\"},{\"k\":\"b\"}]}");
  const auto& list = document->GetArray("list");
  ASSERT_EQ(list.size(), 2u);
  std::vector<std::string> seen;
  auto it = document->Begin(list);
  while (document->Next(list, it)) {
    KZString text;
    EXPECT_TRUE(document->GetString("k", text));
    seen.push_back(text);
  }
  EXPECT_EQ(seen, (std::vector<std::string>{"a", "b"}));
}

TEST(JsonParserTest, NextSetsTheCursorBeforeItTests) {
  Document document("{\"list\":[1,2]}");
  const auto& list = document->GetArray("list");
  auto it = document->Begin(list);
  EXPECT_EQ(it, list.begin());
  EXPECT_EQ(document->mValueCurrent, &document->mValue) << "Begin does not move the cursor";
  EXPECT_TRUE(document->Next(list, it));
  EXPECT_EQ(document->mValueCurrent, list.data());
  EXPECT_TRUE(document->Next(list, it));
  EXPECT_EQ(document->mValueCurrent, list.data() + 1);
  EXPECT_EQ(it, list.end());
  EXPECT_FALSE(document->Next(list, it));
  EXPECT_EQ(document->mValueCurrent, list.data() + 2) << "one past the last element";
}

TEST(JsonParserTest, EnclosingWalkContinuesAfterANestedOne) {
  Document document(
      "{\"rows\":[{\"n\":\"r1\",\"cells\":[{\"c\":1},{\"c\":2}]},"
      "{\"n\":\"r2\",\"cells\":[{\"c\":3}]}]}");
  std::string seen;
  const auto& rows = document->GetArray("rows");
  auto row = document->Begin(rows);
  while (document->Next(rows, row)) {
    KZString name;
    EXPECT_TRUE(document->GetString("n", name));
    seen += name + ":";
    const auto& cells = document->GetArray("cells");
    auto cell = document->Begin(cells);
    while (document->Next(cells, cell)) {
      int number = 0;
      EXPECT_TRUE(document->GetInteger("c", number));
      seen += std::to_string(number) + ",";
    }
  }
  EXPECT_EQ(seen, "r1:1,2,r2:3,");
}

TEST(JsonParserTest, MembersComeInByteOrderOfTheirKeys) {
  Document document("{\"b\":1,\"a\":2,\"あ\":3,\"Z\":4,\"\":5,\"a\\u0000x\":6}");
  EXPECT_EQ(KeysOf(*document), (std::vector<std::string>{"", "Z", "a", "a\0x"s, "b", "あ"}));
  EXPECT_EQ(document->mValueCurrent, &document->mValue) << "the cursor does not move";
}

TEST(JsonParserTest, MapNextAtTheEndLeavesTheKeyAlone) {
  Document document("{\"a\":1}");
  auto it = document->MapBegin();
  KZString key("before");
  EXPECT_TRUE(document->MapNext(it, key));
  EXPECT_TRUE(key == "a");
  EXPECT_FALSE(document->MapNext(it, key));
  EXPECT_TRUE(key == "a");
  EXPECT_FALSE(document->MapNext(it, key)) << "and again";
  Document none("{}");
  auto end = none->MapBegin();
  EXPECT_FALSE(none->MapNext(end, key));
}

TEST(JsonParserTest, MembersAreThoseOfTheCurrentObject) {
  Document document("{\"in\":{\"x\":1,\"y\":2},\"out\":3}");
  ASSERT_TRUE(document->GetObject("in"));
  EXPECT_EQ(KeysOf(*document), (std::vector<std::string>{"x", "y"}));
}

// Conversion to dialog values.

TEST(JsonParserTest, GetValueConvertsScalars) {
  Document document(kKinds);
  VQValue dat;
  EXPECT_TRUE(document->GetValue("true", dat));
  EXPECT_EQ(dat.GetType(), VQValue::TYPE_BOOL);
  EXPECT_TRUE(dat.GetBool());
  EXPECT_TRUE(document->GetValue("int", dat));
  EXPECT_EQ(dat.GetType(), VQValue::TYPE_INT);
  EXPECT_EQ(dat.GetInt(), 5);
  EXPECT_TRUE(document->GetValue("string", dat));
  EXPECT_EQ(dat.GetType(), VQValue::TYPE_STRING);
  EXPECT_STREQ(dat.GetChar(), "x");
}

TEST(JsonParserTest, GetValueConvertsContainersWithAllTheyHold) {
  Document document(
      "{\"list\":[1,\"x\",true,[2],{\"k\":\"v\"}],\"map\":{\"a\":1,\"b\":{\"c\":[3]}}}");
  VQValue list;
  ASSERT_TRUE(document->GetValue("list", list));
  EXPECT_EQ(list.GetType(), VQValue::TYPE_ARRAY);
  VQJArray elements = list.GetArray();
  ASSERT_EQ(elements.size(), 5u);
  EXPECT_EQ(elements[0].GetType(), VQValue::TYPE_INT);
  EXPECT_EQ(elements[1].GetType(), VQValue::TYPE_STRING);
  EXPECT_EQ(elements[2].GetType(), VQValue::TYPE_BOOL);
  EXPECT_EQ(elements[3].GetArray()[0].GetInt(), 2);
  EXPECT_STREQ(elements[4].GetObject()["k"].GetChar(), "v");

  VQValue map;
  ASSERT_TRUE(document->GetValue("map", map));
  EXPECT_EQ(map.GetType(), VQValue::TYPE_OBJECT);
  EXPECT_EQ(map.GetObject()["b"].GetObject()["c"].GetArray()[0].GetInt(), 3);
}

TEST(JsonParserTest, GetValueRefusesNullFloatingAndMissing) {
  Document document(kKinds);
  for (const char* key : {"null", "double", "missing"}) {
    VQValue dat("before");
    EXPECT_FALSE(document->GetValue(key, dat)) << key;
    EXPECT_EQ(dat.GetType(), VQValue::TYPE_STRING) << key;
    EXPECT_STREQ(dat.GetChar(), "before") << key;
  }
}

TEST(JsonParserTest, GetValueKeepsNullAndFloatingElementsAsNone) {
  Document document("{\"list\":[null,1.5,7],\"map\":{\"n\":null,\"d\":2.5}}");
  VQValue list;
  ASSERT_TRUE(document->GetValue("list", list));
  const VQJArray elements = list.GetArray();
  ASSERT_EQ(elements.size(), 3u);
  for (const size_t none : {0u, 1u}) {
    EXPECT_EQ(elements[none].GetType(), VQValue::TYPE_NONE);
    EXPECT_EQ(elements[none].GetInt(), 0);
    EXPECT_STREQ(elements[none].GetChar(), "");
  }
  EXPECT_EQ(elements[2].GetInt(), 7);
  VQValue map;
  ASSERT_TRUE(document->GetValue("map", map));
  VQJObject members = map.GetObject();
  EXPECT_EQ(members.size(), 2u);
  EXPECT_EQ(members["n"].GetType(), VQValue::TYPE_NONE);
  EXPECT_EQ(members["d"].GetType(), VQValue::TYPE_NONE);
}

TEST(JsonParserTest, GetValueEndsTextsButNotKeysAtAZeroByte) {
  Document document("{\"t\":\"x\\u0000y\",\"m\":{\"k\\u0000l\":1}}");
  VQValue dat;
  ASSERT_TRUE(document->GetValue("t", dat));
  EXPECT_TRUE(dat == "x");
  ASSERT_TRUE(document->GetValue("m", dat));
  EXPECT_EQ(dat.GetObject().count(KZString("k\0l"s)), 1u);
}

TEST(JsonParserTest, GetValueDoesNotDependOnTheDocumentLater) {
  VQValue dat;
  {
    Document document("{\"m\":{\"a\":[1,\"x\"]}}");
    ASSERT_TRUE(document->GetValue("m", dat));
  }
  EXPECT_STREQ(dat.GetObject()["a"].GetArray()[1].GetChar(), "x");
}

// Misuse.

TEST(JsonParserDeathTest, KeyedAccessToANonObjectEndsTheProcess) {
  struct Row {
    const char* name;
    std::function<void(JsonParser&)> access;
  };
  const Row rows[] = {
      {"IsArray", [](JsonParser& p) { static_cast<void>(p.IsArray("a")); }},
      {"IsString", [](JsonParser& p) { static_cast<void>(p.IsString("a")); }},
      {"GetArray", [](JsonParser& p) { static_cast<void>(p.GetArray("a")); }},
      {"GetObject", [](JsonParser& p) { static_cast<void>(p.GetObject("a")); }},
      {"GetString",
       [](JsonParser& p) {
         KZString text;
         static_cast<void>(p.GetString("a", text));
       }},
      {"GetInteger",
       [](JsonParser& p) {
         int number = 0;
         static_cast<void>(p.GetInteger("a", number));
       }},
      {"GetBoolean",
       [](JsonParser& p) {
         bool flag = false;
         static_cast<void>(p.GetBoolean("a", flag));
       }},
      {"GetValue",
       [](JsonParser& p) {
         VQValue dat;
         static_cast<void>(p.GetValue("a", dat));
       }},
  };
  for (const Row& row : rows) {
    Document document("[{\"a\":1}]");
    EXPECT_EXIT(row.access(*document), testing::KilledBySignal(SIGABRT),
                testing::HasSubstr(": Assertion `is<object>()' failed.\n"))
        << row.name;
  }
}

TEST(JsonParserDeathTest, KeyedAccessToAScalarRootOrElementEndsTheProcess) {
  for (const char* text : {"5", "\"x\"", "true", "null", "1.5"}) {
    Document document(text);
    EXPECT_EXIT(static_cast<void>(document->IsArray("Commands")), testing::KilledBySignal(SIGABRT),
                testing::HasSubstr(": Assertion `is<object>()' failed.\n"))
        << text;
  }
  Document document("{\"list\":[1]}");
  const auto& list = document->GetArray("list");
  auto it = document->Begin(list);
  ASSERT_TRUE(document->Next(list, it));
  EXPECT_EXIT(static_cast<void>(document->IsString("a")), testing::KilledBySignal(SIGABRT),
              testing::HasSubstr(": Assertion `is<object>()' failed.\n"));
}

TEST(JsonParserDeathTest, AWalkOverTheMembersOfANonObjectEndsTheProcess) {
  const auto isCheck = testing::HasSubstr(": Assertion `IsObject()' failed.\n");
  for (const char* text : {"[1]", "5", "\"x\"", "null"}) {
    Document document(text);
    EXPECT_EXIT(static_cast<void>(document->MapBegin()), testing::KilledBySignal(SIGABRT), isCheck)
        << text;
  }
  JsonParser none;
  EXPECT_EXIT(static_cast<void>(none.MapBegin()), testing::KilledBySignal(SIGABRT), isCheck);

  Document document("{\"list\":[1,2]}");
  auto member = document->MapBegin();
  const auto& list = document->GetArray("list");
  auto element = document->Begin(list);
  ASSERT_TRUE(document->Next(list, element));
  KZString key;
  EXPECT_EXIT(static_cast<void>(document->MapNext(member, key)), testing::KilledBySignal(SIGABRT),
              isCheck)
      << "the cursor has left the object";
}

// Small objects are searched differently from large ones.
TEST(JsonParserTest, FindsMembersOfObjectsOfAnySize) {
  for (int count = 1; count <= 20; ++count) {
    std::string json = "{";
    for (int i = 0; i < count; ++i) {
      json += (i > 0 ? ",\"k" : "\"k") + std::to_string(i) + "\":" + std::to_string(i * 10);
    }
    Document document(json + "}");
    for (int i = 0; i < count; ++i) {
      int number = -1;
      EXPECT_TRUE(document->GetInteger(("k" + std::to_string(i)).c_str(), number));
      EXPECT_EQ(number, i * 10) << count << " members";
    }
    for (const char* missing : {"", "k", "k00", "K0", "k0 ", "k20", "zz"}) {
      int number = -1;
      EXPECT_FALSE(document->GetInteger(missing, number)) << missing << ", " << count;
      EXPECT_EQ(number, -1);
    }
  }
}

}  // namespace
