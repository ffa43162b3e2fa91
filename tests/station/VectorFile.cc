#include "tests/station/VectorFile.h"

#include <fstream>
#include <sstream>

#include "station/Reader.h"

using dorn::station::Json;

std::vector<Json> VectorsOf(const std::string& file) {
  std::ifstream stream(std::string(DORN_STATION_VECTORS) + "/" + file);
  std::ostringstream text;
  text << stream.rdbuf();
  const auto read = dorn::station::Reader().Read(text.str());
  const Json* vectors = read.mJson.Find("vectors");
  if (read.mReading != dorn::station::Reading::kStrict || vectors == nullptr) return {};
  return vectors->mElements;
}

std::string TextIn(const Json& vector, const char* key) { return std::string(vector.TextOf(key)); }
