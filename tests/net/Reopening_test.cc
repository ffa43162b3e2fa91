// Tests of sockets that are opened again, most of all from OnClose().
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

#include "dorn/loop/NextPass.h"
#include "dorn/net/KZSocket.h"
#include "tests/net/TestSockets.h"

namespace {

using ::testing::ElementsAre;

// Opens itself again whenever it is closed, where nothing can be opened.
template <typename Base>
class Stubborn : public Base {
 public:
  using Base::Base;

  void OnClose() override {
    constexpr int kPatience = 50;
    ++mCloses;
    mDeepest = std::max(mDeepest, ++mDepth);
    if (mCloses < kPatience && mOpen) mOpen();
    --mDepth;
  }

  std::function<void()> mOpen;
  int mCloses = 0;
  int mDepth = 0;
  int mDeepest = 0;
};

class ReopeningTest : public SocketTest {
 protected:
  void Pass() {
    mApp.WakeUp();
    mApp.RunPass();
  }

  // No connection can be made to everybody: that fails at once.
  template <typename Client>
  static void OpenInVain(Client& client) {
    client.Open("255.255.255.255", 9, 3000);
  }
};

TEST_F(ReopeningTest, AFailureComesInTheNextPassAndNotFromWithinTheHook) {
  Stubborn<KZClientSocket> client(kLogSize, &mLog, List());
  client.mOpen = [&] { OpenInVain(client); };
  OpenInVain(client);
  EXPECT_EQ(client.mCloses, 1);
  for (int pass = 2; pass < 5; ++pass) {
    Pass();
    EXPECT_EQ(client.mCloses, pass);
  }
  EXPECT_EQ(client.mDeepest, 1);
  client.mOpen = nullptr;
  Pass();
}

TEST_F(ReopeningTest, TheLastFailureIsReportedOnce) {
  Stubborn<KZClientSocket> client(kLogSize, &mLog, List());
  client.mOpen = [&] {
    OpenInVain(client);
    OpenInVain(client);
  };
  OpenInVain(client);
  client.mOpen = nullptr;
  Pass();
  Pass();
  EXPECT_EQ(client.mCloses, 2);
}

// Within its hook another socket's failure is nothing special, and within that one's the first's
// is.
TEST_F(ReopeningTest, AFailureWaitsThoughAnotherHookLiesBetween) {
  Stubborn<KZClientSocket> outer(kLogSize, &mLog, List());
  Stubborn<KZClientSocket> inner(kLogSize, &mLog, List());
  inner.mOpen = [&] { OpenInVain(outer); };
  outer.mOpen = [&] {
    if (outer.mCloses > 1) return;
    OpenInVain(inner);
    EXPECT_EQ(inner.mCloses, 1);
    EXPECT_EQ(outer.mCloses, 1);
  };
  OpenInVain(outer);
  EXPECT_EQ(inner.mCloses, 1);
  EXPECT_EQ(outer.mCloses, 1);
  Pass();
  EXPECT_EQ(inner.mCloses, 1);
  EXPECT_EQ(outer.mCloses, 2);
  EXPECT_EQ(outer.mDeepest, 1);
}

TEST_F(ReopeningTest, ASocketThatWasOpenIsToldOfItsEndWithinTheHook) {
  const TcpAcceptor acceptor;
  Stubborn<KZClientSocket> client(kLogSize, &mLog, List());
  client.mOpen = [&] {
    if (client.mCloses > 1) return;
    client.Open("127.0.0.1", acceptor.Port(), 3000);
    client.Close();
    EXPECT_EQ(client.mCloses, 2);
  };
  OpenInVain(client);
  EXPECT_EQ(client.mCloses, 2);
  EXPECT_EQ(client.mDeepest, 2);
  Pass();
  EXPECT_EQ(client.mCloses, 2);
}

TEST_F(ReopeningTest, ADatagramSocketFailsTheSameWay) {
  // An address for examples, which no machine has.
  Stubborn<KZSocketUdp> socket(kLogSize, &mLog, List());
  socket.mOpen = [&] { socket.Open("192.0.2.1", 0, 3000); };
  socket.mOpen();
  EXPECT_EQ(socket.mCloses, 1);
  Pass();
  EXPECT_EQ(socket.mCloses, 2);
  EXPECT_EQ(socket.mDeepest, 1);
  socket.mOpen = nullptr;
  Pass();
}

// A sanitizer sees what is called for an object that is gone.
TEST_F(ReopeningTest, ADestroyedSocketIsForgotten) {
  auto client = std::make_unique<Stubborn<KZClientSocket>>(kLogSize, &mLog, List());
  client->mOpen = [&] { OpenInVain(*client); };
  OpenInVain(*client);
  client.reset();
  Pass();
}

// Opens itself again when it is told that a read has failed.
class Reviving : public TestClient {
 public:
  using TestClient::TestClient;
  int OnNotice(int code, int value) override {
    TestClient::OnNotice(code, value);
    if (code == kNoticeReadError && mPort != 0) {
      Close();
      Open("127.0.0.1", std::exchange(mPort, 0), 3000);
    }
    return 0;
  }
  int mPort = 0;
};

TEST_F(ReopeningTest, ASocketThatIsOpenAgainIsNotClosedForWhatHappenedBefore) {
  TcpAcceptor acceptor;
  Reviving client(kLogSize, &mLog, List());
  TcpPeer peer = Join(client);
  client.AddEvent();
  Settle();
  client.mPort = acceptor.Port();
  peer.Reset();
  ASSERT_TRUE(RunUntil([&] { return client.Has("close"); }));
  ASSERT_TRUE(RunUntil([&] { return client.Has("open"); }));
  EXPECT_EQ(client.GetFDStatus(), 2);
  const TcpPeer accepted = acceptor.Accept();
  EXPECT_THAT(client.TakeEvents(), ElementsAre("notice 1002 104", "close", "open"));
  client.Close();
  Settle();
}

// Kept: only the loop says what is ready.
TEST_F(ReopeningTest, AnAdoptedDescriptorLeavesTheReadinessAsItWas) {
  TestClient client(kLogSize, &mLog, List());
  client.SetSelect(1);
  client.Create(dup(0), 3000);
  client.SetAutoDelete(0);
  EXPECT_EQ(client.IsSelect(), 1);
  client.Close();
  Settle();
}

TEST_F(ReopeningTest, ASocketThatIsOpenAgainHearsNothingOfTheFailure) {
  const TcpAcceptor acceptor;
  Stubborn<KZClientSocket> client(kLogSize, &mLog, List());
  client.mOpen = [&] { OpenInVain(client); };
  OpenInVain(client);
  client.mOpen = nullptr;
  client.Open("127.0.0.1", acceptor.Port(), 3000);
  Pass();
  EXPECT_EQ(client.mCloses, 1);
  client.Close();
  EXPECT_EQ(client.mCloses, 2);
  Pass();
  EXPECT_EQ(client.mCloses, 2);
}

TEST_F(ReopeningTest, ASocketThatWasGivenADescriptorHearsNothingOfTheFailure) {
  const TcpAcceptor acceptor;
  Stubborn<KZClientSocket> client(kLogSize, &mLog, List());
  client.mOpen = [&] { OpenInVain(client); };
  OpenInVain(client);
  client.mOpen = nullptr;
  client.Create(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), 3000);
  client.SetAutoDelete(0);
  mApp.WakeUp();
  dorn::NextPass::Run(*List());
  EXPECT_EQ(client.mCloses, 1);
  client.Close();
  EXPECT_EQ(client.mCloses, 2);
  Settle();
}

TEST_F(ReopeningTest, AClosedSocketHearsNothingOfAFailureBefore) {
  Stubborn<KZClientSocket> client(kLogSize, &mLog, List());
  client.mOpen = [&] { OpenInVain(client); };
  OpenInVain(client);
  client.mOpen = nullptr;
  client.SetFD(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  EXPECT_EQ(client.Close(), 0);
  EXPECT_EQ(client.mCloses, 2);
  Pass();
  EXPECT_EQ(client.mCloses, 2);
}

}  // namespace
