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

// Why a value cannot be set; empty when it can.
std::string StoredValue(const Json& value, Quotes quotes, int depth, Json& stored) {
  stored = value;
  switch (value.mKind) {
    case Json::Kind::kString:
      if (!IsSendable(value.mText)) return "a value holds one of the bytes 00, 02 and 03";
      stored.mText = StoredText(value.mText, quotes);
      return "";
    case Json::Kind::kNumber:
      return IsInteger(value.mText) ? "" : "a number is no integer";
    case Json::Kind::kBool:
      return "";
    case Json::Kind::kNull:
      return "a value is null";
    default:
      break;
  }
  if (depth == kMaxNesting) return "a value nests too deep";
  for (Json& element : stored.mElements) {
    const Json plain = element;
    if (auto reason = StoredValue(plain, quotes, depth + 1, element); !reason.empty()) {
      return reason;
    }
  }
  for (auto& [key, member] : stored.mMembers) {
    if (auto reason = KeyReason(key); !reason.empty()) return reason;
    const Json plain = member;
    if (auto reason = StoredValue(plain, quotes, depth + 1, member); !reason.empty()) {
      return reason;
    }
  }
  return "";
}

// Appends {"Name":...,...}; returns why not.
std::string AppendObject(const SetObject& object, Quotes quotes, std::string& out) {
  if (!IsSendable(object.mName)) return "a name holds one of the bytes 00, 02 and 03";
  out += "{\"Name\":";
  AppendQuoted(out, object.mName);
  for (const auto& [key, value] : object.mAttributes) {
    if (auto reason = KeyReason(key); !reason.empty()) return reason;
    Json stored;
    if (auto reason = StoredValue(value, quotes, 0, stored); !reason.empty()) return reason;
    out += ',';
    AppendQuoted(out, key);
    out += ':';
    stored.Write(out);
  }
  out += '}';
  return "";
}

std::string AppendPageObject(const Json& object, Quotes quotes, std::string& out) {
  if (!object.IsObject()) return "Objects holds something that is no object";
  const Json* name = object.Find("Name");
  if (name == nullptr || !name->IsString() || name->mText.empty()) return "an object has no Name";
  SetObject set;
  set.mName = name->mText;
  for (const auto& [key, value] : object.mMembers) {
    if (key == "Objects" || key == "Object") return "objects inside objects are not sent";
    if (key != "Name") set.mAttributes.emplace_back(key, value);
  }
  return AppendObject(set, quotes, out);
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
