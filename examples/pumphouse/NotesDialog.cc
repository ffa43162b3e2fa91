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
  const KZString text = dorn::UnescapeText(note->GetValue("Value").GetString());
  const std::string saved = std::to_string(text.GetCharLength()) + " characters";
  tree->SetValueByName("Value", saved, "saved", -1, "");
  SendUpdateUnique(sessionId, false);
}

// The note is all that an operator may write. It is stored escaped, whether the station has escaped
// it or not: what is sent is put together without escaping.
void NotesDialog::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  if (!(target->mName == "note") || !source->HasKey("Value")) return;
  const KZString text = dorn::UnescapeText(source->GetValue("Value").GetString());
  target->SetValue("Value", dorn::EscapeText(text), -1, sid);
}

// The last session that had notes is gone.
void NotesDialog::OnFinal() { std::puts("pumphouse: nobody keeps notes any more"); }

// A tree of one session is nobody else's; the station gets the empty form from the disk.
int NotesDialog::OnGetfile(VQClientSocket*, KZString, KZString, KZString) { return 0; }
