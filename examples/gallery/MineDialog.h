// A dialog of which each session has a tree of its own.
#ifndef GALLERY_MINEDIALOG_H_
#define GALLERY_MINEDIALOG_H_

#include <dorn/dorn.h>

class MineDialog : public VQDialog {
 public:
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override;
};

#endif  // GALLERY_MINEDIALOG_H_
