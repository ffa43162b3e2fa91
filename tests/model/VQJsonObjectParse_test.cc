// Which members of a JSON object become attributes.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "dorn/json/JsonParser.h"
#include "dorn/model/VQJsonParser.h"
#include "tests/model/Trees.h"
#include "tests/support/CapturedStdout.h"

namespace {

// The object that the reader makes of a JSON object, without a parent.
std::unique_ptr<VQJsonObject> Read(const char* json, bool shard = true) {
  CapturedStdout captured;
  JsonParser reader;
  EXPECT_TRUE(reader.Parse(json));
  return std::unique_ptr<VQJsonObject>(VQJsonParser().ParseObject(reader, nullptr, shard));
}

struct FilterCase {
  const char* name;
  const char* json;
  bool shard;
  Texts keys;
};

TEST(VQJsonObjectParseTest, TheNotifyListSelectsTheAttributesOfASessionsTree) {
  const FilterCase cases[] = {
      {"listed and fixed ones",
       "{\"Name\":\"n\",\"Type\":\"B\",\"Layout\":\"L\",\"Alias\":\"A\",\"Value\":1,\"Attr\":2,"
       "\"Text\":3,\"NotifyList\":\"Value,Attr\"}",
       false,
       {"Alias", "Attr", "Type", "Value"}},
      {"a group keeps its layout",
       "{\"Name\":\"n\",\"Type\":\"GROUP\",\"Layout\":\"L\",\"Alias\":\"A\",\"Value\":1,"
       "\"NotifyList\":\"Value\"}",
       false,
       {"Alias", "Layout", "Type", "Value"}},
      {"a shared tree keeps all",
       "{\"Name\":\"n\",\"Type\":\"B\",\"Value\":1,\"Text\":3,\"NotifyList\":\"Value\"}",
       true,
       {"Name", "NotifyList", "Text", "Type", "Value"}},
      {"without a list all are kept",
       "{\"Name\":\"n\",\"Type\":\"B\",\"Value\":1}",
       false,
       {"Name", "Type", "Value"}},
      {"the name and the list itself may be listed",
       "{\"Name\":\"n\",\"Type\":\"B\",\"Value\":1,\"NotifyList\":\"Name,NotifyList\"}",
       false,
       {"Name", "NotifyList", "Type"}},
      {"an empty list leaves the fixed ones",
       "{\"Name\":\"n\",\"Type\":\"B\",\"Value\":1,\"NotifyList\":\"\"}",
       false,
       {"Type"}},
      {"blanks are part of a key",
       "{\"Type\":\"B\",\"Value\":1,\"Attr\":2,\" Attr\":3,\"NotifyList\":\"Value, Attr\"}",
       false,
       {" Attr", "Type", "Value"}},
      {"an empty piece names the empty key",
       "{\"Type\":\"B\",\"\":1,\"x\":2,\"NotifyList\":\",\"}",
       false,
       {"", "Type"}},
      {"keys are compared exactly",
       "{\"Type\":\"B\",\"value\":1,\"Values\":2,\"NotifyList\":\"Value\"}",
       false,
       {"Type"}},
      {"a list that is no string selects nothing",
       "{\"Type\":\"B\",\"Value\":1,\"NotifyList\":5}",
       false,
       {"NotifyList", "Type", "Value"}},
      {"an array is no list",
       "{\"Type\":\"B\",\"Value\":1,\"Text\":2,\"NotifyList\":[\"Value\"]}",
       false,
       {"NotifyList", "Text", "Type", "Value"}},
      {"children are no attributes even if listed",
       "{\"Type\":\"B\",\"Object\":{},\"Objects\":[],\"NotifyList\":\"Object,Objects\"}",
       false,
       {"Type"}},
      {"children are no attributes of a shared tree",
       "{\"Type\":\"B\",\"Object\":5,\"Objects\":\"x\"}",
       true,
       {"Type"}},
  };
  for (const FilterCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(KeysOf(*Read(c.json, c.shard)), c.keys);
  }
}

TEST(VQJsonObjectParseTest, ANotifyListCountsAHundredKeysAtMost) {
  std::string json = "{\"Type\":\"B\"";
  std::string list;
  for (int i = 0; i < 102; ++i) {
    json += ",\"k" + std::to_string(i) + "\":1";
    list += "k" + std::to_string(i) + ",";
  }
  list.pop_back();
  const auto node = Read((json + ",\"NotifyList\":\"" + list + "\"}").c_str(), false);
  EXPECT_TRUE(node->HasKey("k0"));
  EXPECT_TRUE(node->HasKey("k99"));
  EXPECT_FALSE(node->HasKey("k100"));
  EXPECT_FALSE(node->HasKey("k101"));
  EXPECT_EQ(node->mList.size(), 101u);
}

TEST(VQJsonObjectParseTest, ValuesKeepTheirKind) {
  const auto node = Read(
      "{\"s\":\"12\",\"i\":12,\"b\":true,\"a\":[1,\"x\",[2],null],\"o\":{\"k\":1,\"n\":null}}");
  EXPECT_EQ(node->GetValue("s").GetType(), VQValue::TYPE_STRING);
  EXPECT_EQ(node->GetValue("i").GetType(), VQValue::TYPE_INT);
  EXPECT_EQ(node->GetValue("b").GetType(), VQValue::TYPE_BOOL);
  EXPECT_EQ(node->GetValue("a").GetType(), VQValue::TYPE_ARRAY);
  EXPECT_EQ(node->GetValue("o").GetType(), VQValue::TYPE_OBJECT);
  EXPECT_EQ(
      Plain(node->GetJson()),
      "{\"a\":[1,\"x\",[2],],\"b\":true,\"i\":12,\"o\":{\"k\":\"1\",\"n\":\"\"},\"s\":\"12\"}");
  EXPECT_FALSE(node->IsDirty());
}

// A null or floating member has no dialog value; what the attribute was stays, and no other
// member's value is taken for it.
TEST(VQJsonObjectParseTest, MembersWithoutADialogValueCarryNone) {
  const auto node = Read("{\"a\":1,\"b\":null,\"c\":2.5,\"d\":\"x\"}");
  EXPECT_EQ(node->GetValue("b").GetType(), VQValue::TYPE_NONE);
  EXPECT_EQ(node->GetValue("c").GetType(), VQValue::TYPE_NONE);
  EXPECT_STREQ(node->GetValue("b").GetChar(), "");
  EXPECT_STREQ(node->GetValue("a").GetChar(), "1");
  EXPECT_STREQ(node->GetValue("d").GetChar(), "x");
}

TEST(VQJsonObjectParseTest, TheNameComesFromAStringOnly) {
  EXPECT_EQ(Plain(Read("{\"Name\":\"n\"}")->mName), "n");
  EXPECT_EQ(Plain(Read("{\"Name\":12}")->mName), "");
  EXPECT_EQ(Plain(Read("{\"Name\":true}")->mName), "");
  EXPECT_EQ(Plain(Read("{\"Name\":{}}")->mName), "");
  EXPECT_EQ(Plain(Read("{}")->mName), "");
  EXPECT_STREQ(Read("{\"Name\":12}")->GetValue("Name").GetChar(), "12");
}

TEST(VQJsonObjectParseTest, AnUnlistedNameStillNamesTheObject) {
  const auto node = Read("{\"Name\":\"n\",\"Value\":1,\"NotifyList\":\"Value\"}", false);
  EXPECT_EQ(Plain(node->mName), "n");
  EXPECT_FALSE(node->HasKey("Name"));
}

TEST(VQJsonObjectParseTest, ParseFillsAnObjectAndReturnsTrue) {
  JsonParser reader;
  ASSERT_TRUE(reader.Parse("{\"Value\":\"new\",\"Objects\":[{\"Name\":\"c\"}]}"));
  VQJsonObjectHasList group("Objects", nullptr);
  Named(&group, "before");
  group.SetValue("Value", "old", 0, "");
  EXPECT_TRUE(group.Parse(reader, false));
  EXPECT_EQ(Plain(group.mName), "before");
  EXPECT_STREQ(group.GetValue("Value").GetChar(), "new");
  EXPECT_FALSE(group.IsDirty());
  EXPECT_TRUE(group.mObjectList.empty());
}

TEST(VQJsonObjectParseTest, ARadioButtonIsReadWithoutSwitchingOthersOff) {
  const auto node = Read(
      "{\"Type\":\"GROUP\",\"Layout\":\"RADIO\",\"Objects\":["
      "{\"Name\":\"a\",\"Type\":\"RADIOBTN\",\"Attr\":\"ON\"},"
      "{\"Name\":\"b\",\"Type\":\"RADIOBTN\",\"Attr\":\"ON\"}]}");
  EXPECT_STREQ(node->SearchName("a")->GetValue("Attr").GetChar(), "ON");
  EXPECT_STREQ(node->SearchName("b")->GetValue("Attr").GetChar(), "ON");
  EXPECT_FALSE(node->SearchName("a")->IsDirty());
}

TEST(VQJsonObjectParseTest, AKeyWithAZeroByteTakesTheMemberOfTheKeyBeforeIt) {
  const auto both = Read("{\"a\\u0000b\":1,\"a\":2}");
  EXPECT_EQ(both->GetObject().size(), 2u);
  EXPECT_EQ(both->GetValue("a").GetInt(), 2);
  EXPECT_EQ(both->GetValue(KZString(std::string("a\0b", 3))).GetInt(), 2);

  const auto alone = Read("{\"a\\u0000b\":1,\"c\":3}");
  EXPECT_EQ(alone->GetObject().size(), 1u);
  EXPECT_EQ(alone->GetValue("c").GetInt(), 3);
}

TEST(VQJsonObjectParseTest, ReadingAgainReplacesAndAddsAttributes) {
  CapturedStdout captured;
  JsonParser reader;
  VQJsonObject object(nullptr);
  ASSERT_TRUE(reader.Parse("{\"b\":{\"x\":1},\"d\":4,\"f\":[1,2]}"));
  object.Parse(reader, true);
  ASSERT_TRUE(reader.Parse("{\"a\":1,\"b\":2,\"c\":null,\"e\":\"5\",\"f\":true,\"g\":7}"));
  object.Parse(reader, true);
  EXPECT_EQ(object.GetJson(), "{\"a\":1,\"b\":2,\"d\":4,\"e\":\"5\",\"f\":true,\"g\":7}");
  EXPECT_EQ(object.GetValue("b").mObject, nullptr) << "nothing of the old value is left";
  EXPECT_EQ(object.GetValue("f").mArray, nullptr);
}

}  // namespace
