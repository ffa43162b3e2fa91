// Frames that no browser sends, and some that few do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"
#include "tests/gateway/WebSocketPeer.h"

namespace {

using testing::HasSubstr;

constexpr const char* kFence = R"({"Command":"GETFILE","File":"?f7"})";

class MalformedTest : public testing::Test {
 protected:
  MalformedTest() : mGateway(mHost.Port()) {}

  // The code with which a logged-in page is closed that sends this; 0 when it is not.
  int ClosedFor(const std::string& bytes) {
    WebSocketPeer page;
    if (!page.Open(mGateway.Port())) return -2;
    page.LogIn();
    page.SendBytes(bytes);
    page.SendText(kFence);
    while (auto message = page.Next()) {
      if (message->mOpcode == kClose) return message->CloseCode();
      if (message->mPayload.find("?f7") != std::string::npos) return 0;
    }
    return -1;
  }

  FakeHost mHost;
  RunningGateway mGateway;
};

TEST_F(MalformedTest, TakesMessagesInFragments) {
  const std::string text = R"({"Command":"GETFILE","File":"?f1","ObjectName":"日本語"})";
  WebSocketPeer page;
  ASSERT_TRUE(page.Open(mGateway.Port()));
  page.LogIn();
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    bytes +=
        WebSocketFrame(i == 0 ? kText : kContinuation, text.substr(i, 1), i + 1 == text.size());
    if (i == 10) bytes += WebSocketFrame(kPing, "between");
    if (i == 20) bytes += WebSocketFrame(kContinuation, "", false);
  }
  for (const char byte : bytes) ASSERT_TRUE(page.SendBytes(std::string(1, byte)));
  const auto pong = page.Next();
  ASSERT_TRUE(pong);
  EXPECT_EQ(pong->mOpcode, kPong);
  EXPECT_EQ(pong->mPayload, "between");
  EXPECT_THAT(page.NextText(), HasSubstr("?f1"));
}

TEST_F(MalformedTest, TakesSeveralMessagesInOnePacket) {
  WebSocketPeer page;
  ASSERT_TRUE(page.Open(mGateway.Port()));
  page.LogIn();
  std::string bytes;
  for (int i = 0; i < 50; ++i) {
    bytes +=
        WebSocketFrame(kText, R"({"Command":"GETFILE","File":"?f)" + std::to_string(i) + "\"}");
  }
  ASSERT_TRUE(page.SendBytes(bytes));
  for (int i = 0; i < 50; ++i)
    EXPECT_THAT(page.NextText(), HasSubstr("?f" + std::to_string(i) + "\""));
}

TEST_F(MalformedTest, AMessageThatIsBegunBehindWhatClosesHarmsNobody) {
  const std::string closing = WebSocketFrame(kBinary, "zz");
  for (const unsigned char opcode : {kText, kBinary}) {
    for (const unsigned char next : {kContinuation, kBinary}) {
      const std::string begun = WebSocketFrame(opcode, "qq", false);
      for (const std::string& rest : {WebSocketFrame(next, ""), WebSocketFrame(next, "q")}) {
        WebSocketPeer page;
        ASSERT_TRUE(page.Open(mGateway.Port()));
        ASSERT_TRUE(page.SendBytes(closing + begun + rest));
        EXPECT_EQ(page.WaitForClose(), 1003);
        ASSERT_EQ(ClosedFor(""), 0) << "the gateway has ended";
      }
    }
  }
}

TEST_F(MalformedTest, TakesEmptyMessagesAndPongsThatNobodyAskedFor) {
  EXPECT_EQ(ClosedFor(WebSocketFrame(kText, "")), 0);
  EXPECT_EQ(ClosedFor(WebSocketFrame(kPong, "")), 0);
  EXPECT_EQ(ClosedFor(WebSocketFrame(kPing, std::string(125, 'p'))), 0);
}

TEST_F(MalformedTest, ClosesOnBrokenFrames) {
  const std::string masked = WebSocketFrame(kText, "x");
  const auto withFirst = [&](unsigned char first) {
    std::string frame = masked;
    frame[0] = static_cast<char>(first);
    return frame;
  };
  const struct {
    const char* name;
    std::string bytes;
    int code;
  } cases[] = {
      {"not masked", WebSocketFrame(kText, "x", true, false), 1002},
      {"ping not masked", WebSocketFrame(kPing, "x", true, false), 1002},
      {"first reserved bit", withFirst(0xC1), 1002},
      {"second reserved bit", withFirst(0xA1), 1002},
      {"third reserved bit", withFirst(0x91), 1002},
      {"opcode 3", withFirst(0x83), 1002},
      {"opcode 7", withFirst(0x87), 1002},
      {"opcode 11", withFirst(0x8B), 1002},
      {"opcode 15", withFirst(0x8F), 1002},
      {"continues nothing", WebSocketFrame(kContinuation, "x"), 1002},
      {"begins twice", WebSocketFrame(kText, "x", false) + WebSocketFrame(kText, "y"), 1002},
      {"ping in fragments", WebSocketFrame(kPing, "x", false), 1002},
      {"ping too long", WebSocketFrame(kPing, std::string(126, 'x')), 1002},
      {"close too long", WebSocketFrame(kClose, "\x03\xE8" + std::string(124, 'x')), 1002},
      {"close of one byte", WebSocketFrame(kClose, "\x03"), 1002},
      {"close with a reserved code", WebSocketFrame(kClose, "\x03\xED"), 1002},
      {"close with an impossible code", WebSocketFrame(kClose, std::string("\0\1", 2)), 1002},
      {"close with invalid UTF-8", WebSocketFrame(kClose, "\x03\xE8\xFF"), 1002},
      {"length longer than needed, 2 bytes",
       std::string("\x81\xFE\0\x01"
                   "\0\0\0\0x",
                   9),
       1002},
      {"length longer than needed, 8 bytes",
       std::string("\x81\xFF\0\0\0\0\0\0\0\x01"
                   "\0\0\0\0x",
                   15),
       1002},
      {"invalid UTF-8", WebSocketFrame(kText, "\xC0\x80"), 1007},
      {"a surrogate", WebSocketFrame(kText, "\xED\xA0\x80"), 1007},
      {"half a character", WebSocketFrame(kText, "a\xE6\x97"), 1007},
      {"half a character in fragments",
       WebSocketFrame(kText, "\xE6", false) + WebSocketFrame(kContinuation, "x"), 1007},
      {"binary", WebSocketFrame(kBinary, kFence), 1003},
  };
  for (const auto& each : cases) EXPECT_EQ(ClosedFor(each.bytes), each.code) << each.name;
  EXPECT_EQ(HttpGet(mGateway.Port(), "/healthz").substr(0, 15), "HTTP/1.1 200 OK");
}

TEST_F(MalformedTest, ClosesOnMessagesThatAreTooLong) {
  EXPECT_EQ(ClosedFor(WebSocketFrame(kText, std::string(1048577, 'x'))), 1009);
  // Announced alone is enough.
  EXPECT_EQ(ClosedFor(std::string("\x81\xFF\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"
                                  "\0\0\0\0",
                                  14)),
            1009);
  std::string fragments = WebSocketFrame(kText, std::string(500000, 'x'), false);
  for (int i = 0; i < 2; ++i)
    fragments += WebSocketFrame(kContinuation, std::string(500000, 'x'), false);
  EXPECT_EQ(ClosedFor(fragments), 1009);
  EXPECT_EQ(ClosedFor(WebSocketFrame(kText, std::string(1048576, 'x'))), 0)
      << "refused, not closed";
}

// Whatever a page sends, the others and the host are served.
TEST_F(MalformedTest, NoiseHurtsNobodyElse) {
  WebSocketPeer good;
  ASSERT_TRUE(good.Open(mGateway.Port()));
  good.LogIn();
  unsigned seed = 12345;
  for (int round = 0; round < 100; ++round) {
    std::string noise;
    for (int i = 0; i < 200; ++i) {
      seed = seed * 1664525U + 1013904223U;
      noise += static_cast<char>(seed >> 24);
    }
    WebSocketPeer page;
    ASSERT_TRUE(page.Open(mGateway.Port()));
    page.SendBytes(noise);
    TcpPeer raw;
    ASSERT_TRUE(raw.Connect(mGateway.Port()));
    raw.Send(noise);
  }
  good.SendText(kFence);
  EXPECT_THAT(good.NextText(), HasSubstr("?f7"));
}

}  // namespace
