#include "tests/server/TestHost.h"

TestMaker maker;
TestApp app(maker);

int HookedDialog::sAlive = 0;

namespace {

std::string Text(const std::string& text) { return text; }

void Record(const std::string& call) { Calls().push_back(call); }

}  // namespace

std::vector<std::string>& Calls() {
  static std::vector<std::string> calls;
  return calls;
}

// Each hook is copied before it runs: it may well destroy its dialog.

void HookedDialog::OnInit() {
  Record("OnInit " + Text(mDialogName));
  if (const auto hook = init) hook(*this);
}

void HookedDialog::OnChangeBefore(VQClientSocket* client, VQJsonCommand* command) {
  Record("OnChangeBefore " + Text(mDialogName) + " " + Text(client->GetSessionId()));
  if (const auto hook = changeBefore) hook(*this, client, command);
}

void HookedDialog::OnChange(VQClientSocket* client, VQJsonCommand* command) {
  Record("OnChange " + Text(mDialogName) + " " + Text(client->GetSessionId()));
  if (const auto hook = change) hook(*this, client, command);
}

void HookedDialog::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  Record("OnCondition " + Text(mDialogName) + " " + Text(client->GetSessionId()));
  if (const auto hook = condition) hook(*this, client, command);
}

void HookedDialog::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  Record("OnUpdate " + Text(target->mName) + " " + Text(sid));
  if (const auto hook = update) return hook(*this, target, source, sid);
  VQDialog::OnUpdate(target, source, sid);
}

void HookedDialog::OnTouch(VQClientSocket* client, VQJsonObject* touched, KZString type) {
  Record("OnTouch " + Text(mDialogName) + " " + Text(touched->mName) + " " + Text(type));
  if (const auto hook = touch) hook(*this, client, touched, type);
}

void HookedDialog::OnTimer(timeval, unsigned int id) {
  Record("OnTimer " + Text(mDialogName) + " " + std::to_string(id));
  if (const auto hook = timer) hook(*this, id);
}

void HookedDialog::OnFinal() {
  Record("OnFinal " + Text(mDialogName));
  if (const auto hook = final) hook(*this);
}

int HookedDialog::OnGetfile(VQClientSocket* client, KZString file, KZString date,
                            KZString objectName) {
  Record("OnGetfile " + Text(mDialogName) + " " + Text(file) + " [" + Text(date) + "] [" +
         Text(objectName) + "]");
  if (const auto hook = getfile) return hook(*this, client, file, date, objectName);
  return VQDialog::OnGetfile(client, file, date, objectName);
}

VQDialog* TestMaker::CreateDialog(const KZString& name) {
  Record("CreateDialog " + Text(name));
  const auto factory = factories.find(Text(name));
  return factory == factories.end() ? nullptr : factory->second();
}

void TestApp::OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) {
  Record("OnAuth " + Text(id) + " " + Text(pass));
  if (const auto hook = auth) return hook(id, pass, client);
  if (Text(id).substr(0, 1) != "u" || Text(pass) != "p") return;
  const KZString sid(std::string("S-" + Text(id)));
  static_cast<void>(CreateSession(sid, sessionIntervalMs));  // May well exist from before.
  client->Authentication(sid);
}

bool TestApp::OnAuthCheck(const KZString& sid, VQClientSocket* client) {
  Record("OnAuthCheck " + Text(sid));
  if (const auto hook = authCheck) hook();
  return VQApplication::OnAuthCheck(sid, client);
}

void TestApp::OnStart(VQClientSocket* client, KZString& type, int first, int second) {
  Record("OnStart " + Text(type) + " " + std::to_string(first) + " " + std::to_string(second));
  if (const auto hook = start) hook();
  VQApplication::OnStart(client, type, first, second);
}

void TestApp::OnTimer(timeval, unsigned int id) {
  Record("OnTimer app " + std::to_string(id));
  if (const auto hook = timer) hook(id);
}
