#include "NotesDialog.h"

#include <cstdio>

#include "PumphouseApp.h"

// LoadJsonUnique loads once per session: what the operator wrote is still there the next time.
void NotesDialog::OnChange(VQClientSocket* client, VQJsonCommand*) {
  const KZString& sessionId = client->GetSessionId();
  if (LoadJsonUnique(sessionId) == 1) {
    GetResourceUnique(sessionId)->SetValueByName("Value", app.UserOf(sessionId), "operator", 0, "");
  }
  SendUpdateUnique(sessionId, true);
}

void NotesDialog::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  const KZString& sessionId = client->GetSessionId();
  UpdateResourceUnique(command, sessionId);
  VQJsonResource* tree = GetResourceUnique(sessionId);
  VQJsonObject* note = tree->SearchName("note");
  if (note == nullptr) return;
  const KZString text(note->GetValue("Value").GetString());
  const std::string saved = std::to_string(text.GetCharLength()) + " characters";
  tree->SetValueByName("Value", saved, "saved", -1, "");
  SendUpdateUnique(sessionId, false);
}

// The last session that had notes is gone.
void NotesDialog::OnFinal() { std::puts("pumphouse: nobody keeps notes any more"); }

// A tree of one session is nobody else's; the station gets the empty form from the disk.
int NotesDialog::OnGetfile(VQClientSocket*, KZString, KZString, KZString) { return 0; }
