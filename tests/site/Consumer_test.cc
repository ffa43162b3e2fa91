#include "site/nats/Consumer.h"

#include <gtest/gtest.h>

namespace dorn::site {
namespace {

TEST(ConsumerTest, PlacesAreReadFromBothKindsOfSubjects) {
  for (const char* reply : {"$JS.ACK.DORN_x.abc.1.17.5.1669148000000000123.2",
                            "$JS.ACK.hub.account.DORN_x.abc.1.17.5.1669148000000000123.2",
                            "$JS.ACK._.account.DORN_x.abc.1.17.5.1669148000000000123.2.random"}) {
    const std::optional<Place> place = PlaceIn(reply);
    ASSERT_TRUE(place) << reply;
    EXPECT_EQ(place->sequence, 17U);
    EXPECT_EQ(place->delivered, 5U);
    EXPECT_EQ(place->stamp, 1669148000000000123);
  }
}

TEST(ConsumerTest, OtherSubjectsNameNoPlace) {
  for (const char* reply :
       {"", "$JS.ACK.", "$JS.ACK.DORN_x.abc.1.17.5.9", "$JS.ACK.DORN_x.abc.1.x.5.9.2",
        "$JS.ACK.DORN_x.abc.1.17x.5.9.2", "$JS.ACK.DORN_x.abc.1.17.-5.9.2",
        "$JS.FC.DORN_x.abc.1.17.5.9.2", "$JS.ACK.DORN_x.abc.1.99999999999999999999.5.9.2",
        "$JS.ACK.a.DORN_x.abc.1.17.5.9.2"}) {
    EXPECT_FALSE(PlaceIn(reply)) << reply;
  }
}

}  // namespace
}  // namespace dorn::site
