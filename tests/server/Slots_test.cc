// Who gets the descriptors that the loop can watch, asked directly: what comes of it for stations
// is told by VQStationSocket_test.cc.
#include "dorn/server/Slots.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "dorn/server/Peers.h"
#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SlotTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    getrlimit(RLIMIT_NOFILE, &mSaved);
    SetLimit(2048);
  }
  void TearDown() override {
    setrlimit(RLIMIT_NOFILE, &mSaved);
    dorn::CountSlotsAnew();
    ServerTest::TearDown();
  }

  // How many descriptors the process may have; slots are counted anew.
  void SetLimit(rlim_t limit) const {
    rlimit changed = mSaved;
    changed.rlim_cur = limit;
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &changed));
    dorn::CountSlotsAnew();
  }

  static Link From(const std::string& address, int atDescriptor = -1) {
    int pair[2];
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
    if (atDescriptor >= 0) {
      EXPECT_EQ(atDescriptor, fcntl(pair[0], F_DUPFD_CLOEXEC, atDescriptor));
      close(std::exchange(pair[0], atDescriptor));
    }
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    EXPECT_EQ(1, inet_pton(AF_INET, address.c_str(), &peer.sin_addr));
    unsigned int length = sizeof peer;
    Link link;
    link.station = Station(pair[1]);
    link.id = static_cast<int>(app.mSocketId);
    app.mStationSocket.OnAccept(pair[0], reinterpret_cast<sockaddr*>(&peer), &length);
    Pass();
    return link;
  }
  static std::vector<Link> Crowd(const std::string& address, int count) {
    std::vector<Link> crowd;
    for (int i = 0; i < count; ++i) crowd.push_back(From(address));
    return crowd;
  }
  static std::size_t Closed(std::vector<Link>& crowd) {
    std::size_t count = 0;
    for (Link& link : crowd) count += link.station.IsClosed() ? 1 : 0;
    return count;
  }

  // One above the highest descriptor that a station may have, of which a quarter is 252.
  static constexpr int kLimit = 1024 - 16;
  rlimit mSaved{};
};

TEST_F(SlotTest, AreAllDescriptorsButTheHighest16) {
  for (const rlim_t limit : {2048U, 100U}) {
    SetLimit(limit);
    const int end = limit == 100 ? 84 : kLimit;
    EXPECT_TRUE(dorn::IsSlot(0));
    EXPECT_TRUE(dorn::IsSlot(end - 1));
    EXPECT_FALSE(dorn::IsSlot(end));
    EXPECT_TRUE(dorn::IsSlot(end - 1));
    EXPECT_FALSE(dorn::IsSlot(1024));
  }
}

TEST_F(SlotTest, AreNoneWhere16DescriptorsAreAll) {
  SetLimit(16);
  EXPECT_FALSE(dorn::IsSlot(0));
  SetLimit(17);
  EXPECT_TRUE(dorn::IsSlot(0));
  EXPECT_FALSE(dorn::IsSlot(1));
}

TEST_F(SlotTest, NobodyMakesRoomWhereNobodyIs) { EXPECT_FALSE(dorn::MakeRoom()); }

// It keeps its descriptor until the next pass.
TEST_F(SlotTest, WhoIsAboutToBeRemovedMakesNoRoom) {
  Link first = From("10.0.0.1"), second = From("10.0.0.2");
  VQClientSocket* const removed = Find(first);
  removed->RemoveEvent();
  EXPECT_TRUE(dorn::MakeRoom());
  EXPECT_TRUE(second.station.IsClosed());
  EXPECT_FALSE(first.station.IsClosed());
  EXPECT_FALSE(dorn::MakeRoom());
  removed->Close();
}

TEST_F(SlotTest, AShareIsTakenAtOnceWhenNobodyElseIsThere) {
  std::vector<Link> crowd = Crowd("10.0.0.1", 252);
  constexpr int kNew = kLimit - 1 - 251;
  ASSERT_TRUE(dorn::IsSlot(kNew));
  dorn::KeepShare(kNew, "10.0.0.2");
  EXPECT_EQ(0U, Closed(crowd));
  dorn::KeepShare(kNew, "10.0.0.1");
  EXPECT_TRUE(crowd.front().station.IsClosed());
  EXPECT_EQ(1U, Closed(crowd));
  // Now it is one less than a share.
  dorn::KeepShare(kNew, "10.0.0.1");
  EXPECT_EQ(1U, Closed(crowd));
}

TEST_F(SlotTest, AShareIsNotKeptWhileAQuarterIsFree) {
  std::vector<Link> crowd = Crowd("10.0.0.1", 254);
  constexpr int kNew = kLimit - 1 - 252;
  ASSERT_TRUE(dorn::IsSlot(kNew));
  dorn::KeepShare(kNew, "10.0.0.1");
  EXPECT_EQ(0U, Closed(crowd));
  dorn::KeepShare(kNew + 1, "10.0.0.1");
  EXPECT_EQ(1U, Closed(crowd));
}

// As when a proxy tells the address of a station that has been there for a while.
TEST_F(SlotTest, TheNewOneItselfIsNotTakenAboveItself) {
  std::vector<Link> crowd = Crowd("10.0.0.1", 253);
  constexpr int kNew = kLimit - 1 - 252;
  crowd.push_back(From("10.0.0.1", kNew));
  dorn::KeepShare(kNew, "10.0.0.1");
  EXPECT_EQ(0U, Closed(crowd));
}

TEST_F(SlotTest, AShareOfFewSlotsIsOneOfThemOrIsNotKept) {
  std::vector<Link> crowd = Crowd("10.0.0.1", 2);
  SetLimit(16 + 3);
  ASSERT_TRUE(dorn::IsSlot(2));
  dorn::KeepShare(2, "10.0.0.1");
  EXPECT_EQ(0U, Closed(crowd));
  SetLimit(16 + 4);
  ASSERT_TRUE(dorn::IsSlot(3));
  dorn::KeepShare(3, "10.0.0.1");
  EXPECT_EQ(1U, Closed(crowd));
}

// Peers are known in the order in which they came, whoever has gone meanwhile.
TEST_F(SlotTest, PeersStayInTheirOrder) {
  // A test before may have left some behind.
  const dorn::Peer* const last = dorn::Peers::Last();
  const int count = dorn::Peers::Count();
  const auto ids = [last, count] {
    std::vector<int> found;
    for (const dorn::Peer* peer = dorn::Peers::Last(); peer != last;
         peer = dorn::Peers::Before(*peer)) {
      found.push_back(peer->mClient.GetId() - 0x8000000);
    }
    EXPECT_EQ(count + static_cast<int>(found.size()), dorn::Peers::Count());
    return found;
  };
  std::vector<Link> crowd = Crowd("10.0.0.1", 5);
  const auto close = [&crowd](std::size_t i) {
    Find(crowd[i])->Close();
    Pass(2);
  };
  EXPECT_THAT(ids(), ElementsAre(40, 30, 20, 10, 0));
  close(2);
  EXPECT_THAT(ids(), ElementsAre(40, 30, 10, 0));
  close(4);
  EXPECT_THAT(ids(), ElementsAre(30, 10, 0));
  close(0);
  EXPECT_THAT(ids(), ElementsAre(30, 10));
  crowd.push_back(From("10.0.0.1"));
  EXPECT_THAT(ids(), ElementsAre(50, 30, 10));
  close(3);
  close(1);
  EXPECT_THAT(ids(), ElementsAre(50));
  close(5);
  EXPECT_THAT(ids(), IsEmpty());
}

}  // namespace
