// A host of two files: what the files share.
#ifndef HOST_MY_APP_H_
#define HOST_MY_APP_H_

#include <dorn/dorn.h>

class MyMaker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override;
};

class MyApp : public VQApplication {
 public:
  using VQApplication::VQApplication;
  int OnInit() override { return 7; }
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) override;
  bool OnAuthCheck(const KZString& sid, VQClientSocket* client) override;
  void OnTimer(timeval time, unsigned int id) override;

  int mAuths = 0;
  int mAuthChecks = 0;
  unsigned int mLastTimer = 0;
};

extern MyApp app;

#endif  // HOST_MY_APP_H_
