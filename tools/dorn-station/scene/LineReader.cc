#include "tools/dorn-station/scene/LineReader.h"

#include <array>
#include <cctype>
#include <charconv>
#include <utility>
#include <vector>

#include "station/Commands.h"
#include "tools/dorn-station/scene/Words.h"

namespace dorn::scene {

namespace {

// The words of a line, taken from the left.
class Words {
 public:
  explicit Words(std::vector<Word> words) : mWords(std::move(words)) {}

  bool IsEmpty() const { return mAt >= mWords.size(); }
  std::size_t Left() const { return mWords.size() - mAt; }
  // Whether a keyword stands next, or `ahead` words further on.
  bool Is(std::string_view keyword, std::size_t ahead = 0) const {
    return ahead < Left() && !mWords[mAt + ahead].mIsQuoted && mWords[mAt + ahead].mText == keyword;
  }
  bool Take(std::string_view keyword) {
    if (!Is(keyword)) return false;
    ++mAt;
    return true;
  }
  std::string Next() { return IsEmpty() ? "" : mWords[mAt++].mText; }
  // A keyword and a duration at the end, such as `within 1s`; nothing when they are not there.
  std::optional<Ms> TakeTail(std::string_view keyword) {
    if (Left() < 2 || !Is(keyword, Left() - 2) || mWords.back().mIsQuoted) return std::nullopt;
    const auto duration = ReadDuration(mWords.back().mText);
    if (duration) mWords.resize(mWords.size() - 2);
    return duration;
  }
  bool TakeLast(std::string_view keyword) {
    if (IsEmpty() || !Is(keyword, Left() - 1)) return false;
    mWords.pop_back();
    return true;
  }

 private:
  std::vector<Word> mWords;
  std::size_t mAt = 0;
};

// Reads what stands behind a verb into the step; false when it is not as the usage says.
using Form = bool (*)(Words& words, Step& step);

struct VerbForm {
  std::string_view mWord;
  Form mForm;
  const char* mUsage;
};

bool ReadLogin(Words& words, Step& step) {
  if (words.Left() < 2) return false;
  step.mVerb = Verb::kLogin;
  step.mName = words.Next();
  step.mValue = words.Next();
  if (!words.Take("refused")) return words.IsEmpty();
  step.mVerb = Verb::kLoginRefused;
  step.mText = words.Next();
  return words.IsEmpty();
}

bool ReadEnter(Words& words, Step& step) {
  if (words.IsEmpty()) return false;
  step.mName = words.Next();
  step.mVerb = words.Take("nothing") ? Verb::kEnterNothing : Verb::kEnter;
  return words.IsEmpty();
}

bool ReadClick(Words& words, Step& step) {
  step.mVerb = Verb::kClick;
  step.mAnyway = words.Left() > 1 && words.TakeLast("anyway");
  step.mName = words.Next();
  return !step.mName.empty() && words.IsEmpty();
}

bool ReadSet(Words& words, Step& step) {
  step.mVerb = Verb::kSet;
  step.mAnyway = words.Left() > 2 && words.TakeLast("anyway");
  if (words.Left() < 2 || words.Left() > 3) return false;
  step.mName = words.Next();
  if (words.Left() == 2) step.mKey = words.Next();
  step.mValue = words.Next();
  return true;
}

bool ReadAck(Words& words, Step& step) {
  step.mVerb = Verb::kAck;
  if (words.Left() != 2) return false;
  step.mName = words.Next();
  step.mValue = words.Next();
  return true;
}

bool ReadGet(Words& words, Step& step) {
  step.mVerb = Verb::kGet;
  step.mName = words.Next();
  if (step.mName.empty()) return false;
  if (words.Take("is")) {
    step.mVerb = Verb::kGetIs;
    step.mPath = words.Next();
    return !step.mPath.empty() && words.IsEmpty();
  }
  if (words.Take("contains")) {
    step.mVerb = Verb::kGetContains;
    step.mText = words.Next();
    return !step.mText.empty() && words.IsEmpty();
  }
  if (words.Take("missing")) step.mVerb = Verb::kGetMissing;
  return words.IsEmpty();
}

bool ReadReturn(Words& words, Step& step) {
  step.mVerb = Verb::kReturn;
  if (words.Take("refused")) {
    step.mVerb = Verb::kReturnRefused;
    step.mText = words.Next();
  }
  return words.IsEmpty();
}

template <Verb kVerb>
bool ReadAlone(Words& words, Step& step) {
  step.mVerb = kVerb;
  return words.IsEmpty();
}

constexpr std::array<VerbForm, 11> kStationForms{
    {{"login", ReadLogin, "login USER PASSWORD [refused [TEXT]] [within T]"},
     {"enter", ReadEnter, "enter DIALOG [nothing] [within T]"},
     {"click", ReadClick, "click NAME [anyway] [within T]"},
     {"set", ReadSet, "set NAME [KEY] VALUE [anyway] [within T]"},
     {"ack", ReadAck, "ack GRID ROW [within T]"},
     {"get", ReadGet, "get FILE [is LOCALFILE | contains TEXT | missing] [within T]"},
     {"connect", ReadAlone<Verb::kConnect>, "connect [within T]"},
     {"leave", ReadAlone<Verb::kLeave>, "leave"},
     {"close", ReadAlone<Verb::kClose>, "close"},
     {"return", ReadReturn, "return [refused [TEXT]] [within T]"},
     {"send", nullptr, "send TEXT"}}};

constexpr std::array<VerbForm, 4> kHostForms{
    {{"start", ReadAlone<Verb::kHostStart>, "start [within T]"},
     {"stop", ReadAlone<Verb::kHostStop>, "stop [within T]"},
     {"kill", ReadAlone<Verb::kHostKill>, "kill [within T]"},
     {"restart", ReadAlone<Verb::kHostRestart>, "restart [within T]"}}};

bool ReadOne(Words& words, std::string& into) {
  into = words.Next();
  return !into.empty() && words.IsEmpty();
}

bool ReadCommand(Words& words, Step& step) {
  step.mVerb = Verb::kCommand;
  step.mName = words.Next();
  while (words.Left() >= 2) {
    std::string key = words.Next();
    step.mMembers.emplace_back(std::move(key), words.Next());
  }
  return !step.mName.empty() && words.IsEmpty();
}

bool ReadCompared(Words& words, Step& step) {
  constexpr std::array<std::pair<std::string_view, Compare>, 4> kWords{
      {{"not", Compare::kIsNot},
       {"contains", Compare::kContains},
       {"above", Compare::kAbove},
       {"below", Compare::kBelow}}};
  step.mVerb = Verb::kValue;
  if (words.Take("no")) {
    step.mCompare = Compare::kMissing;
    return ReadOne(words, step.mKey);
  }
  const bool isNoKey = words.Is("=") || words.Is("==") || words.Is("is");
  step.mKey = words.Next();
  if (isNoKey) return false;
  for (const auto& [word, compare] : kWords) {
    if (words.Left() == 2 && words.Take(word)) step.mCompare = compare;
  }
  if (words.Left() != 1 || step.mKey.empty()) return false;
  step.mValue = words.Next();
  if (step.mCompare != Compare::kAbove && step.mCompare != Compare::kBelow) return true;
  double number = 0;
  const char* const end = step.mValue.data() + step.mValue.size();
  const auto result = std::from_chars(step.mValue.data(), end, number);
  return result.ec == std::errc() && result.ptr == end;
}

// Behind `expect`, with `within` already taken.
bool ReadExpectation(Words& words, Step& step) {
  if (words.Take("dialog")) {
    step.mVerb = Verb::kDialog;
    return ReadOne(words, step.mName);
  }
  if (words.Take("command")) return ReadCommand(words, step);
  if (words.Take("message")) {
    step.mVerb = Verb::kMessage;
    return ReadOne(words, step.mText);
  }
  if (words.Left() == 1 && words.Take("closed")) {
    step.mVerb = Verb::kClosed;
    return true;
  }
  if (words.Left() == 2 && words.Is("session") && words.Is("ended", 1)) {
    step.mVerb = Verb::kSessionEnded;
    return true;
  }
  step.mName = words.Next();
  const bool isThere = words.Left() == 1 && words.Is("there");
  if (isThere || (words.Left() == 1 && words.Is("gone"))) {
    step.mVerb = isThere ? Verb::kThere : Verb::kGone;
    return !step.mName.empty();
  }
  return !step.mName.empty() && ReadCompared(words, step);
}

// Behind `expect no`, with `for` already taken.
bool ReadAbsence(Words& words, Step& step) {
  if (words.Take("update")) {
    step.mVerb = Verb::kNoUpdate;
    return words.IsEmpty() || (words.Take("of") && ReadOne(words, step.mName));
  }
  if (words.Take("command")) {
    step.mVerb = Verb::kNoCommand;
    return ReadOne(words, step.mName);
  }
  if (!words.Take("message")) return false;
  step.mVerb = Verb::kNoMessage;
  return ReadOne(words, step.mText);
}

bool ReadHostExpectation(Words& words, Step& step) {
  if (words.Take("line")) {
    step.mVerb = Verb::kHostLine;
    return ReadOne(words, step.mText);
  }
  if (!words.Take("exit")) return false;
  step.mVerb = Verb::kHostExit;
  return ReadOne(words, step.mValue) &&
         step.mValue.find_first_not_of("0123456789") == std::string::npos;
}

bool ReadHostAbsence(Words& words, Step& step) {
  step.mVerb = Verb::kHostNoLine;
  return words.Take("line") && ReadOne(words, step.mText);
}

constexpr const char* kStationExpect =
    "expect NAME KEY [not | contains | above | below] VALUE [within T], expect NAME no KEY, "
    "expect NAME there|gone, expect dialog NAME, expect command WORD [KEY VALUE]..., expect message "
    "TEXT, expect closed or expect session ended; a text with blanks stands between quotes";
constexpr const char* kStationAbsent =
    "expect no update [of NAME] for T, expect no command WORD for T or expect no message TEXT for "
    "T, with T as 200ms or 1.5s";
constexpr const char* kHostExpect = "expect line TEXT [within T] or expect exit CODE [within T]";
constexpr const char* kHostAbsent = "expect no line TEXT for T, with T as 200ms or 1.5s";

bool Mistaken(const std::string& who, const char* usage, std::string& error) {
  error = "write: " + who + ": " + usage;
  return false;
}

bool ReadExpect(Words& words, Step& step, std::string& error) {
  const bool isHost = step.mWho == "host";
  if (words.Take("no")) {
    const auto duration = words.TakeTail("for");
    if (duration) step.mWithin = *duration;
    const bool isRight =
        duration && (isHost ? ReadHostAbsence(words, step) : ReadAbsence(words, step));
    return isRight || Mistaken(step.mWho, isHost ? kHostAbsent : kStationAbsent, error);
  }
  const bool isRight = isHost ? ReadHostExpectation(words, step) : ReadExpectation(words, step);
  return isRight || Mistaken(step.mWho, isHost ? kHostExpect : kStationExpect, error);
}

// A station's raw text is the rest of the line, quotes and all.
bool ReadSend(std::string_view rest, Step& step, std::string& error) {
  step.mVerb = Verb::kSend;
  const std::size_t start = rest.find_first_not_of(" \t", rest.find("send") + 4);
  if (start == std::string_view::npos) return Mistaken(step.mWho, "send TEXT", error);
  step.mText = rest.substr(start);
  if (dorn::station::IsSendable(step.mText)) return true;
  error = "a host gets none of the bytes 00, 02 and 03 inside a text";
  return false;
}

// Words that people try first; empty: none of these.
std::string_view UsualWordFor(std::string_view tried) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 14> kTried{
      {{"press", "click"},
       {"push", "click"},
       {"touch", "click"},
       {"tap", "click"},
       {"choose", "click"},
       {"type", "set"},
       {"change", "set"},
       {"acknowledge", "ack"},
       {"logout", "leave"},
       {"quit", "leave"},
       {"disconnect", "close"},
       {"reconnect", "return"},
       {"assert", "expect"},
       {"check", "expect"}}};
  for (const auto& [word, usual] : kTried) {
    if (word == tried) return usual;
  }
  return "";
}

template <std::size_t kCount>
bool ReadVerb(const std::array<VerbForm, kCount>& forms, const std::string& verb, Words& words,
              Step& step, std::string& error) {
  std::vector<std::string> known{"expect"};
  for (const VerbForm& form : forms) {
    if (form.mWord == verb)
      return form.mForm(words, step) || Mistaken(step.mWho, form.mUsage, error);
    known.emplace_back(form.mWord);
  }
  if (verb == "wait" || verb == "sleep") {
    error = "waiting is nobody's; write: wait T, without who before it";
    return false;
  }
  std::string meant(step.mWho == "host" ? "" : UsualWordFor(verb));
  if (meant.empty()) meant = Nearest(verb, known);
  error = "unknown word \"" + verb + "\"; ";
  if (!meant.empty()) {
    error += "do you mean " + meant + "?";
  } else {
    error += step.mWho + " may:";
    for (const std::string& each : known) error += " " + each;
  }
  return false;
}

bool ReadStep(std::string_view rest, Step& step, std::string& error) {
  const std::size_t start = rest.find_first_not_of(" \t");
  const bool isHost = step.mWho == "host";
  // Before the words are told apart: what is sent may hold any quotes.
  if (!isHost && start != std::string_view::npos && rest.substr(start, 4) == "send" &&
      (rest.size() == start + 4 || rest[start + 4] == ' ' || rest[start + 4] == '\t')) {
    return ReadSend(rest, step, error);
  }
  auto split = SplitWords(rest, error);
  if (!split) return false;
  Words words(std::move(*split));
  if (words.IsEmpty()) return Mistaken(step.mWho, isHost ? "restart" : "enter DIALOG", error);
  const std::string verb = words.Next();
  if (const auto within = words.TakeTail("within")) step.mWithin = *within;
  if (words.Left() >= 2 && words.Is("within", words.Left() - 2)) {
    error = "a time is written as 200ms, 1.5s or 2min";
    return false;
  }
  if (verb == "expect") return ReadExpect(words, step, error);
  return isHost ? ReadVerb(kHostForms, verb, words, step, error)
                : ReadVerb(kStationForms, verb, words, step, error);
}

bool IsStationName(std::string_view name) {
  if (name.empty() || std::isalpha(static_cast<unsigned char>(name.front())) == 0) return false;
  for (const char c : name) {
    if (std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '_' && c != '-') return false;
  }
  return true;
}

std::optional<Step> ReadWait(std::string_view line, std::string& error) {
  const auto split = SplitWords(line, error);
  if (!split) return std::nullopt;
  const auto duration = split->size() == 2 ? ReadDuration((*split)[1].mText) : std::nullopt;
  if (!duration) {
    error = "write: wait T, with T as 200ms or 1.5s";
    return std::nullopt;
  }
  Step step;
  step.mWithin = *duration;
  return step;
}

}  // namespace

std::optional<Step> ReadLine(std::string_view line, std::string& error) {
  const std::size_t start = line.find_first_not_of(" \t\r");
  if (start == std::string_view::npos || line[start] == '#') return std::nullopt;
  line.remove_prefix(start);
  const std::size_t end = line.find_first_of(": \t");
  const std::string_view who = line.substr(0, end);
  if (who == "wait") return ReadWait(line, error);
  if (end == std::string_view::npos || line[end] != ':' || !IsStationName(who)) {
    error = "a line begins with who acts, letters and digits before a colon: a: click NAME";
    return std::nullopt;
  }
  Step step;
  step.mWho = who;
  if (!ReadStep(line.substr(end + 1), step, error)) return std::nullopt;
  return step;
}

}  // namespace dorn::scene
