// What other threads may do to connections while the loop serves them. A program of its own, small
// enough to be built with a sanitizer for threads, which sees what is not meant for two of them.
#include <atomic>
#include <string>
#include <thread>

#include "dorn/server/MessageCutter.h"
#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;

std::string HelloOf(const std::string& id) {
  return "\x02{\"Command\":\"HELLO\",\"Id\":\"" + id + "\",\"Pass\":\"no\"}\x03";
}

using ThreadsTest = ServerTest;

// Whatever was cleared in the middle, the next whole message is executed.
TEST_F(ThreadsTest, MayClearTheBufferOfAConnection) {
  Link link = Connect();
  VQClientSocket* client = Find(link);
  std::atomic<bool> isOver{false};
  std::thread other([&] {
    while (!isOver) client->ClearData();
  });
  for (int i = 0; i < 300; ++i) {
    link.station.SendRaw("garbage" + HelloOf("a") + "\x02incomplete");
    Pass(2);
  }
  isOver = true;
  other.join();
  client->ClearData();
  Calls().clear();
  Feed(link, HelloOf("b"));
  EXPECT_THAT(Calls(), ElementsAre("OnAuth b no"));
}

// By itself, where no lock of a connection stands beside it.
TEST_F(ThreadsTest, MaySayThatTheBytesOfACutterHaveChanged) {
  dorn::MessageCutter cutter;
  std::atomic<bool> isOver{false};
  std::thread other([&] {
    while (!isOver) cutter.Forget();
  });
  for (int i = 0; i < 20000; ++i) {
    EXPECT_EQ(0U, cutter.CountGarbage("\x02incomplete"));
    EXPECT_EQ(0U, cutter.FindMessage("\x02incomplete"));
  }
  isOver = true;
  other.join();
}

}  // namespace
