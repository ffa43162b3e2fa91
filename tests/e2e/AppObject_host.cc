// A host that defines `maker` and `app` as every host does and makes the library call through them.
#include "tests/e2e/AppObject_host.h"

#include <cstdio>

MyMaker maker;
MyApp app(maker);

void MyApp::OnAuth(const KZString&, const KZString&, VQClientSocket* client) {
  ++mAuths;
  CreateSession("S1", 1000);
  client->Authentication("S1");
}

bool MyApp::OnAuthCheck(const KZString& sid, VQClientSocket* client) {
  ++mChecks;
  return VQApplication::OnAuthCheck(sid, client);
}

void MyApp::OnTimer(timeval, unsigned int id) { mTimer = id; }

VQDialog* MyMaker::CreateDialog(const KZString&) {
  ++mAsked;
  return nullptr;
}

namespace {

int gFailures = 0;

void Expect(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  ++gFailures;
}

}  // namespace

int main() {
  KZStream stream;
  VQClientSocket client(&stream, app.GetFdDataList());
  Expect(app.mSocketId == 0x800000A, "the connection took its id from app");
  client.DoCommand(R"({"Command":"HELLO","Id":"u","Pass":"p","DialogName":"d"})");
  Expect(app.mAuths == 1, "the log-in reached the host's OnAuth");
  Expect(maker.mAsked == 1, "the dialog was asked of the host's maker");
  Expect(app.SessionList()->Has("S1"), "the session is in app's list");
  Expect(app.mSessionTimerId == 0xD000001, "the session took its timer from app");

  VQClientSocket other(&stream, app.GetFdDataList());
  other.DoCommand(R"({"Command":"ANY","SessionId":"S1"})");
  Expect(app.mChecks == 1, "the session id reached the host's OnAuthCheck");
  Expect(other.mAuth, "the session of app's list was found");

  app.ApplicationTimer(timeval{}, 77);
  Expect(app.mTimer == 77, "the timer reached the host's OnTimer");
  Expect(dynamic_cast<MyApp*>(static_cast<KZApplication*>(&app)) == &app,
         "one type on both sides of the library");
#ifdef SEVERAL_FILES
  Expect(CheckFromAnotherFile() == 0, "the other file sees the same object");
#endif
  return gFailures;
}
