#include "dorn/server/VQApplication.h"

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

#include "dorn/base/TraceFilter.h"
#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/WireWords.h"
#include "dorn/server/App.h"
#include "dorn/server/ApplicationState.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Connections.h"
#include "dorn/server/Console.h"
#include "dorn/server/Counters.h"
#include "dorn/server/IdRange.h"
#include "dorn/server/MessageBatch.h"
#include "dorn/server/ResourcePath.h"
#include "dorn/server/RunningHooks.h"
#include "dorn/server/StationAddress.h"
#include "dorn/server/VQClientSocket.h"
#include "dorn/server/VQDialog.h"
#include "dorn/server/VQSession.h"

namespace {

// Set before any dynamic initialiser runs, so an application may be constructed at any time.
VQApplication* gApp = nullptr;

constexpr unsigned int kIdsPerSocket = 10;

constexpr dorn::IdRange kSocketIds(VQApplication::kFirstSocketId,
                                   VQApplication::kFirstSessionTimerId, kIdsPerSocket);
constexpr dorn::IdRange kSessionTimerIds(VQApplication::kFirstSessionTimerId,
                                         VQApplication::kTimerIdEnd, 1);

bool IsSessionTimer(unsigned int id) {
  return id >= VQApplication::kFirstSessionTimerId && id < VQApplication::kTimerIdEnd;
}

std::set<unsigned int> LinkedIds(const KZFdDataList& records) {
  std::set<unsigned int> ids;
  for (const KZFdData* record : records) ids.insert(static_cast<unsigned int>(record->GetId()));
  return ids;
}

std::set<unsigned int> TimerIds(const VQSessionList& sessions) {
  std::set<unsigned int> ids;
  for (const auto& [key, session] : sessions.mSessionList) {
    if (session != nullptr) ids.insert(session->mTimerId);
  }
  return ids;
}

}  // namespace

VQApplication& dorn::App() {
  if (gApp == nullptr) {
    std::fputs("dorn: there is no application object; define one before using the library\n",
               stderr);
    std::fflush(stdout);
    std::abort();
  }
  return *gApp;
}

// The station socket only stores the address of mLog, which is constructed after it.
VQApplication::VQApplication(VQDialogMaker& maker)
    : mDialogMaker(maker),
      mStationSocket(&mLog, &mFdList),
      mSocketId(kFirstSocketId),
      mSessionTimerId(kFirstSessionTimerId) {
  dorn::MakeState(*this);
  if (gApp == nullptr) gApp = this;
}

VQApplication::~VQApplication() {
  if (gApp == this) gApp = nullptr;
  dorn::DropState(*this);
}

void VQApplication::ApplicationTimer(timeval time, unsigned int id) {
  if (IsSessionTimer(id)) {
    // "A session expiry timer has fired."
    if (dorn::IsTraced()) std::puts("セッション有効期限タイマー発生");
    const dorn::ExpiryScope expiry;
    SessionList()->Expire(id);
    return;
  }
  dorn::ForgetSurvey();
  VQClientSocket* client = nullptr;
  const int kind = GetSocket(id, &client);
  if (client != nullptr) {
    dorn::Connection::Of(*client).Timers().Expire(kind);
  } else {
    OnTimer(time, id);
  }
}

void VQApplication::DialogTimer(timeval time, unsigned int id, KZString name) {
  dorn::ForgetSurvey();
  VQDialog* dialog = mDialogList.Search(name);
  if (dialog == nullptr) return;
  dorn::RunningHooks running(dialog);
  dialog->OnTimer(time, id);
}

bool VQApplication::OnAuthCheck(const KZString& sid, VQClientSocket* client) {
  if (!mSessionList.Has(sid)) {
    client->Authentication("");
    return false;
  }
  client->Authentication(sid);
  return true;
}

void VQApplication::OnStart(VQClientSocket* client, KZString& type, int resolutionV,
                            int resolutionH) {
  if (dorn::IsTraced()) {
    dorn::PrintLine(
        {"HELLO ", type, ",", std::to_string(resolutionV), ",", std::to_string(resolutionH)});
  }
  VQJsonCommand command(dorn::kCommandOpen);
  command.SetValue(dorn::kKeyFile, "Top.json", -1, "");
  command.SetValue("FileSource", "STATION", -1, "");
  command.SetValue(dorn::kKeySessionId, client->GetSessionId(), -1, "");
  client->SendData(command.GetJson());
}

void VQApplication::OnTimer(timeval, unsigned int) {}

void VQApplication::SetStationAddress(const char* address, int port) {
  dorn::StateOf(*this).stationAddress = {address != nullptr ? address : "", port};
}

int VQApplication::GetStationPort() {
  return IsListening() ? dorn::AddressOf(mStationSocket.GetFD()).port : 0;
}

int VQApplication::Initialize(int argc, char** argv) {
  static_cast<void>(KZApplication::Initialize(argc, argv));  // It cannot fail.
  dorn::StationAddress address = dorn::StateOf(*this).stationAddress;
  if (!dorn::ObeyEnvironment(address) || !dorn::CheckPort(address)) return -1;
  const int result = mStationSocket.Open(address.HostOrNull(), address.port);
  if (result < 0) {
    std::fprintf(stderr, "dorn: no socket can be opened for TCP port %d\n", address.port);
    return result;
  }
  // Opening gives a descriptor also when the port could not be bound. The host decides what to do
  // about it, but nobody shall run a deaf server without knowing.
  if (IsListening()) {
    dorn::PublishStationAddress(mStationSocket.GetFD());
  } else {
    std::fprintf(stderr, "dorn: not listening on TCP port %d; is another process using it?\n",
                 address.port);
  }
  return OnInit();
}

bool VQApplication::IsListening() {
  return mStationSocket.GetFD() >= 0 && mStationSocket.GetFDStatus() == KZFdData::kStatusActive;
}

void VQApplication::SetLogStream(KZStream* stream) {
  KZStream* sink = stream != nullptr ? stream : &mLog;
  mStationSocket.Log().mSrteam = sink;
  mStationSocket.mStream = sink;
}

void VQApplication::SetTrace(dorn::Trace trace) { dorn::SetTraceLevel(trace); }

void VQApplication::SetLoginGuard(bool isOn) {
  auto& guard = dorn::StateOf(*this).loginGuard;
  if (isOn != (guard != nullptr)) guard = isOn ? std::make_unique<dorn::LoginGuard>() : nullptr;
}

bool VQApplication::IsInsideResources(const KZString& name) {
  return dorn::IsInsideResources(name);
}

unsigned int VQApplication::MakeSocketId() {
  if (dorn::IsTraced()) std::printf("VQApplication::MakeSocketId = %x\n", mSocketId);
  const unsigned int id = mSocketId;
  mSocketId += kIdsPerSocket;
  return id;
}

unsigned int VQApplication::MakeSessionTimerId() {
  if (dorn::IsTraced()) {
    std::printf("VQApplication::MakeSessionTimerId = %x\n", mSessionTimerId);
  }
  return mSessionTimerId++;
}

unsigned int VQApplication::NextSocketId() {
  std::set<unsigned int> linked;
  const auto isUsed = [&](unsigned int id) {
    if (linked.empty()) linked = LinkedIds(*GetFdDataList());
    return linked.count(id) != 0 || HasSocketTimer(id);
  };
  kSocketIds.MoveToFree(mSocketId, mSocketIdsWrapped, isUsed);
  return MakeSocketId();
}

bool VQApplication::HasSocketTimer(unsigned int socketId) {
  for (unsigned int id = socketId; id < socketId + kIdsPerSocket; ++id) {
    if (HasTimer(id)) return true;
  }
  return false;
}

unsigned int VQApplication::NextSessionTimerId() {
  std::set<unsigned int> used;
  const auto isUsed = [&](unsigned int id) {
    if (used.empty()) used = TimerIds(mSessionList);
    return used.count(id) != 0 || HasTimer(id);
  };
  kSessionTimerIds.MoveToFree(mSessionTimerId, mSessionTimerIdsWrapped, isUsed);
  return MakeSessionTimerId();
}

// The maker's virtual functions come in both forms; the one without const is asked first, and asks
// the other by itself.
VQDialog* VQApplication::CreateDialog(const char* name) {
  dorn::MessageBatch::BeforeHook();
  VQDialog* dialog = const_cast<VQDialogMaker&>(mDialogMaker).CreateDialog(name);
  mDialogList.Add(name, dialog);
  return dialog;
}

bool VQApplication::CreateSession(const KZString& sid, int interval) {
  if (mSessionList.Has(sid)) return false;
  mSessionList.Add(sid, new VQSession(sid, interval));
  return true;
}

char* VQApplication::GetModuleDirectory() {
  static char path[1024];
  const std::string directory = dorn::ModuleDirectory();
  path[directory.copy(path, sizeof path - 1)] = '\0';
  return path;
}

void VQApplication::SendDataList(const KZString& sid, const KZString& dname, const KZString& text) {
  for (KZFdData* record : *GetFdDataList()) {
    VQClientSocket* client = dorn::AsLivingConnection(record);
    if (client == nullptr) continue;
    if (dorn::IsTraced()) {
      dorn::PrintLine(
          {"SendDataList loop ", dorn::Shown(client->mSessionId), ",", client->mDialogName});
    }
    if (client->CompareSessionId(sid) && client->CompareDialogName(dname)) client->SendData(text);
  }
}

void VQApplication::RemoveSocketBySession(const KZString& sid) {
  VQClientSocket* client = dorn::FindConnectionOf(sid);
  if (client == nullptr) return;
  client->Authentication("");
  client->Close();
  dorn::ForgetSurvey();  // The connection's log may go to the host.
}

int VQApplication::GetSocket(unsigned int id, VQClientSocket** client) {
  *client = nullptr;
  if (id < kFirstSocketId || id >= kFirstSessionTimerId) return 0;
  const unsigned int offset = id - kFirstSocketId;
  const unsigned int base = offset / kIdsPerSocket * kIdsPerSocket + kFirstSocketId;
  for (KZFdData* record : *GetFdDataList()) {
    if (static_cast<unsigned int>(record->GetId()) != base) continue;
    *client = dorn::AsConnection(record);
    if (*client != nullptr) return static_cast<int>(offset % kIdsPerSocket);
  }
  return 0;
}
