// Commands whose objects carry values: composed by a station, or checked when a page sent them.
#include <algorithm>
#include <array>

#include "station/Commands.h"
#include "station/Utf8.h"

namespace dorn::station {

namespace {

constexpr int kMaxNesting = 16;

struct KnownCommand {
  std::string_view mWord;
  std::array<std::string_view, 9> mMembers;  // Besides Command; the rest is empty.
};

constexpr std::array<std::string_view, 9> kHelloMembers{
    "Id", "Pass", "Type", "ResolutionH", "ResolutionV", "DialogName", "SessionId", "Language"};

constexpr std::array<KnownCommand, 5> kKnownCommands{{
    {"HELLO", kHelloMembers},
    {"CHANGE", kHelloMembers},
    {"KEEPALIVE", {"SessionId"}},
    {"GETFILE", {"File", "Date", "ObjectName", "SessionId"}},
    {"CONDITION", {"ActionName", "ActionType", "Objects", "SessionId"}},
}};

const KnownCommand* FindCommand(std::string_view word) {
  for (const KnownCommand& known : kKnownCommands) {
    if (known.mWord == word) return &known;
  }
  return nullptr;
}

// Hosts write keys as they got them: one with a quote would end at another place at every other
// station.
std::string KeyReason(std::string_view key) {
  if (!IsSendable(key)) return "a key holds one of the bytes 00, 02 and 03";
  const auto isBad = [](char c) {
    return c == '"' || c == '\'' || c == '\\' || static_cast<unsigned char>(c) < 0x20;
  };
  if (key.empty() || std::any_of(key.begin(), key.end(), isBad)) {
    return "a key is empty, or holds a quote, a backslash or a control character";
  }
  return "";
}

// Strings inside as they are to be stored; integers are what hosts know as numbers.
bool IsInteger(std::string_view number) {
  return number.size() <= 11 && number.find_first_of(".eE") == std::string_view::npos;
}

std::string AppendValue(const Json& value, Quotes quotes, int depth, std::string& out);

std::string AppendElements(const Json::Array& elements, Quotes quotes, int depth,
                           std::string& out) {
  char before = '[';
  for (const Json& element : elements) {
    out += before;
    if (auto reason = AppendValue(element, quotes, depth, out); !reason.empty()) return reason;
    before = ',';
  }
  out += elements.empty() ? "[]" : "]";
  return "";
}

std::string AppendMember(std::string_view key, const Json& value, Quotes quotes, int depth,
                         std::string& out) {
  if (auto reason = KeyReason(key); !reason.empty()) return reason;
  AppendQuoted(out, key);
  out += ':';
  return AppendValue(value, quotes, depth, out);
}

std::string AppendMembers(const Json::Object& members, Quotes quotes, int depth, std::string& out) {
  char before = '{';
  for (const auto& [key, member] : members) {
    out += before;
    if (auto reason = AppendMember(key, member, quotes, depth, out); !reason.empty()) return reason;
    before = ',';
  }
  out += members.empty() ? "{}" : "}";
  return "";
}

// Appends the value as it is to be stored; returns why it cannot be set. Nothing is copied on the
// way: whoever sent it need not be logged in, and the smallest values take a hundred bytes each.
std::string AppendValue(const Json& value, Quotes quotes, int depth, std::string& out) {
  switch (value.mKind) {
    case Json::Kind::kString:
      if (!IsSendable(value.mText)) return "a value holds one of the bytes 00, 02 and 03";
      AppendQuoted(out, StoredText(value.mText, quotes));
      return "";
    case Json::Kind::kNumber:
      if (!IsInteger(value.mText)) return "a number is no integer";
      value.Write(out);
      return "";
    case Json::Kind::kBool:
      value.Write(out);
      return "";
    case Json::Kind::kNull:
      return "a value is null";
    default:
      break;
  }
  if (depth == kMaxNesting) return "a value nests too deep";
  return value.IsArray() ? AppendElements(value.mElements, quotes, depth + 1, out)
                         : AppendMembers(value.mMembers, quotes, depth + 1, out);
}

// Appends {"Name":... and leaves it open; returns why not.
std::string AppendName(std::string_view name, std::string& out) {
  if (!IsSendable(name)) return "a name holds one of the bytes 00, 02 and 03";
  out += "{\"Name\":";
  AppendQuoted(out, name);
  return "";
}

// Appends {"Name":...,...}; returns why not.
std::string AppendObject(const SetObject& object, Quotes quotes, std::string& out) {
  if (auto reason = AppendName(object.mName, out); !reason.empty()) return reason;
  for (const auto& [key, value] : object.mAttributes) {
    out += ',';
    if (auto reason = AppendMember(key, value, quotes, 0, out); !reason.empty()) return reason;
  }
  out += '}';
  return "";
}

std::string AppendPageObject(const Json& object, Quotes quotes, std::string& out) {
  if (!object.IsObject()) return "Objects holds something that is no object";
  const Json* name = object.Find("Name");
  if (name == nullptr || !name->IsString() || name->mText.empty()) return "an object has no Name";
  if (object.Find("Objects") != nullptr || object.Find("Object") != nullptr) {
    return "objects inside objects are not sent";
  }
  if (auto reason = AppendName(name->mText, out); !reason.empty()) return reason;
  for (const auto& [key, value] : object.mMembers) {
    if (key == "Name") continue;
    out += ',';
    if (auto reason = AppendMember(key, value, quotes, 0, out); !reason.empty()) return reason;
  }
  out += '}';
  return "";
}

std::string AppendPageObjects(const Json& objects, Quotes quotes, std::string& out) {
  if (!objects.IsArray()) return "Objects is no array";
  char before = '[';
  for (const Json& object : objects.mElements) {
    out += before;
    if (auto reason = AppendPageObject(object, quotes, out); !reason.empty()) return reason;
    before = ',';
  }
  out += objects.mElements.empty() ? "[]" : "]";
  return "";
}

bool IsResolution(std::string_view key) { return key == "ResolutionH" || key == "ResolutionV"; }

std::string AppendCommand(const Json& command, Quotes quotes, std::string& out) {
  if (!command.IsObject()) return "a command is no object";
  const KnownCommand* known = FindCommand(command.TextOf("Command"));
  if (known == nullptr) return "unknown Command";
  out += "{\"Command\":" + Quoted(known->mWord);
  for (const auto& [key, value] : command.mMembers) {
    if (key == "Command") continue;
    const auto& members = known->mMembers;
    if (key.empty() || std::find(members.begin(), members.end(), key) == members.end()) {
      return std::string(known->mWord) + " has no member " + Quoted(key);
    }
    out += "," + Quoted(key) + ":";
    if (key == "Objects") {
      if (auto reason = AppendPageObjects(value, quotes, out); !reason.empty()) return reason;
    } else if (value.IsString() || (IsResolution(key) && value.IsNumber())) {
      value.Write(out);
    } else {
      return key + " is no text";
    }
  }
  out += '}';
  return "";
}

std::string AppendCommands(const Json& commands, Quotes quotes, std::string& out) {
  if (!commands.IsArray() || commands.mElements.empty()) return "Commands is no list of commands";
  out += "{\"Commands\":";
  char before = '[';
  for (const Json& command : commands.mElements) {
    out += before;
    if (auto reason = AppendCommand(command, quotes, out); !reason.empty()) return reason;
    before = ',';
  }
  out += "]}";
  return "";
}

// What was written with escapes counts as well: a host would store the bytes themselves.
bool HoldsFramingBytes(const Json& json) {
  if (!IsSendable(json.mText)) return true;
  for (const Json& element : json.mElements) {
    if (HoldsFramingBytes(element)) return true;
  }
  for (const auto& [key, member] : json.mMembers) {
    if (!IsSendable(key) || HoldsFramingBytes(member)) return true;
  }
  return false;
}

}  // namespace

std::string ConditionText(std::string_view actionName, std::string_view actionType,
                          const std::vector<SetObject>& objects, Quotes quotes) {
  if (!IsSendable(actionName) || !IsSendable(actionType)) return "";
  std::string text = "{\"Command\":\"CONDITION\",\"ActionName\":" + Quoted(actionName) +
                     ",\"ActionType\":" + Quoted(actionType) + ",\"Objects\":";
  char before = '[';
  for (const SetObject& object : objects) {
    text += before;
    if (!AppendObject(object, quotes, text).empty()) return "";
    before = ',';
  }
  if (objects.empty()) text += '[';
  text += "]}";
  return text.size() <= kMaxSentText ? text : "";
}

CheckedText CheckedCommand(const Json& fromPage, Quotes quotes) {
  if (!fromPage.IsObject()) return {"", "the text is no object"};
  if (HoldsFramingBytes(fromPage)) return {"", "the text holds one of the bytes 00, 02 and 03"};
  std::string text;
  std::string reason;
  if (const Json* commands = fromPage.Find("Commands"); commands != nullptr) {
    reason = fromPage.mMembers.size() == 1 ? AppendCommands(*commands, quotes, text)
                                           : "Commands stands beside other members";
  } else {
    reason = AppendCommand(fromPage, quotes, text);
  }
  if (reason.empty() && text.size() > kMaxSentText) {
    reason = "the text is longer than " + std::to_string(kMaxSentText) + " bytes";
  }
  if (!reason.empty()) return {"", reason};
  return {text, ""};
}

}  // namespace dorn::station
