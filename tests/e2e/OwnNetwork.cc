// Gives the tests a network of their own: the station port is free whatever runs on this machine,
// and the host shows that it needs no other interface than the loopback one.
#include "tests/support/OwnNetwork.h"

#include <gtest/gtest.h>

#include "tests/e2e/HostProcess.h"

namespace {

bool gHasOwnNetwork = false;

class OwnNetwork : public testing::Environment {
 public:
  void SetUp() override { gHasOwnNetwork = EnterOwnNetwork(); }
};

[[maybe_unused]] testing::Environment* const kOwnNetwork =
    testing::AddGlobalTestEnvironment(new OwnNetwork);

}  // namespace

bool HasOwnNetwork() { return gHasOwnNetwork; }
