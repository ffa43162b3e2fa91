// The tagged value: types, ownership, look-up, display text. Reading is tested in
// JsonReader_test.cc.
#include <signal.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "dorn/json/JsonParser.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "tests/support/GroupingLocale.h"

namespace {

using namespace std::string_literals;

static_assert(value::null_type == 0);
static_assert(value::boolean_type == 1);
static_assert(value::int_type == 2);
static_assert(value::double_type == 3);
static_assert(value::string_type == 4);
static_assert(value::array_type == 5);
static_assert(value::object_type == 6);
static_assert(std::is_same_v<value::array, std::vector<value>>);
static_assert(std::is_same_v<value::object, std::map<std::string, value>>);
static_assert(std::is_same_v<::array, value::array>);
static_assert(std::is_same_v<::object, value::object>);
static_assert(std::is_same_v<::null, value::null>);
static_assert(std::is_same_v<decltype(value::type_), int>);
static_assert(std::is_same_v<decltype(value::boolean_), bool>);
static_assert(std::is_same_v<decltype(value::int_), int>);
static_assert(std::is_same_v<decltype(value::double_), double>);
static_assert(std::is_same_v<decltype(value::string_), std::string*>);
static_assert(std::is_same_v<decltype(value::array_), std::vector<value>*>);
static_assert(std::is_same_v<decltype(value::object_), std::map<std::string, value>*>);
static_assert(sizeof(value) == 16, "a tag and a union");
static_assert(!std::is_polymorphic_v<value>);
static_assert(std::is_same_v<decltype(std::declval<const value&>().get(size_t{0})), const value&>);
static_assert(
    std::is_same_v<decltype(std::declval<const value&>().get(std::string())), const value&>);
static_assert(std::is_same_v<decltype(std::declval<const value&>().to_str()), std::string>);

// One value of each type, by tag.
std::vector<value> Samples() {
  return {value(),
          value(true),
          value(7),
          value(1.5),
          value("text"s),
          value(value::array{value(1)}),
          value(value::object{{"a", value(1)}})};
}

std::vector<bool> TypesOf(const value& v) {
  return {v.is<null>(),        v.is<bool>(),  v.is<int>(),   v.is<double>(),
          v.is<std::string>(), v.is<array>(), v.is<object>()};
}

TEST(JsonValueTest, ConstructorsSetTheTag) {
  const std::vector<value> samples = Samples();
  for (size_t tag = 0; tag < samples.size(); ++tag) {
    EXPECT_EQ(samples[tag].type_, static_cast<int>(tag));
  }
}

TEST(JsonValueTest, IsHoldsForExactlyTheMatchingType) {
  const std::vector<value> samples = Samples();
  for (size_t tag = 0; tag < samples.size(); ++tag) {
    std::vector<bool> expected(7, false);
    expected[tag] = true;
    EXPECT_EQ(TypesOf(samples[tag]), expected) << tag;
  }
}

TEST(JsonValueTest, ConstructorsStoreThePayload) {
  EXPECT_EQ(value(false).get<bool>(), false);
  EXPECT_EQ(value(true).get<bool>(), true);
  EXPECT_EQ(value(INT_MIN).get<int>(), INT_MIN);
  EXPECT_EQ(value(-0.25).get<double>(), -0.25);
  EXPECT_EQ(value("a\0b"s).get<std::string>(), "a\0b"s);
  const value list(array{value(1), value("x"s)});
  ASSERT_EQ(list.get<array>().size(), 2u);
  EXPECT_EQ(list.get<array>()[1].get<std::string>(), "x");
  const value map(object{{"k", value(2)}});
  ASSERT_EQ(map.get<object>().size(), 1u);
  EXPECT_EQ(map.get<object>().at("k").get<int>(), 2);
}

TEST(JsonValueTest, TagConstructorMakesAnEmptyValueOfTheType) {
  EXPECT_TRUE(value(value::null_type, false).is<null>());
  EXPECT_EQ(value(value::boolean_type, false).get<bool>(), true) << "not false";
  EXPECT_EQ(value(value::int_type, true).get<int>(), 0);
  EXPECT_EQ(value(value::double_type, true).get<double>(), 0.0);
  EXPECT_EQ(value(value::string_type, true).get<std::string>(), "");
  EXPECT_TRUE(value(value::array_type, true).get<array>().empty());
  EXPECT_TRUE(value(value::object_type, true).get<object>().empty());
  EXPECT_EQ(value(42, true).type_, 42);
  EXPECT_EQ(value(-1, true).type_, -1);
}

TEST(JsonValueTest, AValueOfAnUnknownTagCopiesAndAssigns) {
  const value odd(42, true);
  value copy(odd);
  EXPECT_EQ(copy.type_, 42);
  value target("text"s);
  target = odd;
  EXPECT_EQ(target.type_, 42);
  target = value("again"s);
  EXPECT_EQ(target.get<std::string>(), "again");
}

TEST(JsonValueTest, ACharPointerBecomesABoolean) {
  const char* text = "abc";
  const value v(text);
  EXPECT_TRUE(v.is<bool>());
  EXPECT_TRUE(v.get<bool>());
}

TEST(JsonValueTest, GetGivesAccessForChange) {
  value number(1);
  number.get<int>() = 5;
  EXPECT_EQ(number.get<int>(), 5);
  value flag(true);
  flag.get<bool>() = false;
  EXPECT_EQ(flag.get<bool>(), false);
  value real(1.0);
  real.get<double>() = 2.5;
  EXPECT_EQ(real.get<double>(), 2.5);
  value text("a"s);
  text.get<std::string>() += "b";
  EXPECT_EQ(text.get<std::string>(), "ab");
  value list((array()));
  list.get<array>().emplace_back(1);
  EXPECT_EQ(list.get<array>().size(), 1u);
  value map((object()));
  map.get<object>()["k"] = value(3);
  EXPECT_EQ(map.get<object>().size(), 1u);
}

TEST(JsonValueTest, ObjectKeysAreInByteOrder) {
  const value map(object{{"あ", value(4)}, {"b", value(3)}, {"Z", value(1)}, {"a", value(2)}});
  std::vector<int> order;
  for (const auto& member : map.get<object>()) order.push_back(member.second.get<int>());
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
}

// Ownership.

TEST(JsonValueTest, CopiesAreDeep) {
  value source(object{{"list", value(array{value("x"s)})}});
  const value copy(source);
  value assigned;
  assigned = source;
  source.get<object>()["list"].get<array>()[0] = value("changed"s);
  EXPECT_EQ(copy.get("list").get(0).get<std::string>(), "x");
  EXPECT_EQ(assigned.get("list").get(0).get<std::string>(), "x");
}

TEST(JsonValueTest, AssignmentReplacesEveryTypeByEveryType) {
  const std::vector<value> samples = Samples();
  for (size_t from = 0; from < samples.size(); ++from) {
    for (size_t to = 0; to < samples.size(); ++to) {
      value target(samples[to]);
      EXPECT_EQ(&(target = samples[from]), &target);
      EXPECT_EQ(target.type_, static_cast<int>(from));
      EXPECT_EQ(target.to_str(), samples[from].to_str());
    }
  }
}

TEST(JsonValueTest, AssignmentOfItselfChangesNothing) {
  for (value& sample : std::vector<value>(Samples())) {
    const std::string before = sample.to_str();
    const value& alias = sample;
    sample = alias;
    EXPECT_EQ(sample.to_str(), before);
  }
}

TEST(JsonValueTest, AssignmentOfItsOwnElementIsSafe) {
  value list(array{value(array{value("inner"s)}), value(2)});
  list = list.get(0);
  EXPECT_EQ(list.get(0).get<std::string>(), "inner");
  value map(object{{"k", value(object{{"k", value("inner"s)}})}});
  map = map.get("k");
  EXPECT_EQ(map.get("k").get<std::string>(), "inner");
}

// Truth.

TEST(JsonValueTest, ConvertsToBool) {
  const std::vector<std::pair<value, bool>> rows = {
      {value(), false},        {value(false), false}, {value(true), true},
      {value(0), false},       {value(-1), true},     {value(0.0), false},
      {value(-0.0), false},    {value(0.1), true},    {value(""s), false},
      {value("false"s), true}, {value("\0"s), true},  {value(array()), true},
      {value(object()), true},
  };
  for (size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(static_cast<bool>(rows[i].first), rows[i].second) << "row " << i;
  }
}

// Look-up.

TEST(JsonValueTest, GetByIndexGivesTheElementOrTheSharedNull) {
  const value list(array{value(10), value(20), value(30)});
  EXPECT_EQ(list.get(0).get<int>(), 10);
  EXPECT_EQ(list.get(2).get<int>(), 30);
  EXPECT_TRUE(list.get(3).is<null>());
  EXPECT_TRUE(list.get(5).is<null>());
  EXPECT_TRUE(list.get(static_cast<size_t>(-1)).is<null>());
  EXPECT_EQ(&list.get(3), &list.get(5));
  EXPECT_TRUE(value(array()).get(0).is<null>());
}

TEST(JsonValueTest, GetByKeyGivesTheMemberOrTheSharedNull) {
  const value map(object{{"a", value(1)}, {"a.b", value(2)}, {"", value(3)}, {"a\0c"s, value(4)}});
  EXPECT_EQ(map.get("a").get<int>(), 1);
  EXPECT_EQ(map.get("a.b").get<int>(), 2) << "whole and literally, no path";
  EXPECT_EQ(map.get("").get<int>(), 3);
  EXPECT_EQ(map.get("a\0c"s).get<int>(), 4);
  EXPECT_TRUE(map.get("A").is<null>()) << "no case folding";
  EXPECT_TRUE(map.get("a.c").is<null>());
  EXPECT_EQ(&map.get("x"), &map.get("y"));
}

TEST(JsonValueTest, BothLookUpsShareOneNull) {
  const value list((array()));
  const value map((object()));
  EXPECT_EQ(&list.get(0), &map.get("x"));
}

TEST(JsonValueDeathTest, GetByIndexOfNoArrayEndsTheProcess) {
  for (const value& sample : Samples()) {
    if (sample.is<array>()) continue;
    EXPECT_EXIT(static_cast<void>(sample.get(0)), testing::KilledBySignal(SIGABRT),
                testing::HasSubstr(": Assertion `is<array>()' failed.\n"))
        << sample.type_;
  }
}

TEST(JsonValueDeathTest, GetByKeyOfNoObjectEndsTheProcess) {
  for (const value& sample : Samples()) {
    if (sample.is<object>()) continue;
    EXPECT_EXIT(static_cast<void>(sample.get("a")), testing::KilledBySignal(SIGABRT),
                testing::HasSubstr(": Assertion `is<object>()' failed.\n"))
        << sample.type_;
  }
}

TEST(JsonValueDeathTest, AssertionsFlushStandardOutputFirst) {
  const value number(1);
  EXPECT_EXIT(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        std::setvbuf(stdout, nullptr, _IOFBF, 4096);
        std::printf("printed before");
        static_cast<void>(number.get("a"));
      },
      testing::KilledBySignal(SIGABRT),
      testing::MatchesRegex("printed before[^\n]*Assertion `is<object>\\(\\)' failed.\n"));
}

// Display text.

TEST(JsonValueTest, ToStrShowsEachType) {
  const std::vector<std::pair<value, std::string>> rows = {
      {value(), "null"},
      {value(true), "true"},
      {value(false), "false"},
      {value(0), "0"},
      {value(-42), "-42"},
      {value(INT_MIN), "-2147483648"},
      {value(1.5), "1.500000"},
      {value(2.0), "2.000000"},
      {value(-0.5), "-0.500000"},
      {value(1e-9), "0.000000"},
      {value(100000.0), "100000.000000"},
      {value("a\"b"s), "a\"b"},
      {value("a\0\n"s), "a\0\n"s},
      {value(""s), ""},
      {value(array{value(1)}), "array"},
      {value(object()), "object"},
  };
  for (const auto& [v, expected] : rows) EXPECT_EQ(v.to_str(), expected);
}

TEST(JsonValueTest, ToStrOfAHugeNumberIsCutAtItsBuffer) {
  EXPECT_EQ(value(1e300).to_str(),
            "100000000000000005250476025520442024870446858110815915491585411");
  EXPECT_EQ(value(-1e300).to_str(),
            "-10000000000000000525047602552044202487044685811081591549158541");
}

TEST(JsonValueTest, ToStrIgnoresTheGlobalLocale) {
  const GroupingLocale locale;
  EXPECT_EQ(value(1234567).to_str(), "1234567");
  EXPECT_EQ(value(1234567.5).to_str(), "1234567.500000");
}

TEST(JsonValueDeathTest, ToStrOfAnUnknownTagEndsTheProcess) {
  for (const int tag : {7, 42, -1}) {
    EXPECT_EXIT(static_cast<void>(value(tag, true).to_str()), testing::KilledBySignal(SIGABRT),
                testing::HasSubstr(": Assertion `0' failed.\n"))
        << tag;
  }
}

}  // namespace
