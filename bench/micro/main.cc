// Runs all benchmarks. What the library prints goes nowhere; the results go to the standard output
// that the program was started with.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <ext/stdio_filebuf.h>

#include <cstdio>
#include <iostream>

int main(int argc, char** argv) {
  const int results = dup(STDOUT_FILENO);
  const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (results < 0 || null < 0 || dup2(null, STDOUT_FILENO) < 0) return 1;
  __gnu_cxx::stdio_filebuf<char> buffer(results, std::ios::out);
  std::cout.rdbuf(&buffer);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  const std::size_t run = benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::cout.flush();
  std::cout.rdbuf(nullptr);
  return run > 0 ? 0 : 1;
}
