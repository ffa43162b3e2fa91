// The host of the targets that need a whole server: an application, a maker and dialogs that behave
// well until a target gives them a program to misbehave by.
#ifndef FUZZ_FUZZHOST_H_
#define FUZZ_FUZZHOST_H_

#include <sys/time.h>

#include <string>
#include <vector>

#include "dorn/dorn.h"
#include "fuzz/FuzzInput.h"
#include "tests/support/FakeClock.h"

// Loads its shared tree when it is made, but "notes" has one for each session, and "bare" has none.
// Sends a snapshot to whoever enters, and to everyone what a station changed.
class FuzzDialog : public VQDialog {
 public:
  FuzzDialog();
  ~FuzzDialog() override;

  void OnInit() override;
  void OnChangeBefore(VQClientSocket* client, VQJsonCommand* command) override;
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override;
  void OnTouch(VQClientSocket* client, VQJsonObject* object, KZString actionType) override;
  void OnTimer(timeval time, unsigned int id) override;
  void OnFinal() override;
  int OnGetfile(VQClientSocket* client, KZString file, KZString date, KZString objectName) override;
};

class FuzzMaker : public VQDialogMaker {
 public:
  // Knows "top", "grid", "notes" and "bare".
  VQDialog* CreateDialog(const KZString& name) override;

  bool mHasDialogs = true;  // False: it knows none at all.
};

// Users "u1" to "u3" have the password "p" and the sessions "S-u1" to "S-u3".
class FuzzApp : public VQApplication {
 public:
  explicit FuzzApp(VQDialogMaker& dialogMaker) : VQApplication(dialogMaker) {}
  int OnInit() override { return 0; }
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) override;
  void OnTimer(timeval time, unsigned int id) override;

  std::vector<std::string> mAttempts;  // "id pass" of every log-in.
};

extern FuzzMaker maker;
extern FuzzApp app;

// What one input runs in: the clock, the resources and, at the end, a server without connections,
// dialogs, sessions, timers and descriptors of that input.
class FuzzServer {
 public:
  FuzzServer();
  ~FuzzServer();
  FuzzServer(const FuzzServer&) = delete;
  FuzzServer& operator=(const FuzzServer&) = delete;

  // From now on each hook may do, before its work, one thing that these bytes choose.
  void Misbehave(FuzzInput* program);
  // The same, here and now, at the expense of one connection or none.
  static void MisbehaveNow(FuzzInput& program, VQDialog* dialog, VQClientSocket* client);

  // One pass of the loop that does not wait.
  static void Pass();

  FakeClock mClock;

 private:
  int mDescriptors;
};

// The station's end of a connection that the server has just accepted.
class FuzzStation {
 public:
  // `room` above 0 makes the buffers of the socket small.
  explicit FuzzStation(int room = 0);
  ~FuzzStation() { Close(); }
  FuzzStation(const FuzzStation&) = delete;
  FuzzStation& operator=(const FuzzStation&) = delete;

  // The server's record; null when it is closed or gone.
  VQClientSocket* Client() const;
  void Send(const std::string& bytes) const;
  // All that has arrived.
  std::string Read() const;
  void Close();
  void ShutdownWrite() const;

 private:
  int mFd = -1;
  int mId = 0;
};

// The folder `resources` beside the executable.
std::string ResourceFolder();

#endif  // FUZZ_FUZZHOST_H_
