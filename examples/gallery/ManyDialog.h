// A thousand numbers that change as fast as a slider says: what a station can bear.
#ifndef GALLERY_MANYDIALOG_H_
#define GALLERY_MANYDIALOG_H_

#include <dorn/dorn.h>

#include <string>
#include <vector>

class ManyDialog : public VQDialog {
 public:
  void OnInit() override;
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override;
  void OnTimer(timeval time, unsigned int id) override;

 private:
  void AddGroup(int number);

  std::vector<VQJsonObject*> mNumbers;  // The tree owns them.
  std::size_t mNext = 0;                // Of mNumbers.
  int mTicks = 0;
};

#endif  // GALLERY_MANYDIALOG_H_
