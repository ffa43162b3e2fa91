// How the parts of an update command are put together.
#include "dorn/model/UpdateText.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/Allocations.h"

namespace {

TEST(UpdateTextTest, WithoutSideCommandsTheUpdateStandsAlone) {
  EXPECT_EQ(std::string(dorn::JoinCommands("update", "")), "update");
}

TEST(UpdateTextTest, SideCommandsFollowTheUpdate) {
  EXPECT_EQ(std::string(dorn::JoinCommands("update", "side")), "{'Commands':[update,side]}");
  EXPECT_EQ(std::string(dorn::JoinCommands("", "side")), "{'Commands':[,side]}");
}

TEST(UpdateTextTest, JoinedCommandsTakeTheirMemoryAtOnce) {
  const std::string update(1000, 'u');
  const std::string side(3000, 's');
  const Allocations allocations;
  const KZString joined = dorn::JoinCommands(update, side);
  EXPECT_EQ(allocations.Count(), 1U);
  EXPECT_EQ(joined.size(), 4016U);
}

}  // namespace
