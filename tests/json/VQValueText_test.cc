// The texts of dialog values: GetString() and what goes into update commands.
#include <climits>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "dorn/json/VQValue.h"
#include "gtest/gtest.h"
#include "tests/support/Allocations.h"
#include "tests/support/GroupingLocale.h"

namespace {

std::string Written(VQValue& v) {
  std::ostringstream out;
  out << v;
  return out.str();
}

std::string WrittenConst(const VQValue& v) {
  std::ostringstream out;
  out << v;
  return out.str();
}

struct Row {
  const char* name;
  VQValue v;
  const char* string;   // GetString()
  const char* written;  // operator<<
};

std::vector<Row> Rows() {
  const VQValue numbers(VQJArray{VQValue(1), VQValue(2), VQValue(3)});
  const VQValue idAndName(VQJObject{{"id", VQValue(7)}, {"name", VQValue("x")}});
  VQValue noObject;
  noObject.mType = VQValue::TYPE_OBJECT;
  noObject.mString = "{}";
  VQValue noArray;
  noArray.mType = VQValue::TYPE_ARRAY;
  noArray.mString = "[]";
  VQValue formerObject(idAndName);
  formerObject.Set(5);
  VQValue formerArray(numbers);
  formerArray.Set("x");
  return {
      {"none", VQValue(), "", ""},
      {"integer", VQValue(42), "42", "42"},
      {"negative integer", VQValue(-3), "-3", "-3"},
      {"least integer", VQValue(INT_MIN), "-2147483648", "-2147483648"},
      {"true", VQValue(true), "true", "true"},
      {"false", VQValue(false), "false", "false"},
      {"text", VQValue("ON"), "ON", "\"ON\""},
      {"empty text", VQValue(""), "", "\"\""},
      {"Japanese text", VQValue("電圧"), "電圧", "\"電圧\""},
      {"quote inside", VQValue("a\"b"), "a\"b", "\"a\"b\""},
      {"backslash and line feed inside", VQValue("a\\b\n"), "a\\b\n", "\"a\\b\n\""},
      {"text of digits", VQValue("12"), "12", "\"12\""},
      {"empty object", VQValue(VQJObject()), "{}", "{}"},
      {"object", idAndName, "{\"id\":\"7\",\"name\":\"x\"}", "{\"id\":\"7\",\"name\":\"x\"}"},
      {"members in key order",
       VQValue(VQJObject{{"b", VQValue("x")}, {"a", VQValue(1)}, {"Z", VQValue(true)}}),
       "{\"Z\":\"true\",\"a\":\"1\",\"b\":\"x\"}", "{\"Z\":\"true\",\"a\":\"1\",\"b\":\"x\"}"},
      {"nothing is escaped in members", VQValue(VQJObject{{"k\"", VQValue("a\"\\b")}}),
       "{\"k\"\":\"a\"\\b\"}", "{\"k\"\":\"a\"\\b\"}"},
      {"none as member", VQValue(VQJObject{{"n", VQValue()}}), "{\"n\":\"\"}", "{\"n\":\"\"}"},
      {"object in object", VQValue(VQJObject{{"o", idAndName}}),
       "{\"o\":\"{\"id\":\"7\",\"name\":\"x\"}\"}", "{\"o\":\"{\"id\":\"7\",\"name\":\"x\"}\"}"},
      {"array in object", VQValue(VQJObject{{"l", numbers}}), "{\"l\":\"[123]\"}",
       "{\"l\":\"[123]\"}"},
      {"array in object in object", VQValue(VQJObject{{"o", VQValue(VQJObject{{"l", numbers}})}}),
       "{\"o\":\"{\"l\":\"[123]\"}\"}", "{\"o\":\"{\"l\":\"[123]\"}\"}"},
      {"empty array", VQValue(VQJArray()), "[]", "[]"},
      {"array", VQValue(VQJArray{VQValue("a"), VQValue(2), VQValue(true)}), "[a2true]",
       "[\"a\",2,true]"},
      {"text and integer", VQValue(VQJArray{VQValue("a"), VQValue(1)}), "[a1]", "[\"a\",1]"},
      {"array in array", VQValue(VQJArray{numbers, VQValue("x")}), "[[]x]", "[[1,2,3],\"x\"]"},
      {"object in array", VQValue(VQJArray{idAndName, idAndName}), "[{}{}]",
       "[{\"id\":\"7\",\"name\":\"x\"},{\"id\":\"7\",\"name\":\"x\"}]"},
      {"none in array", VQValue(VQJArray{VQValue("a"), VQValue(), VQValue(1)}), "[a1]",
       "[\"a\",,1]"},
      {"object kind without a container", noObject, "{}", "{}"},
      {"array kind without a container", noArray, "[]", "[]"},
      {"integer that was an object", formerObject, "5", "5"},
      {"text that was an array", formerArray, "x", "\"x\""},
      {"text that was an array in an array", VQValue(VQJArray{formerArray}), "[x]", "[\"x\"]"},
  };
}

TEST(VQValueTextTest, GetStringComposesContainers) {
  for (Row& row : Rows()) EXPECT_TRUE(row.v.GetString() == row.string) << row.name;
}

TEST(VQValueTextTest, WritesJsonText) {
  for (Row& row : Rows()) {
    EXPECT_EQ(Written(row.v), row.written) << row.name;
    EXPECT_EQ(Written(row.v), row.written) << row.name << ", again";
  }
}

TEST(VQValueTextTest, WritesConstantValuesAlike) {
  for (const Row& row : Rows()) EXPECT_EQ(WrittenConst(row.v), row.written) << row.name;
  std::ostringstream out;
  out << VQValue("ON");
  EXPECT_EQ(out.str(), "\"ON\"") << "a temporary";
}

TEST(VQValueTextTest, WritingMembersOfAConstantMapQuotesTexts) {
  const VQJObject members{{"a", VQValue("x")}, {"b", VQValue(1)}};
  std::ostringstream out;
  for (const auto& [key, v] : members) out << v << ";";
  EXPECT_EQ(out.str(), "\"x\";1;");
}

TEST(VQValueTextTest, WritingReturnsTheStream) {
  std::ostringstream out;
  VQValue first(1);
  const VQValue second("x");
  out << first << "," << second;
  EXPECT_EQ(out.str(), "1,\"x\"");
}

TEST(VQValueTextTest, WritingIgnoresLocales) {
  const GroupingLocale locale;
  std::ostringstream out;  // Has the global locale of its construction.
  out << VQValue(1234567) << VQValue(VQJArray{VQValue(-7654321)});
  EXPECT_EQ(out.str(), "1234567[-7654321]");
}

TEST(VQValueTextTest, GetStringOfAnArrayGrowsItsStoredText) {
  VQValue v(VQJArray{VQValue(1), VQValue(2), VQValue(3)});
  EXPECT_TRUE(v.GetString() == "[123]");
  EXPECT_STREQ(v.GetChar(), "[],,");
  EXPECT_TRUE(v.GetString() == "[123]");
  EXPECT_STREQ(v.GetChar(), "[],,,,");
}

TEST(VQValueTextTest, GetStringTwiceOfTwoElements) {
  VQValue v(VQJArray{VQValue(1), VQValue(2)});
  EXPECT_TRUE(v.GetString() == "[12]");
  EXPECT_TRUE(v.GetString() == "[12]");
  EXPECT_STREQ(v.GetChar(), "[],,");
}

TEST(VQValueTextTest, GetStringOfShortArraysGrowsNothing) {
  VQValue none((VQJArray()));
  none.GetString();
  EXPECT_STREQ(none.GetChar(), "[]");
  VQValue one(VQJArray{VQValue(1)});
  one.GetString();
  EXPECT_STREQ(one.GetChar(), "[]");
}

TEST(VQValueTextTest, GetStringOfWhatWasAnArrayGrowsNothing) {
  VQValue v(VQJArray{VQValue(1), VQValue(2), VQValue(3)});
  v.Set(5);
  EXPECT_TRUE(v.GetString() == "5");
  EXPECT_STREQ(v.GetChar(), "5");
}

TEST(VQValueTextTest, TheGrowthBelongsToTheValueThatWasAsked) {
  VQValue v(VQJArray{VQValue(1), VQValue(2)});
  VQValue copy(v);
  copy.GetString();
  EXPECT_STREQ(copy.GetChar(), "[],");
  EXPECT_STREQ(v.GetChar(), "[]");
  const VQValue later(copy);
  EXPECT_STREQ(later.GetChar(), "[],") << "and goes with its copies";
  copy.Set(VQJArray{VQValue(1)});
  EXPECT_STREQ(copy.GetChar(), "[]");
}

TEST(VQValueTextTest, TheGrownTextIsWhatAnEnclosingArrayShows) {
  VQValue inner(VQJArray{VQValue(1), VQValue(2)});
  inner.GetString();
  VQValue outer(VQJArray{inner, VQValue(3)});
  EXPECT_TRUE(outer.GetString() == "[[],3]");
  EXPECT_EQ(Written(outer), "[[1,2],3]");
}

TEST(VQValueTextTest, ContainersNeverChangeByComposing) {
  const VQValue numbers(VQJArray{VQValue(1), VQValue(2), VQValue(3)});
  VQValue object(VQJObject{{"l", numbers}, {"o", VQValue(VQJObject{{"l", numbers}})}});
  VQValue list(VQJArray{numbers, object});
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(object.GetString() == "{\"l\":\"[123]\",\"o\":\"{\"l\":\"[123]\"}\"}");
    EXPECT_EQ(Written(object), "{\"l\":\"[123]\",\"o\":\"{\"l\":\"[123]\"}\"}");
    EXPECT_EQ(Written(list), "[[1,2,3],{\"l\":\"[123]\",\"o\":\"{\"l\":\"[123]\"}\"}]");
  }
  EXPECT_STREQ(object.mObject->at("l").GetChar(), "[]");
  EXPECT_STREQ(object.mObject->at("o").mObject->at("l").GetChar(), "[]");
  EXPECT_STREQ((*list.mArray)[0].GetChar(), "[]");
  EXPECT_STREQ(object.GetChar(), "{}");
  EXPECT_STREQ(list.GetChar(), "[]");
}

TEST(VQValueTextTest, WritingAnArrayLeavesItsStoredText) {
  VQValue v(VQJArray{VQValue(1), VQValue(2)});
  Written(v);
  EXPECT_STREQ(v.GetChar(), "[]");
}

TEST(VQValueTextTest, KeysWithZeroBytesAreWrittenWhole) {
  using namespace std::string_literals;
  VQValue v(VQJObject{{KZString("a\0b"s), VQValue(1)}});
  EXPECT_EQ(Written(v), "{\"a\0b\":\"1\"}"s);
  EXPECT_TRUE(v.GetString() == "{\"a\0b\":\"1\"}"s);
}

// Composing appends to one text, instead of copying the inner text at every level.
TEST(VQValueTextTest, ComposingNestedObjectsCopiesTheInnerTextOnlyOnce) {
  constexpr size_t kLeaf = 200000;
  constexpr int kDepth = 200;
  VQValue v(std::string(kLeaf, 'x'));
  for (int i = 0; i < kDepth; ++i) v = VQValue(VQJObject{{"k", v}});

  KZString text;
  const size_t composed = AllocationsOf([&] { text = v.GetString(); }).bytes;
  EXPECT_GT(composed, kLeaf) << "the count does count";
  EXPECT_LT(composed, 16 * kLeaf);
  EXPECT_EQ(text.GetLength(), static_cast<int>(kLeaf) + kDepth * 8);

  std::ostringstream out;
  EXPECT_LT(AllocationsOf([&] { out << v; }).bytes, 16 * kLeaf);
  EXPECT_EQ(out.str(), static_cast<const std::string&>(text));
}

}  // namespace
