// The host of the tests of the application object. `app` is declared for the host's other files by
// the host itself; no header of the library does so.
#ifndef TESTS_E2E_APPOBJECT_HOST_H_
#define TESTS_E2E_APPOBJECT_HOST_H_

#include "dorn/dorn.h"

// A base in front of the library's: the two addresses of the object differ.
class Plant {
 public:
  virtual ~Plant() = default;
  int mCount = 0;
};

#ifdef SECOND_BASE
class MyApp : public Plant, public VQApplication {
#else
class MyApp : public VQApplication {
#endif
 public:
  using VQApplication::VQApplication;
  int OnInit() override { return 0; }
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) override;
  bool OnAuthCheck(const KZString& sid, VQClientSocket* client) override;
  void OnTimer(timeval time, unsigned int id) override;

  int mAuths = 0;
  int mChecks = 0;
  unsigned int mTimer = 0;
};

class MyMaker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override;
  int mAsked = 0;
};

extern MyMaker maker;
extern MyApp app;

// What another file of the host sees. 0 when it is the one object.
int CheckFromAnotherFile();

#endif  // TESTS_E2E_APPOBJECT_HOST_H_
