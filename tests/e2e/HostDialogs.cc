#include "tests/e2e/HostDialogs.h"

#include <string>

#include "tests/e2e/HostNetwork.h"

int MyApp::OnInit() { return 0; }

void MyApp::OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) {
  if (!(pass == "p")) return;
  const KZString sid("S-" + static_cast<const std::string&>(id));
  CreateSession(sid, id == "short" ? 400 : 60000);  // It may be there from an earlier log-in.
  client->Authentication(sid);
}

void MyApp::OnTimer(timeval, unsigned int id) {
  SendDataList("SessionIdShared", "", KZString("timer " + std::to_string(id)));
}

VQDialog* MyMaker::CreateDialog(const KZString& name) {
  VQDialog* dialog = nullptr;
  if (name == "top") dialog = new Panel;
  if (name == "notes") dialog = new Notes;
  if (name == "control") dialog = new Control;
  if (dialog != nullptr) dialog->Init(name, (name + ".json").c_str());
  return dialog;
}

void Panel::OnInit() { LoadJsonShare(); }

void Panel::OnChange(VQClientSocket* client, VQJsonCommand*) { SendSnapshot(client); }

void Panel::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  UpdateResourceShare(command, client->GetSessionId());
  SendUpdateShareToAll(false);
}

void Panel::OnTouch(VQClientSocket*, VQJsonObject* touched, KZString type) {
  VQJsonResource* tree = GetResourceShare();
  if (type == "ADD") {
    auto* added = new VQJsonObject(tree);
    added->SetValue("Name", touched->GetValue("New"), 0, "");
    tree->AddObject(added, 1);
  } else if (type == "DELETE") {
    if (VQJsonObject* child = tree->SearchName(touched->mName)) child->Delete("THIS");
  }
  SendUpdateShareToAll(false);
}

void Notes::OnChange(VQClientSocket* client, VQJsonCommand*) {
  LoadJsonUnique(client->GetSessionId());
  SendUpdateUnique(client->GetSessionId(), true);
}

void Notes::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  UpdateResourceUnique(command, client->GetSessionId());
  GetResourceUnique(client->GetSessionId())
      ->SetValueByName("Value", VQValue("saved"), "status", 1, "");
  SendUpdateUnique(client->GetSessionId(), false);
}

void Notes::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  target->SetValue("Value", source->GetValue("Value"), -1, sid);
}

void Control::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  static EchoSocket echo(app.GetFdDataList());
  static Uplink uplink(app.GetFdDataList());
  const int port = command->GetValue("Port").GetInt();
  const VQValue& what = command->GetValue("Do");
  if (what == "udp") echo.Open("127.0.0.1", port, 3000);
  if (what == "connect") uplink.Open("127.0.0.1", port, 3000);
  if (what == "threads") RunThreads();
  if (what == "timer") app.SetApplicationSingleTimerInterval(1, 9);
  client->SendData("done");
}
