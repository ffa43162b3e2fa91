#include "dorn/model/VQJsonParser.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "dorn/json/JsonParser.h"
#include "dorn/json/MemberSearch.h"
#include "dorn/model/TreeSurvey.h"
#include "dorn/model/TreeWalk.h"
#include "dorn/model/UpdateText.h"
#include "dorn/model/WireWords.h"

namespace {

// The member of the current value, which is an object, if it is of type T; otherwise null.
template <class T>
const T* Member(const JsonParser& jp, std::string_view key) {
  const value* member = dorn::FindMember(jp.mValueCurrent->get<value::object>(), key);
  return member != nullptr && member->is<T>() ? &member->get<T>() : nullptr;
}

// A new object of the class that the current JSON object asks for. Never inlined: its texts would
// be held at every level of ParseObject()'s recursion.
__attribute__((noinline)) VQJsonObject* Create(VQJsonParser& parser, const JsonParser& jp,
                                               VQJsonObject* parent) {
  if (!jp.IsObject()) return parser.CreateObject(dorn::kTypeUnknown, "", parent);
  const auto* command = Member<std::string>(jp, dorn::kKeyCommand);
  if (command != nullptr) return parser.CreateCommand(*command);
  const auto* type = Member<std::string>(jp, dorn::kKeyType);
  if (type == nullptr) return parser.CreateObject(dorn::kTypeUnknown, "", parent);
  const auto* layout = Member<std::string>(jp, dorn::kKeyLayout);
  return parser.CreateObject(*type, layout != nullptr ? *layout : "", parent);
}

// Appends the reader's current JSON object to `jo`; returns how many children that made.
int ParseChild(VQJsonParser& parser, VQJsonObjectHasList* jo, JsonParser& jp, bool shard) {
  return jo->AddObject(parser.ParseObject(jp, jo, shard), 0) ? 1 : 0;
}

// The same for each element of `list` that is an object: nothing else has members to read.
int ParseChildren(VQJsonParser& parser, VQJsonObjectHasList* jo, JsonParser& jp,
                  const value::array& list, bool shard) {
  if (list.empty()) return 0;
  int added = 0;
  auto element = jp.Begin(list);
  while (jp.Next(list, element)) {
    if (jp.IsObject()) added += ParseChild(parser, jo, jp, shard);
  }
  return added;
}

bool IsDialog(const JsonParser& jp) {
  KZString command;
  return jp.IsObject() && jp.GetString(dorn::kKeyCommand, command) &&
         dorn::Equals(command, dorn::kCommandDialog);
}

// Moves the cursor to the dialog among the commands of the document, or leaves it on a root that is
// the dialog itself.
bool FindDialog(JsonParser& jp) {
  if (!jp.IsObject()) return false;
  const value::array& commands = jp.GetArray(dorn::kKeyCommands);
  if (commands.empty()) return IsDialog(jp);
  auto element = jp.Begin(commands);
  while (jp.Next(commands, element)) {
    if (IsDialog(jp)) return true;
  }
  return false;
}

void Write(std::ostream& out, const std::string& text) {
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

}  // namespace

bool VQJsonParser::ParseDialog(VQJsonResource* jo, const KZString& json, bool shard) {
  JsonParser jp;
  if (!jp.Parse(json) || !FindDialog(jp)) return false;
  jo->Parse(jp, shard);
  ParseList(jo, jp, shard);
  return true;
}

bool VQJsonParser::ParseCommand(VQJsonCommands* jo, const KZString& json) {
  JsonParser jp;
  if (!jp.Parse(json) || !jp.IsObject()) return false;
  if (Member<value::array>(jp, dorn::kKeyCommands) != nullptr) {
    ParseList(jo, jp, false);
    return true;
  }
  if (Member<std::string>(jp, dorn::kKeyCommand) == nullptr) return false;
  ParseChild(*this, jo, jp, false);
  return true;
}

VQJsonObject* VQJsonParser::ParseObject(JsonParser& jp, VQJsonObject* parent, bool shard) {
  VQJsonObject* created = Create(*this, jp, parent);
  created->Parse(jp, shard);
  VQJsonObjectHasList* group = dorn::AsGroup(*created);
  if (group != nullptr) ParseList(group, jp, shard);
  return created;
}

int VQJsonParser::ParseList(VQJsonObjectHasList* jo, JsonParser& jp, bool shard) {
  if (!jp.IsObject()) return 0;
  for (const char* key : {dorn::kKeyObjects, dorn::kKeyCommands}) {
    const auto* list = Member<value::array>(jp, key);
    if (list != nullptr) return ParseChildren(*this, jo, jp, *list, shard);
  }
  if (jp.GetObject(dorn::kKeyObject) || jp.GetObject(dorn::kKeyDialog)) {
    return ParseChild(*this, jo, jp, shard);
  }
  return 0;
}

VQJsonObject* VQJsonParser::CreateCommand(const KZString& type) {
  if (dorn::Equals(type, dorn::kCommandDialog)) return new VQJsonResource;
  return new VQJsonCommand(type);
}

VQJsonObject* VQJsonParser::CreateObject(const KZString& type, const KZString& layout,
                                         VQJsonObject* parent) {
  if (dorn::Equals(type, dorn::kTypeGrid)) {
    std::puts("GRID!");
    return new VQJsonGrid(parent);
  }
  if (dorn::Equals(type, dorn::kTypeRadioButton)) {
    std::puts("RADIOBTN!");
    return new VQJsonRadioButtonObject(parent);
  }
  if (!dorn::Equals(type, dorn::kTypeGroup)) return new VQJsonObject(parent);
  if (dorn::Equals(layout, dorn::kLayoutRadio)) {
    std::puts("RADIO GROUP!");
    return new VQJsonRadioButtonGroup(parent);
  }
  return new VQJsonObjectHasList(dorn::kKeyObjects, parent);
}

bool VQJsonParser::MakeUpdateCommand(KZString& json, VQJsonResource* jo, bool allflag,
                                     const KZString& sessionid) {
  std::string side;
  std::string update;
  int commands = 0;
  int objects = 0;
  dorn::BeginUpdateCommand(update);
  dorn::TreeSurvey survey;
  if (survey.Take(*jo, allflag)) {
    survey.AppendSideCommands(side, commands);
    for (VQJsonObject* entry : survey.Entries()) {
      dorn::AppendUpdateEntry(update, *entry, objects, allflag, sessionid);
    }
  } else {
    int indent = 0;
    dorn::AppendDeleteCommandRaw(side, *jo, commands);
    dorn::AppendAddCommandRaw(side, *jo, commands, indent);
    dorn::ForEachChild(*jo, [&](VQJsonObject& child) {
      dorn::AppendUpdateCommandRaw(update, child, objects, allflag, sessionid);
    });
  }
  dorn::EndUpdateCommand(update);

  json = dorn::JoinCommands(update, side);
  return commands >= 1 || objects >= 1;
}

void VQJsonParser::OutUpdateCommandRaw(std::ostream& out, VQJsonObject* jo, int& comma,
                                       bool allflag, const KZString& sessionid) {
  std::string text;
  dorn::AppendUpdateCommandRaw(text, *jo, comma, allflag, sessionid);
  Write(out, text);
}

void VQJsonParser::OutDeleteCommandRaw(std::ostream& out, VQJsonObject* jo, int& comma) {
  std::string text;
  dorn::AppendDeleteCommandRaw(text, *jo, comma);
  Write(out, text);
}

void VQJsonParser::OutAddCommandRaw(std::ostream& out, VQJsonObject* jo, int& comma, int& indent,
                                    int /*create*/) {
  std::string text;
  dorn::AppendAddCommandRaw(text, *jo, comma, indent);
  Write(out, text);
}
