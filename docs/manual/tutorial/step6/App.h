// The application: log-in, what a station shows first, and what outlives the host.
#ifndef FILLER_APP_H_
#define FILLER_APP_H_

#include <dorn/dorn.h>

#include "Total.h"

class App : public VQApplication {
 public:
  using VQApplication::VQApplication;

  int OnInit() override;
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) override;
  void OnStart(VQClientSocket* client, KZString& type, int resolutionV, int resolutionH) override;

  Total mTotal;
};

extern App app;

#endif  // FILLER_APP_H_
