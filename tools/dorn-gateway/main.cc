// The gateway between browsers and a dialog server.
#include <csignal>
#include <cstdio>
#include <exception>

#include "tools/dorn-gateway/Gateway.h"
#include "tools/dorn-gateway/ReadOptions.h"
#include "tools/support/Arguments.h"
#include "tools/support/Streams.h"

namespace {

int Main(int argc, char** argv) {
  dorn::tools::TakeClosedStreams();
  // Who reads the log may go before the gateway does.
  std::signal(SIGPIPE, SIG_IGN);
  int exitCode = 0;
  const auto options = dorn::gateway::ReadOptions(argc, argv, exitCode);
  if (!options) {
    return dorn::tools::PrintedAll("dorn-gateway") ? exitCode : dorn::tools::kWrongUsage;
  }
  dorn::gateway::Log log(options->mLogsJson);
  dorn::gateway::Gateway gateway(*options, log);
  if (const std::string why = gateway.Start(); !why.empty()) {
    std::fprintf(stderr, "dorn-gateway: %s\n", why.c_str());
    return 1;
  }
  std::printf("dorn-gateway: listening on %s\n", gateway.Url().c_str());
  std::fflush(stdout);
  gateway.HandleSignals();
  gateway.Run();
  return 0;
}

}  // namespace

// The libraries beneath report by exceptions what nothing else can be done about.
int main(int argc, char** argv) {
  try {
    return Main(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "dorn-gateway: %s\n", error.what());
    return 1;
  }
}
