// What may change while a dialog is shown: objects that come and go, and attributes that are not
// values.
#ifndef GALLERY_CHANGESDIALOG_H_
#define GALLERY_CHANGESDIALOG_H_

#include <dorn/dorn.h>

class ChangesDialog : public VQDialog {
 public:
  void OnInit() override { LoadJsonShare(); }
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override;
  void OnTouch(VQClientSocket* client, VQJsonObject* touched, KZString action) override;

 private:
  void Add();
  void AddGroup();
  void AddEmptyGroup();
  void Remove();
  void Clear();
  void Toggle(const char* name, const char* key);
  void NextState();
  void Rename();
  VQJsonObjectHasList* Items();

  int mMade = 0;
};

#endif  // GALLERY_CHANGESDIALOG_H_
