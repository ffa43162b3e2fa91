// Hosts that are started and ended, and those that do not do well.
#include <signal.h>

#include "tests/scene/PlayTest.h"
#include "tests/support/TcpPeer.h"
#include "tools/dorn-station/scene/Parser.h"

using testing::HasSubstr;

namespace {

// Whether a process of this id is there.
bool IsThere(pid_t pid) { return kill(pid, 0) == 0; }

}  // namespace

TEST_F(PlayTest, HostsRestartAndForgetSessions) {
  Holds(
      "a: click touch\nhost: restart\na: expect closed\na: expect session ended\n"
      "a: login user right\na: expect count Value 0");
}

TEST_F(PlayTest, HostsStopAndStart) {
  Holds("host: stop\na: expect closed\nhost: start\na: login user right");
  Holds("host: kill\na: expect closed\nhost: start\na: login user right");
  Fails("host: stop\nb: login user right", "user is logged in", "cannot log in: cannot connect to");
}

TEST_F(PlayTest, ReadsWhatTheHostPrints) {
  Holds(
      "host: expect line \"the host is sound\"\na: click say\n"
      "host: expect line \"says something\"\nhost: expect no line \"says something else\" for 20ms");
  Fails("host: expect line \"never said\" within 50ms", "a line of the host that contains \"never",
        "none within 50ms");
  Fails("a: click say\nhost: expect no line says for 20ms", "no line of the host",
        "the host says something");
}

TEST_F(PlayTest, ALineOfTheHostIsFoundOnce) {
  Fails(
      "a: click say\nhost: expect line \"says something\"\n"
      "host: expect line \"says something\" within 50ms",
      "a line of the host", "behind the line found before");
}

TEST_F(PlayTest, ExpectsTheHostToEnd) {
  Holds("a: click die\nhost: expect exit 7\nhost: start\na: login user right");
  Fails("a: click die\nhost: expect exit 8", "exit code 8", "it ended with exit code 7");
  Fails("a: click crash\nhost: expect exit 0", "exit code 0", "it was ended by signal 6 (Aborted)");
  Fails("host: expect exit 0 within 50ms", "exit code 0", "it still runs after 50ms");
}

TEST_F(PlayTest, AHostThatDiesIsToldAtOnce) {
  const auto result = Play("a: click die\na: expect count Value 9 within 60s");
  ASSERT_TRUE(result.mFailure);
  EXPECT_THAT(result.mFailure->mGot, HasSubstr("the host ended with exit code 7"));
  EXPECT_LT(result.mTook, 50'000);
  const auto late = Play("a: click crash\nwait 60s");
  ASSERT_TRUE(late.mFailure);
  EXPECT_THAT(late.mFailure->mGot, HasSubstr("the host was ended by signal 6"));
}

TEST_F(PlayTest, AHostThatHasDiedAtTheEndIsNoticed) {
  const auto result = Play("a: click die");
  ASSERT_TRUE(result.mFailure);
  EXPECT_THAT(result.mFailure->mGot, HasSubstr("ended with exit code 7"));
}

TEST_F(PlayTest, AHostThatHangsIsTold) {
  mOptions.mTimeout = 300;
  const auto result = Play("a: click hang");
  ASSERT_TRUE(result.mFailure);
  EXPECT_EQ(result.mLine, 2u);
  EXPECT_THAT(result.mFailure->mGot, HasSubstr("no answer within"));
}

TEST_F(PlayTest, AHostThatNeverListensIsTold) {
  mOptions.mTimeout = 100;
  const auto result = PlayAlone("host: restart within 200ms", "deaf");
  ASSERT_TRUE(result.mFailure);
  EXPECT_TRUE(result.mNoHost);
  EXPECT_EQ(result.mLine, 0u);
  EXPECT_THAT(result.mFailure->mGot, HasSubstr("it runs, and told no address within"));
  EXPECT_THAT(result.mHostOutput, HasSubstr("the host is deaf"));
}

TEST_F(PlayTest, AHostThatEndsAtOnceIsTold) {
  const auto result = PlayAlone("wait 1s", "short");
  ASSERT_TRUE(result.mFailure);
  EXPECT_TRUE(result.mNoHost);
  EXPECT_EQ(result.mFailure->mGot, "the host ended with exit code 4");
  EXPECT_THAT(result.mHostOutput, HasSubstr("the host is short"));
}

TEST_F(PlayTest, AProgramThatIsNotThereIsTold) {
  const auto read = dorn::scene::ParseScene("wait 1s\n", "s", true);
  mOptions.mStart = {"/no/such/host"};
  const auto result = dorn::scene::Player(mOptions).Play(read.mScene);
  ASSERT_TRUE(result.mFailure);
  EXPECT_TRUE(result.mNoHost);
  EXPECT_THAT(result.mHostOutput, HasSubstr("cannot run /no/such/host: No such file"));
}

TEST_F(PlayTest, AHostThatMindsNoSignalIsKilledAndTold) {
  const auto result = PlayAlone("host: stop within 200ms", "stubborn");
  ASSERT_TRUE(result.mFailure);
  EXPECT_EQ(result.mLine, 1u);
  EXPECT_THAT(result.mFailure->mGot, HasSubstr("after SIGTERM, and was killed"));
}

TEST_F(PlayTest, AHostThatEndsInDisorderIsTold) {
  const auto result = PlayAlone("wait 1ms", "sour");
  ASSERT_TRUE(result.mFailure);
  EXPECT_EQ(result.mLine, 0u);
  EXPECT_EQ(result.mFailure->mExpected, "a host that ends in order");
  EXPECT_EQ(result.mFailure->mGot, "it ended with exit code 3");
}

TEST_F(PlayTest, HostsGoWithWhoeverStartedThem) {
  pid_t pid = -1;
  {
    dorn::scene::Host host({"sleep", "1000"});
    std::string error;
    ASSERT_TRUE(host.Start(error)) << error;
    pid = host.Pid();
    EXPECT_TRUE(IsThere(pid));
  }
  EXPECT_FALSE(IsThere(pid));
}

TEST_F(PlayTest, WithoutAHostOfItsOwnASceneGoesWhereItIsSent) {
  const auto read = dorn::scene::ParseScene("a: login u p\n", "s", false);
  mOptions.mAt = {"127.0.0.1", UnusedPort()};
  const auto result = dorn::scene::Player(mOptions).Play(read.mScene);
  ASSERT_TRUE(result.mFailure);
  EXPECT_TRUE(result.mNoHost);
  EXPECT_THAT(result.mFailure->mGot, HasSubstr("Connection refused"));
}
