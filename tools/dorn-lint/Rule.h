// What a rule is, what it looks at and how it tells what it found. Each rule lies in rules/ under
// its own name; rules/Rules.h lists them.
#ifndef TOOLS_DORN_LINT_RULE_H_
#define TOOLS_DORN_LINT_RULE_H_

#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tools/dorn-lint/Dialog.h"
#include "tools/dorn-lint/Reader.h"

namespace dorn::lint {

enum class Severity {
  kError,   // Something does not load, is lost, or breaks what stations read.
  kWarning  // Something is probably not what was meant.
};

// A resource file that was read.
struct File {
  std::string mPath;   // As it is told to the user.
  std::string mPlace;  // Where it lies: its folders tell the name of its dialog.
  std::string mText;
  Document mDocument;
  std::unique_ptr<Object> mDialog;  // Null when the file holds none.
};

// All that one call looks at.
struct Site {
  std::vector<File> mFiles;
  std::set<std::string> mDialogs;                    // Names of the dialogs in them.
  std::function<bool(const std::string&)> mHasFile;  // Whether there is a file at this place.
};

class Report;

struct Rule {
  std::string_view mName;
  Severity mSeverity;
  std::string_view mMeaning;
  void (*mCheck)(const File& file, const Site& site, Report& report);
};

struct Found {
  std::size_t mAt;  // A byte of the file.
  const Rule* mRule;
  std::string mObject;  // The name of the object it is about; may be empty.
  std::string mText;
};

class Report {
 public:
  Report(const Rule& rule, std::vector<Found>& all) : mRule(rule), mAll(all) {}

  // Every text says what to do.
  void At(std::size_t at, std::string text) { mAll.push_back({at, &mRule, {}, std::move(text)}); }
  void At(const Object& object, std::size_t at, std::string text) {
    mAll.push_back({at, &mRule, object.mName, std::move(text)});
  }

 private:
  const Rule& mRule;
  std::vector<Found>& mAll;
};

// A text of the file, cut where it is long, and the same between quotes.
std::string Cut(std::string_view text);
std::string Shown(std::string_view text);

// The attributes of an object: every member that is no list of children.
bool IsAttribute(const Member& member);

// The folder of the resources that the file belongs to, with the slash at its end: the innermost
// one called "resources", else the one it lies in.
std::string FolderOf(const std::string& place);
// "sub@page" of ".../resources/sub/page.json".
std::string DialogNameOf(const std::string& place);

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_RULE_H_
