// What a connection does with the commands of its station.
#include <cstddef>
#include <string>
#include <typeinfo>
#include <utility>

#include "dorn/json/MemberSearch.h"
#include "dorn/model/MemberText.h"
#include "dorn/model/TreeWalk.h"
#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonParser.h"
#include "dorn/model/WireWords.h"
#include "dorn/server/App.h"
#include "dorn/server/Connections.h"
#include "dorn/server/Console.h"
#include "dorn/server/MessageBatch.h"
#include "dorn/server/RunningHooks.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQClientSocket.h"
#include "dorn/server/VQDialog.h"
#include "dorn/server/VQSession.h"

namespace {

constexpr char kKeyDialogName[] = "DialogName";
constexpr char kKeyId[] = "Id";

// The text of a member; empty if there is none. Only a host's class may answer in its own way.
KZString TextOf(VQJsonObject* entry, const char* key) {
  if (!dorn::IsOwnClass(*entry)) return entry->GetValue(key).GetString();
  VQValue* attribute = dorn::FindMember(entry->mList, key);
  return attribute != nullptr ? attribute->GetString() : KZString();
}

// The stored text of the entry's command word.
std::string WordOf(VQJsonObject* entry) {
  if (!dorn::IsOwnClass(*entry)) return entry->GetValue(dorn::kKeyCommand).GetChar();
  const VQValue* attribute = dorn::FindMember(entry->mList, dorn::kKeyCommand);
  return attribute != nullptr ? attribute->GetChar() : "";
}

// The usual entry is settled by the address of its class's description.
VQJsonCommand* AsCommand(VQJsonObject* entry) {
  if (&typeid(*entry) == &typeid(VQJsonCommand)) return static_cast<VQJsonCommand*>(entry);
  return dynamic_cast<VQJsonCommand*>(entry);
}

// A buffer that has grown beyond this is given back.
constexpr std::size_t kMaxKeptText = std::size_t{64} * 1024;

void PrintCommand(const std::string& word, VQJsonObject& entry) {
  if (!dorn::IsOwnClass(entry)) {
    dorn::PrintLine({"Command=", word, " json=", entry.GetJson()});
    return;
  }
  static std::string json;
  json.clear();
  dorn::AppendObject(json, entry);
  dorn::PrintLine({"Command=", word, " json=", json});
  if (json.capacity() > kMaxKeptText) std::string().swap(json);
}

}  // namespace

bool VQClientSocket::CompareSessionId(const KZString& sid) const {
  return dorn::Equals(sid, dorn::kSessionIdShared) || sid == mSessionId;
}

bool VQClientSocket::CompareDialogName(const KZString& name) const {
  return name.empty() || name == mDialogName;
}

void VQClientSocket::Authentication(KZString sid) {
  dorn::App().SetApplicationSingleTimerInterval(0, static_cast<unsigned int>(GetId()));
  mSessionId = std::move(sid);
  mAuth = mSessionId.GetLength() > 0;
}

// Hooks may change the list of commands, so the walk goes by position.
int VQClientSocket::DoCommand(const KZString& text) {
  VQJsonCommands commands;
  VQJsonParser parser;
  parser.ParseCommand(&commands, text);
  for (std::size_t i = 0; i < commands.mObjectList.size(); ++i) {
    if (commands.mObjectList[i] != nullptr) Execute(commands.mObjectList[i]);
    // Kept: the command that closed the connection is finished. Nothing behind it is executed.
    if (IsRemoved()) break;
  }
  return 1;
}

// HELLO, CHANGE and CONDITION are words of real commands only: another entry of the list cannot
// have such a "Command", since that would have made it a command.
void VQClientSocket::Execute(VQJsonObject* entry) {
  // A copy: the hook that checks the session may change the entry.
  const std::string word = WordOf(entry);
  if (!dorn::Equals(word, dorn::kCommandKeepalive)) PrintCommand(word, *entry);
  CheckSessionId(entry);
  auto* command = AsCommand(entry);
  const bool isGreeting =
      dorn::Equals(word, dorn::kCommandHello) || dorn::Equals(word, dorn::kCommandChange);
  if (isGreeting && command != nullptr) {
    Greet(command);
  } else if (mAuth) {
    ExecuteAuthenticated(entry);
  }
}

// "SessionIdShared" is refused before the host is asked: that session exists as soon as a shared
// tree is loaded and never expires, so its well-known id would log anybody in.
void VQClientSocket::CheckSessionId(VQJsonObject* entry) {
  if (mAuth || !entry->HasKey(dorn::kKeySessionId)) return;
  const KZString sid = TextOf(entry, dorn::kKeySessionId);
  dorn::MessageBatch::BeforeHook();
  if (dorn::Equals(sid, dorn::kSessionIdShared)) {
    Authentication("");
  } else if (dorn::App().OnAuthCheck(sid, this)) {
    return;
  }
  // "The session is invalid."
  SendError("InvalidSessionId", "無効なセッションです。");
  // Kept: the command goes on after this, so a HELLO may still log in on the closed connection.
  Close();
}

void VQClientSocket::Greet(VQJsonCommand* command) {
  if (!mAuth && command->HasKey(kKeyId)) {
    dorn::MessageBatch::BeforeHook();
    dorn::App().OnAuth(TextOf(command, kKeyId), TextOf(command, "Pass"), this);
  }
  if (!mAuth) {
    mSessionId.Clear();
    // "Authentication failed"
    SendError("Authentication", "認証失敗");
  } else if (command->HasKey(kKeyDialogName)) {
    SwitchDialog(command);
  } else {
    Start(command);
  }
}

void VQClientSocket::SwitchDialog(VQJsonCommand* command) {
  VQApplication& app = dorn::App();
  const KZString name = TextOf(command, kKeyDialogName);
  if (VQDialog* previous = app.DialogList()->Search(mDialogName)) {
    dorn::RunningHooks running(previous);
    previous->OnChangeBefore(this, command);
  }
  VQDialog* dialog = app.DialogList()->Search(name);
  if (dialog == nullptr) dialog = app.CreateDialog(name);
  if (dialog == nullptr) {
    // "Unknown dialog name."
    dorn::PrintLine({"認識されていないダイアログ名です。(", name, ")"});
    return;
  }
  mDialogName = name;
  dorn::RunningHooks running(dialog);
  dialog->OnChange(this, command);
}

void VQClientSocket::Start(VQJsonCommand* command) {
  KZString type = TextOf(command, dorn::kKeyType);
  const int resolutionH = command->GetValue("ResolutionH").GetInt();
  const int resolutionV = command->GetValue("ResolutionV").GetInt();
  dorn::MessageBatch::BeforeHook();
  dorn::App().OnStart(this, type, resolutionV, resolutionH);
}

// The session may be gone: it expired while this connection was not the first of its two, or the
// host removed it.
void VQClientSocket::ExecuteAuthenticated(VQJsonObject* entry) {
  VQApplication& app = dorn::App();
  if (VQSession* session = app.SessionList()->Search(mSessionId)) session->Extend();
  const std::string word = WordOf(entry);
  auto* command = AsCommand(entry);
  if (dorn::Equals(word, dorn::kCommandKeepalive)) {
    const unsigned int answerTimer = static_cast<unsigned int>(GetId()) + dorn::kAnswerTimer;
    app.SetApplicationSingleTimerInterval(0, answerTimer);
  } else if (dorn::Equals(word, dorn::kCommandGetfile)) {
    OnGetfile(TextOf(entry, dorn::kKeyFile), TextOf(entry, dorn::kKeyDate),
              TextOf(entry, dorn::kKeyObjectName));
  } else if (dorn::Equals(word, dorn::kCommandCondition) && command != nullptr) {
    Condition(command);
  }
}

void VQClientSocket::Condition(VQJsonCommand* command) {
  VQDialogList* dialogs = dorn::App().DialogList();
  const KZString dialogName = mDialogName;
  VQDialog* dialog = dialogs->Search(dialogName);
  if (dialog == nullptr) {
    // "The dialog was not found."
    dorn::PrintLine({"ダイアログが見つかりませんでした。[", dialogName, "]"});
    return;
  }
  {
    dorn::RunningHooks running(dialog);
    dialog->OnCondition(this, command);
  }
  const KZString actionName = TextOf(command, "ActionName");
  const KZString actionType = TextOf(command, "ActionType");
  VQJsonObject* object = command->SearchName(actionName);
  // The hook may have removed the dialog.
  dialog = dialogs->Search(dialogName);
  if (object == nullptr || dialog == nullptr) return;
  dorn::RunningHooks running(dialog);
  dialog->OnTouch(this, object, actionType);
}

void VQClientSocket::SendError(const char* status, const char* message) {
  VQJsonCommand error(dorn::kCommandError);
  error.SetValue(dorn::kKeyStatus, status, -1, "");
  error.SetValue("Message", message, -1, "");
  SendData(error.GetJson());
}
