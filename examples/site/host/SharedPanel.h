// The panel of the pumping station, the same on every host of a site.
#ifndef SITEHOST_SHAREDPANEL_H_
#define SITEHOST_SHAREDPANEL_H_

#include <site/SharedDialog.h>

#include "PumpStation.h"

class SharedPanel : public dorn::site::SharedDialog {
 public:
  void OnInit() override;
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnApply(const Change& change) override;
  void OnKeep(timeval now) override;
  void OnSave(dorn::site::Writer& out) const override;
  void OnLoad(dorn::site::Reader& in) override;

 private:
  void Operate(const Change& change);
  void Touch(const Change& change);

  PumpStation mStation;  // Simulated by the host that keeps the site, for all of them.
  long mProposedAt = 0;  // The second in which this host has let the last one pass.
};

#endif  // SITEHOST_SHAREDPANEL_H_
