// The loop that ends in order when it is asked to.
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <utility>

#include "tests/server/CallSpy.h"
#include "tests/server/ServerTest.h"
#include "tests/support/Deadline.h"

namespace {

using testing::ElementsAre;

using Clock = std::chrono::steady_clock;

class RunTest : public ServerTest {
 protected:
  // A loop that is not stopped ends the test by a signal instead of hanging.
  HangGuard mGuard;

  static long long RunMs() {
    const auto begin = Clock::now();
    app.Run();
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count();
  }
};

TEST_F(RunTest, IsRefusedInsideAPass) {
  bool isBack = false;
  app.SetApplicationSingleTimerInterval(1, 77);
  app.timer = [&isBack](unsigned int) {
    app.Run();
    isBack = true;
  };
  testing::internal::CaptureStderr();
  Wait(1);
  EXPECT_TRUE(isBack);
  EXPECT_EQ("dorn: a pass of the loop was asked for inside a pass, by a hook; nothing is done\n",
            testing::internal::GetCapturedStderr());
}

TEST_F(RunTest, ReturnsWhenAnotherThreadStopsIt) {
  std::thread other([] { app.Stop(); });
  app.Run();
  other.join();
}

TEST_F(RunTest, ReturnsAlsoWhenNothingWouldEverEndItsWait) {
  constexpr int kRuns = 10;
  std::atomic<int> begun{0};
  // Timers and stations are none: only the stop itself can wake the loop, and there is one for each
  // run.
  std::thread other([&begun] {
    for (int run = 1; run <= kRuns; ++run) {
      while (begun < run) std::this_thread::yield();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      app.Stop();
    }
  });
  for (int run = 1; run <= kRuns; ++run) {
    begun = run;
    app.Run();
  }
  other.join();
}

TEST_F(RunTest, ReturnsAtOnceWhenItWasStoppedBefore) {
  app.Stop();
  app.Run();
}

TEST_F(RunTest, RunsAgainAfterItWasStopped) {
  app.Stop();
  app.Run();
  app.timer = [](unsigned int) { app.Stop(); };
  app.SetApplicationSingleTimerInterval(1, 77);
  mClock.AdvanceMs(5);
  app.Run();
  EXPECT_THAT(Calls(), ElementsAre("OnTimer app 77"));
}

// The end itself takes two passes.
TEST_F(RunTest, RunsAgainUntilItIsStoppedAgain) {
  app.Stop();
  app.Run();
  constexpr int kPasses = 5;
  int passes = 0;
  app.timer = [&](unsigned int) {
    if (++passes == kPasses) return app.Stop();
    app.SetApplicationSingleTimerInterval(1, 77);
    mClock.AdvanceMs(5);
  };
  app.SetApplicationSingleTimerInterval(1, 77);
  mClock.AdvanceMs(5);
  app.Run();
  EXPECT_EQ(kPasses, passes);
}

void StopBySignal(int) { app.Stop(); }

TEST_F(RunTest, ReturnsWhenASignalHandlerStopsItWhereverTheSignalHitsTheLoop) {
  const auto before = std::signal(SIGUSR1, StopBySignal);
  const pthread_t loop = pthread_self();
  for (int i = 0; i < 200; ++i) {
    std::thread other([loop, i] {
      // At another place of the pass each time.
      for (volatile int spin = 0; spin < i * 500; spin = spin + 1) {
      }
      pthread_kill(loop, SIGUSR1);
    });
    app.Run();
    other.join();
    // The signal may have come after the end: it must not stop the next one.
    app.Stop();
    app.Run();
  }
  std::signal(SIGUSR1, before);
}

TEST_F(RunTest, AHandlerLeavesErrnoAlone) {
  errno = ENOENT;
  app.Stop();
  EXPECT_EQ(ENOENT, errno);
  app.Run();
}

TEST_F(RunTest, ClosesEveryConnectionWithItsHooks) {
  Link one = LoggedIn("S1");
  Link two = Connect();
  app.Stop();
  CapturedStdout console;
  app.Run();
  EXPECT_EQ(0U, Connections());
  EXPECT_TRUE(one.station.WaitForClose());
  EXPECT_TRUE(two.station.WaitForClose());
  EXPECT_EQ("socket delete\nsocket delete\n", console.Text());
}

TEST_F(RunTest, ClosesAConnectionThatWasAcceptedInTheLastPass) {
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
  Station station(pair[1]);
  app.mStationSocket.OnAccept(pair[0], nullptr, nullptr);
  app.Stop();
  app.Run();
  EXPECT_TRUE(station.WaitForClose());
  EXPECT_EQ(0U, Connections());
}

TEST_F(RunTest, ClosesThePort) {
  app.SetStationAddress("127.0.0.1", 0);
  ASSERT_EQ(app.initResult, app.Initialize(0, nullptr));
  const int port = app.GetStationPort();
  ASSERT_GT(port, 0);
  app.Stop();
  app.Run();
  EXPECT_FALSE(app.IsListening());
  TcpPeer late;
  EXPECT_FALSE(late.Connect(port));
}

TEST_F(RunTest, LetsAStationReadWhatIsQueuedForIt) {
  Link link = LoggedIn("S1");
  const KZString text(std::string(3000000, 'x'));
  Find(link)->SendData(text);
  std::thread reader([&link] { EXPECT_TRUE(link.station.WaitFor(3000002)); });
  app.Stop();
  CallSpy::sMostPolled = 0;
  app.Run();
  reader.join();
  EXPECT_EQ(3000002U, link.station.Bytes().size());
  EXPECT_EQ(1, CallSpy::sMostPolled);
}

TEST_F(RunTest, ASignalDoesNotEndTheWaitForAStationThatReads) {
  Link link = LoggedIn("S1");
  const KZString text(std::string(3000000, 'x'));
  Find(link)->SendData(text);
  std::thread reader([&link] { EXPECT_TRUE(link.station.WaitFor(3000002)); });
  app.Stop();
  CallSpy::tWaitError = EINTR;
  app.Run();
  reader.join();
  EXPECT_EQ(0, CallSpy::tWaitError);
  EXPECT_EQ(3000002U, link.station.Bytes().size());
}

TEST_F(RunTest, WhereNoWaitIsPossibleItEndsWithout) {
  Link link = LoggedIn("S1");
  Find(link)->SendData(KZString(std::string(3000000, 'x')));
  app.Stop();
  CallSpy::tWaits = 0;
  CallSpy::tWaitError = ENOMEM;
  app.Run();
  EXPECT_EQ(1, CallSpy::tWaits);
  EXPECT_EQ(0U, Connections());
}

TEST_F(RunTest, WaitsASecondAtMostForAStationThatDoesNotRead) {
  Link link = LoggedIn("S1");
  Find(link)->SendData(KZString(std::string(3000000, 'x')));
  app.Stop();
  CallSpy::sLongestPollMs = 0;
  const long long ms = RunMs();
  EXPECT_LE(CallSpy::sLongestPollMs, 1000);
  EXPECT_GE(ms, 900);
  EXPECT_LE(ms, 1000 + TestTimeout().count() / 2);
  EXPECT_EQ(0U, Connections());
}

TEST_F(RunTest, DoesNotWaitForAStationThatHasGone) {
  Link link = LoggedIn("S1");
  Find(link)->SendData(KZString(std::string(3000000, 'x')));
  link.station.Close();
  app.Stop();
  EXPECT_LT(RunMs(), 900);
}

TEST_F(RunTest, LeavesDialogsSessionsAndTimersToTheHost) {
  Shared("top", kTree);
  Link link = LoggedIn("S1", "top");
  app.SetApplicationSingleTimerInterval(60000, 77);
  app.Stop();
  app.Run();
  EXPECT_NE(nullptr, Dialog("top"));
  EXPECT_TRUE(app.SessionList()->Has("S1"));
  EXPECT_TRUE(app.HasTimer(77));
}

TEST_F(RunTest, IsAskedOfOneApplicationOnly) {
  TestApp other(maker);
  other.Stop();
  app.timer = [](unsigned int) { app.Stop(); };
  app.SetApplicationSingleTimerInterval(1, 77);
  mClock.AdvanceMs(5);
  app.Run();
  EXPECT_THAT(Calls(), ElementsAre("OnTimer app 77"));
  other.Run();
}

}  // namespace
