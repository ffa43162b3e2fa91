// The host that the tests of the server share: a dialog class whose hooks are lambdas, a maker, and
// the one global `app`. Everything that the library asks of the host is recorded in Calls().
#ifndef TESTS_SERVER_TESTHOST_H_
#define TESTS_SERVER_TESTHOST_H_

#include <sys/time.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "dorn/dorn.h"

// What the library called, in order, such as "OnChange top S1". Cleared between tests.
std::vector<std::string>& Calls();

// A dialog that records each hook and then runs what the test put in its place. A hook without a
// replacement does what the library does by default.
class HookedDialog : public VQDialog {
 public:
  using CommandHook = std::function<void(HookedDialog&, VQClientSocket*, VQJsonCommand*)>;
  using ObjectHook =
      std::function<void(HookedDialog&, VQJsonObject* target, VQJsonObject* source, KZString sid)>;
  using TouchHook = std::function<void(HookedDialog&, VQClientSocket*, VQJsonObject*, KZString)>;
  using FileHook = std::function<int(HookedDialog&, VQClientSocket*, KZString, KZString, KZString)>;

  HookedDialog() { ++sAlive; }
  ~HookedDialog() override { --sAlive; }

  void OnInit() override;
  void OnChangeBefore(VQClientSocket* client, VQJsonCommand* command) override;
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override;
  void OnTouch(VQClientSocket* client, VQJsonObject* touched, KZString type) override;
  void OnTimer(timeval time, unsigned int id) override;
  void OnFinal() override;
  int OnGetfile(VQClientSocket* client, KZString file, KZString date, KZString objectName) override;

  std::function<void(HookedDialog&)> init, final;
  CommandHook changeBefore, change, condition;
  ObjectHook update;
  TouchHook touch;
  std::function<void(HookedDialog&, unsigned int)> timer;
  FileHook getfile;

  static int sAlive;  // Dialogs constructed and not yet destroyed.
};

// Makes the dialogs that a test registered; any other name gets null.
class TestMaker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override;

  std::map<std::string, std::function<VQDialog*()>> factories;
};

// One user "u<n>" may log in with the password "p" and gets the session "S-u<n>".
class TestApp : public VQApplication {
 public:
  explicit TestApp(VQDialogMaker& dialogMaker) : VQApplication(dialogMaker) {}

  int OnInit() override { return initResult; }
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) override;
  bool OnAuthCheck(const KZString& sid, VQClientSocket* client) override;
  void OnStart(VQClientSocket* client, KZString& type, int first, int second) override;
  void OnTimer(timeval time, unsigned int id) override;

  int initResult = 0;
  int sessionIntervalMs = 60000;
  std::function<void(const KZString& id, const KZString& pass, VQClientSocket*)> auth;
  std::function<void()> authCheck, start;
  std::function<void(unsigned int)> timer;
};

extern TestMaker maker;
extern TestApp app;

#endif  // TESTS_SERVER_TESTHOST_H_
