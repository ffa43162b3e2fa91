#include "my_app.h"

VQDialog* MyMaker::CreateDialog(const KZString& name) {
  if (!(name == "panel")) return nullptr;
  auto* dialog = new VQDialog;
  dialog->Init(name, "panel.json");
  return dialog;
}

void MyApp::OnAuth(const KZString& id, const KZString&, VQClientSocket* client) {
  ++mAuths;
  if (id == "tanaka" && CreateSession("S1", 1000)) client->Authentication("S1");
}

bool MyApp::OnAuthCheck(const KZString& sid, VQClientSocket* client) {
  ++mAuthChecks;
  return VQApplication::OnAuthCheck(sid, client);
}

void MyApp::OnTimer(timeval, unsigned int id) { mLastTimer = id; }
