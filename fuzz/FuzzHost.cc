#include "fuzz/FuzzHost.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <set>

#include "dorn/server/OutgoingDrainer.h"
#include "fuzz/FuzzTarget.h"

FuzzMaker maker;
FuzzApp app(maker);

// In place of the C library's. Stations and server have one thread: while the server waits for a
// station, that will not read, and most of a target's time would be such waiting.
extern "C" int poll(pollfd* fds, nfds_t count, int /*timeout*/) {
  const timespec none{};
  return ppoll(fds, count, &none, nullptr);
}

namespace {

// Each hook may do so many things for one input; hooks call hooks.
constexpr int kMaxMischief = 200;
constexpr int kMaxDepth = 4;
// And send so much to fill queues.
constexpr size_t kMaxBytes = size_t{16} * 1024 * 1024;

FuzzInput* gProgram = nullptr;
int gMischief = 0;
int gDepth = 0;
size_t gBytes = 0;

// Also those that a host had forgotten by making another one of that name.
std::set<FuzzDialog*>& LivingDialogs() {
  static std::set<FuzzDialog*> dialogs;
  return dialogs;
}

const char* NameOf(unsigned choice) {
  static const char* const kNames[] = {"top", "grid", "notes", "bare"};
  return kNames[choice % 4];
}

const char* SessionOf(unsigned choice) {
  static const char* const kSessions[] = {"S-u1", "S-u2", "S-u3", "SessionIdShared", ""};
  return kSessions[choice % 5];
}

VQJsonObject* AnyChild(VQJsonResource* tree, unsigned choice) {
  if (tree->mObjectList.empty()) return nullptr;
  return tree->mObjectList[choice % tree->mObjectList.size()];
}

void ChangeTree(FuzzInput& in, VQDialog* dialog) {
  VQJsonResource* tree = dialog->GetResourceUnique(SessionOf(in.Byte()));
  VQJsonObject* child = AnyChild(tree, in.Byte());
  switch (in.Below(6)) {
    case 0:
      if (child != nullptr) child->Delete("THIS");
      return;
    case 1:
      tree->Delete("CHILD");
      return;
    case 2: {
      auto* added = new VQJsonObject(tree);
      added->SetValue("Name", std::string(1, static_cast<char>('a' + in.Below(8))), 1, "");
      tree->AddObject(added, 1);
      return;
    }
    case 3:
      if (child != nullptr) child->SetValue("Value", in.Text(), 1, SessionOf(in.Byte()));
      return;
    case 4:
      tree->SetDirtyDel(in.Text());
      return;
    default:
      dialog->RemoveSession(SessionOf(in.Byte()));
  }
}

void EndSession(FuzzInput& in) {
  const KZString sid = SessionOf(in.Byte());
  VQSession* session = app.SessionList()->Search(sid);
  switch (in.Below(4)) {
    case 0:
      if (session != nullptr) app.SessionList()->Expire(session->mTimerId);
      return;
    case 1:
      app.SessionList()->Remove(sid);
      return;
    case 2:
      app.DialogList()->RemoveBySession(sid);
      return;
    default:
      app.RemoveSocketBySession(sid);
  }
}

// Up to 4 MiB at once, with some of which a station is closed that does not read.
void FillQueues(FuzzInput& in, const KZString& sid) {
  const size_t length = std::min<size_t>(in.Number(3) & 0x3FFFFF, kMaxBytes - gBytes);
  gBytes += length;
  app.SendDataList(sid, "", KZString(std::string(length, 'x')));
}

void Send(FuzzInput& in, VQDialog* dialog, VQClientSocket* client) {
  const KZString sid = SessionOf(in.Byte());
  switch (in.Below(6)) {
    case 0:
      dialog->SendUpdateShare(in.Flag());
      return;
    case 1:
      dialog->SendUpdateShareToAll(in.Flag());
      return;
    case 2:
      dialog->SendUpdateUnique(sid, in.Flag());
      return;
    case 3:
      dialog->SendSnapshot(client);
      return;
    case 4:
      app.SendDataList(sid, NameOf(in.Byte()), in.Text());
      return;
    default:
      FillQueues(in, sid);
  }
}

void SetTimer(FuzzInput& in, VQDialog* dialog) {
  const unsigned interval = in.Byte();
  const unsigned id = in.Below(8);
  switch (in.Below(3)) {
    case 0:
      dialog->SetTimerInterval(static_cast<int>(interval) * 16 + 16, id);
      return;
    case 1:
      dialog->SetSingleTimerInterval(static_cast<int>(interval), id);
      return;
    default:
      app.SetApplicationSingleTimerInterval(interval, id);
  }
}

void MisbehaveIn(VQDialog* dialog, VQClientSocket* client) {
  if (gProgram == nullptr || gProgram->IsEmpty()) return;
  if (gMischief >= kMaxMischief || gDepth >= kMaxDepth) return;
  FuzzServer::MisbehaveNow(*gProgram, dialog, client);
}

void WriteFile(const std::string& path, const std::string& text, time_t time) {
  // Whole or not at all: several targets may run at the same time.
  const std::string part = path + "." + std::to_string(getpid());
  std::ofstream(part, std::ios::binary) << text;
  const timespec times[2] = {{time, 0}, {time, 0}};
  utimensat(AT_FDCWD, part.c_str(), times, 0);
  static_cast<void>(std::rename(part.c_str(), path.c_str()));
}

// Files of every kind that a station may ask for, and one outside that it may not.
void PrepareResources() {
  const std::string folder = ResourceFolder();
  constexpr time_t kTime = 1600000000;  // 2020-09-13 12:26:40
  std::filesystem::create_directories(folder + "/dir");
  WriteFile(folder + "/../outside.txt", "outside", kTime);
  WriteFile(folder + "/dir/inner.txt", "inner", kTime);
  WriteFile(folder + "/note.txt", "a note", kTime);
  WriteFile(folder + "/empty.txt", "", kTime);
  WriteFile(folder + "/old.txt", "no time", 0);
  WriteFile(folder + "/large.bin", std::string(300000, 'L'), kTime + 1);
  static_cast<void>(mkfifo((folder + "/pipe").c_str(), 0600));  // May well be there already.
  const char kTop[] =
      R"({"Command":"DIALOG","Name":"top","Objects":[{"Name":"a","Type":"LABEL","Value":1},)"
      R"({"Name":"b","Type":"GROUP","Layout":"RADIO","Objects":[)"
      R"({"Name":"c","Type":"RADIOBTN","Attr":"ON"},{"Name":"d","Type":"RADIOBTN","Attr":"OFF"}]},)"
      R"({"Name":"e","Value":{"x":[1,"y",true]}}]})";
  WriteFile(folder + "/top.json", kTop, kTime);
  WriteFile(folder + "/grid.json",
            R"({"Commands":[{"Command":"DIALOG","Name":"grid","Objects":[)"
            R"({"Name":"g","Type":"GRID"},{"Name":"a","Value":"v"}]}]})",
            kTime);
  WriteFile(folder + "/notes.json",
            R"({"Command":"DIALOG","Objects":[{"Name":"a","Value":"","NotifyList":"Value"}]})",
            kTime);
}

// Without the two sets in which the loop and the drainer watch others: each is made at its first
// use and kept.
int OpenDescriptors() {
  int count = 0;
  int sets = 0;
  DIR* folder = opendir("/proc/self/fd");
  while (const dirent* entry = readdir(folder)) {
    if (entry->d_name[0] == '.') continue;
    char target[64] = "";
    static_cast<void>(readlinkat(dirfd(folder), entry->d_name, target, sizeof target - 1));
    ++(std::strcmp(target, "anon_inode:[eventpoll]") == 0 ? sets : count);
  }
  closedir(folder);
  FUZZ_CHECK(sets <= 2);
  return count;
}

size_t Connections() {
  size_t count = 0;
  for (KZFdData* record : *app.GetFdDataList()) {
    if (dynamic_cast<VQClientSocket*>(record) != nullptr) ++count;
  }
  return count;
}

void CloseConnections() {
  for (KZFdData* record : *app.GetFdDataList()) {
    auto* client = dynamic_cast<VQClientSocket*>(record);
    if (client != nullptr && client->GetFDStatus() != KZFdData::kStatusRemove) client->Close();
  }
  for (int passes = 0; Connections() > 0; ++passes) {
    FUZZ_CHECK(passes < 100);
    FuzzServer::Pass();
  }
}

}  // namespace

std::string ResourceFolder() { return std::string(app.GetModuleDirectory()) + "/resources"; }

// The host.

FuzzDialog::FuzzDialog() { LivingDialogs().insert(this); }

FuzzDialog::~FuzzDialog() { LivingDialogs().erase(this); }

void FuzzDialog::OnInit() {
  if (mDialogName == "top" || mDialogName == "grid") LoadJsonShare();
}

void FuzzDialog::OnChangeBefore(VQClientSocket* client, VQJsonCommand*) {
  MisbehaveIn(this, client);
}

void FuzzDialog::OnChange(VQClientSocket* client, VQJsonCommand*) {
  MisbehaveIn(this, client);
  if (mDialogName == "notes") LoadJsonUnique(client->GetSessionId());
  SendUpdateShareToAll(false);
  SendSnapshot(client);
}

void FuzzDialog::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  MisbehaveIn(this, client);
  const KZString sid = client->GetSessionId();
  if (mDialogName == "notes") {
    UpdateResourceUnique(command, sid);
    SendUpdateUnique(sid, true);
  } else {
    UpdateResourceShare(command, sid);
    if (gProgram != nullptr && gProgram->Below(8) == 7) command->DeleteChildAll();
    SendUpdateShareToAll(false);
  }
}

void FuzzDialog::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  if (gProgram == nullptr) {
    VQDialog::OnUpdate(target, source, sid);
    return;
  }
  switch (gProgram->Below(16)) {
    case 12:
      target->Delete("THIS");
      return;
    case 13:
      source->Delete("THIS");
      return;
    case 14:
      target->Delete("CHILD");
      return;
    case 15:
      MisbehaveIn(this, nullptr);
      return;
    default:
      VQDialog::OnUpdate(target, source, sid);
  }
}

void FuzzDialog::OnTouch(VQClientSocket* client, VQJsonObject*, KZString) {
  MisbehaveIn(this, client);
}

void FuzzDialog::OnTimer(timeval, unsigned int) { MisbehaveIn(this, nullptr); }

void FuzzDialog::OnFinal() { MisbehaveIn(this, nullptr); }

int FuzzDialog::OnGetfile(VQClientSocket* client, KZString file, KZString date,
                          KZString objectName) {
  MisbehaveIn(this, client);
  return VQDialog::OnGetfile(client, file, date, objectName);
}

VQDialog* FuzzMaker::CreateDialog(const KZString& name) {
  for (unsigned i = 0; i < 4 && mHasDialogs; ++i) {
    if (name != NameOf(i)) continue;
    auto* dialog = new FuzzDialog;
    dialog->Init(name, (name + ".json").c_str());
    return dialog;
  }
  return nullptr;
}

void FuzzApp::OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) {
  mAttempts.push_back(std::string(id) + " " + std::string(pass));
  MisbehaveIn(nullptr, client);
  if ((id != "u1" && id != "u2" && id != "u3") || pass != "p") return;
  const KZString sid("S-" + id);
  static_cast<void>(CreateSession(sid, 60000));  // The user may have logged in before.
  client->Authentication(sid);
}

void FuzzApp::OnTimer(timeval, unsigned int) { MisbehaveIn(nullptr, nullptr); }

// FuzzServer

FuzzServer::FuzzServer() {
  static const bool prepared = [] {
    PrepareResources();
    // Made now, so that each input finds and leaves the same number of descriptors.
    dorn::OutgoingDrainer::Of(app.GetFdDataList());
    Pass();
    return true;
  }();
  static_cast<void>(prepared);
  mDescriptors = OpenDescriptors();
  app.mSocketId = VQApplication::kFirstSocketId;
  app.mSessionTimerId = VQApplication::kFirstSessionTimerId;
  app.mAttempts.clear();
  gMischief = 0;
  gBytes = 0;
}

FuzzServer::~FuzzServer() {
  gProgram = nullptr;
  CloseConnections();
  auto& dialogs = app.DialogList()->mDialogList;
  while (!dialogs.empty()) app.DialogList()->Remove(KZString(dialogs.begin()->first));
  while (!LivingDialogs().empty()) delete *LivingDialogs().begin();
  auto& sessions = app.SessionList()->mSessionList;
  while (!sessions.empty()) app.SessionList()->Remove(KZString(sessions.begin()->first));
  app.ResetTimer();
  maker.mHasDialogs = true;
  Pass();
  FUZZ_CHECK(OpenDescriptors() == mDescriptors);
}

void FuzzServer::Misbehave(FuzzInput* program) { gProgram = program; }

void FuzzServer::MisbehaveNow(FuzzInput& in, VQDialog* dialog, VQClientSocket* client) {
  ++gMischief;
  ++gDepth;
  const unsigned choice = in.Below(16);
  if (dialog == nullptr) dialog = app.DialogList()->Search(NameOf(in.Byte()));
  if (choice == 0 && client != nullptr) {
    client->Close();
  } else if (choice == 1 && dialog != nullptr) {
    app.DialogList()->Remove(KZString(dialog->mDialogName));
  } else if (choice == 2) {
    app.DialogList()->Remove(NameOf(in.Byte()));
  } else if (choice == 3) {
    const KZString name = NameOf(in.Byte());
    if (!app.DialogList()->Has(name)) app.CreateDialog(name);
  } else if (choice == 4) {
    EndSession(in);
  } else if (choice == 5 && dialog != nullptr) {
    ChangeTree(in, dialog);
  } else if (choice == 6 && dialog != nullptr) {
    Send(in, dialog, client);
  } else if (choice == 7 && dialog != nullptr) {
    SetTimer(in, dialog);
  } else if (choice == 8 && client != nullptr) {
    client->Authentication(SessionOf(in.Byte()));
  } else if (choice == 9 && client != nullptr) {
    client->OnGetfile(in.Flag() ? "large.bin" : "top.json", "", "");
  } else if (choice == 10) {
    static_cast<void>(app.CreateSession(SessionOf(in.Byte()), static_cast<int>(in.Number(2))));
  }
  --gDepth;
}

void FuzzServer::Pass() {
  app.WakeUp();
  app.RunPass();
}

// FuzzStation

FuzzStation::FuzzStation(int room) {
  int pair[2];
  FUZZ_CHECK(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) == 0);
  if (room > 0) setsockopt(pair[0], SOL_SOCKET, SO_SNDBUF, &room, sizeof room);
  mFd = pair[1];
  mId = static_cast<int>(app.mSocketId);
  app.mStationSocket.OnAccept(pair[0], nullptr, nullptr);
  FuzzServer::Pass();
}

VQClientSocket* FuzzStation::Client() const {
  for (KZFdData* record : *app.GetFdDataList()) {
    if (record->GetId() != mId || record->GetFDStatus() == KZFdData::kStatusRemove) continue;
    return dynamic_cast<VQClientSocket*>(record);
  }
  return nullptr;
}

void FuzzStation::Send(const std::string& bytes) const {
  // What does not fit is lost, as with a station that gives up.
  static_cast<void>(send(mFd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
}

std::string FuzzStation::Read() const {
  std::string bytes;
  char block[65536];
  for (;;) {
    const ssize_t got = recv(mFd, block, sizeof block, MSG_DONTWAIT);
    if (got <= 0) return bytes;
    bytes.append(block, static_cast<size_t>(got));
  }
}

void FuzzStation::Close() {
  if (mFd >= 0) close(mFd);
  mFd = -1;
}

void FuzzStation::ShutdownWrite() const { shutdown(mFd, SHUT_WR); }
