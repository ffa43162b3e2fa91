#include "dorn/server/Commands.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "dorn/base/TraceFilter.h"
#include "dorn/json/MemberSearch.h"
#include "dorn/model/MemberText.h"
#include "dorn/model/TreeWalk.h"
#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/WireWords.h"
#include "dorn/server/App.h"
#include "dorn/server/ApplicationState.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Console.h"
#include "dorn/server/Counters.h"
#include "dorn/server/MessageBatch.h"
#include "dorn/server/RunningHooks.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQClientSocket.h"
#include "dorn/server/VQDialog.h"
#include "dorn/server/VQSession.h"

namespace dorn {

namespace {

constexpr char kKeyDialogName[] = "DialogName";
constexpr char kKeyId[] = "Id";

// The text of a member; empty if there is none. Only a host's class may answer in its own way.
KZString TextOf(VQJsonObject* entry, const char* key) {
  if (!IsOwnClass(*entry)) return entry->GetValue(key).GetString();
  VQValue* attribute = FindMember(entry->mList, key);
  return attribute != nullptr ? attribute->GetString() : KZString();
}

// The stored text of the entry's command word, valid until somebody changes the entry.
std::string_view WordOf(VQJsonObject* entry) {
  if (!IsOwnClass(*entry)) return entry->GetValue(kKeyCommand).GetChar();
  const VQValue* attribute = FindMember(entry->mList, kKeyCommand);
  return attribute != nullptr ? attribute->GetChar() : "";
}

// A buffer that has grown beyond this is given back.
constexpr std::size_t kMaxKeptText = std::size_t{64} * 1024;

// Has the attributes of an entry that nobody may read say something else while it lives. That is
// exact, whatever they hold; the text alone would not tell where an unescaped one ends.
class HiddenSecrets {
 public:
  explicit HiddenSecrets(VQJsonObject& entry)
      : mPass(FindMember(entry.mList, "Pass")), mSessionId(FindMember(entry.mList, kKeySessionId)) {
    if (mPass != nullptr) mKeptPass = std::exchange(*mPass, VQValue("***"));
    if (mSessionId == nullptr) return;
    const KZString shown(std::string(Shown(mSessionId->GetChar())));
    mKeptSessionId = std::exchange(*mSessionId, VQValue(shown));
  }
  ~HiddenSecrets() {
    if (mPass != nullptr) *mPass = std::move(mKeptPass);
    if (mSessionId != nullptr) *mSessionId = std::move(mKeptSessionId);
  }

  HiddenSecrets(const HiddenSecrets&) = delete;
  HiddenSecrets& operator=(const HiddenSecrets&) = delete;

 private:
  VQValue* mPass;
  VQValue* mSessionId;
  VQValue mKeptPass;
  VQValue mKeptSessionId;
};

void AppendShown(std::string& json, VQJsonObject& entry) {
  if (ShowsSecrets()) {
    AppendObject(json, entry);
    return;
  }
  const HiddenSecrets hidden(entry);
  std::string whole;
  AppendObject(whole, entry);
  // Objects inside may have such members too.
  std::string storage;
  json.append(ShownText(whole, storage));
}

void PrintCommand(std::string_view word, VQJsonObject& entry) {
  if (!IsTraced()) return;
  if (!IsOwnClass(entry)) {
    std::string storage;
    PrintLine({"Command=", word, " json=", ShownText(entry.GetJson(), storage)});
    return;
  }
  static std::string json;
  json.clear();
  AppendShown(json, entry);
  PrintLine({"Command=", word, " json=", json});
  if (json.capacity() > kMaxKeptText) std::string().swap(json);
}

void SendError(VQClientSocket& client, const char* status, const char* message) {
  VQJsonCommand error(kCommandError);
  error.SetValue(kKeyStatus, status, -1, "");
  error.SetValue("Message", message, -1, "");
  client.SendData(error.GetJson());
}

// "SessionIdShared" is refused before the host is asked: that session exists as soon as a shared
// tree is loaded and never expires, so its well-known id would log anybody in.
void CheckSessionId(VQClientSocket& client, VQJsonObject* entry) {
  if (client.mAuth || !entry->HasKey(kKeySessionId)) return;
  const KZString sid = TextOf(entry, kKeySessionId);
  MessageBatch::BeforeHook();
  if (Equals(sid, kSessionIdShared)) {
    client.Authentication("");
  } else if (App().OnAuthCheck(sid, &client)) {
    return;
  }
  // "The session is invalid."
  SendError(client, "InvalidSessionId", "無効なセッションです。");
  // Kept: the command goes on after this, so a HELLO may still log in on the closed connection.
  const ClosingFor reason(&Statistics::closedBadSession);
  client.Close();
}

void SwitchDialog(VQClientSocket& client, VQJsonCommand* command) {
  VQApplication& app = App();
  const KZString name = TextOf(command, kKeyDialogName);
  if (VQDialog* previous = app.DialogList()->Search(client.mDialogName)) {
    RunningHooks running(previous);
    previous->OnChangeBefore(&client, command);
  }
  VQDialog* dialog = app.DialogList()->Search(name);
  if (dialog == nullptr) dialog = app.CreateDialog(name);
  if (dialog == nullptr) {
    // "Unknown dialog name."
    PrintLine({"認識されていないダイアログ名です。(", name, ")"});
    return;
  }
  client.mDialogName = name;
  RunningHooks running(dialog);
  dialog->OnChange(&client, command);
}

void Start(VQClientSocket& client, VQJsonCommand* command) {
  KZString type = TextOf(command, kKeyType);
  const int resolutionH = command->GetValue("ResolutionH").GetInt();
  const int resolutionV = command->GetValue("ResolutionV").GetInt();
  MessageBatch::BeforeHook();
  App().OnStart(&client, type, resolutionV, resolutionH);
}

// How long the attempt is to wait before anybody looks at it.
unsigned long DelayOf(VQClientSocket& client, const KZString& id) {
  const auto& guard = StateOf(App()).loginGuard;
  return guard != nullptr ? guard->DelayMs(id, static_cast<unsigned int>(client.GetId())) : 0;
}

// Called when the host has answered.
void CountLogIn(const VQClientSocket& client, const KZString& id) {
  const auto& guard = StateOf(App()).loginGuard;
  if (guard == nullptr) return;
  const auto connection = static_cast<unsigned int>(client.GetId());
  if (client.mAuth) {
    guard->CountRight(id, connection);
  } else {
    guard->CountWrong(id, connection);
  }
}

// False when the answer has to wait, or when whoever asked is gone and another station has come to
// the connection in OnAuth().
bool LogIn(VQClientSocket& client, VQJsonCommand* command, Greeting greeting) {
  const KZString id = TextOf(command, kKeyId);
  Connection& connection = Connection::Of(client);
  const unsigned long delayMs = greeting == Greeting::kNew ? DelayOf(client, id) : 0;
  if (delayMs > 0) {
    connection.DelayLogIn(delayMs);
    return false;
  }
  if (greeting != Greeting::kHeld) {
    MessageBatch::BeforeHook();
    const int ends = connection.Ends();
    if (connection.AskHost(id, TextOf(command, "Pass"))) return false;
    if (connection.IsAnothersSince(ends)) return false;
  }
  CountLogIn(client, id);
  return true;
}

void Greet(VQClientSocket& client, VQJsonCommand* command, Greeting greeting) {
  const bool isLogIn = greeting == Greeting::kHeld || !client.mAuth;
  if (isLogIn && command->HasKey(kKeyId) && !LogIn(client, command, greeting)) return;
  if (!client.mAuth) {
    RefuseLogIn(client);
  } else if (command->HasKey(kKeyDialogName)) {
    SwitchDialog(client, command);
  } else {
    Start(client, command);
  }
}

void Condition(VQClientSocket& client, VQJsonCommand* command) {
  VQDialogList* dialogs = App().DialogList();
  const KZString dialogName = client.mDialogName;
  VQDialog* dialog = dialogs->Search(dialogName);
  if (dialog == nullptr) {
    // "The dialog was not found."
    PrintLine({"ダイアログが見つかりませんでした。[", dialogName, "]"});
    return;
  }
  {
    RunningHooks running(dialog);
    dialog->OnCondition(&client, command);
  }
  const KZString actionName = TextOf(command, "ActionName");
  const KZString actionType = TextOf(command, "ActionType");
  VQJsonObject* object = command->SearchName(actionName);
  // The hook may have removed the dialog.
  dialog = dialogs->Search(dialogName);
  if (object == nullptr || dialog == nullptr) return;
  RunningHooks running(dialog);
  dialog->OnTouch(&client, object, actionType);
}

// The session may be gone: it expired while this connection was not the first of its two, or the
// host removed it.
void ExecuteAuthenticated(VQClientSocket& client, VQJsonObject* entry) {
  VQApplication& app = App();
  Connection::Of(client).CountCommand();
  if (VQSession* session = app.SessionList()->Search(client.mSessionId)) session->Extend();
  const std::string_view word = WordOf(entry);
  auto* command = AsCommand(*entry);
  if (Equals(word, kCommandKeepalive)) {
    Connection::Of(client).Timers().Answered();
  } else if (Equals(word, kCommandGetfile)) {
    client.OnGetfile(TextOf(entry, kKeyFile), TextOf(entry, kKeyDate),
                     TextOf(entry, kKeyObjectName));
  } else if (Equals(word, kCommandCondition) && command != nullptr) {
    Condition(client, command);
  }
}

}  // namespace

// HELLO, CHANGE and CONDITION are words of real commands only: another entry of the list cannot
// have such a "Command", since that would have made it a command.
void ExecuteCommand(VQClientSocket& client, VQJsonObject* entry) {
  const std::string_view word = WordOf(entry);
  // Before the session is checked: the hook for that may change the entry.
  const bool isGreeting = Equals(word, kCommandHello) || Equals(word, kCommandChange);
  if (!Equals(word, kCommandKeepalive)) PrintCommand(word, *entry);
  CheckSessionId(client, entry);
  auto* command = AsCommand(*entry);
  if (isGreeting && command != nullptr) {
    Greet(client, command, Greeting::kNew);
  } else if (client.mAuth) {
    ExecuteAuthenticated(client, entry);
  }
}

void ResumeGreeting(VQClientSocket& client, VQJsonObject* entry, Greeting greeting) {
  if (auto* command = AsCommand(*entry)) Greet(client, command, greeting);
}

void RefuseLogIn(VQClientSocket& client) {
  client.mSessionId.Clear();
  // "Authentication failed"
  SendError(client, "Authentication", "認証失敗");
}

}  // namespace dorn
