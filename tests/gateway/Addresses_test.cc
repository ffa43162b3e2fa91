#include "tools/dorn-gateway/Addresses.h"

#include <gtest/gtest.h>

namespace {

using dorn::gateway::DerivedLoopback;
using dorn::gateway::Network;
using dorn::gateway::PlaceOf;
using dorn::gateway::ReadAddress;

std::string Derived(const std::string& address) {
  return DerivedLoopback(*ReadAddress(address)).to_string();
}

TEST(AddressesTest, ReadsAddresses) {
  EXPECT_EQ(ReadAddress("192.168.1.7")->to_string(), "192.168.1.7");
  EXPECT_EQ(ReadAddress("::ffff:192.168.1.7")->to_string(), "192.168.1.7");
  EXPECT_EQ(ReadAddress("fe80::1")->to_string(), "fe80::1");
  for (const char* text : {"", "localhost", "1.2.3", "1.2.3.4:5", "1.2.3.4 ", "[::1]"}) {
    EXPECT_FALSE(ReadAddress(text)) << text;
  }
}

TEST(AddressesTest, DerivesALoopbackAddressForEachBrowser) {
  EXPECT_EQ(Derived("192.168.1.7"), "127.168.1.7");
  EXPECT_EQ(Derived("127.0.0.1"), "127.0.0.1");
  EXPECT_EQ(Derived("::1"), "127.0.0.1");
  EXPECT_EQ(Derived("10.0.0.0"), "127.0.0.1");
  EXPECT_EQ(Derived("10.255.255.255"), "127.0.0.1");
  const std::string six = Derived("2001:db8:1:2::3");
  EXPECT_EQ(six.substr(0, 4), "127.");
  EXPECT_EQ(Derived("2001:db8:1:2:ffff::9"), six);
  EXPECT_NE(Derived("2001:db8:1:3::3"), six);
}

TEST(AddressesTest, CountsIPv6BySubnet) {
  EXPECT_EQ(PlaceOf(*ReadAddress("192.168.1.7")), "192.168.1.7");
  EXPECT_EQ(PlaceOf(*ReadAddress("2001:db8:1:2::3")), "2001:db8:1:2::/64");
  EXPECT_EQ(PlaceOf(*ReadAddress("::1")), "::1");
}

TEST(AddressesTest, KnowsWhatLiesInANetwork) {
  const struct {
    std::string network, address;
    bool isIn;
  } cases[] = {
      {"192.168.1.7", "192.168.1.7", true},
      {"192.168.1.7", "192.168.1.6", false},
      {"192.168.1.0/24", "192.168.1.255", true},
      {"192.168.1.0/24", "192.168.2.1", false},
      {"192.168.1.0/25", "192.168.1.128", false},
      {"0.0.0.0/0", "8.8.8.8", true},
      {"0.0.0.0/0", "::1", false},
      {"2001:db8::/32", "2001:db8:ffff::1", true},
      {"2001:db8::/32", "2001:db9::1", false},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(Network::Read(each.network)->Contains(*ReadAddress(each.address)), each.isIn)
        << each.network << " " << each.address;
  }
  for (const char* text :
       {"", "x", "1.2.3.4/", "1.2.3.4/33", "1.2.3.4/x", "1.2.3.4/8x", "::/129"}) {
    EXPECT_FALSE(Network::Read(text)) << text;
  }
}

TEST(AddressesTest, WritesEndpoints) {
  EXPECT_EQ(dorn::gateway::WrittenEndpoint("127.0.0.1", 80), "127.0.0.1:80");
  EXPECT_EQ(dorn::gateway::WrittenEndpoint("::1", 80), "[::1]:80");
}

}  // namespace
