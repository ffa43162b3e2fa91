// A host as it was built against the headers of the first 1.8.7, which lie in released/ without
// their comments, run with the library of today. Whatever such a host has compiled into it must
// still hold: where members lie, how large objects are, which slot of a table is whose, and what
// inline functions look at. It also has virtual functions and members of its own under names that
// the library took later.
#include <dorn/dorn.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

int gFailures = 0;

void Expect(bool held, const char* what) {
  if (held) return;
  std::fprintf(stderr, "released host: failed: %s\n", what);
  ++gFailures;
}

// Stands behind the members of a library's class, where the compiler of then put it.
struct Sentinel {
  Sentinel() { std::memset(bytes, 0x5A, sizeof bytes); }
  bool IsWhole() const {
    for (const unsigned char byte : bytes) {
      if (byte != 0x5A) return false;
    }
    return true;
  }
  unsigned char bytes[64];
};

}  // namespace

class Panel : public VQDialog {
 public:
  void OnInit() override { ++inits; }
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override {
    UpdateResourceShare(command, client->GetSessionId());
    ++conditions;
  }
  virtual int Statistics() { return 11; }
  virtual int LastResource() { return 12; }

  Sentinel sentinel;
  int inits = 0;
  int conditions = 0;
};

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    if (!(name == "panel")) return nullptr;
    panel = new Panel;
    panel->Init(name, "none.json");
    return panel;
  }
  virtual int CheckResource() { return 13; }

  Sentinel sentinel;
  Panel* panel = nullptr;
};

class App : public VQApplication {
 public:
  using VQApplication::VQApplication;
  int OnInit() override { return 7; }
  void OnAuth(const KZString& id, const KZString&, VQClientSocket* client) override {
    ++auths;
    if (id == "tanaka" && CreateSession("S1", 60000)) client->Authentication("S1");
  }
  void OnTimer(timeval, unsigned int id) override { lastTimer = id; }

  virtual int Run() { return 1; }
  virtual int Stop() { return 2; }
  virtual int SetTrace(int) { return 3; }
  virtual int Statistics() { return 4; }
  virtual int ServeStatistics(int) { return 5; }
  virtual int SetStationAddress() { return 6; }
  virtual int GetStationPort() { return 7; }
  virtual int SetLoginGuard() { return 8; }
  virtual int SetObserver() { return 9; }

  Sentinel sentinel;
  int auths = 0;
  unsigned int lastTimer = 0;
};

class Record : public KZFdData {
 public:
  Record(int fd, KZFdDataList* list) : KZFdData(kTypeEvent, fd, -1, list) {}
  void ReadyToRead() override {
    char byte;
    if (read(GetFD(), &byte, 1) == 1) ++reads;
  }
  virtual int Serve() { return 21; }

  Sentinel sentinel;
  int reads = 0;
};

class Udp : public KZSocketUdp {
 public:
  using KZSocketUdp::KZSocketUdp;
  Sentinel sentinel;
};

class Lamp : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
  Sentinel sentinel;
};

class Connection : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int SendData(const KZString& text) override {
    sent = text;
    return 0;
  }
  virtual int Execute() { return 31; }

  Sentinel sentinel;
  std::string sent;
};

Maker maker;
App app(maker);

namespace {

void TheApplicationIsItsOwn() {
  VQApplication* base = &app;
  Expect(app.Run() == 1 && app.Stop() == 2 && app.SetTrace(0) == 3, "own virtuals are called");
  Expect(app.Statistics() == 4 && app.ServeStatistics(0) == 5, "own virtuals are called");
  Expect(app.SetStationAddress() == 6 && app.GetStationPort() == 7, "own virtuals are called");
  const unsigned int next = base->mSocketId;
  Expect(base->MakeSocketId() == next && base->mSocketId == next + 10, "the socket id is there");
  const unsigned int session = base->mSessionTimerId;
  Expect(base->MakeSessionTimerId() == session, "the session timer id is there");
  base->ApplicationTimer(timeval{}, 4711);
  Expect(app.lastTimer == 4711, "the timer hook is in its slot");
  Expect(&base->mDialogMaker == &maker && base->DialogList() == &base->mDialogList &&
             base->SessionList() == &base->mSessionList,
         "the registries are there");
  base->SetApplicationSingleTimerInterval(1000000, 99);
  bool found = false;
  for (const KZTimerData& timer : base->mTimerList) found = found || timer.mId == 99;
  Expect(found && base->mTimerListLock.TryLock() == 1, "the timers and their lock are there");
  base->mTimerListLock.Unlock();
}

void ALoopServesItsRecords() {
  int ends[2];
  if (pipe2(ends, O_NONBLOCK | O_CLOEXEC) != 0) return Expect(false, "a pipe");
  Record record(ends[0], app.GetFdDataList());
  record.SetType(KZFdData::kTypeListener);  // Inline, as is what it calls.
  record.SetSelect(0);
  Expect(record.AddEvent() == record.GetId(), "a record gets its id");
  app.RunPass();
  Expect(write(ends[1], "x", 1) == 1, "a byte");
  app.RunPass();
  Expect(record.reads == 1, "a record is served");
  record.RemoveEvent();
  app.RunPass();
  Expect(record.sentinel.IsWhole() && record.Serve() == 21, "a record keeps to its size");
  close(ends[0]);
  close(ends[1]);
}

void AConnectionWorks() {
  auto* client = new Connection(nullptr, app.GetFdDataList());
  client->CreateBuffer(1000);
  client->DoCommand("{\"Command\":\"HELLO\",\"Id\":\"tanaka\",\"DialogName\":\"panel\"}");
  Expect(app.auths == 1 && client->mAuth, "the station is logged in");
  Expect(client->mSessionId == "S1" && client->mDialogName == "panel", "its members are there");
  Expect(maker.panel != nullptr && maker.panel->inits == 1, "the dialog is made");

  VQJsonResource* tree = maker.panel->GetResourceShare();
  auto* lamp = new Lamp(tree);
  lamp->SetValue("Name", "lamp", 0, "");
  lamp->SetValue("Value", "OFF", 0, "");
  Expect(tree->AddObject(lamp, 0) && tree->mObjectList.size() == 1, "the tree takes an object");
  client->DoCommand(
      "{\"Command\":\"CONDITION\",\"Objects\":[{\"Name\":\"lamp\",\"Value\":\"ON\"}]}");
  Expect(maker.panel->conditions == 1, "the dialog's hook is in its slot");
  Expect(lamp->GetValue("Value") == "ON" && lamp->IsDirty(), "the tree takes a value");
  Expect(lamp->mName == "lamp" && lamp->mParent == tree && lamp->sentinel.IsWhole(),
         "an object's members are there");
  client->DoCommand("{\"Command\":\"HELLO\",\"Type\":\"T\"}");
  Expect(client->sent.find("\"OPEN\"") != std::string::npos, "SendData() is in its slot");
  Expect(client->sentinel.IsWhole() && client->Execute() == 31, "a connection keeps to its size");
  delete client;
}

void SocketsKeepToTheirSize() {
  Udp udp(1024, nullptr, app.GetFdDataList());
  Expect(udp.sentinel.IsWhole(), "a datagram socket keeps to its size");
}

}  // namespace

int main() {
  TheApplicationIsItsOwn();
  ALoopServesItsRecords();
  AConnectionWorks();
  SocketsKeepToTheirSize();
  Expect(app.sentinel.IsWhole() && maker.sentinel.IsWhole() && maker.panel->sentinel.IsWhole(),
         "the host's objects keep to their size");
  Expect(maker.panel->Statistics() == 11 && maker.CheckResource() == 13, "own virtuals are called");
  if (gFailures == 0) std::puts("released host: everything held");
  return gFailures == 0 ? 0 : 1;
}
