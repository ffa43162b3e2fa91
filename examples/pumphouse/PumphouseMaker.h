// Which class serves which dialog name.
#ifndef PUMPHOUSE_PUMPHOUSEMAKER_H_
#define PUMPHOUSE_PUMPHOUSEMAKER_H_

#include <dorn/dorn.h>

class PumphouseMaker : public VQDialogMaker {
 public:
  // The resource file of a help page; null for every other name.
  const char* GetFilename(const KZString& name) override;
  VQDialog* CreateDialog(const KZString& name) override;

 private:
  KZString mFileName;
};

#endif  // PUMPHOUSE_PUMPHOUSEMAKER_H_
