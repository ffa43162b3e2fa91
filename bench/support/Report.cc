#include "bench/support/Report.h"

#include <algorithm>
#include <cstdio>
#include <utility>

double Median(std::vector<double> values) { return Quantile(std::move(values), 0.5); }

double Quantile(std::vector<double> values, double part) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const auto last = static_cast<double>(values.size() - 1);
  return values[static_cast<std::size_t>(last * part + 0.5)];
}

void PrintRow(const std::string& what, const std::string& must, const std::string& aim,
              const std::string& measured) {
  std::printf("row\t%s\t%s\t%s\t%s\n", what.c_str(), must.c_str(), aim.c_str(), measured.c_str());
  std::fflush(stdout);
}

std::string Number(double value) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.2f", value);
  return digits;
}
