#include "ManyDialog.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "Inputs.h"

namespace {

constexpr unsigned int kTickTimer = 101;
constexpr int kTicksPerSecond = 20;
constexpr int kMostPerSecond = 2000;
constexpr int kGroups = 25;
constexpr int kNumbersInGroup = 40;

}  // namespace

void ManyDialog::OnInit() {
  LoadJsonShare();
  for (int group = 1; group <= kGroups; ++group) AddGroup(group);
  SetTimerInterval(1000 / kTicksPerSecond, kTickTimer);
}

void ManyDialog::AddGroup(int number) {
  VQJsonResource* root = GetResourceShare();
  auto group = std::make_unique<VQJsonObjectHasList>("Objects", root);
  group->SetValue("Name", "group" + std::to_string(number), 0, "");
  group->SetValue("Type", "GROUP", 0, "");
  group->SetValue("Title", "Group " + std::to_string(number), 0, "");
  for (int i = 0; i < kNumbersInGroup; ++i) {
    auto label = std::make_unique<VQJsonObject>(group.get());
    label->SetValue("Name", "n" + std::to_string(mNumbers.size() + 1), 0, "");
    label->SetValue("Type", "LABEL", 0, "");
    label->SetValue("Value", 0, 0, "");
    mNumbers.push_back(label.get());
    group->AddObject(label.release(), 0);
  }
  root->AddObject(group.release(), 0);
}

void ManyDialog::OnChange(VQClientSocket* client, VQJsonCommand*) { SendSnapshot(client); }

void ManyDialog::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  UpdateResourceShare(command, client->GetSessionId());
  SendUpdateShareToAll(false);
}

void ManyDialog::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  TakeOver(target, *source, sid);
}

// One after another in turn, so that each changes equally often.
void ManyDialog::OnTimer(timeval, unsigned int id) {
  if (id != kTickTimer) return;
  const int perSecond = std::atoi(GetResourceShare()->SearchName("rate")->GetValue("Value"));
  ++mTicks;
  for (int i = 0; i < std::min(perSecond, kMostPerSecond) / kTicksPerSecond; ++i) {
    mNumbers[mNext]->SetValue("Value", mTicks, -1, "");
    mNext = (mNext + 1) % mNumbers.size();
  }
  SendUpdateShareToAll(false);
}
