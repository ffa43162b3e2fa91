#include "bench/site/Table.h"

#include <cmath>
#include <cstdio>

void PrintHead() {
  PrintLine("what", "must", "measured", "one host without a site");
  std::puts("|---|---|---|---|");
}

void PrintLine(const std::string& what, const std::string& must, const std::string& measured,
               const std::string& alone) {
  std::printf("| %s | %s | %s | %s |\n", what.c_str(), must.c_str(), measured.c_str(),
              alone.c_str());
  std::fflush(stdout);
}

std::string Whole(double value) {
  constexpr std::size_t kGroup = 3;
  std::string digits = std::to_string(std::lround(value));
  for (std::size_t at = digits.size(); at > kGroup; at -= kGroup) digits.insert(at - kGroup, ",");
  return digits;
}
