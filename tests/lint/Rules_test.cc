// Each rule by its cases: what it prints, to the letter, and what it leaves alone.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "tests/lint/RuleCases.h"
#include "tools/dorn-lint/rules/Rules.h"

namespace {

using dorn::lint::Rule;
using dorn::lint::Rules;

TEST(RulesTest, PrintWhatTheirCasesSay) {
  for (const RuleCase& each : RuleCases()) {
    EXPECT_EQ(Printed(each), each.mExpected) << each.mRule << ": " << each.mTitle;
  }
}

TEST(RulesTest, HaveEachAFindingAndANearMiss) {
  std::map<std::string, int> findings;
  std::map<std::string, int> nearMisses;
  for (const RuleCase& each : RuleCases()) {
    const bool isTold = each.mExpected.find("[" + each.mRule + "]\n") != std::string::npos;
    EXPECT_NE(isTold, each.mIsNear) << each.mRule << ": " << each.mTitle;
    ++(each.mIsNear ? nearMisses : findings)[each.mRule];
  }
  for (const Rule* rule : Rules()) {
    EXPECT_GE(findings[std::string(rule->mName)], 1) << rule->mName;
    EXPECT_GE(nearMisses[std::string(rule->mName)], 1) << rule->mName;
  }
  EXPECT_EQ(findings.size(), Rules().size());
}

TEST(RulesTest, SayWhatToDo) {
  for (const RuleCase& each : RuleCases()) {
    std::istringstream lines(each.mExpected);
    for (std::string line; std::getline(lines, line);) {
      const std::string text = line.substr(line.find(": ") + 2);
      EXPECT_TRUE(text.find(": ", text.find(": ") + 2) != std::string::npos ||
                  text.find("; ") != std::string::npos ||
                  text.find(" must stand ") != std::string::npos ||
                  text.find(" begins with ") != std::string::npos ||
                  text.find(" needs ") != std::string::npos)
          << line;
    }
  }
}

TEST(RulesTest, StandInTheOrderOfTheirNamesAndEachInItsFile) {
  std::string before;
  for (const Rule* rule : Rules()) {
    const std::string name(rule->mName);
    EXPECT_LT(before, name);
    before = name;
    std::string file = name;
    for (char& c : file) {
      if (c == '-') c = '_';
    }
    EXPECT_TRUE(std::ifstream(DORN_SOURCE_DIR "/tools/dorn-lint/rules/" + file + ".cc").good())
        << file;
  }
}

TEST(RulesTest, HaveASectionInTheManual) {
  std::ifstream in(DORN_SOURCE_DIR "/docs/lint.md");
  std::stringstream page;
  page << in.rdbuf();
  for (const Rule* rule : Rules()) {
    EXPECT_NE(page.str().find("\n### " + std::string(rule->mName) + "\n"), std::string::npos)
        << rule->mName;
  }
}

}  // namespace
