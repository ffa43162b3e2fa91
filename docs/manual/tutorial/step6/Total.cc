#include "Total.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

void Total::Load(const std::string& file) {
  mFile = file;
  std::ifstream(file) >> mBottles;
}

bool Total::Save() const {
  const std::string fresh = mFile + ".new";
  std::ofstream out(fresh);
  out << mBottles << '\n';
  out.close();
  if (out && std::rename(fresh.c_str(), mFile.c_str()) == 0) return true;
  std::fprintf(stderr, "filler: cannot write %s: %s\n", mFile.c_str(), std::strerror(errno));
  return false;
}
