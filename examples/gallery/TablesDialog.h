// Tables: rows as an attribute, alarms that are acknowledged, and the table of the library's own
// grid.
#ifndef GALLERY_TABLESDIALOG_H_
#define GALLERY_TABLESDIALOG_H_

#include <dorn/dorn.h>

class TablesDialog : public VQDialog {
 public:
  void OnInit() override;
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnTouch(VQClientSocket* client, VQJsonObject* touched, KZString action) override;

 private:
  void Raise();
  void Acknowledge(const KZString& key);
  void Measure();

  int mRaised = 2;  // As many as the resource file begins with.
  int mMeasured = 0;
};

#endif  // GALLERY_TABLESDIALOG_H_
