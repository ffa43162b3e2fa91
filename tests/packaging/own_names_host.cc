// A host that has a use of its own for every name that the library took after the first 1.8.7: as
// global functions, types and enumerators, and as virtual functions and members of its classes. It
// must compile, and the library must call none of them.
enum { kAll, kNoSecrets, kNone };
enum Trace { kTraceOn };
struct Observer {
  int mine = 1;
};
struct Statistics {
  int mine = 2;
};
struct ResourceReport {
  int mine = 3;
};
int MakeSessionId() { return 4; }
int EscapeText(const char*) { return 5; }
int UnescapeText(const char*) { return 6; }
int CanonicalDialogName(const char*) { return 7; }
int CheckResource(const char*) { return 8; }
int LastResource() { return 9; }
int SetObserver(Observer*) { return 10; }
int PeerAddress(int) { return 11; }
int SetTrustedProxies(const char*) { return 12; }
int Text(int) { return 13; }
struct Connection {
  int mine = 14;
};
struct Family {
  int mine = 15;
};

#include <dorn/dorn.h>

#include <cstdio>

static int gCalls = 0;

class Panel : public VQDialog {
 public:
  virtual int LastResource() { return ++gCalls; }
  virtual int Statistics() { return ++gCalls; }
  virtual int PeerAddress() { return ++gCalls; }
  virtual int CanonicalDialogName() { return ++gCalls; }
  virtual int EscapeText() { return ++gCalls; }
  virtual int UnescapeText() { return ++gCalls; }
};

// A station of the host's own, and a tree.
class Station : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  virtual int PeerAddress() { return ++gCalls; }
  virtual int Text() { return ++gCalls; }
  virtual int FreeBuffer() { return ++gCalls; }
  virtual int MakeSessionId() { return ++gCalls; }
  int mConnection = 0;
  int mState = 0;
};

class Tree : public VQJsonResource {
 public:
  virtual int ReleaseChildren() { return ++gCalls; }
  virtual int ShareChildren() { return ++gCalls; }
  int mFamily = 0;
  int mPlace = 0;
};

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString&) override { return nullptr; }
  virtual int CheckResource() { return ++gCalls; }
};

class App : public VQApplication {
 public:
  using VQApplication::VQApplication;
  int OnInit() override { return 1; }
  void OnAuth(const KZString&, const KZString&, VQClientSocket*) override {}

  virtual void Run(int) { ++gCalls; }
  virtual void Stop() { ++gCalls; }
  virtual int SetTrace(int level) { return gCalls += level; }
  virtual struct Statistics Statistics() const {
    ++gCalls;
    return {};
  }
  virtual bool ServeStatistics(const char*) { return ++gCalls > 0; }
  virtual void SetStationAddress(const char*, int) { ++gCalls; }
  virtual int GetStationPort() { return ++gCalls; }
  virtual void SetLoginGuard(bool) { ++gCalls; }
  virtual void SetObserver(Observer*) { ++gCalls; }
  virtual void SetTrustedProxies(const char*) { ++gCalls; }
  virtual void OnStationGone(VQClientSocket*, const KZString&) { ++gCalls; }
  virtual void OnSessionStart(const KZString&, int) { ++gCalls; }
  virtual void OnSessionExtend(const KZString&) { ++gCalls; }
  virtual void OnSessionEnd(const KZString&) { ++gCalls; }
  virtual int PeerAddress(VQClientSocket*) { return ++gCalls; }
  virtual int MakeSessionId() { return ++gCalls; }
  virtual int LastResource() { return ++gCalls; }
  virtual int CheckResource(const KZString&) { return ++gCalls; }
  virtual int CanonicalDialogName(const KZString&) { return ++gCalls; }
  virtual int EscapeText(const KZString&) { return ++gCalls; }
  virtual int UnescapeText(const KZString&) { return ++gCalls; }
  virtual void FirePassTimers() { ++gCalls; }
  virtual void FireTimers() { ++gCalls; }
  virtual void CloseDown() { ++gCalls; }
  virtual void DrainQueues() { ++gCalls; }
};

Maker maker;
App app(maker);

int main() {
  VQApplication& library = app;
  library.SetStationAddress("127.0.0.1", 0);
  if (library.Initialize(0, nullptr) != 1 || library.GetStationPort() <= 0) return 1;
  library.SetTrace(dorn::Trace::kNoSecrets);
  library.SetLoginGuard(true);
  dorn::SetTrustedProxies({"10.0.0.6"});
  dorn::SetObserver(nullptr);
  {
    Station station(nullptr, app.GetFdDataList());
    Tree tree;
    tree.AddObject(new VQJsonObject(&tree), 0);
    tree.DeleteChildAll();
    if (!dorn::PeerAddress(station).empty() || !tree.mObjectList.empty()) return 1;
  }
  library.Stop();
  library.Run();
  if (gCalls != 0) {
    std::puts("own names host: the library called the host's own functions");
    return 1;
  }
  const bool isMine = MakeSessionId() == 4 && EscapeText("") == 5 && UnescapeText("") == 6 &&
                      CanonicalDialogName("") == 7 && CheckResource("") == 8 &&
                      LastResource() == 9 && SetObserver(nullptr) == 10 && PeerAddress(0) == 11 &&
                      SetTrustedProxies("") == 12 && Text(0) == 13 &&
                      Connection().mine + Family().mine == 29;
  const bool isTheirs =
      dorn::MakeSessionId().size() == 32 && dorn::EscapeText("\"") == "\\\"" &&
      dorn::UnescapeText("\\\"") == "\"" && dorn::CanonicalDialogName("a@.@b") == "a@b" &&
      !dorn::CheckResource("none.json").isUsable && !dorn::LastResource().isUsable &&
      library.Statistics().stations == 0 && kNone == 2;
  app.Stop();
  return isMine && isTheirs && gCalls == 1 ? 0 : 1;
}
