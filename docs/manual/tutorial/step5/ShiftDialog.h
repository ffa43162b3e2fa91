// What an operator sees of his own shift: one tree for each session.
#ifndef FILLER_SHIFTDIALOG_H_
#define FILLER_SHIFTDIALOG_H_

#include <dorn/dorn.h>

class ShiftDialog : public VQDialog {
 public:
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override;
};

#endif  // FILLER_SHIFTDIALOG_H_
