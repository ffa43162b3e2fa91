#include "ChangesDialog.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "Inputs.h"

namespace {

constexpr std::array<const char*, 6> kStates{"NORMAL", "INFO", "WARN", "ALARM", "BAD", "OFF"};

std::unique_ptr<VQJsonObject> MakeItem(int number, VQJsonObject* group) {
  auto item = std::make_unique<VQJsonObject>(group);
  item->SetValue("Name", "item" + std::to_string(number), 0, "");
  item->SetValue("Type", "EDIT", 0, "");
  item->SetValue("Label", "Item " + std::to_string(number), 0, "");
  item->SetValue("Value", "", 0, "");
  return item;
}

std::unique_ptr<VQJsonObjectHasList> MakeGroup(int number, VQJsonObject* parent) {
  auto group = std::make_unique<VQJsonObjectHasList>("Objects", parent);
  group->SetValue("Name", "group" + std::to_string(number), 0, "");
  group->SetValue("Type", "GROUP", 0, "");
  group->SetValue("Title", "Group " + std::to_string(number), 0, "");
  return group;
}

// The group owns the object from here on.
void Give(VQJsonObject* group, std::unique_ptr<VQJsonObject> object) {
  if (group->AddObject(object.get(), 1)) static_cast<void>(object.release());
}

}  // namespace

void ChangesDialog::OnChange(VQClientSocket* client, VQJsonCommand*) { SendSnapshot(client); }

void ChangesDialog::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  UpdateResourceShare(command, client->GetSessionId());
  SendUpdateShareToAll(false);
}

void ChangesDialog::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  TakeOver(target, *source, sid);
}

void ChangesDialog::OnTouch(VQClientSocket*, VQJsonObject* touched, KZString action) {
  if (!(action == "CLICK")) return;
  const std::map<std::string, std::function<void()>> acts{
      {"add", [this] { Add(); }},
      {"add_group", [this] { AddGroup(); }},
      {"add_empty_group", [this] { AddEmptyGroup(); }},
      {"remove", [this] { Remove(); }},
      {"clear", [this] { Clear(); }},
      {"hide", [this] { Toggle("subject", "Visible"); }},
      {"disable", [this] { Toggle("subject", "Enabled"); }},
      {"lock", [this] { Toggle("subject", "ReadOnly"); }},
      {"hide_group", [this] { Toggle("subject_group", "Visible"); }},
      {"disable_group", [this] { Toggle("subject_group", "Enabled"); }},
      {"next_state", [this] { NextState(); }},
      {"rename", [this] { Rename(); }},
  };
  const auto act = acts.find(touched->mName);
  if (act == acts.end()) return;
  act->second();
  SendUpdateShareToAll(false);
}

void ChangesDialog::Add() { Give(Items(), MakeItem(++mMade, Items())); }

// Complete before it is given away, so that one ADD brings group and child.
void ChangesDialog::AddGroup() {
  auto group = MakeGroup(++mMade, Items());
  Give(group.get(), MakeItem(++mMade, group.get()));
  Give(Items(), std::move(group));
}

void ChangesDialog::AddEmptyGroup() { Give(Items(), MakeGroup(++mMade, Items())); }

// The newest; one deletion is recorded between two updates.
void ChangesDialog::Remove() {
  if (!Items()->mObjectList.empty()) Items()->mObjectList.back()->Delete("THIS");
}

void ChangesDialog::Clear() { Items()->Delete("CHILD"); }

// Without the attribute, objects are visible and enabled, and not read only.
void ChangesDialog::Toggle(const char* name, const char* key) {
  VQJsonObject* subject = GetResourceShare()->SearchName(name);
  const VQValue now = subject->HasKey(key) ? subject->GetValue(key) : VQValue("");
  const bool isOn = now == "" ? KZString(key) != "ReadOnly" : now == "ON";
  subject->SetValue(key, isOn ? "OFF" : "ON", -1, "");
}

void ChangesDialog::NextState() {
  VQJsonObject* subject = GetResourceShare()->SearchName("subject");
  const VQValue now = subject->GetValue("State");
  const auto* place =
      std::find_if(kStates.begin(), kStates.end(), [&](const char* each) { return now == each; });
  const std::size_t next =
      place == kStates.end() ? 1 : (place - kStates.begin() + 1) % kStates.size();
  subject->SetValue("State", kStates[next], -1, "");
}

void ChangesDialog::Rename() {
  VQJsonObject* subject = GetResourceShare()->SearchName("subject");
  const bool isNew = subject->GetValue("Label") == "Subject renamed";
  subject->SetValue("Label", isNew ? "Subject" : "Subject renamed", -1, "");
}

VQJsonObjectHasList* ChangesDialog::Items() {
  return dynamic_cast<VQJsonObjectHasList*>(GetResourceShare()->SearchName("items"));
}
