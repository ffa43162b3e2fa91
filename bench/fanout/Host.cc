// The dialog server that is measured: a panel whose changes go to every station, and a dialog that
// answers each command. Usage: dorn_bench_host PORT
#include <cstdlib>

#include "dorn/dorn.h"

namespace {

constexpr char kTree[] = R"({"Command":"DIALOG","Name":"Panel","Objects":[)"
                         R"({"Type":"LABEL","Name":"Title","Value":"Pumps"},)"
                         R"({"Type":"LABEL","Name":"Level","Value":"000000"},)"
                         R"({"Type":"BUTTON","Name":"Start","Value":0}]})";

void LoadTree(VQDialog* dialog) {
  VQJsonParser parser;
  parser.ParseDialog(dialog->GetResourceShare(), kTree, true);
}

// Whatever one station changes goes to all others.
class PanelDialog : public VQDialog {
 public:
  void OnInit() override { LoadTree(this); }
  void OnChange(VQClientSocket* client, VQJsonCommand*) override { SendSnapshot(client); }
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override {
    UpdateResourceShare(command, client->GetSessionId());
    SendUpdateShareToAll(false);
  }
};

// The command is applied, and its station alone gets an answer.
class AnswerDialog : public VQDialog {
 public:
  void OnInit() override { LoadTree(this); }
  void OnChange(VQClientSocket* client, VQJsonCommand*) override { SendSnapshot(client); }
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override {
    UpdateResourceShare(command, client->GetSessionId());
    client->SendData(mAnswer);
  }

 private:
  const KZString mAnswer = R"({"Command":"UPDATE","Objects":[{"Name":"Level","Value":"000000"}]})";
};

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    VQDialog* dialog = nullptr;
    if (name == "panel") dialog = new PanelDialog;
    if (name == "answer") dialog = new AnswerDialog;
    if (dialog != nullptr) dialog->Init(name, "none.json");
    return dialog;
  }
};

// Everybody may log in, each name with a session of its own.
class BenchApp : public VQApplication {
 public:
  using VQApplication::VQApplication;
  int OnInit() override { return 0; }
  void OnAuth(const KZString& id, const KZString&, VQClientSocket* client) override {
    static_cast<void>(CreateSession(id, 0));  // It exists when the station comes back.
    client->Authentication(id);
  }
};

}  // namespace

Maker maker;
BenchApp app(maker);

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  app.KZApplication::Initialize(argc, argv);
  if (app.mStationSocket.Open("127.0.0.1", std::atoi(argv[1])) < 0 || !app.IsListening()) return 1;
  app.AppMain();
}
