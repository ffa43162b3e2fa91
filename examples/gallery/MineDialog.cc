#include "MineDialog.h"

#include <string>

#include "Inputs.h"

// Loads once for each session, so that what was typed is still there the next time.
void MineDialog::OnChange(VQClientSocket* client, VQJsonCommand*) {
  LoadJsonUnique(client->GetSessionId());
  SendUpdateUnique(client->GetSessionId(), true);
}

void MineDialog::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  const KZString& sessionId = client->GetSessionId();
  UpdateResourceUnique(command, sessionId);
  VQJsonResource* tree = GetResourceUnique(sessionId);
  const KZString typed =
      dorn::UnescapeText(tree->SearchName("text")->GetValue("Value").GetString());
  tree->SetValueByName("Value", std::to_string(typed.GetCharLength()), "length", -1, "");
  SendUpdateUnique(sessionId, false);
}

void MineDialog::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  TakeOver(target, *source, sid);
}
