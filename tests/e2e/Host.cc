// A host program as its author writes it. Arguments, for the environments that the tests try:
//   grouping  a global locale that groups digits and writes a decimal comma
//   limit=N   at most N descriptors
#include <sys/resource.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <string>

#include "tests/e2e/HostDialogs.h"

MyMaker maker;
MyApp app(maker);

namespace {

class Grouping : public std::numpunct<char> {
  char do_thousands_sep() const override { return '.'; }
  char do_decimal_point() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
};

void Apply(const std::string& argument) {
  if (argument == "grouping") std::locale::global(std::locale(std::locale(), new Grouping));
  if (argument.rfind("limit=", 0) == 0) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = static_cast<rlim_t>(std::atol(argument.c_str() + 6));
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) std::exit(4);
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) Apply(argv[i]);
  std::signal(SIGUSR1, [](int) {});
  if (app.Initialize(argc, argv) < 0) return 2;
  if (!app.IsListening()) return 3;
  std::puts("READY");
  app.AppMain();
}
