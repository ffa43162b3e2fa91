#include "dorn/base/KZLog.h"

#include <sys/time.h>

#include <cerrno>
#include <cstdint>
#include <cwchar>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "dorn/base/Clock.h"
#include "gtest/gtest.h"
#include "tests/base/UntypedStream.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedStdout.h"

namespace {

static_assert(std::is_polymorphic_v<KZLog> && std::has_virtual_destructor_v<KZLog>);
static_assert(std::is_polymorphic_v<KZStream> && std::has_virtual_destructor_v<KZStream>);
static_assert(sizeof(KZStream) == sizeof(void*), "no fields");
static_assert(std::is_unsigned_v<decltype(KZLog::mStratTime)> && sizeof(KZLog::mStratTime) == 8);
static_assert(std::is_same_v<decltype(KZLog::mBufferSize), int>);
static_assert(std::is_same_v<decltype(KZLog::mBuffer), char*>);
static_assert(std::is_same_v<decltype(KZLog::mSrteam), KZStream*>);
static_assert(!std::is_copy_constructible_v<KZLog>, "the buffer has one owner");
static_assert(!std::is_copy_assignable_v<KZLog>, "the buffer has one owner");

timeval gNow;
timeval FakeClock() { return gNow; }

timeval AfterStart(int64_t elapsedUs) {
  const int64_t us = int64_t{1700000000} * 1000000 + elapsedUs;
  timeval time{};
  time.tv_sec = us / 1000000;
  time.tv_usec = us % 1000000;
  return time;
}

// Keeps every text it is given and answers with the results of its list, then with 0.
class RecordingStream : public KZStream {
 public:
  int Output(char* text) override {
    mTexts.emplace_back(text);
    if (mResults.empty()) return 0;
    const int result = mResults.front();
    mResults.erase(mResults.begin());
    return result;
  }

  std::vector<std::string> mTexts;
  std::vector<int> mResults;
};

class KZLogTest : public testing::Test {
 protected:
  KZLogTest() {
    gNow = AfterStart(0);
    dorn::SetClock(FakeClock);
  }
  ~KZLogTest() override { dorn::SetClock(nullptr); }

  KZLog mLog;
  RecordingStream mSink;
};

using Texts = std::vector<std::string>;

TEST_F(KZLogTest, StartsWithoutTimeBufferOrSink) {
  EXPECT_EQ(mLog.mStratTime, 0u);
  EXPECT_EQ(mLog.mBufferSize, 0);
  EXPECT_EQ(mLog.mBuffer, nullptr);
  EXPECT_EQ(mLog.mSrteam, nullptr);
  EXPECT_EQ(mLog.GetSize(), 0);
  EXPECT_EQ(mLog.GetStream(), nullptr);
}

TEST_F(KZLogTest, KeepsItsMembersInTheirOrder) {
  const auto* object = reinterpret_cast<const char*>(&mLog);
  EXPECT_EQ(reinterpret_cast<const char*>(&mLog.mStratTime) - object, 8);
  EXPECT_EQ(reinterpret_cast<const char*>(&mLog.mBufferSize) - object, 16);
  EXPECT_EQ(reinterpret_cast<const char*>(&mLog.mBuffer) - object, 24);
  EXPECT_EQ(reinterpret_cast<const char*>(&mLog.mSrteam) - object, 32);
}

TEST_F(KZLogTest, BaseStreamWritesNothingAndReturnsZero) {
  KZStream stream;
  char text[] = "text";
  CapturedStdout captured;
  const int result = stream.Output(text);
  EXPECT_EQ(captured.Text(), "");
  EXPECT_EQ(result, 0);
}

TEST_F(KZLogTest, LogStartTakesTheTimeInMicroseconds) {
  gNow.tv_sec = 1234567890;
  gNow.tv_usec = 123456;
  EXPECT_EQ(mLog.LogStart(100, &mSink), 1);
  EXPECT_EQ(mLog.mStratTime, 1234567890123456u);
}

TEST_F(KZLogTest, LogStartWithSizeAndSinkIsBuffered) {
  EXPECT_EQ(mLog.LogStart(1024, &mSink), 1);
  EXPECT_EQ(mLog.GetSize(), 1024);
  EXPECT_EQ(mLog.GetStream(), &mSink);
  EXPECT_NE(mLog.mBuffer, nullptr);
  EXPECT_TRUE(mSink.mTexts.empty());
}

// There is one log for each connection, and hardly any of them ever says a word.
TEST_F(KZLogTest, LogsThatSayNothingShareABuffer) {
  KZLog silent;
  KZLog other;
  KZLog large;
  silent.LogStart(1024, &mSink);
  other.LogStart(512, &mSink);
  large.LogStart(100000, &mSink);
  EXPECT_EQ(silent.mBuffer, other.mBuffer);
  EXPECT_NE(silent.mBuffer, large.mBuffer);
  EXPECT_EQ(silent.GetSize(), 1024);
  EXPECT_EQ(other.GetSize(), 512);
  other.LogPrintf("word");
  EXPECT_NE(silent.mBuffer, other.mBuffer);
  EXPECT_STREQ(silent.mBuffer, "");
  EXPECT_STREQ(other.mBuffer, "word");
  silent.LogStart(2000, &mSink);
  EXPECT_STREQ(silent.mBuffer, "");
  other.LogStart(0, nullptr);
  EXPECT_EQ(other.mBuffer, nullptr);
}

TEST_F(KZLogTest, UpTo2048BytesAreAskedForWithTheFirstMessage) {
  KZLog small;
  KZLog large;
  const Allocations starting;
  small.LogStart(2048, &mSink);
  EXPECT_EQ(starting.Count(), 0U);
  large.LogStart(2049, &mSink);
  EXPECT_EQ(starting.Count(), 1U);
  KZStream dropping;
  small.mSrteam = &dropping;
  const Allocations writing;
  small.LogPrintf("first");
  EXPECT_EQ(writing.Count(), 1U);
  small.LogPrintf("second");
  EXPECT_EQ(writing.Count(), 1U);
}

TEST_F(KZLogTest, WithoutMemoryForItsBufferTheFirstMessageGoesToTheConsole) {
  mLog.LogStart(100, &mSink);
  CapturedStdout captured;
  int result = 0;
  {
    const NoMemory none;
    result = mLog.LogPrintf("first\n");
  }
  EXPECT_EQ(result, -1);
  EXPECT_EQ(mLog.LogPrintf("second\n"), -1);
  EXPECT_EQ(captured.Text(), " 00:00:00.000 first\n 00:00:00.000 second\n");
  EXPECT_EQ(mLog.GetSize(), 0);
  EXPECT_EQ(mLog.mBuffer, nullptr);
  EXPECT_TRUE(mSink.mTexts.empty());
}

TEST_F(KZLogTest, WithoutMemoryForALargeBufferTheFormerOneStays) {
  mLog.LogStart(100, &mSink);
  {
    const NoMemory none;
    EXPECT_EQ(mLog.LogStart(5000, &mSink), 1);
  }
  EXPECT_EQ(mLog.GetSize(), 100);
  mLog.LogPrintf("text");
  EXPECT_EQ(mSink.mTexts, (Texts{" 00:00:00.000 ", "text"}));
}

// Writes to another log before it looks at its own text.
class LogsFirst : public KZStream {
 public:
  int Output(char* text) override {
    if (mOther != nullptr) mOther->LogPrintf("of the other");
    mTexts += text;
    return 0;
  }
  KZLog* mOther = nullptr;
  std::string mTexts;
};

TEST_F(KZLogTest, AFirstMessageIsNotOverwrittenByAnotherLogs) {
  LogsFirst sink;
  KZLog log;
  KZLog other;
  log.LogStart(100, &sink);
  other.LogStart(100, &mSink);
  sink.mOther = &other;
  log.LogPrintf(AfterStart(0), "of this one");
  EXPECT_NE(sink.mTexts.find("of this one"), std::string::npos);
  EXPECT_EQ(sink.mTexts.find("of the other"), std::string::npos);
}

TEST_F(KZLogTest, LogStartWithoutASinkIsConsoleMode) {
  EXPECT_EQ(mLog.LogStart(1024, nullptr), 1);
  EXPECT_EQ(mLog.GetSize(), 0);
  EXPECT_EQ(mLog.mBuffer, nullptr);
  EXPECT_EQ(mLog.GetStream(), nullptr);
}

TEST_F(KZLogTest, ASinkWithSizeZeroIsStoredButNotUsed) {
  EXPECT_EQ(mLog.LogStart(0, &mSink), 1);
  EXPECT_EQ(mLog.GetSize(), 0);
  EXPECT_EQ(mLog.mBuffer, nullptr);
  EXPECT_EQ(mLog.GetStream(), &mSink);

  CapturedStdout captured;
  const int result = mLog.LogPrintf(AfterStart(0), "text\n");
  EXPECT_EQ(captured.Text(), " 00:00:00.000 text\n");
  EXPECT_EQ(result, -1);
  EXPECT_TRUE(mSink.mTexts.empty());
}

TEST_F(KZLogTest, ASizeThatCannotBeAllocatedMeansNoBuffer) {
  EXPECT_EQ(mLog.LogStart(-1, &mSink), 1);
  EXPECT_EQ(mLog.GetSize(), 0);
  EXPECT_EQ(mLog.mBuffer, nullptr);

  CapturedStdout captured;
  EXPECT_EQ(mLog.LogPrintf(AfterStart(0), "text\n"), -1);
  EXPECT_EQ(captured.Text(), " 00:00:00.000 text\n");
}

TEST_F(KZLogTest, ASecondStartReplacesBufferSinkAndTime) {
  RecordingStream other;
  mLog.LogStart(100, &mSink);
  gNow = AfterStart(5000000);
  EXPECT_EQ(mLog.LogStart(50, &other), 1);
  EXPECT_EQ(mLog.GetSize(), 50);
  mLog.LogPrintf("text");
  EXPECT_EQ(other.mTexts, (Texts{" 00:00:00.000 ", "text"}));
  EXPECT_TRUE(mSink.mTexts.empty());
}

TEST_F(KZLogTest, ASecondStartWithoutASinkReturnsToTheConsole) {
  mLog.LogStart(100, &mSink);
  mLog.LogStart(100, nullptr);
  EXPECT_EQ(mLog.GetSize(), 0);
  EXPECT_EQ(mLog.mBuffer, nullptr);
  EXPECT_EQ(mLog.GetStream(), &mSink) << "the sink is only replaced by another one";

  CapturedStdout captured;
  EXPECT_EQ(mLog.LogPrintf(AfterStart(0), "text\n"), -1);
  EXPECT_EQ(captured.Text(), " 00:00:00.000 text\n");
}

TEST_F(KZLogTest, ASecondStartWithSizeZeroKeepsTheBuffer) {
  RecordingStream other;
  mLog.LogStart(100, &mSink);
  mLog.LogStart(0, &other);
  EXPECT_EQ(mLog.GetSize(), 100);
  mLog.LogPrintf("text");
  EXPECT_EQ(other.mTexts, (Texts{" 00:00:00.000 ", "text"}));
}

TEST_F(KZLogTest, PrefixIsTheTimeSinceTheStart) {
  struct Row {
    int64_t elapsedUs;
    const char* prefix;
  };
  const Row rows[] = {
      {0, " 00:00:00.000 "},
      {999, " 00:00:00.000 "},
      {1000, " 00:00:00.001 "},
      {999999, " 00:00:00.999 "},
      {1000000, " 00:00:01.000 "},
      {59999999, " 00:00:59.999 "},
      {60000000, " 00:01:00.000 "},
      {3600000000, " 01:00:00.000 "},
      {3725500000, " 01:02:05.500 "},
      {86400000000, " 24:00:00.000 "},
      {359999999999, " 99:59:59.999 "},
      {360000000000, " 100:00:00.000 "},
      {36000000000000, " 10000:00:00.000 "},
  };
  mLog.LogStart(100, &mSink);
  for (const Row& row : rows) {
    mSink.mTexts.clear();
    mLog.LogPrintf(AfterStart(row.elapsedUs), "text");
    EXPECT_EQ(mSink.mTexts, (Texts{row.prefix, "text"}));
  }
}

TEST_F(KZLogTest, PrefixComesFromTheClockWithoutATimeStamp) {
  mLog.LogStart(100, &mSink);
  gNow = AfterStart(3725500000);
  mLog.LogPrintf("text");
  EXPECT_EQ(mSink.mTexts, (Texts{" 01:02:05.500 ", "text"}));
}

TEST_F(KZLogTest, UnstartedLogCountsFromTheEpochToTheConsole) {
  CapturedStdout captured;
  const int result = mLog.LogPrintf(AfterStart(0), "text\n");
  EXPECT_EQ(captured.Text(), " 472222:13:20.000 text\n");
  EXPECT_EQ(result, -1);
}

TEST_F(KZLogTest, AClockThatWentBackStartsTheCountAnew) {
  mLog.LogStart(100, &mSink);
  mLog.LogPrintf(AfterStart(-10000000), "back");
  EXPECT_EQ(mLog.mStratTime, 1699999990000000u);
  mLog.LogPrintf(AfterStart(-9000000), "later");
  EXPECT_EQ(mSink.mTexts, (Texts{" 00:00:00.000 ", "back", " 00:00:01.000 ", "later"}));
}

TEST_F(KZLogTest, AClockBeforeTheEpochStartsTheCountAnew) {
  mLog.LogStart(100, &mSink);
  timeval time{};
  time.tv_sec = -1;
  mLog.LogPrintf(time, "before");
  time.tv_sec = 1;
  mLog.LogPrintf(time, "after");
  EXPECT_EQ(mSink.mTexts, (Texts{" 00:00:00.000 ", "before", " 00:00:02.000 ", "after"}));
}

TEST_F(KZLogTest, BufferedMessageIsTwoOutputsAndTheSumOfTheirResults) {
  mLog.LogStart(100, &mSink);
  mSink.mResults = {14, 7};
  EXPECT_EQ(mLog.LogPrintf("%s=%d\n", "a", 12), 21);
  EXPECT_EQ(mSink.mTexts, (Texts{" 00:00:00.000 ", "a=12\n"}));
  mSink.mResults = {-1, -1};
  EXPECT_EQ(mLog.LogPrintf(gNow, "text"), -2);
}

TEST_F(KZLogTest, AMessageWithATimeOfItsOwnTakesArgumentsToo) {
  mLog.LogStart(100, &mSink);
  mLog.LogPrintf(AfterStart(1000), "%s=%d %s\n", "a", 12, "b");
  EXPECT_EQ(mSink.mTexts, (Texts{" 00:00:00.001 ", "a=12 b\n"}));
}

TEST_F(KZLogTest, BaseStreamAsSinkSwallowsTheMessage) {
  KZStream stream;
  mLog.LogStart(100, &stream);
  CapturedStdout captured;
  const int result = mLog.LogPrintf("text\n");
  EXPECT_EQ(captured.Text(), "");
  EXPECT_EQ(result, 0);
}

TEST_F(KZLogTest, AddsNoLineEnd) {
  mLog.LogStart(0, nullptr);
  CapturedStdout captured;
  mLog.LogPrintf("a");
  mLog.LogPrintf("b\n");
  EXPECT_EQ(captured.Text(), " 00:00:00.000 a 00:00:00.000 b\n");
}

TEST_F(KZLogTest, MessageIsBoundedByTheBuffer) {
  struct Row {
    int size;
    const char* expected;
  };
  const Row rows[] = {{11, "0123456789"}, {10, "012345678"}, {2, "0"}, {1, ""}};
  for (const Row& row : rows) {
    RecordingStream sink;
    KZLog log;
    log.LogStart(row.size, &sink);
    log.LogPrintf("%s", "0123456789");
    EXPECT_EQ(sink.mTexts, (Texts{" 00:00:00.000 ", row.expected})) << row.size;
  }
}

TEST_F(KZLogTest, OverlongMessageIsBoundedByTheBuffer) {
  mLog.LogStart(1024, &mSink);
  const std::string text(600000, 'x');
  mLog.LogPrintf("%s\n", text.c_str());
  ASSERT_EQ(mSink.mTexts.size(), 2u);
  EXPECT_EQ(mSink.mTexts[1], std::string(1023, 'x'));
}

TEST_F(KZLogTest, ConsoleMessageIsWrittenWhole) {
  const std::string text(5000, 'x');
  mLog.LogStart(0, nullptr);
  CapturedStdout captured;
  mLog.LogPrintf("%s\n", text.c_str());
  EXPECT_EQ(captured.Text(), " 00:00:00.000 " + text + "\n");
}

TEST_F(KZLogTest, PercentSignsInArgumentsAreText) {
  mLog.LogStart(100, &mSink);
  mLog.LogPrintf("%s", "%s%n%d");
  EXPECT_EQ(mSink.mTexts[1], "%s%n%d");

  KZLog console;
  console.LogStart(0, nullptr);
  CapturedStdout captured;
  console.LogPrintf("%s\n", "%s%n%d");
  EXPECT_EQ(captured.Text(), " 00:00:00.000 %s%n%d\n");
}

TEST_F(KZLogTest, MessageEndsAtACharacterThatTheLocaleCannotWrite) {
  mLog.LogStart(100, &mSink);
  mLog.LogPrintf("an earlier, longer message");
  mLog.LogPrintf("a%lcb", static_cast<wint_t>(0x3042));
  EXPECT_EQ(mSink.mTexts.back(), "a");
}

TEST_F(KZLogTest, LeavesTheErrorNumberAlone) {
  struct Spoiling : KZStream {
    int Output(char*) override {
      errno = EIO;
      return 1;
    }
  };
  Spoiling sink;
  mLog.LogStart(100, &sink);
  errno = EAGAIN;
  mLog.LogPrintf("text");
  EXPECT_EQ(errno, EAGAIN);
}

TEST_F(KZLogTest, DestructorLeavesTheSinkAlone) {
  struct Watched : KZStream {
    ~Watched() override { ++destroyed; }
    int destroyed = 0;
  };
  Watched sink;
  {
    KZLog log;
    log.LogStart(100, &sink);
  }
  EXPECT_EQ(sink.destroyed, 0);
}

// Such a host's classes have no type_info.
TEST_F(KZLogTest, ASinkMayComeFromAHostWithoutTypeInformation) {
  const auto counting = MakeUntypedCountingStream();
  const auto dropping = MakeUntypedStream();
  KZLog log;
  log.LogStart(64, counting.get());
  EXPECT_EQ(log.LogPrintf("one"), 2);
  log.LogStart(64, dropping.get());
  EXPECT_EQ(log.LogPrintf("two"), 0);
  EXPECT_STREQ(log.mBuffer, "two");
}

TEST_F(KZLogTest, ASinkThatDropsEverythingLeavesTheMessageInTheBuffer) {
  KZStream sink;
  KZLog log;
  log.LogStart(100, &sink);
  CapturedStdout captured;
  EXPECT_EQ(log.LogPrintf("%s %d\n", "message", 1), 0);
  EXPECT_EQ(captured.Text(), "");
  EXPECT_STREQ(log.mBuffer, "message 1\n");
  gNow = AfterStart(-5000000);
  log.LogPrintf("before the start\n");
  EXPECT_EQ(log.mStratTime, static_cast<std::uint64_t>(1699999995) * 1000000);
}

}  // namespace
