#include "tools/dorn-station/scene/MessageLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using dorn::scene::MessageLog;
using testing::HasSubstr;
using testing::Not;

namespace {

std::string Framed(const std::string& text) { return "\x02" + text + "\x03"; }

}  // namespace

TEST(MessageLogTest, KeepsOneCommandALineWithItsTime) {
  MessageLog log;
  log.AddSent(Framed(R"({"Command":"CHANGE","DialogName":"p"})"), 7);
  log.AddReceived(Framed(R"({"Command":"UPDATE","Objects":[]})"), 1234);
  log.AddNote("[gone]", 2000);
  EXPECT_EQ(log.Last(10),
            "      0.007 -> {\"Command\":\"CHANGE\",\"DialogName\":\"p\"}\n"
            "      1.234 <- {\"Command\":\"UPDATE\",\"Objects\":[]}\n"
            "      2.000    [gone]\n");
}

TEST(MessageLogTest, ShowsNothingThatATerminalObeys) {
  MessageLog log;
  log.AddReceived(Framed("{\n\t\"Message\":\"\x1b[2J \x7f \xc2\x9b\"}"), 0);
  EXPECT_EQ(log.Last(1), "      0.000 <- {  \"Message\":\"\\u001b[2J \\u007f \\u009b\"}\n");
}

TEST(MessageLogTest, LeavesOutFences) {
  MessageLog log;
  log.AddSent(Framed(R"({"Commands":[{"Command":"GETFILE","File":"?f1"},{"Command":"X"}]})"), 0);
  log.AddReceived(Framed(R"({"Command":"PUTFILE","File":"?f1","Status":"ERROR"})"), 0);
  EXPECT_EQ(log.Last(10), "      0.000 -> {\"Command\":\"X\"}\n");
}

TEST(MessageLogTest, LeavesOutPasswords) {
  MessageLog log;
  log.AddSent(Framed(R"({"Command":"HELLO","Id":"u","Pass":"secret"})"), 0);
  EXPECT_THAT(log.Last(10), HasSubstr("\"Pass\":\"***\""));
  EXPECT_THAT(log.Last(10), Not(HasSubstr("secret")));
}

TEST(MessageLogTest, TakesBytesInAnyPieces) {
  MessageLog log;
  const std::string bytes = Framed(R"({"Command":"PUTFILE","File":"a.txt","Length":3})") + "abc" +
                            Framed(R"({"Command":"KEEPALIVE"})");
  for (const char c : bytes) log.AddReceived(std::string(1, c), 0);
  EXPECT_THAT(log.Last(2), HasSubstr("[a file of 3 bytes]"));
  EXPECT_THAT(log.Last(1), HasSubstr("KEEPALIVE"));
}

TEST(MessageLogTest, CutsLongTextsBetweenTwoCharacters) {
  MessageLog log;
  std::string text = "x";
  for (int i = 0; i < 500; ++i) text += "水";
  log.AddReceived(Framed(text), 0);
  EXPECT_THAT(log.Last(1), HasSubstr("水... (1501 bytes)\n"));
  EXPECT_THAT(log.Last(1), Not(HasSubstr("\xEF\xBF\xBD")));
}

TEST(MessageLogTest, LooksBackToAMark) {
  MessageLog log;
  const auto any = [](const auto&) { return true; };
  log.AddReceived(Framed("{}"), 0);
  EXPECT_NE(log.Find(0, any), nullptr);
  const auto mark = log.End();
  log.AddSent(Framed("{}"), 0);
  EXPECT_EQ(log.Find(mark, any), nullptr) << "what it has sent itself";
}
