// A host that is compiled without type information (-fno-rtti) and gives the library objects of its
// own classes: dialogs, connections, tree objects, a log sink. Nothing may ask for their types.
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>

#include "dorn/dorn.h"

#ifdef __GXX_RTTI
#error "to be compiled without type information"
#endif

namespace {

int gFailures = 0;

void Expect(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  ++gFailures;
}

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString&) override { return nullptr; }
};

class App : public VQApplication {
 public:
  using VQApplication::VQApplication;
  int OnInit() override { return 1; }
  void OnAuth(const KZString&, const KZString&, VQClientSocket*) override {}
};

class Sink : public KZStream {
 public:
  int Output(char*) override { return ++mLines; }
  int mLines = 0;
};

class Label : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
};

class Panel : public VQJsonObjectHasList {
 public:
  using VQJsonObjectHasList::VQJsonObjectHasList;
};

class Buttons : public VQJsonRadioButtonGroup {
 public:
  using VQJsonRadioButtonGroup::VQJsonRadioButtonGroup;
};

class Command : public VQJsonCommand {
 public:
  using VQJsonCommand::VQJsonCommand;
};

class Dialog : public VQDialog {
 public:
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override {
    ++mUpdates;
    VQDialog::OnUpdate(target, source, sid);
  }
  int mUpdates = 0;
};

class Client : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int SendData(const KZString& text) override {
    ++mTexts;
    return VQClientSocket::SendData(text);
  }
  int mTexts = 0;
};

template <class T>
T* Add(VQJsonObjectHasList& group, T* object, const char* name) {
  object->SetValue("Name", name, 0, "");
  group.AddObject(object, 0);
  return object;
}

void FillTree(VQJsonResource& tree) {
  auto* panel = Add(tree, new Panel("Objects", &tree), "panel");
  Add(*panel, new Label(panel), "label");
  auto* buttons = Add(tree, new Buttons(&tree), "buttons");
  for (const char* name : {"b1", "b2"}) {
    auto* button = Add(*buttons, new VQJsonRadioButtonObject(buttons), name);
    button->SetValue("Type", "RADIOBTN", 0, "");
  }
}

void CheckTree(VQJsonResource& tree) {
  tree.SearchName("b1")->SetValue("Attr", "ON", -1, "");
  tree.SearchName("b2")->SetValue("Attr", "ON", -1, "");
  Expect(tree.SearchName("b1")->GetValue("Attr") == "OFF",
         "a radio group of the host switches off");
  const VQJsonResource copy(tree);
  std::ostringstream out;
  tree.OutJson(out);
  Expect(out.str() == tree.GetJson(), "both writers write the same");
  KZString json;
  Expect(VQJsonParser().MakeUpdateCommand(json, &tree, false, "S1"), "there is an update");
}

}  // namespace

Maker maker;
App app(maker);

int main() {
  Sink sink;
  KZLog log;
  log.LogStart(100, &sink);
  log.LogPrintf("%d", 1);
  Expect(sink.mLines > 0, "the host's sink got the line");

  Dialog dialog;
  dialog.mDialogName = "d";
  VQJsonResource& tree = *dialog.GetResourceShare();
  FillTree(tree);
  CheckTree(tree);

  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0) return 1;
  auto* client = new Client(&sink, app.GetFdDataList());
  client->Create(pair[0], 3000);
  client->mDialogName = "d";
  client->mSessionId = "S1";
  client->mAuth = true;
  app.RunPass();

  Command command("CONDITION");
  for (int i = 0; i < 10; ++i) Add(command, new Label(&command), "label")->SetValue("V", i, 0, "");
  dialog.UpdateResourceShare(&command, "S1");
  Expect(dialog.mUpdates == 10, "the host's OnUpdate ran for each object");
  Expect(dialog.SendUpdateShareToAll(true), "the host's connection was found");
  Expect(client->mTexts == 1, "the host's SendData was called");
  client->DoCommand(R"({"Command":"KEEPALIVE"})");
  close(pair[1]);
  return gFailures;
}
