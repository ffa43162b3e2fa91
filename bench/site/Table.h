// The table that the benchmark prints.
#ifndef BENCH_SITE_TABLE_H_
#define BENCH_SITE_TABLE_H_

#include <string>

void PrintHead();

// What was measured, what it must be at least or at most, what it was, and what it was at one host
// without a site; the last may be empty.
void PrintLine(const std::string& what, const std::string& must, const std::string& measured,
               const std::string& alone);

// A whole number, with commas.
std::string Whole(double value);

#endif  // BENCH_SITE_TABLE_H_
