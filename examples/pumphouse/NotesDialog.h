// An operator's own notes: each session has a tree of its own.
#ifndef PUMPHOUSE_NOTESDIALOG_H_
#define PUMPHOUSE_NOTESDIALOG_H_

#include <dorn/dorn.h>

class NotesDialog : public VQDialog {
 public:
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override;
  void OnFinal() override;
  int OnGetfile(VQClientSocket* client, KZString file, KZString date, KZString objectName) override;
};

#endif  // PUMPHOUSE_NOTESDIALOG_H_
