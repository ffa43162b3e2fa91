// A grid's table as it is displayed. Internal to the library of stations.
#ifndef STATION_SCREENTABLE_H_
#define STATION_SCREENTABLE_H_

#include <string_view>

#include "station/Numbers.h"
#include "station/Screen.h"
#include "station/Words.h"

namespace dorn::station {

Table MakeTable(const Words& words);

// The state that a word names; NORMAL for all that is none.
Condition ConditionOf(std::string_view word);

}  // namespace dorn::station

#endif  // STATION_SCREENTABLE_H_
