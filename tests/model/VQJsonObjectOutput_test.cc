// What a tree object writes about itself.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "dorn/model/VQJsonObject.h"
#include "tests/model/Trees.h"
#include "tests/support/Allocations.h"

namespace {

void SetEveryKind(VQJsonObject& object) {
  object.SetValue("Array", VQJArray{VQValue("a"), VQValue(2), VQValue(true)}, 0, "");
  object.SetValue("Bool", true, 0, "");
  object.SetValue("Int", -42, 0, "");
  object.SetValue("None", VQValue(), 0, "");
  object.SetValue("Object", VQJObject{{"id", VQValue(7)}, {"n", VQValue("x")}}, 0, "");
  object.SetValue("Text", "say \"hi\" \\", 0, "");
}

TEST(VQJsonObjectOutputTest, WritesEveryKindOfValueInKeyOrder) {
  VQJsonObject object(nullptr);
  SetEveryKind(object);
  const char* expected =
      "{\"Array\":[\"a\",2,true],\"Bool\":true,\"Int\":-42,\"None\":,"
      "\"Object\":{\"id\":\"7\",\"n\":\"x\"},\"Text\":\"say \"hi\" \\\"}";
  EXPECT_EQ(Plain(object.GetJson()), expected);
  EXPECT_EQ(Plain(object.GetJson()), expected);
}

TEST(VQJsonObjectOutputTest, WritesKeysAsTheyAre) {
  VQJsonObject object(nullptr);
  object.SetValue("a\"b\\c|:|d", 1, 0, "");
  object.SetValue("", 2, 0, "");
  EXPECT_EQ(Plain(object.GetJson()), "{\"\":2,\"a\"b\\c|:|d\":1}");
}

TEST(VQJsonObjectOutputTest, WritesAnEmptyObject) {
  VQJsonObject object(nullptr);
  EXPECT_EQ(Plain(object.GetJson()), "{}");
}

TEST(VQJsonObjectOutputTest, MembersFollowTheCounterOfTheirLevel) {
  VQJsonObject object(nullptr);
  object.SetValue("a", 1, 0, "");
  object.SetValue("b", 2, 0, "");
  int count = 0;
  std::ostringstream fresh;
  object.OutJsonMember(fresh, count);
  EXPECT_EQ(fresh.str(), "\"a\":1,\"b\":2");
  EXPECT_EQ(count, 2);

  std::ostringstream begun;
  begun << "[before]";
  count = 3;
  object.OutJsonMember(begun, count);
  EXPECT_EQ(begun.str(), "[before],\"a\":1,\"b\":2");
  EXPECT_EQ(count, 5);
}

TEST(VQJsonObjectOutputTest, ANegativeCounterIsNonZeroToo) {
  VQJsonObject object(nullptr);
  object.SetValue("a", 1, 0, "");
  object.SetValue("b", 2, 0, "");
  int count = -1;
  EXPECT_EQ(Written([&](std::ostream& out) { object.OutJsonMember(out, count); }),
            ",\"a\":1\"b\":2");
  EXPECT_EQ(count, 1);
}

TEST(VQJsonObjectOutputTest, WithoutAttributesNothingIsCounted) {
  VQJsonObject object(nullptr);
  int count = 4;
  EXPECT_EQ(Written([&](std::ostream& out) { object.OutJsonMember(out, count); }), "");
  EXPECT_EQ(Written([&](std::ostream& out) { object.OutJsonList(out, count); }), "");
  EXPECT_EQ(count, 4);
}

TEST(VQJsonObjectOutputTest, OutJsonCountsAsOneItem) {
  VQJsonObject object(nullptr);
  object.SetValue("a", 1, 0, "");
  int count = 0;
  std::ostringstream out;
  object.OutJson(out, count);
  object.OutJson(out, count);
  object.OutJson(out);
  EXPECT_EQ(out.str(), "{\"a\":1},{\"a\":1}{\"a\":1}");
  EXPECT_EQ(count, 2);
}

TEST(VQJsonObjectOutputTest, WritingDoesNotChangeAnArrayAttribute) {
  VQJsonObject object(nullptr);
  object.SetValue("list", VQJArray{VQValue(1), VQValue(2), VQValue(3)}, 0, "");
  EXPECT_EQ(Plain(object.GetJson()), "{\"list\":[1,2,3]}");
  EXPECT_EQ(Plain(object.GetJson()), "{\"list\":[1,2,3]}");
  EXPECT_STREQ(object.GetValue("list").GetChar(), "[]");
}

// An array inside an object is composed as a text; the shared container must not grow by it.
TEST(VQJsonObjectOutputTest, WritingDoesNotChangeAnArrayInsideAnObject) {
  VQJsonObject object(nullptr);
  object.SetValue("o", VQJObject{{"list", VQValue(VQJArray{VQValue(1), VQValue(2)})}}, 0, "");
  VQValue copy = object.GetValue("o");
  for (int round = 0; round < 3; ++round)
    EXPECT_EQ(Plain(object.GetJson()), "{\"o\":{\"list\":\"[12]\"}}");
  EXPECT_STREQ(object.GetValue("o").GetObject()["list"].GetChar(), "[]");
  EXPECT_STREQ(copy.GetObject()["list"].GetChar(), "[]");
}

TEST(VQJsonObjectOutputTest, WritesTextsOfManyBytesWhole) {
  VQJsonObject object(nullptr);
  const std::string text(200000, 'x');
  object.SetValue("k", text, 0, "");
  EXPECT_EQ(Plain(object.GetJson()), "{\"k\":\"" + text + "\"}");
}

TEST(VQJsonObjectOutputTest, AnObjectOfUsualLengthTakesMemoryOnceForItsText) {
  VQJsonObjectHasList group("Objects", nullptr);
  for (const char* const name : {"a", "b", "c", "d"}) {
    AddChild(group, name)->SetValue("Value", "ON", 0, "");
  }
  const Allocations allocations;
  const KZString json = group.GetJson();
  EXPECT_EQ(allocations.Count(), 1U);
  EXPECT_GT(json.size(), 100U);
}

// A host that overrides one writer is heard by all that build upon it.
class ShoutingObject : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
  void OutJsonMember(std::ostream& out, int& b) override {
    VQJsonObject::OutJsonMember(out, b);
    out << "!";
  }
};

TEST(VQJsonObjectOutputTest, AnOverriddenMemberWriterIsUsedByTheWholeOutput) {
  ShoutingObject object(nullptr);
  object.SetValue("a", 1, 0, "");
  EXPECT_EQ(Plain(object.GetJson()), "{\"a\":1!}");
}

// --- Dirty members --------------------------------------------------------------------------

std::string DirtyMembers(VQJsonObject& object, const char* session) {
  int count = 0;
  return Written([&](std::ostream& out) { object.OutJsonDirtyMember(out, count, session); });
}

TEST(VQJsonObjectOutputTest, DirtyMembersEndWithTheName) {
  VQJsonObject object(nullptr);
  Named(&object, "b1");
  object.SetValue("Value", "ON", -1, "");
  object.SetValue("Attr", 3, -1, "");
  object.SetValue("Quiet", 3, 0, "");
  EXPECT_EQ(DirtyMembers(object, ""), "\"Attr\":3,\"Value\":\"ON\",\"Name\":\"b1\"");
  EXPECT_EQ(DirtyMembers(object, "S1"), "\"Attr\":3,\"Value\":\"ON\",\"Name\":\"b1\"");
  EXPECT_EQ(DirtyOf(object), (Texts{"Attr", "Value"}));
}

TEST(VQJsonObjectOutputTest, ACleanObjectWritesNoDirtyMemberAndNoName) {
  VQJsonObject object(nullptr);
  Named(&object, "b1");
  std::ostringstream out;
  out << "before";
  int count = 5;
  object.OutJsonDirtyMember(out, count, "S1");
  EXPECT_EQ(out.str(), "before");
  EXPECT_EQ(count, 5);
}

TEST(VQJsonObjectOutputTest, DirtyMembersContinueTheCounter) {
  VQJsonObject object(nullptr);
  Named(&object, "b1");
  object.SetValue("Value", "ON", -1, "");
  std::ostringstream out;
  out << "{\"x\":0";
  int count = 1;
  object.OutJsonDirtyMember(out, count, "S1");
  EXPECT_EQ(out.str(), "{\"x\":0,\"Value\":\"ON\",\"Name\":\"b1\"");
  EXPECT_EQ(count, 3);
}

TEST(VQJsonObjectOutputTest, AChangeIsNotEchoedToTheSessionThatMadeIt) {
  VQJsonObject object(nullptr);
  Named(&object, "b1");
  object.SetValue("Value", "ON", -1, "S1");
  EXPECT_EQ(DirtyMembers(object, "S1"), "");
  EXPECT_EQ(DirtyMembers(object, "S2"), "\"Value\":\"ON\",\"Name\":\"b1\"");
  EXPECT_EQ(DirtyMembers(object, "S"), "\"Value\":\"ON\",\"Name\":\"b1\"");
  EXPECT_EQ(DirtyMembers(object, "S11"), "\"Value\":\"ON\",\"Name\":\"b1\"");
}

TEST(VQJsonObjectOutputTest, AKeyIsWrittenOncePerEntryThatThisSessionDidNotMake) {
  VQJsonObject object(nullptr);
  Named(&object, "b");
  object.SetValue("V", 1, -1, "S1");
  object.SetValue("V", 2, -1, "S2");
  object.SetValue("V", 3, -1, "");
  EXPECT_EQ(DirtyMembers(object, "S1"), "\"V\":3,\"V\":3,\"Name\":\"b\"");
  EXPECT_EQ(DirtyMembers(object, "S3"), "\"V\":3,\"V\":3,\"V\":3,\"Name\":\"b\"");
}

TEST(VQJsonObjectOutputTest, ADirtyNameIsWrittenTwice) {
  VQJsonObject object(nullptr);
  object.SetValue("Name", "b", -1, "");
  EXPECT_EQ(DirtyMembers(object, "S1"), "\"Name\":\"b\",\"Name\":\"b\"");
}

TEST(VQJsonObjectOutputTest, AnEmptySessionWritesTaggedKeysWhole) {
  VQJsonObject object(nullptr);
  Named(&object, "b");
  object.SetValue("V", "ON", -1, "S1");
  EXPECT_EQ(DirtyMembers(object, ""), "\"V|:|S1\":,\"Name\":\"b\"");
  EXPECT_EQ(KeysOf(object), (Texts{"Name", "V"}));
}

TEST(VQJsonObjectOutputTest, AnEmptySessionLooksTaggedKeysUpAsSuch) {
  VQJsonObject object(nullptr);
  Named(&object, "b");
  object.SetValue("V|:|S1", "odd", 0, "");
  object.SetValue("V", "ON", -1, "S1");
  EXPECT_EQ(DirtyMembers(object, ""), "\"V|:|S1\":\"odd\",\"Name\":\"b\"");
}

TEST(VQJsonObjectOutputTest, EntriesAreSplitAtTheFirstTagMark) {
  VQJsonObject object(nullptr);
  Named(&object, "b");
  object.SetValue("k", "v", 0, "");
  object.SetValue("k|:|S1", "w", -1, "S2");
  ASSERT_EQ(DirtyOf(object), (Texts{"k|:|S1|:|S2"}));
  EXPECT_EQ(DirtyMembers(object, "S1"), "\"k\":\"v\",\"Name\":\"b\"");
  EXPECT_EQ(DirtyMembers(object, "S2"), "\"k\":\"v\",\"Name\":\"b\"");
  EXPECT_EQ(DirtyMembers(object, "S1|:|S2"), "");
}

TEST(VQJsonObjectOutputTest, AnEmptyTagIsStillATag) {
  VQJsonObject object(nullptr);
  Named(&object, "b");
  object.SetValue("k", "v", 0, "");
  object.SetDirty("k|:|");
  EXPECT_EQ(DirtyMembers(object, "S1"), "\"k\":\"v\",\"Name\":\"b\"");
}

// A dirty key that has no attribute is written with nothing behind it, and must not leave an
// empty attribute that would spoil every later full output.
TEST(VQJsonObjectOutputTest, DirtyKeysWithoutAttributeAreNotInserted) {
  VQJsonObject object(nullptr);
  Named(&object, "t");
  object.SetDirty("Data");
  EXPECT_EQ(DirtyMembers(object, "S1"), "\"Data\":,\"Name\":\"t\"");
  EXPECT_EQ(DirtyMembers(object, ""), "\"Data\":,\"Name\":\"t\"");
  EXPECT_EQ(KeysOf(object), (Texts{"Name"}));
}

TEST(VQJsonObjectOutputTest, AMissingNameAttributeIsInsertedEmpty) {
  VQJsonObject object(nullptr);
  object.mName = "b";
  object.SetValue("Value", "ON", -1, "");
  EXPECT_EQ(DirtyMembers(object, "S1"), "\"Value\":\"ON\",\"Name\":");
  EXPECT_EQ(KeysOf(object), (Texts{"Name", "Value"}));
  EXPECT_EQ(object.GetValue("Name").GetType(), VQValue::TYPE_NONE);
  EXPECT_EQ(Plain(object.mName), "b");
}

TEST(VQJsonObjectOutputTest, NothingWrittenInsertsNoName) {
  VQJsonObject object(nullptr);
  object.mName = "b";
  object.SetValue("Value", "ON", -1, "S1");
  EXPECT_EQ(DirtyMembers(object, "S1"), "");
  EXPECT_EQ(KeysOf(object), (Texts{"Value"}));
}

}  // namespace
