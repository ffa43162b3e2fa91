// A page that only shows something, such as help.
#ifndef PUMPHOUSE_PAGEDIALOG_H_
#define PUMPHOUSE_PAGEDIALOG_H_

#include <dorn/dorn.h>

class PageDialog : public VQDialog {
 public:
  void OnInit() override { LoadJsonShare(); }
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
};

#endif  // PUMPHOUSE_PAGEDIALOG_H_
