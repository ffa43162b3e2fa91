// The application: who may log in, what a station sees first, and the host's own timer.
#ifndef PUMPHOUSE_PUMPHOUSEAPP_H_
#define PUMPHOUSE_PUMPHOUSEAPP_H_

#include <dorn/dorn.h>

#include "UserSessions.h"
#include "Users.h"

class PumphouseApp : public VQApplication {
 public:
  using VQApplication::VQApplication;

  int OnInit() override;
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) override;
  bool OnAuthCheck(const KZString& sid, VQClientSocket* client) override;
  void OnStart(VQClientSocket* client, KZString& type, int resolutionV, int resolutionH) override;
  void OnTimer(timeval time, unsigned int id) override;

  // The user that a session belongs to; empty for an unknown session.
  KZString UserOf(const KZString& sessionId) const { return mSessions.UserOf(sessionId); }

 private:
  // Socket events of the library, with the time since the server started, on standard error.
  class SocketLog : public KZStream {
   public:
    int Output(char* text) override;
  };

  SocketLog mSocketLog;
  Users mUsers;
  UserSessions mSessions;
};

extern PumphouseApp app;

#endif  // PUMPHOUSE_PUMPHOUSEAPP_H_
