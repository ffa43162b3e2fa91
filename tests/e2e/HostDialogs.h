// The application and the dialogs of the host that the end-to-end tests run.
#ifndef TESTS_E2E_HOSTDIALOGS_H_
#define TESTS_E2E_HOSTDIALOGS_H_

#include "dorn/dorn.h"

// Users log in with the password "p". "short" gets a session of 400 ms, everybody else one of a
// minute; the session of user x is "S-x".
class MyApp : public VQApplication {
 public:
  using VQApplication::VQApplication;
  int OnInit() override;
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) override;
  // Tells all stations.
  void OnTimer(timeval time, unsigned int id) override;
};

class MyMaker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override;
};

extern MyApp app;

// "top": one tree for all stations. Touching "add", "delete" or "clear" changes its objects.
class Panel : public VQDialog {
 public:
  void OnInit() override;
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
  void OnTouch(VQClientSocket* client, VQJsonObject* touched, KZString type) override;
};

// "notes": a tree for each session.
class Notes : public VQDialog {
 public:
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override;
};

// "control": the test tells the host what to do.
class Control : public VQDialog {
 public:
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
};

#endif  // TESTS_E2E_HOSTDIALOGS_H_
