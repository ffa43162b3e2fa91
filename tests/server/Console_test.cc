#include "dorn/server/Console.h"

#include <gtest/gtest.h>
#include <stdio_ext.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <thread>

#include "dorn/base/KZString.h"
#include "tests/support/CapturedStdout.h"

namespace {

// What a host has made of its standard output.
struct Buffering {
  const char* name;
  int mode;
  std::size_t size;
};

const Buffering kBufferings[] = {{"full", _IOFBF, 4096},
                                 {"full, small", _IOFBF, 70},
                                 {"full, large", _IOFBF, 65536},
                                 {"line", _IOLBF, 4096},
                                 {"none", _IONBF, 0}};

// The stream keeps it when the tests are over.
char gBuffer[65536];

void SetBuffering(int mode, std::size_t size) {
  std::fflush(stdout);
  std::setvbuf(stdout, size > 0 ? gBuffer : nullptr, mode, size);
}

class ConsoleTest : public ::testing::TestWithParam<Buffering> {
 protected:
  ConsoleTest() { SetBuffering(GetParam().mode, GetParam().size); }
  ~ConsoleTest() override { SetBuffering(_IOFBF, sizeof gBuffer); }

  CapturedStdout mCaptured;
};

INSTANTIATE_TEST_SUITE_P(Buffering, ConsoleTest, ::testing::ValuesIn(kBufferings));

TEST_P(ConsoleTest, LinesComeInOrderWithWhatTheHostPrints) {
  std::mt19937 random(7);
  std::string expected;
  for (int i = 0; i < 3000; ++i) {
    const std::string text(random() % (i % 50 == 0 ? 3000 : 60), static_cast<char>('a' + i % 26));
    switch (random() % 6) {
      case 0:
        std::printf("%s|", text.c_str());
        expected += text + "|";
        break;
      case 1:
        std::puts(text.c_str());
        expected += text + "\n";
        break;
      case 2:
        std::putchar('.');
        expected += ".";
        break;
      case 3:
        if (i % 10 == 0) std::fflush(stdout);
        break;
      default:
        dorn::PrintLine({" id=", std::to_string(i), " out=", text});
        expected += " id=" + std::to_string(i) + " out=" + text + "\n";
    }
  }
  EXPECT_EQ(mCaptured.Text(), expected);
}

TEST_P(ConsoleTest, AHostMayChangeTheBufferingInBetween) {
  std::string expected;
  for (int i = 0; i < 40; ++i) {
    dorn::PrintLine({"line ", std::to_string(i)});
    expected += "line " + std::to_string(i) + "\n";
    const Buffering& next = kBufferings[static_cast<std::size_t>(i) % std::size(kBufferings)];
    SetBuffering(next.mode, next.size);
  }
  EXPECT_EQ(mCaptured.Text(), expected);
}

TEST_P(ConsoleTest, ZeroBytesAndEmptyPartsAreKept) {
  const std::string zero("a\0b", 3);
  dorn::PrintLine({});
  dorn::PrintLine({"", zero, {}, "c"});
  dorn::PrintOftenLine("", KZString(zero), std::string_view(), "c");
  EXPECT_EQ(mCaptured.Text(), std::string("\na\0bc\na\0bc\n", 11));
}

TEST_P(ConsoleTest, PartsOfEveryLengthAreWhole) {
  std::string long1;
  std::string long2;
  std::string expected;
  for (int i = 0; i < 40; ++i) {
    dorn::PrintLine({"<", long1, ":", long2, ">"});
    dorn::PrintOftenLine("<", long1, ":", long2, ">");
    for (int times = 0; times < 2; ++times) expected += "<" + long1 + ":" + long2 + ">\n";
    long1 += static_cast<char>('a' + i % 26);
    long2 += static_cast<char>('Z' - i % 26);
  }
  EXPECT_EQ(mCaptured.Text(), expected);
}

TEST_P(ConsoleTest, LinesOfTwoThreadsDoNotMix) {
  const auto print = [](const char* name) {
    for (int i = 0; i < 500; ++i) dorn::PrintLine({name, " ", name, " ", name});
  };
  std::thread other([&] { print("beta"); });
  print("alpha");
  other.join();
  const std::string text = mCaptured.Text();
  std::size_t at = 0;
  int lines = 0;
  while (at < text.size()) {
    const std::size_t end = text.find('\n', at);
    const std::string line = text.substr(at, end - at);
    ASSERT_TRUE(line == "alpha alpha alpha" || line == "beta beta beta") << line;
    at = end + 1;
    ++lines;
  }
  EXPECT_EQ(lines, 1000);
}

TEST(ConsoleBufferTest, ALineLeavesALineBufferedStreamAtOnce) {
  CapturedStdout captured;
  SetBuffering(_IOLBF, 4096);
  std::puts("first");
  dorn::PrintLine({"sec", "ond"});
  EXPECT_EQ(__fpending(stdout), 0u);
  std::printf("begun,");
  dorn::PrintLine({"ended"});
  EXPECT_EQ(__fpending(stdout), 0u);
  SetBuffering(_IOFBF, sizeof gBuffer);
  EXPECT_EQ(captured.Text(), "first\nsecond\nbegun,ended\n");
}

// Nothing reaches the descriptor before the buffer is full or flushed, as with printf().
TEST(ConsoleBufferTest, ALineStaysInAFullBufferThatHasRoom) {
  CapturedStdout captured;
  SetBuffering(_IOFBF, sizeof gBuffer);
  std::puts("zeroth");
  std::fflush(stdout);  // Only now has the stream noticed how much room it has.
  std::puts("first");
  dorn::PrintLine({"sec", "ond"});
  EXPECT_EQ(__fpending(stdout), 13u);
  EXPECT_EQ(std::string(gBuffer, 13), "first\nsecond\n");
  EXPECT_EQ(captured.Text(), "zeroth\nfirst\nsecond\n");
}

// Or parts of another thread's line would come into it.
TEST(ConsoleBufferTest, TheStreamIsLockedWhileALineIsPutTogether) {
  const CapturedStdout captured;
  const auto isLocked = [] {
    bool result = false;
    std::thread([&result] {
      result = ftrylockfile(stdout) != 0;
      if (!result) funlockfile(stdout);
    }).join();
    return result;
  };
  {
    dorn::LinePlace place(2);
    std::fill_n(place.Begin(), 2, '.');
    EXPECT_TRUE(isLocked());
  }
  EXPECT_FALSE(isLocked());
}

// Without memory of its own.
TEST(ConsoleBufferTest, ALineIsPutTogetherWhereItBelongsIfItFits) {
  CapturedStdout captured;
  SetBuffering(_IOFBF, 70);
  std::puts("zeroth");
  std::fflush(stdout);
  std::puts("first");
  for (const std::size_t length : {65U, 64U}) {
    std::fflush(stdout);
    std::puts("again");
    dorn::LinePlace place(length);
    EXPECT_EQ(place.Begin() == gBuffer + 6, length == 64);
    std::fill_n(place.Begin(), length, '.');
  }
  SetBuffering(_IOFBF, sizeof gBuffer);
  EXPECT_EQ(captured.Text(),
            "zeroth\nfirst\nagain\n" + std::string(65, '.') + "again\n" + std::string(64, '.'));
}

}  // namespace
