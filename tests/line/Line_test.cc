#include "tools/line/Line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/Deadline.h"
#include "tests/support/TcpPeer.h"

using dorn::tools::Addresses;
using dorn::tools::Line;
using dorn::tools::ReadHostAndPort;
using dorn::tools::SteadyMs;
using testing::HasSubstr;

namespace {

// A loop around one line.
class LineLoop : public Line::Hooks {
 public:
  void OnOpen() override {
    ++mOpened;
    if (mAtOpen) mAtOpen();
  }
  void OnReceive(std::string_view bytes) override {
    mReceived += bytes;
    if (mAtReceive) mAtReceive();
  }
  void OnEnd(Line::End end, const std::string& why) override {
    ++mEnded;
    mEnd = end;
    mWhy = why;
    if (mAtEnd) mAtEnd();
  }

  bool RunUntil(const std::function<bool()>& holds) {
    const Deadline deadline;
    while (!holds()) {
      if (deadline.IsOver()) return false;
      pollfd watched{mLine.Descriptor(), mLine.Events(), 0};
      const int limit = mLine.PollTimeout(SteadyMs());
      poll(&watched, 1, limit < 0 ? 20 : std::min(limit, 20));
      mLine.Ready(watched.revents, SteadyMs());
    }
    return true;
  }
  bool RunUntilOpen() {
    return RunUntil([this] { return mOpened > 0; });
  }
  bool RunUntilEnd() {
    return RunUntil([this] { return mEnded > 0; });
  }

  Line mLine{*this};
  int mOpened = 0;
  int mEnded = 0;
  std::string mReceived;
  std::optional<Line::End> mEnd;
  std::string mWhy;
  std::function<void()> mAtOpen;
  std::function<void()> mAtReceive;
  std::function<void()> mAtEnd;
};

class LineTest : public testing::Test {
 protected:
  void Open() {
    mLoop.mLine.Open("127.0.0.1", mHost.Port(), 5'000, SteadyMs());
    ASSERT_TRUE(mLoop.RunUntilOpen());
    mPeer = mHost.Accept();
    ASSERT_GE(mPeer.Fd(), 0);
  }

  TcpAcceptor mHost;
  TcpPeer mPeer;
  LineLoop mLoop;
};

// Addresses with connections that wait to be accepted, so that no further one comes about.
class FullHost {
 public:
  FullHost() {
    listen(Fd(), 0);
    for (TcpPeer& peer : mPeers) ConnectSoon(peer);
  }
  int Port() const { return PortOf(Fd()); }

 private:
  int Fd() const { return mListener.Fd(); }
  void ConnectSoon(TcpPeer& peer) const {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    getsockname(Fd(), reinterpret_cast<sockaddr*>(&address), &size);
    static_cast<void>(connect(fd, reinterpret_cast<sockaddr*>(&address), size));
    peer = TcpPeer(fd);
  }
  static int Bound() {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_storage address{};
    address.ss_family = AF_INET;
    // All zero is any address, and any port.
    static_cast<void>(bind(fd, reinterpret_cast<sockaddr*>(&address), 16));
    return fd;
  }

  TcpPeer mListener{Bound()};
  std::vector<TcpPeer> mPeers = std::vector<TcpPeer>(8);
};

}  // namespace

TEST_F(LineTest, IsClosedAtFirst) {
  EXPECT_EQ(mLoop.mLine.GetState(), Line::State::kClosed);
  EXPECT_EQ(mLoop.mLine.Descriptor(), -1);
  EXPECT_EQ(mLoop.mLine.Events(), 0);
  EXPECT_EQ(mLoop.mLine.PollTimeout(SteadyMs()), -1);
  mLoop.mLine.Send("lost");
  EXPECT_EQ(mLoop.mLine.Unsent(), 0u);
}

TEST_F(LineTest, ConnectsAndCarriesBytesBothWays) {
  Open();
  EXPECT_EQ(mLoop.mLine.GetState(), Line::State::kOpen);
  mLoop.mLine.Send("to the host");
  ASSERT_TRUE(mPeer.WaitFor(11));
  EXPECT_EQ(mPeer.Received(), "to the host");
  mPeer.Send("to the station");
  EXPECT_TRUE(mLoop.RunUntil([this] { return mLoop.mReceived == "to the station"; }));
  EXPECT_EQ(mLoop.mEnded, 0);
}

TEST_F(LineTest, ResolvesNames) {
  mLoop.mLine.Open("localhost", mHost.Port(), 5'000, SteadyMs());
  EXPECT_TRUE(mLoop.RunUntilOpen()) << mLoop.mWhy;
}

TEST_F(LineTest, SendsWhatWasQueuedWhileItConnected) {
  mLoop.mLine.Open("127.0.0.1", mHost.Port(), 5'000, SteadyMs());
  mLoop.mLine.Send("early ");
  mLoop.mLine.Send("bytes");
  EXPECT_EQ(mLoop.mLine.Unsent(), 11u);
  ASSERT_TRUE(mLoop.RunUntilOpen());
  mPeer = mHost.Accept();
  ASSERT_TRUE(mPeer.WaitFor(11));
  EXPECT_EQ(mPeer.Received(), "early bytes");
}

TEST_F(LineTest, QueuesWhatTheHostDoesNotTakeYet) {
  Open();
  std::string much(32 << 20, 'x');
  for (std::size_t at = 0; at < much.size(); at += 997) much[at] = static_cast<char>('a' + at % 23);
  mLoop.mLine.Send(much);
  EXPECT_GT(mLoop.mLine.Unsent(), 0u);
  EXPECT_EQ(mLoop.mLine.Events(), POLLIN | POLLOUT);
  std::string taken;
  ASSERT_TRUE(mLoop.RunUntil([&] {
    taken += mPeer.Take();
    return taken.size() >= much.size();
  }));
  EXPECT_TRUE(taken == much);
  EXPECT_EQ(mLoop.mLine.Unsent(), 0u);
  EXPECT_EQ(mLoop.mLine.Events(), POLLIN);
}

TEST_F(LineTest, EndsWhenTheHostTakesTooLittle) {
  Open();
  mLoop.mLine.Send(std::string(32 << 20, 'x'));
  ASSERT_GT(mLoop.mLine.Unsent(), Line::kMaxUnsent);
  EXPECT_EQ(mLoop.mEnded, 0);
  mLoop.mLine.Send("one more");
  EXPECT_EQ(mLoop.mEnded, 0);
  ASSERT_TRUE(mLoop.RunUntilEnd());
  EXPECT_EQ(mLoop.mEnd, Line::End::kNotTaken);
  EXPECT_THAT(mLoop.mWhy, HasSubstr("does not take what it is sent"));
  EXPECT_EQ(mLoop.mLine.GetState(), Line::State::kClosed);
  EXPECT_EQ(mLoop.mLine.Unsent(), 0u);
}

TEST_F(LineTest, SaysThatNobodyListens) {
  const int port = UnusedPort();
  mLoop.mLine.Open("127.0.0.1", port, 5'000, SteadyMs());
  EXPECT_EQ(mLoop.mEnded, 0) << "a hook was called from within Open()";
  ASSERT_TRUE(mLoop.RunUntilEnd());
  EXPECT_EQ(mLoop.mEnd, Line::End::kCannotConnect);
  EXPECT_EQ(mLoop.mWhy,
            "cannot connect to 127.0.0.1 port " + std::to_string(port) + ": Connection refused");
  EXPECT_EQ(mLoop.mLine.GetState(), Line::State::kClosed);
  EXPECT_EQ(mLoop.mOpened, 0);
}

// Host names have no blanks: nobody is asked for one, which may take long where nobody answers.
constexpr const char* kUnknownHost = "no such host";

TEST_F(LineTest, SaysThatAHostIsUnknown) {
  mLoop.mLine.Open(kUnknownHost, 5000, 5'000, SteadyMs());
  EXPECT_EQ(mLoop.mEnded, 0) << "a hook was called from within Open()";
  ASSERT_TRUE(mLoop.RunUntilEnd());
  EXPECT_EQ(mLoop.mEnd, Line::End::kNoSuchHost);
  EXPECT_THAT(mLoop.mWhy, HasSubstr("cannot find host no such host: "));
}

TEST_F(LineTest, ManyLinesShareOneLookUp) {
  const Addresses host("localhost", mHost.Port());
  for (int i = 0; i < 3; ++i) {
    LineLoop loop;
    loop.mLine.Open(host, 5'000, SteadyMs());
    ASSERT_TRUE(loop.RunUntilOpen());
    EXPECT_GE(mHost.Accept().Fd(), 0);
    // Again after its end.
    loop.mLine.Open(host, 5'000, SteadyMs());
    loop.mOpened = 0;
    ASSERT_TRUE(loop.RunUntilOpen());
    EXPECT_GE(mHost.Accept().Fd(), 0);
  }
  const Addresses none(kUnknownHost, 5000);
  for (int i = 0; i < 2; ++i) {
    mLoop.mEnded = 0;
    mLoop.mLine.Open(none, 5'000, SteadyMs());
    ASSERT_TRUE(mLoop.RunUntilEnd());
    EXPECT_EQ(mLoop.mEnd, Line::End::kNoSuchHost);
  }
}

TEST_F(LineTest, GivesUpWhenNobodyAnswersInTime) {
  const FullHost silent;
  const Line::Ms start = SteadyMs();
  mLoop.mLine.Open("127.0.0.1", silent.Port(), 150, start);
  EXPECT_EQ(mLoop.mLine.PollTimeout(start + 100), 50);
  ASSERT_TRUE(mLoop.RunUntilEnd());
  EXPECT_GE(SteadyMs() - start, 150);
  EXPECT_EQ(mLoop.mEnd, Line::End::kCannotConnect);
  EXPECT_EQ(mLoop.mWhy, "cannot connect to 127.0.0.1 port " + std::to_string(silent.Port()) +
                            ": no answer within 0.150 s");
}

TEST_F(LineTest, ReadsEverythingBeforeItSaysThatTheHostClosed) {
  Open();
  const std::string much(1 << 20, 'y');
  std::size_t left = much.size();
  ASSERT_TRUE(mLoop.RunUntil([&] {
    if (left > 0) {
      left -=
          static_cast<std::size_t>(std::max(0L, mPeer.SendSome(much.substr(much.size() - left))));
    }
    if (left == 0) mPeer.Close();
    return mLoop.mEnded > 0;
  }));
  EXPECT_EQ(mLoop.mReceived.size(), much.size());
  EXPECT_EQ(mLoop.mEnd, Line::End::kClosedByHost);
  EXPECT_EQ(mLoop.mWhy, "the host closed the connection");
}

TEST_F(LineTest, SaysThatTheConnectionBroke) {
  Open();
  mPeer.Reset();
  ASSERT_TRUE(mLoop.RunUntilEnd());
  EXPECT_EQ(mLoop.mEnd, Line::End::kBroken);
  EXPECT_EQ(mLoop.mWhy, "the connection to 127.0.0.1 port " + std::to_string(mHost.Port()) +
                            " broke: Connection reset by peer");
}

TEST_F(LineTest, ReadsTheLastWordsOfAHostThatReceivesNoMore) {
  Open();
  mPeer.Send("go away");
  mPeer.Close();
  // The first bytes are answered by a reset; the next ones are an error here.
  for (int i = 0; i < 3; ++i) {
    mLoop.mLine.Send("question");
    pollfd nothing{-1, 0, 0};
    poll(&nothing, 1, 10);
  }
  EXPECT_EQ(mLoop.mEnded, 0) << "a hook was called from within Send()";
  ASSERT_TRUE(mLoop.RunUntilEnd());
  EXPECT_EQ(mLoop.mReceived, "go away");
  EXPECT_EQ(mLoop.mEnded, 1);
}

TEST_F(LineTest, TellsNothingAfterClose) {
  Open();
  mLoop.mLine.Close();
  EXPECT_EQ(mLoop.mLine.Descriptor(), -1);
  EXPECT_TRUE(mPeer.WaitForClose());
  mLoop.mLine.Ready(POLLIN, SteadyMs());
  EXPECT_EQ(mLoop.mEnded, 0);
}

TEST_F(LineTest, ForgetsAFailureThatNobodyAskedFor) {
  mLoop.mLine.Open(kUnknownHost, 5000, 5'000, SteadyMs());
  mLoop.mLine.Close();
  mLoop.mLine.Ready(0, SteadyMs());
  EXPECT_EQ(mLoop.mEnded, 0);
}

TEST_F(LineTest, MayBeClosedFromItsHooks) {
  Open();
  mLoop.mAtReceive = [this] { mLoop.mLine.Close(); };
  mPeer.Send("bytes");
  EXPECT_TRUE(mLoop.RunUntil([this] { return !mLoop.mReceived.empty(); }));
  EXPECT_EQ(mLoop.mLine.GetState(), Line::State::kClosed);
  EXPECT_EQ(mLoop.mEnded, 0);
}

TEST_F(LineTest, MayBeOpenedAgainFromItsLastHook) {
  Open();
  mLoop.mOpened = 0;
  mLoop.mAtEnd = [this] { mLoop.mLine.Open("127.0.0.1", mHost.Port(), 5'000, SteadyMs()); };
  mPeer.Close();
  ASSERT_TRUE(mLoop.RunUntilOpen());
  mPeer = mHost.Accept();
  mLoop.mLine.Send("again");
  EXPECT_TRUE(mPeer.WaitFor(5));
}

TEST_F(LineTest, MaySendFromItsHooks) {
  mLoop.mAtOpen = [this] { mLoop.mLine.Send("hello"); };
  Open();
  ASSERT_TRUE(mPeer.WaitFor(5));
  mLoop.mAtReceive = [this] { mLoop.mLine.Send("answer"); };
  mPeer.Send("?");
  ASSERT_TRUE(mLoop.RunUntil([this] { return mPeer.Received() == "helloanswer"; }));
}

TEST_F(LineTest, OpeningLeavesTheConnectionBefore) {
  Open();
  mLoop.mLine.Send("one");
  TcpPeer first = std::move(mPeer);
  Open();
  EXPECT_TRUE(first.WaitForClose());
  EXPECT_EQ(mLoop.mEnded, 0);
}

TEST(HostAndPortTest, ReadsWhatPeopleWrite) {
  const struct {
    const char* text;
    const char* host;
    int port;
  } rows[] = {{"192.168.1.7:5001", "192.168.1.7", 5001},
              {"panel.local", "panel.local", 5000},
              {"[::1]:6000", "::1", 6000},
              {"[::1]", "::1", 5000},
              {"host:65535", "host", 65535}};
  for (const auto& row : rows) {
    const auto read = ReadHostAndPort(row.text);
    ASSERT_TRUE(read) << row.text;
    EXPECT_EQ(read->mHost, row.host) << row.text;
    EXPECT_EQ(read->mPort, row.port) << row.text;
  }
}

TEST(HostAndPortTest, RefusesWhatIsNone) {
  for (const char* text : {"", ":5000", "host:", "host:0", "host:65536", "host:-1", "host:+1",
                           "host:5000x", "::1", "[::1", "[::1]5000", "[]:5000", "host:99999999999",
                           " ", " :5000", "a b:5000", "host\n", "\x7Fhost"}) {
    EXPECT_FALSE(ReadHostAndPort(text)) << text;
  }
}
