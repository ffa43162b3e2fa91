// The panel that all stations share.
#ifndef PUMPHOUSE_PANELDIALOG_H_
#define PUMPHOUSE_PANELDIALOG_H_

#include <dorn/dorn.h>

#include <map>

#include "AlarmList.h"
#include "PumpStation.h"

class PanelDialog : public VQDialog, private dorn::Observer {
 public:
  void OnInit() override;
  void OnChangeBefore(VQClientSocket* client, VQJsonCommand* command) override;
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnCondition(VQClientSocket* client, VQJsonCommand* command) override;
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override;
  void OnTouch(VQClientSocket* client, VQJsonObject* touched, KZString action) override;
  void OnTimer(timeval time, unsigned int id) override;
  void OnFinal() override;

 private:
  void OnStationGone(VQClientSocket* client, const KZString& sid) override;
  void OnSessionEnd(const KZString& sid) override;

  bool HasStation(const KZString& sessionId) const;
  void SwitchPumps(const KZString& button);
  void SwitchOff();
  void AddOperator(const KZString& sessionId);
  void RemoveOperator(const KZString& sessionId);

  PumpStation mStation;
  AlarmList mAlarms;
  bool mHighWater = false;
  std::map<KZString, KZString> mOperatorBySession;  // Name of the object that stands for each.
  int mOperatorCount = 0;
};

#endif  // PUMPHOUSE_PANELDIALOG_H_
