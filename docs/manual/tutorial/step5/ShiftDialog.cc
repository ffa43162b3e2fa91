#include "ShiftDialog.h"

#include "Users.h"

// The tree is loaded once for each session: what was typed is there the next time.
void ShiftDialog::OnChange(VQClientSocket* client, VQJsonCommand*) {
  const KZString& sessionId = client->GetSessionId();
  LoadJsonUnique(sessionId);
  if (const UserSession* session = FindSession(sessionId)) {
    VQJsonResource* tree = GetResourceUnique(sessionId);
    tree->SetValueByName("Value", session->mUser.name, "user", 0, "");
    tree->SetValueByName("Value", session->mTouches, "touches", 0, "");
  }
  SendUpdateUnique(sessionId, true);
}

void ShiftDialog::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  UpdateResourceUnique(command, client->GetSessionId());
  SendUpdateUnique(client->GetSessionId(), false);
}

// What is sent is put together without escaping, so foreign texts are stored escaped.
void ShiftDialog::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  if (!(target->mName == "remark") || !source->HasKey("Value")) return;
  const KZString typed = dorn::UnescapeText(source->GetValue("Value").GetString());
  target->SetValue("Value", dorn::EscapeText(typed), -1, sid);
}
