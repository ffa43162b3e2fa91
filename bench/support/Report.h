// Medians, and the lines that script/bench makes its table of.
#ifndef BENCH_SUPPORT_REPORT_H_
#define BENCH_SUPPORT_REPORT_H_

#include <string>
#include <vector>

double Median(std::vector<double> values);

// The value below which the given part (0 to 1) of the values lies.
double Quantile(std::vector<double> values, double part);

// One row: what was measured, the value that must be reached and the one to aim for (either may be
// empty), and what came out. Tabs separate the columns on standard output.
void PrintRow(const std::string& what, const std::string& must, const std::string& aim,
              const std::string& measured);

// A number with two digits behind the point.
std::string Number(double value);

#endif  // BENCH_SUPPORT_REPORT_H_
