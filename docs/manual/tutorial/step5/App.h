// The application: log-in, and what a station shows first.
#ifndef FILLER_APP_H_
#define FILLER_APP_H_

#include <dorn/dorn.h>

class App : public VQApplication {
 public:
  using VQApplication::VQApplication;

  int OnInit() override;
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) override;
  void OnStart(VQClientSocket* client, KZString& type, int resolutionV, int resolutionH) override;
};

extern App app;

#endif  // FILLER_APP_H_
