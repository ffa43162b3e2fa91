// The panel of the line: one tree, which all stations share.
#ifndef FILLER_FILLERDIALOG_H_
#define FILLER_FILLERDIALOG_H_

#include <dorn/dorn.h>

#include "Filler.h"

class FillerDialog : public VQDialog {
 public:
  void OnInit() override;
  void OnTimer(timeval time, unsigned int id) override;
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override;
  void OnTouch(VQClientSocket* client, VQJsonObject* touched, KZString action) override;

 private:
  bool MaySet(VQJsonObject* target, const KZString& key, const KZString& sessionId) const;
  void TakeNumber(VQJsonObject* target, const char* typed);
  int Number(const char* name);
  void ShowMachine();
  void ShowState(const char* word, const char* state);
  void Show(const char* name, const char* key, const VQValue& value);

  Filler mFiller;
};

#endif  // FILLER_FILLERDIALOG_H_
