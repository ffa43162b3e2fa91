#include "tools/dorn-load/Targets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "station/Reader.h"

namespace dorn::load {
namespace {

using testing::ElementsAre;

// The targets of a dialog with these objects.
Targets TargetsOf(const std::string& objects, const std::vector<std::string>& only = {}) {
  dorn::station::Replica replica;
  replica.Enter("d", std::nullopt);
  const auto read = dorn::station::Reader().Read(R"({"Name":"d","Objects":[)" + objects + "]}");
  replica.ReceiveTree(read.mJson, true);
  return Targets(dorn::station::MakeScreen(replica, {}), only);
}

std::vector<std::string> NamesOf(const Targets& targets) {
  std::vector<std::string> names;
  for (const Target& target : targets.All()) names.push_back(target.mName);
  return names;
}

constexpr char kSome[] = R"({"Name":"b","Type":"BUTTON"},{"Name":"c","Type":"CHECK"},
  {"Name":"g","Type":"GROUP","Objects":[{"Name":"e","Type":"EDIT"},{"Name":"s","Type":"SLIDER","Min":0,"Max":10}]},
  {"Name":"l","Type":"LABEL"})";

TEST(TargetsTest, AreWhatCanBeTouched) {
  const Targets targets = TargetsOf(kSome);
  EXPECT_THAT(NamesOf(targets), testing::UnorderedElementsAre("b", "c", "e", "s"));
  EXPECT_EQ(targets.Clicks().size(), 2u);
  EXPECT_EQ(targets.Edits().size(), 2u);
  EXPECT_EQ(targets.Find("l"), targets.All().size());
}

TEST(TargetsTest, AreNotWhatAnOperatorCannotTouch) {
  const Targets targets = TargetsOf(
      R"({"Name":"a","Type":"BUTTON","Enabled":"OFF"},{"Name":"b","Type":"BUTTON","Visible":"OFF"},
         {"Name":"c","Type":"EDIT","ReadOnly":"ON"},{"Name":"d1","Type":"BUTTON","Goto":"x"},
         {"Name":"g","Type":"GROUP","Enabled":"OFF","Objects":[{"Name":"e","Type":"EDIT"}]},
         {"Name":"last","Type":"BUTTON"})");
  EXPECT_THAT(NamesOf(targets), ElementsAre("last"));
}

TEST(TargetsTest, AreOnlyThoseThatAreNamed) {
  const Targets targets = TargetsOf(kSome, {"e", "nowhere", "l"});
  EXPECT_THAT(NamesOf(targets), ElementsAre("e"));
  EXPECT_THAT(targets.Missing(), ElementsAre("nowhere", "l"));
}

TEST(TargetsTest, HaveNumbersWithinTheirLimits) {
  const Targets targets =
      TargetsOf(R"({"Name":"s","Type":"SLIDER","Min":-10,"Max":11,"Step":5,"Value":0})");
  std::vector<std::string> values;
  for (unsigned n = 0; n < 6; ++n) values.push_back(targets[0].Value(n));
  EXPECT_THAT(values, ElementsAre("-10", "-5", "0", "5", "10", "-10"));
}

TEST(TargetsTest, HaveNumbersWhereOneLimitIsGiven) {
  const Targets high = TargetsOf(R"({"Name":"e","Type":"EDIT","Max":-5})");
  EXPECT_LE(std::stoll(high[0].Value(0)), -5);
  EXPECT_EQ(high[0].Value(static_cast<unsigned long long>(high[0].mValues - 1)), "-5");
  EXPECT_EQ(TargetsOf(R"({"Name":"e","Type":"EDIT","Min":7})")[0].Value(1), "8");
  EXPECT_EQ(TargetsOf(R"({"Name":"e","Type":"EDIT","Max":100})")[0].Value(0), "0");
  EXPECT_EQ(TargetsOf(R"({"Name":"e","Type":"EDIT","Min":7,"Max":3})")[0].Value(5), "7");
}

TEST(TargetsTest, HaveTextsThatDifferAndFit) {
  const Targets targets = TargetsOf(R"({"Name":"e","Type":"EDIT","MaxLength":2})");
  std::set<std::string> values;
  for (unsigned n = 0; n < 100; ++n) values.insert(targets[0].Value(n));
  EXPECT_EQ(values.size(), 100u);
  EXPECT_EQ(targets[0].Value(107), "07");
  EXPECT_EQ(TargetsOf(R"({"Name":"e","Type":"EDIT"})")[0].Value(42), "000000042");
}

TEST(TargetsTest, SwitchChecksOnAndOff) {
  const Targets targets = TargetsOf(R"({"Name":"c","Type":"CHECK"},{"Name":"b","Type":"BUTTON"})");
  const Target& check = targets[targets.Find("c")];
  EXPECT_EQ(check.Value(0), "ON");
  EXPECT_EQ(check.Value(1), "OFF");
  EXPECT_EQ(targets[targets.Find("b")].Value(0), "");
}

}  // namespace
}  // namespace dorn::load
