// The vectors of station/vectors, which the pages' tests read as well.
#ifndef TESTS_STATION_VECTORFILE_H_
#define TESTS_STATION_VECTORFILE_H_

#include <string>
#include <vector>

#include "station/Json.h"

// The vectors of one file. They are strict JSON; a file that cannot be read has none.
std::vector<dorn::station::Json> VectorsOf(const std::string& file);

// The text of a member; empty without it.
std::string TextIn(const dorn::station::Json& vector, const char* key);

#endif  // TESTS_STATION_VECTORFILE_H_
