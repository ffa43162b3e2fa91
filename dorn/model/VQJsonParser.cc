#include "dorn/model/VQJsonParser.h"

#include <cstdio>
#include <string>

#include "dorn/base/TraceFilter.h"
#include "dorn/json/JsonParser.h"
#include "dorn/model/CommandReader.h"
#include "dorn/model/MemberText.h"
#include "dorn/model/TreeReader.h"
#include "dorn/model/TreeWalk.h"
#include "dorn/model/UpdateComposer.h"
#include "dorn/model/UpdateText.h"
#include "dorn/model/WireWords.h"

namespace {

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

}  // namespace

bool VQJsonParser::ParseDialog(VQJsonResource* jo, const KZString& json, bool shard) {
  JsonParser jp;
  if (!jp.Parse(json) || !FindDialog(jp)) return false;
  dorn::TreeReader(jp, shard, dorn::Source::kHost).ReadRoot(*jo);
  return true;
}

bool VQJsonParser::ParseCommand(VQJsonCommands* jo, const KZString& json) {
  return dorn::ReadUsualCommands(json, *jo) || dorn::ReadDocumentCommands(json, *jo);
}

VQJsonObject* VQJsonParser::ParseObject(JsonParser& jp, VQJsonObject* parent, bool shard) {
  return dorn::TreeReader(jp, shard, dorn::Source::kHost).ReadObject(parent);
}

int VQJsonParser::ParseList(VQJsonObjectHasList* jo, JsonParser& jp, bool shard) {
  return dorn::TreeReader(jp, shard, dorn::Source::kHost).ReadList(*jo);
}

VQJsonObject* VQJsonParser::CreateCommand(const KZString& type) {
  if (dorn::Equals(type, dorn::kCommandDialog)) return new VQJsonResource;
  return new VQJsonCommand(type);
}

VQJsonObject* VQJsonParser::CreateObject(const KZString& type, const KZString& layout,
                                         VQJsonObject* parent) {
  if (dorn::Equals(type, dorn::kTypeGrid)) {
    if (dorn::IsTraced()) std::puts("GRID!");
    return new VQJsonGrid(parent);
  }
  if (dorn::Equals(type, dorn::kTypeRadioButton)) {
    if (dorn::IsTraced()) std::puts("RADIOBTN!");
    return new VQJsonRadioButtonObject(parent);
  }
  if (!dorn::Equals(type, dorn::kTypeGroup)) return new VQJsonObject(parent);
  if (dorn::Equals(layout, dorn::kLayoutRadio)) {
    if (dorn::IsTraced()) std::puts("RADIO GROUP!");
    return new VQJsonRadioButtonGroup(parent);
  }
  return new VQJsonObjectHasList(dorn::kKeyObjects, parent);
}

bool VQJsonParser::MakeUpdateCommand(KZString& json, VQJsonResource* jo, bool allflag,
                                     const KZString& sessionid) {
  dorn::UpdateComposer composer(jo, allflag, dorn::SideCommands::kFirst);
  const dorn::UpdateComposer::Text& text = composer.Compose(sessionid);
  if (text != nullptr) {
    json = *text;
    return true;
  }
  json.Clear();
  dorn::AppendUpdateFrame(json, [](int&) {});
  return false;
}

void VQJsonParser::OutUpdateCommandRaw(std::ostream& out, VQJsonObject* jo, int& comma,
                                       bool allflag, const KZString& sessionid) {
  std::string text;
  dorn::AppendUpdateCommandRaw(text, *jo, comma, allflag, sessionid);
  dorn::WriteWhole(out, text);
}

void VQJsonParser::OutDeleteCommandRaw(std::ostream& out, VQJsonObject* jo, int& comma) {
  std::string text;
  dorn::AppendDeleteCommandRaw(text, *jo, comma);
  dorn::WriteWhole(out, text);
}

void VQJsonParser::OutAddCommandRaw(std::ostream& out, VQJsonObject* jo, int& comma, int& indent,
                                    int /*create*/) {
  std::string text;
  dorn::AppendAddCommandRaw(text, *jo, comma, indent);
  dorn::WriteWhole(out, text);
}
