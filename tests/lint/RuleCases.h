// The cases of rules/NAME.case, one file for each rule:
//
//   == what is wrong                    or   == near: what is right
//   {"Command": "DIALOG", ...}          the file resources/d.json
//   @@ resources/sub/other.json         what follows is another file
//   => resources/d.json:1:2: error: ... what is printed, every line of it
//
// {{ff}} is the byte 0xff, and {{3*ab}} is ababab. A file whose name is no .json is only there.
#ifndef TESTS_LINT_RULECASES_H_
#define TESTS_LINT_RULECASES_H_

#include <string>
#include <utility>
#include <vector>

struct RuleCase {
  std::string mRule;
  std::string mTitle;
  bool mIsNear = false;
  std::vector<std::pair<std::string, std::string>> mFiles;  // Path and text.
  std::string mExpected;
};

// Of all rules, in the order of their names.
const std::vector<RuleCase>& RuleCases();

// What the linter prints of the files of a case.
std::string Printed(const RuleCase& ruleCase);

#endif  // TESTS_LINT_RULECASES_H_
