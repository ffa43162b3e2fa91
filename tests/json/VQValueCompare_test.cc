// Equality of dialog values, whose rules are unequal on purpose.
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "dorn/json/VQValue.h"
#include "gtest/gtest.h"

namespace {

using namespace std::string_literals;

using Const = const VQValue&;
static_assert(std::is_same_v<decltype(std::declval<Const>() == std::declval<Const>()), bool>);
static_assert(std::is_same_v<decltype(std::declval<Const>() != std::declval<Const>()), bool>);
static_assert(std::is_same_v<decltype(std::declval<Const>() == "x"), bool>);
static_assert(std::is_same_v<decltype(std::declval<Const>() == KZString()), bool>);
static_assert(std::is_same_v<decltype(KZString() == std::declval<Const>()), bool>);
static_assert(std::is_same_v<decltype(std::declval<Const>() == std::string()), bool>);
static_assert(std::is_same_v<decltype(std::declval<Const>() == 5), bool>);
static_assert(std::is_same_v<decltype(std::declval<Const>() == true), bool>);
static_assert(std::is_same_v<decltype(std::declval<Const>() == VQJObject()), bool>);
static_assert(std::is_same_v<decltype(std::declval<Const>() == VQJArray()), bool>);

VQValue Object(int number) { return VQValue(VQJObject{{"a", VQValue(number)}}); }
VQValue Array(int number) { return VQValue(VQJArray{VQValue(number)}); }

TEST(VQValueCompareTest, ComparesItsTextWithATextWhateverItsKind) {
  struct Row {
    VQValue v;
    const char* text;
    bool equal;
  };
  const Row rows[] = {
      {VQValue("ON"), "ON", true}, {VQValue("ON"), "on", false},    {VQValue("ON"), "ONE", false},
      {VQValue(5), "5", true},     {VQValue(5), "05", false},       {VQValue(true), "true", true},
      {VQValue(true), "1", false}, {VQValue(false), "false", true}, {VQValue(), "", true},
      {Object(1), "{}", true},     {Array(1), "[]", true},          {VQValue(""), "", true},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.v == row.text, row.equal) << row.text;
    EXPECT_EQ(row.v == std::string(row.text), row.equal) << row.text;
    EXPECT_EQ(row.v == KZString(row.text), row.equal) << row.text;
    EXPECT_EQ(row.v != row.text, !row.equal) << row.text;
    EXPECT_EQ(row.v != std::string(row.text), !row.equal) << row.text;
    EXPECT_EQ(row.v != KZString(row.text), !row.equal) << row.text;
  }
}

TEST(VQValueCompareTest, ComparesTheContentsBehindAPointer) {
  const VQValue v("ON");
  char buffer[] = "ON";
  char* pointer = buffer;
  const char* constant = buffer;
  EXPECT_TRUE(v == buffer);
  EXPECT_TRUE(v == pointer);
  EXPECT_TRUE(v == constant);
  EXPECT_TRUE(VQValue("") == static_cast<const char*>(nullptr)) << "null is the empty text";
  EXPECT_FALSE(v == static_cast<const char*>(nullptr));
}

TEST(VQValueCompareTest, AStringArgumentWithAZeroByteIsLonger) {
  EXPECT_FALSE(VQValue("a") == "a\0"s);
  EXPECT_TRUE(VQValue("a") != "a\0b"s);
}

TEST(VQValueCompareTest, ALiteralMayStandOnTheLeft) {
  const VQValue v("ON");
  EXPECT_TRUE("ON" == v);
  EXPECT_FALSE("OFF" == v);
  EXPECT_FALSE("ON" != v);
  EXPECT_TRUE("OFF" != v);
}

TEST(VQValueCompareTest, AStringMayStandOnTheLeft) {
  const VQValue v("ON");
  EXPECT_TRUE(KZString("ON") == v);
  EXPECT_FALSE(KZString("OFF") == v);
}

TEST(VQValueCompareTest, ComparesItsIntegerWithAnIntegerWhateverItsKind) {
  struct Row {
    VQValue v;
    int integer;
    bool equal;
  };
  const Row rows[] = {
      {VQValue(5), 5, true},     {VQValue(5), 6, false},    {VQValue("5"), 5, true},
      {VQValue("7up"), 7, true}, {VQValue("abc"), 0, true}, {VQValue(true), 1, true},
      {VQValue(true), 2, false}, {VQValue(false), 0, true}, {VQValue(), 0, true},
      {Object(1), 0, true},      {Array(1), 0, true},       {Array(1), 1, false},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.v == row.integer, row.equal) << row.v.GetChar();
    EXPECT_EQ(row.v != row.integer, !row.equal) << row.v.GetChar();
  }
}

TEST(VQValueCompareTest, ComparesItsTruthWithABooleanWhateverItsKind) {
  struct Row {
    VQValue v;
    bool truth;
  };
  const Row rows[] = {
      {VQValue(5), true},    {VQValue(-1), true},     {VQValue(0), false},
      {VQValue("5"), true},  {VQValue("0"), false},   {VQValue("true"), false},
      {VQValue(true), true}, {VQValue(false), false}, {VQValue(), false},
      {Object(1), false},    {Array(1), false},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.v == true, row.truth) << row.v.GetChar();
    EXPECT_EQ(row.v == false, !row.truth) << row.v.GetChar();
    EXPECT_EQ(row.v != true, !row.truth) << row.v.GetChar();
    EXPECT_EQ(row.v != false, row.truth) << row.v.GetChar();
  }
}

TEST(VQValueCompareTest, TheKindOfTheArgumentChoosesWhatIsCompared) {
  struct Row {
    const char* name;
    VQValue left;
    VQValue argument;
    bool equal;
  };
  VQValue formerObject = Object(1);
  formerObject.Set(5);
  VQValue formerArray = Array(1);
  formerArray.Set("x");
  const Row rows[] = {
      {"text and integer of one text", VQValue("5"), VQValue(5), true},
      {"integer and text of one text", VQValue(5), VQValue("5"), true},
      {"text that atoi reads alike, integer argument", VQValue("05"), VQValue(5), true},
      {"text that atoi reads alike, text argument", VQValue(5), VQValue("05"), false},
      {"one and true", VQValue(1), VQValue(true), true},
      {"true and one", VQValue(true), VQValue(1), true},
      {"two and true", VQValue(2), VQValue(true), true},
      {"true and two", VQValue(true), VQValue(2), false},
      {"true and its word", VQValue(true), VQValue("true"), true},
      {"its word and true", VQValue("true"), VQValue(true), false},
      {"zero and empty text", VQValue(0), VQValue(""), false},
      {"empty text and zero", VQValue(""), VQValue(0), true},
      {"equal texts", VQValue("ON"), VQValue("ON"), true},
      {"texts of other case", VQValue("ON"), VQValue("On"), false},
      {"texts of one integer", VQValue("abc"), VQValue("def"), false},
      {"both false", VQValue(false), VQValue(false), true},
      {"true and false", VQValue(true), VQValue(false), false},
      {"object and zero", Object(1), VQValue(0), true},
      {"object and one", Object(1), VQValue(1), false},
      {"object and false", Object(1), VQValue(false), true},
      {"object and its text", Object(1), VQValue("{}"), true},
      {"array and its text", Array(1), VQValue("[]"), true},
      {"text and object", VQValue("{}"), Object(1), false},
      {"text and array", VQValue("[]"), Array(1), false},
      {"integer and object", VQValue(0), VQValue(VQJObject()), false},
      {"equal objects", Object(1), Object(1), true},
      {"objects of other contents", Object(1), Object(2), false},
      {"equal arrays", Array(1), Array(1), true},
      {"arrays of other contents", Array(1), Array(2), false},
      {"object and array", Object(1), Array(1), false},
      {"array and object", Array(1), Object(1), false},
      {"empty objects", VQValue(VQJObject()), VQValue(VQJObject()), true},
      {"empty arrays", VQValue(VQJArray()), VQValue(VQJArray()), true},
      {"an integer that was the object", formerObject, Object(1), true},
      {"an integer that was another object", formerObject, Object(2), false},
      {"the object and the integer that it became", Object(1), formerObject, false},
      {"a text that was the array", formerArray, Array(1), true},
      {"none and none", VQValue(), VQValue(), false},
      {"none and zero", VQValue(), VQValue(0), true},
      {"none and empty text", VQValue(), VQValue(""), true},
      {"none and false", VQValue(), VQValue(false), true},
      {"zero and none", VQValue(0), VQValue(), false},
      {"empty text and none", VQValue(""), VQValue(), false},
      {"object and none", Object(1), VQValue(), false},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.left == row.argument, row.equal) << row.name;
    EXPECT_EQ(row.left != row.argument, !row.equal) << row.name;
  }
}

TEST(VQValueCompareTest, ContainersComparePairwiseByTheSameRule) {
  const auto object = [](const char* key, const VQValue& v) {
    return VQValue(VQJObject{{key, v}});
  };
  const auto list = [](const VQValue& v) { return VQValue(VQJArray{v}); };
  EXPECT_TRUE(object("a", VQValue("5")) == object("a", VQValue(5)));
  EXPECT_TRUE(object("a", VQValue("")) == object("a", VQValue(0)));
  EXPECT_FALSE(object("a", VQValue(0)) == object("a", VQValue("")));
  EXPECT_FALSE(object("a", VQValue(1)) == object("b", VQValue(1)));
  EXPECT_TRUE(list(VQValue("")) == list(VQValue(0)));
  EXPECT_FALSE(list(VQValue(0)) == list(VQValue("")));
  EXPECT_TRUE(list(Object(1)) == list(Object(1)));
  EXPECT_FALSE(list(Object(1)) == list(Object(2)));
  EXPECT_TRUE(object("a", Array(1)) == object("a", Array(1)));
  EXPECT_FALSE(object("a", Array(1)) == object("a", Array(2)));
}

TEST(VQValueCompareTest, ContainersOfOtherSizesDiffer) {
  const VQValue one(VQJArray{VQValue(1)});
  const VQValue two(VQJArray{VQValue(1), VQValue(2)});
  EXPECT_FALSE(one == two);
  EXPECT_FALSE(two == one);
  EXPECT_FALSE(VQValue(VQJArray()) == one);
  const VQValue small(VQJObject{{"a", VQValue(1)}});
  const VQValue large(VQJObject{{"a", VQValue(1)}, {"b", VQValue(2)}});
  EXPECT_FALSE(small == large);
  EXPECT_FALSE(large == small);
}

TEST(VQValueCompareTest, ACopyEqualsItsSource) {
  const VQValue source(VQJObject{{"a", VQValue(VQJArray{VQValue(1), VQValue("x")})}});
  const VQValue copy(source);
  EXPECT_TRUE(copy == source);
  EXPECT_TRUE(source == copy);
}

TEST(VQValueCompareTest, ACopyThatHoldsANoneDiffersFromItsSource) {
  const VQValue list(VQJArray{VQValue(1), VQValue()});
  const VQValue copyOfList(list);
  EXPECT_FALSE(copyOfList == list);
  const VQValue object(VQJObject{{"a", VQValue()}});
  const VQValue copyOfObject(object);
  EXPECT_FALSE(copyOfObject == object);
  EXPECT_FALSE(object == object);
}

TEST(VQValueCompareTest, ConstContainersCompareByContents) {
  const VQJArray list{VQValue("a text"), VQValue(1)};
  const VQJArray sameList{VQValue("a text"), VQValue(1)};
  EXPECT_TRUE(list == sameList);
  EXPECT_FALSE(list != sameList);
  const VQJObject object{{"k", VQValue("a text")}};
  const VQJObject sameObject{{"k", VQValue("a text")}};
  EXPECT_TRUE(object == sameObject);
  const VQJObject otherObject{{"k", VQValue("other")}};
  EXPECT_FALSE(object == otherObject);
}

// Comparison with a bare container is by the identity of the elements' texts.

TEST(VQValueCompareTest, EqualsTheVeryContainerThatItHolds) {
  const VQValue object = Object(1);
  EXPECT_TRUE(object == *object.mObject);
  EXPECT_FALSE(object != *object.mObject);
  const VQValue list = Array(1);
  EXPECT_TRUE(list == *list.mArray);
  EXPECT_FALSE(list != *list.mArray);
  const VQValue copy(object);
  EXPECT_TRUE(copy == *object.mObject);
}

TEST(VQValueCompareTest, DiffersFromAContainerOfEqualElements) {
  const VQValue object = Object(1);
  EXPECT_FALSE(object == (VQJObject{{"a", VQValue(1)}}));
  EXPECT_TRUE(object != (VQJObject{{"a", VQValue(1)}}));
  EXPECT_FALSE(object == object.GetObject());
  const VQValue list = Array(1);
  EXPECT_FALSE(list == VQJArray{VQValue(1)});
  EXPECT_TRUE(list != VQJArray{VQValue(1)});
  EXPECT_FALSE(list == list.GetArray());
}

TEST(VQValueCompareTest, EqualsAnEmptyContainerOfItsKindOnly) {
  EXPECT_TRUE(VQValue(VQJObject()) == VQJObject());
  EXPECT_TRUE(VQValue(VQJArray()) == VQJArray());
  EXPECT_FALSE(VQValue(VQJArray()) == VQJObject());
  EXPECT_FALSE(VQValue(VQJObject()) == VQJArray());
  EXPECT_FALSE(VQValue() == VQJObject());
  EXPECT_FALSE(VQValue("{}") == VQJObject());
  EXPECT_FALSE(Object(1) == VQJObject());
  EXPECT_FALSE(VQValue(VQJArray()) == VQJArray{VQValue(1)});
}

TEST(VQValueCompareTest, AContainerThatWasReplacedByAScalarCountsNoMore) {
  VQValue v = Object(1);
  v.Set(5);
  EXPECT_FALSE(v == *v.mObject);
  VQValue list = Array(1);
  list.Set("x");
  EXPECT_FALSE(list == *list.mArray);
}

TEST(VQValueCompareTest, AKindWithoutItsContainerEqualsNoContainer) {
  VQValue v;
  v.mType = VQValue::TYPE_OBJECT;
  EXPECT_FALSE(v == VQJObject());
  EXPECT_FALSE(v == VQValue(VQJObject()));
  EXPECT_FALSE(VQValue(VQJObject()) == v);
  v.mType = VQValue::TYPE_ARRAY;
  EXPECT_FALSE(v == VQJArray());
  EXPECT_FALSE(v == VQValue(VQJArray()));
  EXPECT_FALSE(VQValue(VQJArray()) == v);
}

}  // namespace
