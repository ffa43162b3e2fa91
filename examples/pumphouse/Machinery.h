// What a panel shows of the machinery, the same for one host and for several.
#ifndef PUMPHOUSE_MACHINERY_H_
#define PUMPHOUSE_MACHINERY_H_

#include <dorn/dorn.h>

#include "PumpStation.h"

// Sets what has changed since the last call, for every station. What the panel lacks is left out.
void ShowMachinery(const PumpStation& station, VQJsonObject& panel);

#endif  // PUMPHOUSE_MACHINERY_H_
