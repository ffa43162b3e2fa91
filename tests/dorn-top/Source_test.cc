#include "tools/dorn-top/Source.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace dorn::top {

namespace {

using ::testing::DoubleNear;
using ::testing::Optional;

// A host's socket, at which a test says what is answered.
class Listener {
 public:
  Listener() {
    char folder[] = "/tmp/dorn-top-XXXXXX";
    EXPECT_NE(mkdtemp(folder), nullptr);
    mFolder = folder;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, Path().c_str(), Path().size() + 1);
    mFd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(mFd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(mFd, 0), 0);
  }
  ~Listener() {
    close(mFd);
    unlink(Path().c_str());
    rmdir(mFolder.c_str());
  }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  std::string Path() const { return mFolder + "/statistics"; }

  // To the one that asks next, who is then left.
  void Answer(const std::string& text) const {
    const int peer = accept(mFd, nullptr, nullptr);
    EXPECT_EQ(write(peer, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(peer);
  }

 private:
  std::string mFolder;
  int mFd = -1;
};

std::string Text(int stations, int messages) {
  return "dorn_stations " + std::to_string(stations) + "\ndorn_messages_in_total " +
         std::to_string(messages) + "\n";
}

void AskAndAnswer(Source& source, const Listener& host, const std::string& text,
                  std::int64_t nowMs) {
  source.Ask(nowMs);
  host.Answer(text);
  EXPECT_TRUE(source.Receive(nowMs));
}

TEST(SourceTest, TellsRatesBetweenTwoAnswers) {
  const Listener host;
  Source source(host.Path());
  AskAndAnswer(source, host, Text(3, 40), 1000);
  ASSERT_TRUE(source.Last());
  EXPECT_FALSE(source.Rate("messages_in_total"));
  AskAndAnswer(source, host, Text(4, 70), 3000);
  EXPECT_THAT(source.Last()->Number("stations"), Optional(4));
  EXPECT_THAT(source.Rate("messages_in_total"), Optional(DoubleNear(15, 1e-9)));
  EXPECT_FALSE(source.Rate("unknown_total"));
}

TEST(SourceTest, TellsNoRateOfAProcessThatCountsAnew) {
  const Listener host;
  Source source(host.Path());
  AskAndAnswer(source, host, Text(3, 40), 1000);
  AskAndAnswer(source, host, Text(1, 2), 2000);
  EXPECT_FALSE(source.Rate("messages_in_total"));
}

TEST(SourceTest, ForgetsWhatWasSaidWhenTheHostIsGone) {
  auto host = std::make_unique<Listener>();
  Source source(host->Path());
  AskAndAnswer(source, *host, Text(3, 40), 1000);
  AskAndAnswer(source, *host, Text(3, 50), 2000);
  host.reset();
  source.Ask(3000);
  EXPECT_FALSE(source.Receive(3000));
  EXPECT_FALSE(source.Last());
  EXPECT_FALSE(source.Rate("messages_in_total"));
  EXPECT_EQ(source.Why(), "No such file or directory");
}

TEST(SourceTest, GivesUpOnAHostThatDoesNotAnswer) {
  const Listener host;
  Source source(host.Path());
  source.Ask(1000);
  EXPECT_FALSE(source.Receive(6000));
  EXPECT_TRUE(source.Receive(6001));
  EXPECT_LT(source.Descriptor(), 0);
  EXPECT_EQ(source.Why(), "does not answer");
}

// Each question that was given up on still waits there, until no more are taken.
TEST(SourceTest, SaysSoWhenTheHostTakesNoMoreQuestions) {
  const Listener host;
  Source one(host.Path());
  one.Ask(0);
  Source two(host.Path());
  two.Ask(0);
  EXPECT_LT(two.Descriptor(), 0);
  EXPECT_EQ(two.Why(), "does not answer");
}

TEST(SourceTest, DoesNotAskTwiceAtOnce) {
  const Listener host;
  Source source(host.Path());
  source.Ask(0);
  const int awaited = source.Descriptor();
  source.Ask(1);
  EXPECT_EQ(source.Descriptor(), awaited);
}

TEST(SourceTest, SaysWhatAnswersAreNone) {
  const Listener host;
  Source source(host.Path());
  AskAndAnswer(source, host, "", 0);
  EXPECT_EQ(source.Why(), "says nothing");
  AskAndAnswer(source, host, "hello\n", 0);
  EXPECT_EQ(source.Why(), "no statistics");
  AskAndAnswer(source, host, Text(3, 4), 0);
  EXPECT_EQ(source.Why(), "");
}

TEST(SourceTest, RefusesAPathThatNoSocketHas) {
  Source source(std::string(200, 'x'));
  source.Ask(0);
  EXPECT_EQ(source.Why(), "File name too long");
}

}  // namespace

}  // namespace dorn::top
