#include "tests/station/SimulatedHost.h"

#include "dorn/model/UpdateComposer.h"

namespace {

std::string SessionName(size_t index) { return "s" + std::to_string(index); }

std::string TextOf(VQJsonObject& object, const char* key) {
  return object.GetValue(key).GetString();
}

}  // namespace

SimulatedHost::SimulatedHost(const std::string& resource, int sessions)
    : mLines(static_cast<size_t>(sessions)) {
  mParser.ParseDialog(&mTree, resource, true);
}

void SimulatedHost::Connect(int session) {
  mLines[static_cast<size_t>(session)] = Line();
  mLines[static_cast<size_t>(session)].mIsOpen = true;
}

void SimulatedHost::Disconnect(int session) { mLines[static_cast<size_t>(session)] = Line(); }

void SimulatedHost::Receive(int session, const std::string& bytes) {
  Line& line = mLines[static_cast<size_t>(session)];
  line.mIn += bytes;
  for (size_t end = line.mIn.find('\x03'); end != std::string::npos; end = line.mIn.find('\x03')) {
    const std::string text = line.mIn.substr(1, end - 1);
    line.mIn.erase(0, end + 1);
    VQJsonCommands commands;
    mParser.ParseCommand(&commands, text);
    for (VQJsonObject* each : commands.mObjectList) {
      Execute(line, SessionName(static_cast<size_t>(session)), *static_cast<VQJsonCommand*>(each));
    }
  }
}

void SimulatedHost::Execute(Line& line, const std::string& session, VQJsonCommand& command) {
  const std::string word = TextOf(command, "Command");
  if (word == "HELLO") {
    Say(line, R"({"Command":"OPEN","File":"d.json","FileSource":"SERVER","SessionId":")" + session +
                  "\"}");
  } else if (word == "CHANGE") {
    line.mShows = true;
  } else if (word == "GETFILE") {
    Answer(line, TextOf(command, "File"));
  } else if (word == "CONDITION") {
    Apply(command, session);
  }
}

void SimulatedHost::Answer(Line& line, const std::string& file) {
  if (file != "d.json") {
    Say(line, R"({"Command":"PUTFILE","File":")" + file +
                  R"(","Info":"FILE NOT FOUND","Status":"ERROR"})");
    return;
  }
  const std::string tree = mTree.GetJson();
  Say(line, R"({"Command":"PUTFILE","Date":"26-01-01 00:00:00","File":"d.json","Length":)" +
                std::to_string(tree.size()) + "}");
  line.mOut += tree;
}

// As a dialog does by default: known objects take the attributes, marked with who set them. One
// object is corrected by the host, and one keeps what it has.
void SimulatedHost::Apply(VQJsonCommand& command, const std::string& session) {
  for (VQJsonObject* source : command.mObjectList) {
    VQJsonObject* target = mTree.SearchName(source->mName);
    if (target == nullptr || source->mName == "fixed") continue;
    for (auto each = source->KeyValueBegin(); each != source->KeyValueEnd(); ++each) {
      if (!(each->first == "Name")) target->SetValue(each->first, each->second, -1, session);
    }
    if (source->mName == "limited" && TextOf(*target, "Value").size() > 3) {
      target->SetValue("Value", "max", -1, "");
    }
  }
  Flush();
}

void SimulatedHost::Set(const std::string& name, const std::string& key, const std::string& text) {
  mTree.SetValueByName(key, text, name, -1, "");
}

void SimulatedHost::Add(const std::string& group, const std::string& name,
                        const std::string& type) {
  VQJsonObject* parent = mTree.SearchName(group);
  if (parent == nullptr || !parent->HasGroup() || Has(name)) return;
  VQJsonObject* object = mParser.CreateObject(type, "", parent);
  object->SetValue("Name", name, 0, "");
  object->SetValue("Type", type, 0, "");
  object->SetValue("Value", "new", 0, "");
  parent->AddObject(object, 1);
}

void SimulatedHost::AddFilledGroup(const std::string& group, const std::string& name,
                                   const std::string& child) {
  VQJsonObject* parent = mTree.SearchName(group);
  if (parent == nullptr || !parent->HasGroup() || Has(name) || Has(child)) return;
  VQJsonObject* object = mParser.CreateObject("GROUP", "", parent);
  object->SetValue("Name", name, 0, "");
  object->SetValue("Type", "GROUP", 0, "");
  VQJsonObject* inner = mParser.CreateObject("LABEL", "", object);
  inner->SetValue("Name", child, 0, "");
  inner->SetValue("Value", "inside", 0, "");
  object->AddObject(inner, 0);
  parent->AddObject(object, 1);
}

void SimulatedHost::Delete(const std::string& name) {
  VQJsonObject* object = mTree.SearchName(name);
  if (object != nullptr) object->Delete("THIS");
}

void SimulatedHost::Empty(const std::string& group) {
  VQJsonObject* object = mTree.SearchName(group);
  if (object != nullptr && object->HasGroup()) object->Delete("CHILD");
}

void SimulatedHost::SetRows(const std::string& name, const std::vector<std::string>& cells) {
  VQJArray row;
  for (const std::string& cell : cells) row.emplace_back(cell);
  mTree.SetValueByName("Rows", VQValue(VQJArray{VQValue(row)}), name, -1, "");
}

void SimulatedHost::Flush(bool all) {
  dorn::UpdateComposer composer(&mTree, all, dorn::SideCommands::kEveryone);
  for (size_t i = 0; i < mLines.size(); ++i) {
    if (!mLines[i].mIsOpen || !mLines[i].mShows) continue;
    const auto text = composer.Compose(SessionName(i));
    if (text != nullptr) Say(mLines[i], *text);
  }
  composer.ResetDirty();
}
