#include "tools/dorn-station/Steps.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

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

// A JSON string literal of any bytes.
std::string Quoted(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (byte < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", byte);
      out += escape;
    } else {
      out += c;
    }
  }
  return out + "\"";
}

std::string Rest(std::istringstream& words) {
  std::string rest;
  std::getline(words >> std::ws, rest);
  return rest;
}

std::string Condition(const std::string& name, const std::string& type,
                      const std::string& attributes) {
  return "{\"Command\":\"CONDITION\",\"ActionName\":" + Quoted(name) +
         ",\"ActionType\":" + Quoted(type) + ",\"Objects\":[{\"Name\":" + Quoted(name) +
         attributes + "}]}";
}

Step Send(std::string text) { return {StepKind::kSend, std::move(text), 0}; }

std::optional<Step> Touch(std::istringstream& words, std::string& error) {
  std::string name;
  std::string type;
  if (!(words >> name)) {
    error = "write: touch NAME [TYPE]";
    return std::nullopt;
  }
  if (!(words >> type)) type = "CLICK";
  return Send(Condition(name, type, ""));
}

std::optional<Step> Set(std::istringstream& words, std::string& error) {
  std::string name;
  std::string key;
  if (!(words >> name >> key)) {
    error = "write: set NAME KEY VALUE";
    return std::nullopt;
  }
  return Send(Condition(name, "CHANGE", "," + Quoted(key) + ":" + Quoted(Rest(words))));
}

std::optional<Step> Get(std::istringstream& words, std::string& error) {
  std::string file;
  if (!(words >> file)) {
    error = "write: get FILE [DATE]";
    return std::nullopt;
  }
  const std::string date = Rest(words);
  return Send("{\"Command\":\"GETFILE\",\"File\":" + Quoted(file) +
              (date.empty() ? "" : ",\"Date\":" + Quoted(date)) + "}");
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
  if (text.empty() || *end != '\0' || !(seconds >= 0)) {
    error = "write: wait SECONDS";
    return std::nullopt;
  }
  return Step{StepKind::kWait, "", seconds};
}

}  // namespace

std::optional<Step> ParseStep(const std::string& line, std::string& error) {
  std::istringstream words(line);
  words >> std::ws;
  if (words.peek() == '{') return Send(Rest(words));
  std::string word;
  if (!(words >> word) || word[0] == '#') return Step{};
  if (word == "enter") {
    const std::string dialog = Rest(words);
    if (!dialog.empty()) return Send(EnterCommand(dialog));
    error = "write: enter DIALOG";
    return std::nullopt;
  }
  if (word == "touch") return Touch(words, error);
  if (word == "set") return Set(words, error);
  if (word == "get") return Get(words, error);
  if (word == "expect") return WithText(StepKind::kExpect, word, Rest(words), error);
  if (word == "absent") return WithText(StepKind::kAbsent, word, Rest(words), error);
  if (word == "say") return WithText(StepKind::kSay, word, Rest(words), error);
  if (word == "wait") return Wait(Rest(words), error);
  if (word == "quit") return Step{StepKind::kQuit, "", 0};
  error = "unknown word \"" + word + "\"; --help lists what a line may be";
  return std::nullopt;
}

std::string HelloCommand(const Login& login) {
  std::string text = "{\"Command\":\"HELLO\"";
  if (!login.session.empty()) {
    text += ",\"SessionId\":" + Quoted(login.session);
  } else {
    text += ",\"Id\":" + Quoted(login.id) + ",\"Pass\":" + Quoted(login.pass);
  }
  return text + ",\"Type\":" + Quoted(login.type) +
         ",\"ResolutionH\":" + std::to_string(login.width) +
         ",\"ResolutionV\":" + std::to_string(login.height) + "}";
}

std::string EnterCommand(const std::string& dialog) {
  return "{\"Command\":\"CHANGE\",\"DialogName\":" + Quoted(dialog) + "}";
}
