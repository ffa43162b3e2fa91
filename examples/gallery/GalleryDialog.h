// A shared dialog in which stations set what can be set: every type and attribute at once, and the
// page in a folder of its own.
#ifndef GALLERY_GALLERYDIALOG_H_
#define GALLERY_GALLERYDIALOG_H_

#include <dorn/dorn.h>

class GalleryDialog : public VQDialog {
 public:
  void OnInit() override;
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override;
  void OnTouch(VQClientSocket* client, VQJsonObject* touched, KZString action) override;
  void OnTimer(timeval time, unsigned int id) override;

 private:
  void Show(const char* key, const VQValue& value, const char* name);

  int mTouches = 0;
  int mTrend = 50;
};

#endif  // GALLERY_GALLERYDIALOG_H_
