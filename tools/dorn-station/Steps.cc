#include "tools/dorn-station/Steps.h"

#include <cstdlib>
#include <sstream>
#include <utility>
#include <vector>

const char* const kStepHelp =
    "Lines, as arguments (quote each) or on standard input:\n"
    "  {\"Command\":...}          send this command as it is\n"
    "  enter DIALOG             show a dialog (CHANGE)\n"
    "  touch NAME [TYPE]        touch an object (CONDITION; TYPE is CLICK unless given)\n"
    "  set NAME KEY VALUE...    report a changed attribute (CONDITION with the object)\n"
    "  get FILE [DATE]          ask for a file (GETFILE); DATE is \"YYYY-MM-DD hh:mm:ss\"\n"
    "  expect TEXT              wait until a message contains TEXT\n"
    "  absent TEXT              fail if a message seen since the expect before last contains TEXT\n"
    "  wait SECONDS             only print what arrives\n"
    "  say TEXT                 print TEXT, so that a script sees how far this station is\n"
    "  quit                     close the connection\n"
    "  # ...                    a comment\n";

namespace {

using dorn::station::Json;
using dorn::station::Quotes;
using dorn::station::SetObject;

std::string Rest(std::istringstream& words) {
  std::string rest;
  std::getline(words >> std::ws, rest);
  return rest;
}

Step Send(std::string text, std::vector<SetObject> objects = {}) {
  return {StepKind::kSend, std::move(text), 0, std::move(objects)};
}

std::optional<Step> SendCondition(const std::string& name, const std::string& type,
                                  const std::vector<SetObject>& objects, Quotes quotes,
                                  std::string& error) {
  std::string text = dorn::station::ConditionText(name, type, objects, quotes);
  if (!text.empty()) return Send(std::move(text), objects);
  error = "a server takes at most 524,286 bytes and none of the bytes 00, 02 and 03";
  return std::nullopt;
}

std::optional<Step> Touch(std::istringstream& words, std::string& error) {
  std::string name;
  std::string type;
  if (!(words >> name)) {
    error = "write: touch NAME [TYPE]";
    return std::nullopt;
  }
  if (!(words >> type)) type = "CLICK";
  return SendCondition(name, type, {{name, {}}}, Quotes::kRaw, error);
}

std::optional<Step> Set(std::istringstream& words, Quotes quotes, std::string& error) {
  std::string name;
  std::string key;
  if (!(words >> name >> key)) {
    error = "write: set NAME KEY VALUE";
    return std::nullopt;
  }
  return SendCondition(name, "CHANGE", {{name, {{key, Json::String(Rest(words))}}}}, quotes, error);
}

std::optional<Step> Get(std::istringstream& words, std::string& error) {
  std::string file;
  if (!(words >> file)) {
    error = "write: get FILE [DATE]";
    return std::nullopt;
  }
  return Send(dorn::station::GetFileText(file, Rest(words)));
}

std::optional<Step> WithText(StepKind kind, const std::string& word, const std::string& text,
                             std::string& error) {
  if (text.empty()) {
    error = "write: " + word + " TEXT";
    return std::nullopt;
  }
  return Step{kind, text, 0};
}

std::optional<Step> Wait(const std::string& text, std::string& error) {
  char* end = nullptr;
  const double seconds = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !(seconds >= 0 && seconds <= kMostSeconds)) {
    error = "write: wait SECONDS, at most 31536000";
    return std::nullopt;
  }
  return Step{StepKind::kWait, "", seconds};
}

}  // namespace

std::optional<Step> ParseStep(const std::string& line, Quotes quotes, std::string& error) {
  std::istringstream words(line);
  words >> std::ws;
  if (words.peek() == '{') return Send(Rest(words));
  std::string word;
  if (!(words >> word) || word[0] == '#') return Step{};
  if (word == "enter") {
    const std::string dialog = Rest(words);
    if (!dialog.empty()) return Send(dorn::station::ChangeText(dialog));
    error = "write: enter DIALOG";
    return std::nullopt;
  }
  if (word == "touch") return Touch(words, error);
  if (word == "set") return Set(words, quotes, error);
  if (word == "get") return Get(words, error);
  if (word == "expect") return WithText(StepKind::kExpect, word, Rest(words), error);
  if (word == "absent") return WithText(StepKind::kAbsent, word, Rest(words), error);
  if (word == "say") return WithText(StepKind::kSay, word, Rest(words), error);
  if (word == "wait") return Wait(Rest(words), error);
  if (word == "quit") return Step{StepKind::kQuit, "", 0};
  error = "unknown word \"" + word + "\"; --help lists what a line may be";
  return std::nullopt;
}
