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

#include <dorn/dorn.h>

#include <cstdio>

static int gCalls = 0;

class Panel : public VQDialog {
 public:
  virtual int LastResource() { return ++gCalls; }
  virtual int Statistics() { return ++gCalls; }
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
  library.Stop();
  library.Run();
  if (gCalls != 0) {
    std::puts("own names host: the library called the host's own functions");
    return 1;
  }
  const bool isMine = MakeSessionId() == 4 && EscapeText("") == 5 && UnescapeText("") == 6 &&
                      CanonicalDialogName("") == 7 && CheckResource("") == 8 && LastResource() == 9;
  const bool isTheirs = dorn::MakeSessionId().size() == 32 && dorn::EscapeText("\"") == "\\\"" &&
                        !dorn::CheckResource("none.json").isUsable &&
                        library.Statistics().stations == 0 && kNone == 2;
  app.Stop();
  return isMine && isTheirs && gCalls == 1 ? 0 : 1;
}
