// Kinds, setters, conversions and containers of dialog values. Comparison is tested in
// VQValueCompare_test.cc, text in VQValueText_test.cc.
#include "dorn/json/VQValue.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/GroupingLocale.h"

// The header leaves the global names that hosts may have to them.
using std::array;

#include "dorn/json/JsonValue.h"

namespace {

using namespace std::string_literals;

static_assert(array<int, 2>{}.size() == 2);
static_assert(VQValue::TYPE_NONE == 0);
static_assert(VQValue::TYPE_INT == 1);
static_assert(VQValue::TYPE_STRING == 2);
static_assert(VQValue::TYPE_BOOL == 3);
static_assert(VQValue::TYPE_OBJECT == 4);
static_assert(VQValue::TYPE_ARRAY == 5);
static_assert(std::is_same_v<VQJObject, std::map<KZString, VQValue>>);
static_assert(std::is_same_v<VQJArray, std::vector<VQValue>>);
static_assert(std::is_same_v<VQValue::VQJObject, VQJObject>);
static_assert(std::is_same_v<VQValue::VQJArray, VQJArray>);
static_assert(std::is_same_v<decltype(VQValue::mInt), int>);
static_assert(std::is_same_v<decltype(VQValue::mString), std::string>);
static_assert(std::is_same_v<decltype(VQValue::mObject), std::shared_ptr<VQJObject>>);
static_assert(std::is_same_v<decltype(VQValue::mArray), std::shared_ptr<VQJArray>>);
static_assert(std::is_nothrow_move_constructible_v<VQValue>, "vectors move on growth");
static_assert(std::is_convertible_v<const VQValue&, const char*>);
static_assert(std::is_convertible_v<const value&, VQValue>);
static_assert(std::is_same_v<decltype(std::declval<VQValue&>().GetString()), KZString>);
static_assert(std::is_same_v<decltype(std::declval<const VQValue&>().GetObject()), VQJObject>,
              "a copy");
static_assert(std::is_same_v<decltype(std::declval<const VQValue&>().GetArray()), VQJArray>,
              "a copy");
static_assert(std::is_same_v<decltype(std::declval<const VQValue&>().GetInt()), int>);
static_assert(std::is_same_v<decltype(std::declval<const VQValue&>().GetBool()), bool>);
static_assert(std::is_same_v<decltype(std::declval<const VQValue&>().GetChar()), const char*>);

void ExpectState(const VQValue& v, int type, int integer, const std::string& text) {
  EXPECT_EQ(v.GetType(), type) << text;
  EXPECT_EQ(v.GetInt(), integer) << text;
  EXPECT_EQ(v.GetBool(), integer != 0) << text;
  EXPECT_EQ(v.mType, type) << text;
  EXPECT_EQ(v.mInt, integer) << text;
  EXPECT_EQ(v.mString, text);
  EXPECT_STREQ(v.GetChar(), text.c_str());
  EXPECT_STREQ(static_cast<const char*>(v), text.c_str());
}

TEST(VQValueTest, StartsAsNone) {
  const VQValue v;
  ExpectState(v, VQValue::TYPE_NONE, 0, "");
  EXPECT_EQ(v.mObject, nullptr);
  EXPECT_EQ(v.mArray, nullptr);
}

TEST(VQValueTest, KeepsItsMembersInTheirOrder) {
  const VQValue v;
  const auto* self = reinterpret_cast<const char*>(&v);
  EXPECT_EQ(reinterpret_cast<const char*>(&v.mType) - self, 0);
  EXPECT_EQ(reinterpret_cast<const char*>(&v.mInt) - self, 4);
  EXPECT_EQ(reinterpret_cast<const char*>(&v.mString) - self, 8);
  EXPECT_EQ(reinterpret_cast<const char*>(&v.mObject) - self, 40);
  EXPECT_EQ(reinterpret_cast<const char*>(&v.mArray) - self, 56);
}

TEST(VQValueTest, TextCarriesItsAtoi) {
  const std::pair<const char*, int> rows[] = {
      {"12", 12},   {"abc", 0}, {"7up", 7},        {"", 0},
      {"-42", -42}, {" 5", 5},  {"true", 0},       {"1.9", 1},
      {"0x10", 0},  {"ON", 0},  {"4294967296", 0}, {"99999999999", 1215752191},
      {"日本", 0},
  };
  for (const auto& [text, integer] : rows) {
    ExpectState(VQValue(text), VQValue::TYPE_STRING, integer, text);
    ExpectState(VQValue(std::string(text)), VQValue::TYPE_STRING, integer, text);
    VQValue set;
    set.Set(text);
    ExpectState(set, VQValue::TYPE_STRING, integer, text);
    VQValue assigned(true);
    EXPECT_EQ(&(assigned = text), &assigned);
    ExpectState(assigned, VQValue::TYPE_STRING, integer, text);
    EXPECT_EQ(&(assigned = std::string(text)), &assigned);
    ExpectState(assigned, VQValue::TYPE_STRING, integer, text);
  }
}

TEST(VQValueTest, IntegerCarriesItsDecimalText) {
  const std::pair<int, const char*> rows[] = {
      {0, "0"},
      {-3, "-3"},
      {-42, "-42"},
      {1234567, "1234567"},
      {INT_MAX, "2147483647"},
      {INT_MIN, "-2147483648"},
  };
  for (const auto& [integer, text] : rows) {
    ExpectState(VQValue(integer), VQValue::TYPE_INT, integer, text);
    VQValue v("before");
    v.Set(integer);
    ExpectState(v, VQValue::TYPE_INT, integer, text);
    VQValue assigned;
    EXPECT_EQ(&(assigned = integer), &assigned);
    ExpectState(assigned, VQValue::TYPE_INT, integer, text);
  }
}

TEST(VQValueTest, BooleanCarriesOneOrZeroAndItsWord) {
  ExpectState(VQValue(true), VQValue::TYPE_BOOL, 1, "true");
  ExpectState(VQValue(false), VQValue::TYPE_BOOL, 0, "false");
  VQValue v(5);
  v.Set(true);
  ExpectState(v, VQValue::TYPE_BOOL, 1, "true");
  EXPECT_EQ(&(v = false), &v);
  ExpectState(v, VQValue::TYPE_BOOL, 0, "false");
}

TEST(VQValueTest, IntegersIgnoreTheGlobalLocale) {
  const GroupingLocale locale;
  ExpectState(VQValue(1234567), VQValue::TYPE_INT, 1234567, "1234567");
  ExpectState(VQValue(value(-1234567)), VQValue::TYPE_INT, -1234567, "-1234567");
}

TEST(VQValueTest, ArgumentTypesChooseTheirKind) {
  char buffer[] = "text";
  char* pointer = buffer;
  EXPECT_EQ(VQValue("x").GetType(), VQValue::TYPE_STRING);
  EXPECT_EQ(VQValue(buffer).GetType(), VQValue::TYPE_STRING);
  EXPECT_EQ(VQValue(pointer).GetType(), VQValue::TYPE_STRING);
  EXPECT_EQ(VQValue(KZString("x")).GetType(), VQValue::TYPE_STRING);
  EXPECT_EQ(VQValue("x"s).GetType(), VQValue::TYPE_STRING);
  EXPECT_EQ(VQValue('c').GetType(), VQValue::TYPE_INT);
  EXPECT_EQ(VQValue(0).GetType(), VQValue::TYPE_INT);
  EXPECT_EQ(VQValue(true).GetType(), VQValue::TYPE_BOOL);
  VQValue v;
  v = KZString("7x");
  ExpectState(v, VQValue::TYPE_STRING, 7, "7x");
  v = pointer;
  ExpectState(v, VQValue::TYPE_STRING, 0, "text");
  v = 'c';
  ExpectState(v, VQValue::TYPE_INT, 99, "99");
}

TEST(VQValueTest, BecomesAStringExplicitly) {
  const VQValue v("ON");
  const KZString text(v);
  EXPECT_TRUE(text == "ON");
}

TEST(VQValueTest, TreatsANullPointerAsEmptyText) {
  ExpectState(VQValue(nullptr), VQValue::TYPE_STRING, 0, "");
  ExpectState(VQValue(static_cast<const char*>(nullptr)), VQValue::TYPE_STRING, 0, "");
  VQValue v(5);
  v.Set(static_cast<const char*>(nullptr));
  ExpectState(v, VQValue::TYPE_STRING, 0, "");
  v = 5;
  v = static_cast<const char*>(nullptr);
  ExpectState(v, VQValue::TYPE_STRING, 0, "");
}

TEST(VQValueTest, TextEndsAtAZeroByte) {
  ExpectState(VQValue("12\0x"s), VQValue::TYPE_STRING, 12, "12");
  ExpectState(VQValue(KZString("\0x"s)), VQValue::TYPE_STRING, 0, "");
  VQValue v;
  v.Set("ab\0cd"s);
  ExpectState(v, VQValue::TYPE_STRING, 0, "ab");
  v = "cd\0ef"s;
  ExpectState(v, VQValue::TYPE_STRING, 0, "cd");
}

TEST(VQValueTest, SettersMayBeGivenPartsOfTheValueItself) {
  VQValue v("a text that is too long for the small string buffer");
  v.Set(v.GetChar() + 2);
  EXPECT_STREQ(v.GetChar(), "text that is too long for the small string buffer");
  v.Set(v.mString);
  EXPECT_STREQ(v.GetChar(), "text that is too long for the small string buffer");

  v.Set(VQJObject{{"k", VQValue("inner")}});
  v.Set(*v.mObject);
  EXPECT_STREQ(v.GetObject()["k"].GetChar(), "inner");
  v.Set(VQJArray{VQValue("inner")});
  v.Set(*v.mArray);
  EXPECT_STREQ(v.GetArray()[0].GetChar(), "inner");
}

// Containers.

TEST(VQValueTest, ObjectHoldsACopyOfTheMembers) {
  VQJObject members{{"id", VQValue(7)}, {"name", VQValue("x")}};
  const VQValue v(members);
  members["id"] = VQValue(8);
  ExpectState(v, VQValue::TYPE_OBJECT, 0, "{}");
  ASSERT_NE(v.mObject, nullptr);
  EXPECT_EQ(v.mArray, nullptr);
  EXPECT_EQ(v.mObject->size(), 2u);
  EXPECT_EQ(v.mObject->at("id").GetInt(), 7);
}

TEST(VQValueTest, ArrayHoldsACopyOfTheElements) {
  VQJArray elements{VQValue(7), VQValue("x")};
  const VQValue v(elements);
  elements[0] = VQValue(8);
  ExpectState(v, VQValue::TYPE_ARRAY, 0, "[]");
  ASSERT_NE(v.mArray, nullptr);
  EXPECT_EQ(v.mObject, nullptr);
  EXPECT_EQ(v.mArray->size(), 2u);
  EXPECT_EQ((*v.mArray)[0].GetInt(), 7);
}

TEST(VQValueTest, ContainersAreAssigned) {
  VQValue v(12);
  EXPECT_EQ(&(v = VQJObject{{"a", VQValue(1)}}), &v);
  ExpectState(v, VQValue::TYPE_OBJECT, 0, "{}");
  EXPECT_EQ(&(v = VQJArray{VQValue(1)}), &v);
  ExpectState(v, VQValue::TYPE_ARRAY, 0, "[]");
}

TEST(VQValueTest, SettingOneContainerClearsTheOther) {
  VQValue v(VQJObject{{"a", VQValue(1)}});
  v.Set(VQJArray{VQValue(1)});
  EXPECT_EQ(v.mObject, nullptr);
  EXPECT_NE(v.mArray, nullptr);
  v.Set(VQJObject{{"a", VQValue(1)}});
  EXPECT_NE(v.mObject, nullptr);
  EXPECT_EQ(v.mArray, nullptr);
}

TEST(VQValueTest, ScalarSettersLeaveTheContainers) {
  VQValue v(VQJObject{{"a", VQValue(1)}});
  const VQJObject* container = v.mObject.get();
  v.Set(5);
  EXPECT_EQ(v.mObject.get(), container);
  v.Set("x");
  EXPECT_EQ(v.mObject.get(), container);
  v.Set("x"s);
  EXPECT_EQ(v.mObject.get(), container);
  v.Set(true);
  EXPECT_EQ(v.mObject.get(), container);
  EXPECT_EQ(v.GetType(), VQValue::TYPE_BOOL);
  VQValue list(VQJArray{VQValue(1)});
  list = 5;
  EXPECT_NE(list.mArray, nullptr);
}

TEST(VQValueTest, SetMakesANewContainerEachTime) {
  VQValue v(VQJObject{{"a", VQValue(1)}});
  const VQValue copy(v);
  v.Set(VQJObject{{"b", VQValue(2)}});
  EXPECT_NE(v.mObject, copy.mObject);
  EXPECT_EQ(copy.GetObject().count("a"), 1u);
}

TEST(VQValueTest, GettersHandOutCopies) {
  const VQValue object(VQJObject{{"a", VQValue(1)}});
  object.GetObject()["a"] = VQValue(2);
  EXPECT_EQ(object.GetObject()["a"].GetInt(), 1);
  const VQValue list(VQJArray{VQValue(1)});
  list.GetArray()[0] = VQValue(2);
  EXPECT_EQ(list.GetArray()[0].GetInt(), 1);
}

TEST(VQValueTest, GettersWithoutAContainerAreEmpty) {
  const VQValue values[] = {VQValue(), VQValue(1), VQValue("x"), VQValue(true)};
  for (const VQValue& v : values) {
    EXPECT_TRUE(v.GetObject().empty());
    EXPECT_TRUE(v.GetArray().empty());
  }
  EXPECT_TRUE(VQValue(VQJArray{VQValue(1)}).GetObject().empty());
  EXPECT_TRUE(VQValue(VQJObject{{"a", VQValue(1)}}).GetArray().empty());
}

TEST(VQValueTest, CopiesShareTheirContainer) {
  const VQValue object(VQJObject{{"a", VQValue(1)}});
  const VQValue copy(object);
  VQValue assigned;
  EXPECT_EQ(&(assigned = object), &assigned);
  EXPECT_EQ(copy.mObject.get(), object.mObject.get());
  EXPECT_EQ(assigned.mObject.get(), object.mObject.get());
  ExpectState(assigned, VQValue::TYPE_OBJECT, 0, "{}");
  const VQValue list(VQJArray{VQValue(1)});
  assigned = list;
  EXPECT_EQ(assigned.mArray.get(), list.mArray.get());
  EXPECT_EQ(assigned.mObject, nullptr) << "member by member";
}

TEST(VQValueTest, TheLastCopyFreesTheContainer) {
  std::weak_ptr<VQJObject> watched;
  VQValue last;
  {
    const VQValue object(VQJObject{{"a", VQValue(VQJArray{VQValue(1)})}});
    watched = object.mObject;
    last = object;
  }
  EXPECT_FALSE(watched.expired());
  last.Set(VQJArray());
  EXPECT_TRUE(watched.expired());
}

TEST(VQValueTest, CopyOfAScalarIsIndependent) {
  VQValue v("a");
  const VQValue copy(v);
  v.Set("b");
  ExpectState(copy, VQValue::TYPE_STRING, 0, "a");
}

TEST(VQValueTest, AssignmentOfItselfChangesNothing) {
  VQValue v(VQJObject{{"a", VQValue(1)}});
  const VQValue& alias = v;
  v = alias;
  ExpectState(v, VQValue::TYPE_OBJECT, 0, "{}");
  EXPECT_EQ(v.GetObject().size(), 1u);
}

TEST(VQValueTest, AssignmentOfItsOwnElementIsSafe) {
  VQValue object(VQJObject{{"k", VQValue(VQJObject{{"k", VQValue("inner")}})}});
  object = object.mObject->at("k");
  EXPECT_STREQ(object.GetObject()["k"].GetChar(), "inner");
  VQValue list(VQJArray{VQValue(VQJArray{VQValue("inner")})});
  list = (*list.mArray)[0];
  EXPECT_STREQ(list.GetArray()[0].GetChar(), "inner");
  VQValue mixed(VQJObject{{"k", VQValue(VQJArray{VQValue("inner")})}});
  mixed = mixed.mObject->at("k");
  EXPECT_STREQ(mixed.GetArray()[0].GetChar(), "inner");
}

TEST(VQValueTest, ObjectMembersAreInByteOrder) {
  const VQValue v(
      VQJObject{{"b", VQValue()}, {"あ", VQValue()}, {"Z", VQValue()}, {"a", VQValue()}});
  std::vector<std::string> keys;
  for (const auto& member : *v.mObject) keys.push_back(member.first);
  EXPECT_EQ(keys, (std::vector<std::string>{"Z", "a", "b", "あ"}));
}

// Conversion from JSON values.

TEST(VQValueTest, ConvertsEachJsonKind) {
  ExpectState(VQValue(value(true)), VQValue::TYPE_BOOL, 1, "true");
  ExpectState(VQValue(value(false)), VQValue::TYPE_BOOL, 0, "false");
  ExpectState(VQValue(value(-42)), VQValue::TYPE_INT, -42, "-42");
  ExpectState(VQValue(value("7up"s)), VQValue::TYPE_STRING, 7, "7up");
  ExpectState(VQValue(value("a\0b"s)), VQValue::TYPE_STRING, 0, "a");
  ExpectState(VQValue(value(value::array())), VQValue::TYPE_ARRAY, 0, "[]");
  ExpectState(VQValue(value(value::object())), VQValue::TYPE_OBJECT, 0, "{}");
}

TEST(VQValueTest, ConvertsNullAndFloatingNumbersToNone) {
  for (const value& v : {value(), value(1.5), value(0.0)}) {
    const VQValue converted(v);
    ExpectState(converted, VQValue::TYPE_NONE, 0, "");
    EXPECT_EQ(converted.mObject, nullptr);
    EXPECT_EQ(converted.mArray, nullptr);
  }
}

TEST(VQValueTest, ConvertsContainersWithAllTheyHold) {
  const value source(value::object{
      {"list", value(value::array{value(1), value("x"s), value(), value(value::array{value(2)})})},
      {"a\0b"s, value(value::object{{"k", value(true)}})}});
  VQJObject members = VQValue(source).GetObject();
  EXPECT_EQ(members.size(), 2u);
  const VQJArray list = members["list"].GetArray();
  ASSERT_EQ(list.size(), 4u);
  ExpectState(list[0], VQValue::TYPE_INT, 1, "1");
  ExpectState(list[1], VQValue::TYPE_STRING, 0, "x");
  ExpectState(list[2], VQValue::TYPE_NONE, 0, "");
  ExpectState(list[3].GetArray()[0], VQValue::TYPE_INT, 2, "2");
  ExpectState(members["a\0b"s].GetObject()["k"], VQValue::TYPE_BOOL, 1, "true");
}

TEST(VQValueTest, TheIntegerOfATextIsWhatAtoiGives) {
  const char* const texts[] = {"",
                               "0",
                               "7",
                               "42",
                               "000000",
                               "000123",
                               "12345678",
                               "123456789",
                               "1234567890",
                               "2147483647",
                               "-2147483648",
                               "0000000000012",
                               "-5",
                               "+3",
                               " 7",
                               "\t\n 8",
                               "- 5",
                               "--5",
                               "+-5",
                               "1.5",
                               "1e3",
                               "0x10",
                               "9z",
                               "z9",
                               "abc",
                               "~",
                               ":",
                               "/",
                               "A1",
                               "\xe3\x81\x82",
                               "5\xe3",
                               "\x7f",
                               "\xff"
                               "1",
                               "\xa0"
                               "1",
                               "999999999x",
                               "9999999999x"};
  for (const char* text : texts) {
    EXPECT_EQ(VQValue(text).GetInt(), std::atoi(text)) << '"' << text << '"';
  }
}

// As the pointer is that the value converts to. A compiler that meets such a condition warns.
TEST(VQValueTest, AConditionIsTrueForEveryValue) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  for (const VQValue& any : {VQValue(), VQValue(0), VQValue(false), VQValue(""), VQValue("x")}) {
    EXPECT_TRUE(any ? true : false);
    EXPECT_FALSE(!any);
  }
#pragma GCC diagnostic pop
  EXPECT_FALSE(VQValue().GetBool());
}

}  // namespace
