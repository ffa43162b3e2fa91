// Gives the tests a network of their own: the station port is free whatever runs on this machine,
// and the host shows that it needs no other interface than the loopback one.
#include "tests/support/OwnNetwork.h"

#include <gtest/gtest.h>

namespace {

class OwnNetwork : public testing::Environment {
 public:
  // Where that is not allowed, the tests run in the machine's network.
  void SetUp() override { static_cast<void>(EnterOwnNetwork()); }
};

[[maybe_unused]] testing::Environment* const kOwnNetwork =
    testing::AddGlobalTestEnvironment(new OwnNetwork);

}  // namespace
