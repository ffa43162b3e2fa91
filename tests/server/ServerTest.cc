#include "tests/server/ServerTest.h"

#include <dirent.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "dorn/server/SessionIndex.h"
#include "tests/support/Deadline.h"

namespace {

VQClientSocket* AsConnection(KZFdData* record) {
  auto* client = dynamic_cast<VQClientSocket*>(record);
  return client != nullptr && client->GetFDStatus() != 4 ? client : nullptr;
}

void CloseAllConnections() {
  for (KZFdData* record : *app.GetFdDataList()) {
    if (VQClientSocket* client = AsConnection(record)) client->Close();
  }
}

}  // namespace

// Station

std::string Station::Take(size_t length) {
  std::string taken = Bytes().substr(0, length);
  mBytes.erase(0, taken.size());
  return taken;
}

std::vector<std::string> Station::Messages() {
  std::vector<std::string> messages;
  while (!Bytes().empty() && mBytes[0] == '\x02') {
    const size_t end = mBytes.find('\x03');
    if (end == std::string::npos) break;
    messages.push_back(mBytes.substr(1, end - 1));
    mBytes.erase(0, end + 1);
  }
  return messages;
}

// ServerTest

void ServerTest::SetUp() {
  app.mSocketId = 0x8000000;
  app.mSessionTimerId = 0xD000000;
  // The ids are those of the test before, and so might be what is remembered about them.
  dorn::SessionIndex::Forget(*app.SessionList());
  std::filesystem::create_directories(FolderPath());
  Calls().clear();
}

void ServerTest::TearDown() {
  CloseAllConnections();
  EXPECT_TRUE(RunUntil([] { return Connections() == 0; }));
  while (!app.DialogList()->mDialogList.empty()) {
    app.DialogList()->Remove(KZString(app.DialogList()->mDialogList.begin()->first));
  }
  while (!app.SessionList()->mSessionList.empty()) {
    app.SessionList()->Remove(KZString(app.SessionList()->mSessionList.begin()->first));
  }
  app.ResetTimer();
  app.auth = nullptr;
  app.timer = nullptr;
  app.sessionIntervalMs = 60000;
  maker.factories.clear();
  std::filesystem::remove_all(FolderPath());
}

Link ServerTest::Adopt(int serverFd, int stationFd) {
  Link link;
  link.station = Station(stationFd);
  link.id = static_cast<int>(app.mSocketId);
  app.mStationSocket.OnAccept(serverFd, nullptr, nullptr);
  Pass();
  return link;
}

Link ServerTest::Connect() {
  int pair[2];
  EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
  return Adopt(pair[0], pair[1]);
}

Link ServerTest::ConnectTcp(int receiveBuffer) {
  TcpAcceptor acceptor;
  TcpPeer station;
  EXPECT_TRUE(station.Connect(acceptor.Port(), receiveBuffer));
  TcpPeer server = acceptor.Accept();
  return Adopt(dup(server.Fd()), dup(station.Fd()));
}

void ServerTest::Reopen(Link& link) {
  VQClientSocket* client = Find(link);
  client->Close();
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair));
  client->Create(pair[0], 3000);
  link.station = Station(pair[1]);
  Pass();
}

Link ServerTest::LoggedIn(const std::string& sid, const std::string& dialog) {
  Link link = Connect();
  const KZString name(sid);
  if (!app.SessionList()->Has(name)) {
    EXPECT_TRUE(app.CreateSession(name, 0));
  }
  Find(link)->Authentication(name);
  Find(link)->mDialogName = KZString(dialog);
  return link;
}

VQClientSocket* ServerTest::Find(int id) {
  for (KZFdData* record : *app.GetFdDataList()) {
    if (record->GetId() != id) continue;
    if (VQClientSocket* client = AsConnection(record)) return client;
  }
  return nullptr;
}

size_t ServerTest::Connections() {
  size_t count = 0;
  for (KZFdData* record : *app.GetFdDataList()) {
    if (dynamic_cast<VQClientSocket*>(record) != nullptr) ++count;
  }
  return count;
}

void ServerTest::Pass(int passes) {
  for (int i = 0; i < passes; ++i) {
    app.WakeUp();
    app.RunPass();
  }
}

bool ServerTest::RunUntil(const std::function<bool()>& done) {
  const Deadline deadline;
  while (!done()) {
    if (deadline.IsOver()) return false;
    Pass();
  }
  return true;
}

void ServerTest::Feed(Link& link, const std::string& bytes) {
  size_t sent = 0;
  const auto sendSome = [&] {
    const long went = link.station.SendSome(bytes.substr(sent));
    if (went > 0) sent += static_cast<size_t>(went);
    return sent == bytes.size();
  };
  EXPECT_TRUE(RunUntil(sendSome));
  Pass(static_cast<int>(std::min<size_t>(bytes.size(), 250000) / 1500) + 2);
}

void ServerTest::Wait(long long ms) {
  mClock.AdvanceMs(ms);
  Pass();
}

std::vector<long long> ServerTest::DueIn(unsigned int id) {
  std::vector<long long> due;
  for (const KZTimerData& timer : app.mTimerList) {
    if (timer.mId != id) continue;
    due.push_back(static_cast<long long>(timer.mTime) - static_cast<long long>(mClock.NowMs()));
  }
  return due;
}

void ServerTest::Offer(const std::string& name, const std::string& file,
                       std::function<void(HookedDialog&)> arrange) {
  maker.factories[name] = [name, file, arrange = std::move(arrange)]() -> VQDialog* {
    auto* dialog = new HookedDialog;
    if (arrange) arrange(*dialog);
    dialog->Init(KZString(name), file.c_str());
    return dialog;
  };
}

HookedDialog* ServerTest::Dialog(const std::string& name) {
  return dynamic_cast<HookedDialog*>(app.DialogList()->Search(KZString(name)));
}

HookedDialog* ServerTest::Shared(const std::string& name, const std::string& text) {
  Offer(name, WriteResource(name + ".json", text));
  auto* dialog = dynamic_cast<HookedDialog*>(app.CreateDialog(name.c_str()));
  dialog->LoadJsonShare();
  Calls().clear();
  return dialog;
}

std::string ServerTest::Folder() { return "test-" + std::to_string(getpid()); }

std::string ServerTest::FolderPath() {
  return std::string(app.GetModuleDirectory()) + "/resources/" + Folder();
}

std::string ServerTest::WriteResource(const std::string& file, const std::string& text) {
  std::ofstream(FolderPath() + "/" + file, std::ios::binary) << text;
  return Folder() + "/" + file;
}

// Without the two sets in which the loop and the drainer watch others: each is made at its first
// use and kept.
int ServerTest::OpenDescriptors() {
  int count = -1;  // The folder's own descriptor.
  int sets = 0;
  DIR* folder = opendir("/proc/self/fd");
  while (const dirent* entry = readdir(folder)) {
    if (entry->d_name[0] == '.') continue;
    char target[64] = "";
    static_cast<void>(readlinkat(dirfd(folder), entry->d_name, target, sizeof target - 1));
    ++(std::strcmp(target, "anon_inode:[eventpoll]") == 0 ? sets : count);
  }
  closedir(folder);
  EXPECT_LE(sets, 2);
  return count;
}
