// What of a message's memory is kept for the next one.
#include <string>

#include "tests/server/ServerTest.h"
#include "tests/support/HeapBytes.h"

namespace {

class MessageMemoryTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    Shared("top", kTree)->condition = [this](HookedDialog&, VQClientSocket*, VQJsonCommand*) {
      mInside = InUse();
    };
    mLink = LoggedIn("S1", "top");
    // Nothing is kept behind one that is too long.
    Say(9000);
    Say(9000);
  }

  static long InUse() { return static_cast<long>(HeapBytes()); }

  // Has the station send a text of so many bytes, most of which say nothing.
  void Say(std::size_t length) {
    std::string text = R"({"Command":"CONDITION"})";
    text.insert(text.size() - 1, length - text.size(), ' ');
    const CapturedStdout console;
    mLink.station.Send(text);
    text = std::string();
    mBefore = InUse();
    Pass(10);
    mAfter = InUse();
  }

  Link mLink;
  // What was in use before the message came, when it was executed, and behind it.
  long mBefore = 0;
  long mInside = 0;
  long mAfter = 0;
};

TEST_F(MessageMemoryTest, ATextOfFourKibIsKeptAndUsedAgain) {
  Say(4096);
  EXPECT_GE(mAfter - mBefore, 4096);
  Say(4096);
  EXPECT_LT(mInside - mBefore, 2000);
  EXPECT_LT(mAfter - mBefore, 2000);
}

TEST_F(MessageMemoryTest, ALongerOneIsGivenBack) {
  Say(4097);
  EXPECT_GE(mInside - mBefore, 4096);
  EXPECT_LT(mAfter - mBefore, 2000);
}

TEST_F(MessageMemoryTest, AShortOneTakesNothingAway) {
  Say(4096);
  Say(100);
  Say(4096);
  EXPECT_LT(mInside - mBefore, 2000);
}

}  // namespace
