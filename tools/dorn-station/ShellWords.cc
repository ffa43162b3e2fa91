// What is there at the prompt alone: the dialog's tree, what changes, and completion.
#include <algorithm>
#include <sstream>
#include <utility>

#include "tools/dorn-station/RawTerminal.h"
#include "tools/dorn-station/Shell.h"
#include "tools/dorn-station/scene/Words.h"
#include "tools/dorn-terminal/Width.h"

const char* const kShellHelp =
    "At a terminal also:\n"
    "  tree [NAME]              the objects of the dialog, or of one group\n"
    "  watch [NAME]             tell when an object changes; without a name: what is watched\n"
    "  unwatch NAME             not any more\n"
    "  diff                     what has changed since the last diff, or since the dialog came\n"
    "  help                     these lines\n"
    "  Tab completes, the arrows bring back earlier lines, Ctrl-D ends.\n";

namespace {

using dorn::station::Object;

const char* const kWords[] = {"absent", "diff", "enter", "expect", "get",     "help", "quit",
                              "say",    "set",  "touch", "tree",   "unwatch", "wait", "watch"};

// `Value="3 pumps"`, the value between quotes where it needs them.
std::string Written(const std::string& key, const std::string& value) {
  return key + "=" + dorn::scene::WrittenWord(value);
}

std::string CommonBeginning(const std::vector<std::string>& words) {
  std::string common = words.front();
  for (const std::string& word : words) {
    const auto end = std::mismatch(common.begin(), common.end(), word.begin(), word.end()).first;
    common.erase(end, common.end());
  }
  // Not in the middle of a character: it ends where all words begin one.
  while (!common.empty() && std::any_of(words.begin(), words.end(), [&](const std::string& word) {
    return word.size() > common.size() &&
           (static_cast<unsigned char>(word[common.size()]) & 0xC0) == 0x80;
  })) {
    common.pop_back();
  }
  return common;
}

}  // namespace

bool Shell::DoOwn(const std::string& word, const std::string& rest) {
  if (word == "help") {
    std::istringstream lines(std::string(kStepHelp) + kShellHelp);
    for (std::string line; std::getline(lines, line);) Print(line);
  } else if (word == "tree") {
    Tree(rest);
  } else if (word == "watch") {
    Watch(rest);
  } else if (word == "unwatch") {
    Unwatch(rest);
  } else if (word == "diff") {
    Diff();
  } else {
    return false;
  }
  return true;
}

bool Shell::HasDialog() {
  if (mFollower.IsShowing()) return true;
  const std::string name = mFollower.Dialog().DialogName();
  Tell(Style::kBad, name.empty()             ? "no dialog yet; write: enter DIALOG"
                    : mFollower.IsEntering() ? "the host has not told yet what is in " + name
                                             : "no dialog " + name + ", or nothing in it");
  return false;
}

std::string Shell::NoObject(const std::string& name) const {
  const std::string meant = dorn::scene::Nearest(name, Names());
  return "no object " + name + " in " + mFollower.Dialog().DialogName() +
         (meant.empty() ? "" : "; do you mean " + meant + "?");
}

void Shell::Tree(const std::string& name) {
  if (!HasDialog()) return;
  const auto& tree = mFollower.Dialog().Confirmed();
  const Object* object = name.empty() ? &tree.Root() : tree.Find(name);
  if (object == nullptr) return Tell(Style::kBad, NoObject(name));
  TreeOf(*object, 0);
}

void Shell::TreeOf(const Object& object, int depth) {
  const auto attributes = mFollower.AttributesOf(object);
  const auto at = [&](const char* key) {
    const auto found = attributes.find(key);
    return found == attributes.end() ? std::string() : found->second;
  };
  std::string rest = " " + at("Type");
  if (attributes.count("Value") != 0) rest += " " + Written("Value", at("Value"));
  for (const auto& [key, value] : attributes) {
    if (key != "Name" && key != "Type" && key != "Value") rest += " " + Written(key, value);
  }
  const std::string indent(static_cast<std::size_t>(std::min(depth, 40)) * 2, ' ');
  const std::string name = SafeText(object.mName);
  const int left = RawTerminal::Columns() - 1 - dorn::terminal::TextWidth(indent + name);
  const std::string state = at("State");
  const Style style = state == "ALARM" || state == "BAD" ? Style::kBad
                      : state == "WARN"                  ? Style::kWatch
                                                         : Style::kPlain;
  Print(indent + In(Style::kName, name) + In(style, dorn::terminal::Cut(rest, std::max(left, 10))));
  for (const auto& child : object.mChildren) TreeOf(*child, depth + 1);
}

void Shell::Watch(const std::string& name) {
  if (name.empty()) {
    if (mWatched.empty()) Tell(Style::kDim, "nothing is watched");
    for (const auto& [watched, attributes] : mWatched)
      TellChanges(Style::kWatch, watched, {}, attributes);
    return;
  }
  if (!HasDialog()) return;
  auto attributes = mFollower.AttributesOf(name);
  if (!attributes) return Tell(Style::kBad, NoObject(name));
  TellChanges(Style::kWatch, name, {}, *attributes);
  mWatched[name] = std::move(*attributes);
}

void Shell::Unwatch(const std::string& name) {
  if (mWatched.erase(name) == 0) Tell(Style::kBad, "not watched: " + name);
}

void Shell::Diff() {
  if (!HasDialog()) return;
  Snapshot now = mFollower.Objects();
  const std::string dialog = mFollower.Dialog().DialogName();
  bool isSame = true;
  for (const auto& [name, attributes] : now) {
    const auto before = mDiff.find(name);
    if (before != mDiff.end() && before->second == attributes) continue;
    isSame = false;
    if (before == mDiff.end()) {
      Tell(Style::kGood, "+ " + name);
    } else {
      TellChanges(Style::kWatch, name, before->second, attributes);
    }
  }
  for (const auto& [name, attributes] : mDiff) {
    if (now.count(name) != 0) continue;
    isSame = false;
    Tell(Style::kBad, "- " + name);
  }
  if (isSame) Tell(Style::kDim, "nothing has changed");
  mDiff = std::move(now);
}

// Nothing before: how it is.
void Shell::TellChanges(Style style, const std::string& name, const Attributes& before,
                        const Attributes& now) {
  using dorn::scene::WrittenWord;
  if (before.empty()) {
    std::string is = name;
    for (const auto& [key, value] : now) {
      if (key != "Name" && key != "Type") is.append(" ").append(Written(key, value));
    }
    return Tell(style, is);
  }
  const auto tell = [&](const std::string& key, const std::string& from, const std::string& to) {
    std::string line = name;
    line.append(" ").append(key).append(": ").append(from).append(" -> ").append(to);
    Tell(style, line);
  };
  for (const auto& [key, value] : now) {
    const auto old = before.find(key);
    if (old != before.end() && old->second == value) continue;
    tell(key, old == before.end() ? "(none)" : WrittenWord(old->second), WrittenWord(value));
  }
  for (const auto& [key, value] : before) {
    if (now.count(key) == 0) tell(key, WrittenWord(value), "(none)");
  }
}

// As far as all that it may become agree; where that is no further, they are listed.
void Shell::Complete() {
  std::istringstream line(mPrompt.BeforeCaret());
  std::vector<std::string> words;
  for (std::string word; line >> word;) words.push_back(word);
  const std::string typed = mPrompt.BeforeCaret();
  if (typed.empty() || typed.back() == ' ') words.emplace_back();
  std::vector<std::string> fitting;
  for (const std::string& each : Candidates(words)) {
    if (each.compare(0, words.back().size(), words.back()) == 0) fitting.push_back(each);
  }
  if (fitting.empty()) return;
  if (fitting.size() == 1) {
    // A blank behind the last word would be a part of a dialog's name.
    const bool goesOn = words.size() == 1 || words[0] == "set";
    return mPrompt.Insert(fitting[0].substr(words.back().size()) + (goesOn ? " " : ""));
  }
  const std::string common = CommonBeginning(fitting);
  if (common.size() > words.back().size()) {
    return mPrompt.Insert(common.substr(words.back().size()));
  }
  std::string listed;
  for (const std::string& each : fitting) listed += (listed.empty() ? "" : "  ") + each;
  Tell(Style::kDim, listed);
}

std::vector<std::string> Shell::Candidates(const std::vector<std::string>& words) const {
  if (words.size() == 1) return {std::begin(kWords), std::end(kWords)};
  const std::string& first = words[0];
  if (words.size() == 2 && first == "enter") {
    return {mFollower.Dialogs().begin(), mFollower.Dialogs().end()};
  }
  std::vector<std::string> found;
  if (words.size() == 2 && first == "unwatch") {
    for (const auto& [name, attributes] : mWatched) found.push_back(name);
    return found;
  }
  const bool takesName = first == "touch" || first == "set" || first == "tree" || first == "watch";
  if (words.size() == 2 && takesName) return Names();
  if (words.size() != 3 || first != "set") return {};
  for (const auto& [key, value] : mFollower.AttributesOf(words[1]).value_or(Attributes{})) {
    if (key != "Name" && key != "Type") found.push_back(key);
  }
  if (std::find(found.begin(), found.end(), "Value") == found.end()) found.emplace_back("Value");
  return found;
}

// That can be written as one word, and that a terminal shows as they are.
std::vector<std::string> Shell::Names() const {
  std::vector<std::string> names;
  if (!mFollower.IsShowing()) return names;
  for (const auto& [name, attributes] : mFollower.Objects()) {
    const bool isWord = !name.empty() && name.find(' ') == std::string::npos;
    if (isWord && SafeText(name) == name) names.push_back(name);
  }
  return names;
}
