#include "tools/dorn-gateway/HostProbe.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"

namespace {

using dorn::gateway::HostConnection;
using dorn::gateway::HostProbe;
using dorn::gateway::Log;
using dorn::gateway::Ms;
using dorn::gateway::Shared;

// The question cannot be sent, as the connection is not up yet; what becomes of that connection
// later is nothing that anybody waits for.
TEST(HostProbeTest, LeavesAConnectionThatTakesNoQuestion) {
  FakeHost host;
  dorn::gateway::Options options = RunningGateway::OptionsFor(host.Port());
  options.mTimes.mProbe = Ms(600'000);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), &std::fclose);
  Log log(false, file.get());
  Shared shared(options, log);
  HostProbe probe(shared);
  probe.Start();
  static_cast<HostConnection::Owner&>(probe).OnHostUp();
  EXPECT_FALSE(probe.IsAsking());
  EXPECT_EQ(shared.mMetrics.mHostConnections, 0u);
  shared.mIo.run_for(Ms(100));
  EXPECT_FALSE(probe.IsAsking());
  EXPECT_FALSE(shared.mMetrics.mIsHostUp);
}

}  // namespace
