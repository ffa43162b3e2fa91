#include "dorn/server/VQDialog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <utility>

#include "dorn/base/Clock.h"
#include "dorn/base/TraceFilter.h"
#include "dorn/base/VirtualTable.h"
#include "dorn/model/NameIndex.h"
#include "dorn/model/UpdateComposer.h"
#include "dorn/model/UpdateText.h"
#include "dorn/model/VQJsonParser.h"
#include "dorn/model/WireWords.h"
#include "dorn/server/App.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Connections.h"
#include "dorn/server/Console.h"
#include "dorn/server/DialogIndex.h"
#include "dorn/server/PutfileReply.h"
#include "dorn/server/ResourceFile.h"
#include "dorn/server/ResourcePath.h"
#include "dorn/server/RunningHooks.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQClientSocket.h"

namespace {

// Whether a dialog's OnUpdate() is the library's, which sets attributes and runs nothing of a host.
bool HasOwnOnUpdate(const VQDialog& dialog) {
  constexpr std::size_t kSlotOfOnUpdate = 6;  // Behind the two of the destructor and four hooks.
  static const void* const own = [] {
    const VQDialog plain;
    return dorn::OperationOf(plain, kSlotOfOnUpdate);
  }();
  return dorn::OperationOf(dialog, kSlotOfOnUpdate) == own;
}

// Sends a text. False if host code may have run meanwhile, which may have changed any tree: an
// override of the connection's class, or the sink of its log, to which a connection that cannot
// take the text speaks when it is closed.
bool SendsAlone(VQClientSocket* client, const KZString& text) {
  constexpr int kFrameBytes = 2;
  const bool isPlain = dorn::IsPlainConnection(*client);
  const int sent = client->SendData(text);
  return isPlain && sent == static_cast<int>(text.size()) + kFrameBytes &&
         dorn::AsLivingConnection(client) != nullptr;
}

// Never destroyed: dialogs may be used until the process ends.
const KZString& SharedSession() {
  static const auto* const session = new KZString(dorn::kSessionIdShared);
  return *session;
}

bool SendShared(VQDialog* dialog, bool all, dorn::SideCommands sideCommands) {
  dorn::RunningHooks running(dialog);
  VQJsonResource* tree = dialog->GetResourceShare();
  dorn::UpdateComposer composer(tree, all, sideCommands);
  bool sent = false;
  for (KZFdData* record : *dorn::App().GetFdDataList()) {
    VQClientSocket* client = dorn::AsLivingConnection(record);
    if (client == nullptr || !client->CompareDialogName(dialog->mDialogName)) continue;
    const dorn::UpdateComposer::Text& text = composer.Compose(client->GetSessionId());
    if (text == nullptr) continue;
    if (!SendsAlone(client, *text)) composer.HostCodeRan();
    sent = true;
  }
  composer.ResetDirty();
  return sent;
}

// Kept: a dialog's tree is dated with a two-digit year, unlike files, and a minute back.
const char* TreeDate() {
  static char text[80];
  const std::time_t time = dorn::Now().tv_sec - 60;
  std::tm fields{};
  localtime_r(&time, &fields);
  std::strftime(text, sizeof text, "%y-%m-%d %H:%M:%S", &fields);
  return text;
}

}  // namespace

VQDialog::VQDialog() { dorn::DialogIndex::DialogMade(*this); }

VQDialog::~VQDialog() { dorn::DialogIndex::DialogGone(*this); }

void VQDialog::OnInit() {}

void VQDialog::OnChangeBefore(VQClientSocket*, VQJsonCommand*) {}

void VQDialog::OnChange(VQClientSocket*, VQJsonCommand*) {}

void VQDialog::OnCondition(VQClientSocket*, VQJsonCommand*) {}

// By value, as every override takes it: NOLINTNEXTLINE(performance-unnecessary-value-param)
void VQDialog::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  constexpr int kMarkIfChanged = -1;
  constexpr int kDoNotMark = 0;
  const bool isShared = mSessionResourceList.count(SharedSession()) != 0;
  const int index = isShared ? kMarkIfChanged : kDoNotMark;
  for (auto it = source->KeyValueBegin(); it != source->KeyValueEnd(); ++it) {
    if (!dorn::Equals(it->first, dorn::kKeyName))
      target->SetValue(it->first, it->second, index, sid);
  }
}

// By value, as every override takes it: NOLINTNEXTLINE(performance-unnecessary-value-param)
void VQDialog::OnTouch(VQClientSocket*, VQJsonObject*, KZString) {}

void VQDialog::OnTimer(timeval, unsigned int) {}

void VQDialog::OnFinal() {}

// By value, as every override takes it: NOLINTNEXTLINE(performance-unnecessary-value-param)
int VQDialog::OnGetfile(VQClientSocket* client, KZString file, KZString, KZString objectName) {
  const auto tree = mSessionResourceList.find(dorn::kSessionIdShared);
  if (tree == mSessionResourceList.end()) return 0;
  const KZString text = tree->second.GetJson();
  dorn::PutfileReply reply(file);
  reply.SetLength(text.GetLength());
  reply.SetDateAndObject(TreeDate(), objectName);
  client->SendData(reply.GetJson());
  // Whatever could not be sent is not reported.
  static_cast<void>(dorn::Connection::Of(*client).Out().SendBlock(text.data(), text.size()));
  return 1;
}

void VQDialog::Init(const KZString& name, const char* file) {
  mDialogName = name;
  KZString path(file);
  path.Replace("@", "/");
  mFileName.Format("%s/resources/%s", dorn::App().GetModuleDirectory(),
                   static_cast<const char*>(path));
  OnInit();
}

bool VQDialog::IsInsideResources(const KZString& file) {
  KZString path = file;
  path.Replace("@", "/");
  return dorn::IsInsideResources(path);
}

int VQDialog::LoadJsonShare() {
  dorn::App().CreateSession(dorn::kSessionIdShared, 0);
  LoadJson(mFileName, dorn::kSessionIdShared);
  return 1;
}

int VQDialog::LoadJsonUnique(const KZString& sid) {
  if (mSessionResourceList.count(sid) != 0) return 0;
  LoadJson(mFileName, sid);
  return 1;
}

void VQDialog::LoadJson(const KZString& file, const KZString& sid) {
  VQJsonResource* tree = GetResourceUnique(sid);
  dorn::ResourceReport report;
  std::string bytes;
  const dorn::ResourceState state = dorn::ReadResource(file, bytes, report);
  if (state == dorn::ResourceState::kMissing) {
    dorn::PrintLine({file, " is non"});
  } else if (state == dorn::ResourceState::kUnreadable) {
    dorn::PrintLine({file, " is fail"});
  } else {
    const KZString text(std::move(bytes));
    VQJsonParser parser;
    report.isUsable = parser.ParseDialog(tree, text, sid == dorn::kSessionIdShared);
    if (report.isUsable) {
      if (dorn::IsTraced()) dorn::PrintLine({"Load:", file});
    } else {
      dorn::PrintLine({file, " is not dialog"});
      dorn::DiagnoseResource(text, report);
    }
  }
  dorn::RememberResource(std::move(report));
}

VQJsonResource* VQDialog::GetResourceShare() { return GetResourceUnique(SharedSession()); }

// Trees are made where they stay: copies of a tree share its children.
VQJsonResource* VQDialog::GetResourceUnique(const KZString& sid) {
  const auto [tree, isNew] = mSessionResourceList.try_emplace(sid);
  if (isNew) dorn::DialogIndex::TreeAdded(*this, tree->first);
  return &tree->second;
}

void VQDialog::UpdateResourceShare(VQJsonCommand* command, const KZString& sid) {
  UpdateResource(command, GetResourceShare(), sid);
}

void VQDialog::UpdateResourceUnique(VQJsonCommand* command, const KZString& sid) {
  UpdateResource(command, GetResourceUnique(sid), sid);
}

// OnUpdate() may change the command's list as well as the tree, so the walk goes by position, and
// an index holds only as long as no hook of a host has run.
void VQDialog::UpdateResource(VQJsonCommand* command, VQJsonResource* tree, const KZString& sid) {
  dorn::RunningHooks running(this);
  dorn::NameIndex index(tree);
  const bool runsHostCode = !HasOwnOnUpdate(*this);
  // A hook may change the text that `sid` refers to: NOLINTNEXTLINE(performance-*)
  const KZString session = sid;
  for (std::size_t i = 0; i < command->mObjectList.size(); ++i) {
    VQJsonObject* source = command->mObjectList[i];
    if (source == nullptr) continue;
    VQJsonObject* target = index.Find(source->mName);
    if (target != nullptr) {
      OnUpdate(target, source, session);
      if (runsHostCode) index.Forget();
    } else {
      dorn::PrintLine({"?? Not found. Name:", source->mName, " skip!"});
    }
  }
}

bool VQDialog::SendUpdateShare(bool all) {
  return SendShared(this, all, dorn::SideCommands::kFirst);
}

bool VQDialog::SendUpdateShareToAll(bool all) {
  return SendShared(this, all, dorn::SideCommands::kEveryone);
}

bool VQDialog::SendSnapshot(VQClientSocket* client) {
  const auto tree = mSessionResourceList.find(dorn::kSessionIdShared);
  if (client == nullptr || tree == mSessionResourceList.end()) return false;
  constexpr std::size_t kUsualLength = 2000;
  KZString text;
  text.reserve(kUsualLength);
  const int objects = dorn::AppendUpdateCommand(text, tree->second, true, "");
  if (objects == 0 || client->GetFDStatus() == KZFdData::kStatusRemove) return false;
  client->SendData(text);
  return true;
}

bool VQDialog::SendUpdateUnique(const KZString& sid, bool all) {
  dorn::RunningHooks running(this);
  // A hook may change the text that `sid` refers to: NOLINTNEXTLINE(performance-*)
  const KZString session = sid;
  bool sent = false;
  for (KZFdData* record : *dorn::App().GetFdDataList()) {
    VQClientSocket* client = dorn::AsLivingConnection(record);
    if (client == nullptr || !client->CompareDialogName(mDialogName)) continue;
    if (!client->CompareSessionId(session)) continue;
    VQJsonResource* tree = GetResourceUnique(session);
    dorn::UpdateComposer composer(tree, all, dorn::SideCommands::kFirst);
    const dorn::UpdateComposer::Text& text = composer.Compose(session);
    if (text != nullptr && !SendsAlone(client, *text)) composer.HostCodeRan();
    if (text != nullptr) sent = true;
    composer.ResetDirty();
  }
  return sent;
}

int VQDialog::AddSession(const KZString& sid) {
  static_cast<void>(GetResourceUnique(sid));
  return static_cast<int>(mSessionResourceList.size());
}

int VQDialog::RemoveSession(const KZString& sid) {
  auto tree = mSessionResourceList.extract(sid);
  if (!tree.empty()) {
    const KZString session = tree.key();
    dorn::RunningHooks::Retire(this, std::move(tree));
    dorn::DialogIndex::TreeRemoved(*this, session);
  }
  return static_cast<int>(mSessionResourceList.size());
}

void VQDialog::SetTimerInterval(int interval, unsigned int id) {
  dorn::App().SetTimerData(static_cast<unsigned long>(interval), id, mDialogName, 1);
}

void VQDialog::SetSingleTimerInterval(int interval, unsigned int id) {
  dorn::App().SetTimerData(static_cast<unsigned long>(interval), id, mDialogName, 0);
}
