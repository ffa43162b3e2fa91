// What browsers get by plain requests, and who gets a WebSocket.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"
#include "tests/gateway/WebSocketPeer.h"
#include "tests/support/Deadline.h"

namespace {

namespace fs = std::filesystem;
using dorn::gateway::Ms;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kPolicy =
    "\r\nContent-Security-Policy: default-src 'self'; img-src 'self' blob:; frame-ancestors 'self'\r\n";

const std::string kHeadOfBody = "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 99999999\r\n\r\n";

class HttpTest : public testing::Test {
 protected:
  // The first line of the answer to a request for a WebSocket.
  static std::string Asked(int port, const std::string& headers,
                           const std::string& host = "localhost") {
    WebSocketPeer page;
    page.Open(port, WebSocketRequest(headers, host));
    return page.Head().substr(0, page.Head().find('\r'));
  }

  // Takes so many bytes in eight pieces with pauses between them, while they come; the longest that
  // one has taken.
  static Ms TakeSlowly(TcpPeer& browser, std::size_t bytes, Ms pause) {
    using Clock = std::chrono::steady_clock;
    Clock::duration longest{0};
    for (std::size_t got = bytes / 8; got < bytes; got += bytes / 8) {
      const Clock::time_point start = Clock::now();
      const bool isThere = browser.WaitFor(got);
      std::this_thread::sleep_for(pause);
      longest = std::max(longest, Clock::now() - start);
      if (!isThere) break;
    }
    return std::chrono::duration_cast<Ms>(longest);
  }

  FakeHost mHost;
};

TEST_F(HttpTest, ServesThePageWithTheHeadersThatKeepItSafe) {
  RunningGateway gateway(mHost.Port());
  for (const std::string path :
       {"/", "/app.js", "/app.css", "/healthz", "/metrics", "/nothing", "/station"}) {
    const std::string answer = HttpGet(gateway.Port(), path);
    EXPECT_THAT(answer, HasSubstr(kPolicy)) << path;
    EXPECT_THAT(answer, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n")) << path;
    EXPECT_THAT(answer, HasSubstr("\r\nReferrer-Policy: no-referrer\r\n")) << path;
    EXPECT_THAT(answer, HasSubstr("\r\nCache-Control: no-cache\r\n")) << path;
    EXPECT_THAT(answer, Not(HasSubstr("Set-Cookie"))) << path;
  }
  EXPECT_THAT(HttpGet(gateway.Port(), "/"), StartsWith("HTTP/1.1 200 OK\r\n"));
  EXPECT_THAT(HttpGet(gateway.Port(), "/"), HasSubstr("\r\n\r\n<!doctype html>"));
  EXPECT_THAT(HttpGet(gateway.Port(), "/nothing"), StartsWith("HTTP/1.1 404 "));
  EXPECT_THAT(HttpGet(gateway.Port(), "/station"), StartsWith("HTTP/1.1 426 "));
}

TEST_F(HttpTest, SendsAFileThatTheBrowserHasOnlyOnce) {
  RunningGateway gateway(mHost.Port());
  const std::string first = HttpGet(gateway.Port(), "/app.css");
  const std::size_t at = first.find("\r\nETag: ");
  ASSERT_NE(at, std::string::npos);
  const std::string tag = first.substr(at + 8, first.find('\r', at + 8) - at - 8);
  const std::string again = HttpGet(gateway.Port(), "/app.css", "If-None-Match: " + tag + "\r\n");
  EXPECT_THAT(again, StartsWith("HTTP/1.1 304 "));
  EXPECT_EQ(again.substr(again.find("\r\n\r\n")), "\r\n\r\n");
  EXPECT_THAT(HttpGet(gateway.Port(), "/app.css", "If-None-Match: \"x\"\r\n"),
              StartsWith("HTTP/1.1 200 "));
}

TEST_F(HttpTest, AnswersSeveralRequestsOnOneConnection) {
  RunningGateway gateway(mHost.Port());
  const std::string both = HttpAnswer(gateway.Port(),
                                      "GET /healthz HTTP/1.1\r\nHost: a\r\n\r\n"
                                      "HEAD / HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n");
  EXPECT_THAT(both, StartsWith("HTTP/1.1 200 OK\r\n"));
  const std::size_t second = both.find("HTTP/1.1 200 OK\r\n", 1);
  ASSERT_NE(second, std::string::npos);
  EXPECT_EQ(both.substr(both.size() - 4), "\r\n\r\n") << "HEAD has no body";
  EXPECT_THAT(both.substr(second), HasSubstr("\r\nContent-Length: "));
  EXPECT_THAT(both.substr(second), Not(HasSubstr("\r\nContent-Length: 0\r\n")));
}

TEST_F(HttpTest, RefusesWhatItDoesNotServe) {
  RunningGateway gateway(mHost.Port());
  const struct {
    std::string request, status;
  } cases[] = {
      {"POST / HTTP/1.1\r\nHost: a\r\n\r\n", "405"},
      {"DELETE /app.js HTTP/1.1\r\nHost: a\r\n\r\n", "405"},
      {"POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 5\r\n\r\nhello", "413"},
      {"GET / HTTP/1.1\r\nHost: a\r\nX: " + std::string(9000, 'x') + "\r\n\r\n", "431"},
      {"GET / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "413"},
      {"GET / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: other\r\n\r\n", "413"},
      {WebSocketRequest("Transfer-Encoding: chunked\r\n"), "413"},
      {"GET / HTTP/1.1\r\n\r\n", "400"},
      {"GET / HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n", "400"},
      {"nonsense\r\n\r\n", "400"},
      {"GET / HTTP/9.9\r\n\r\n", "400"},
  };
  for (const auto& each : cases) {
    EXPECT_THAT(HttpAnswer(gateway.Port(), each.request),
                StartsWith("HTTP/1.1 " + each.status + " "))
        << each.request.substr(0, 100);
  }
  EXPECT_THAT(HttpAnswer(gateway.Port(), "GET / HTTP/1.0\r\n\r\n"), StartsWith("HTTP/1.0 200 "));
}

// Of which all that has come would have to be kept.
TEST_F(HttpTest, DoesNotWaitForTheEndOfABody) {
  RunningGateway gateway(mHost.Port());
  const std::string head = "GET / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n";
  for (const std::string begun : {"", "0", "0;extension", "0\r\nTrailer: x\r\n", "5\r\nhel"}) {
    EXPECT_THAT(HttpAnswer(gateway.Port(), head + begun), StartsWith("HTTP/1.1 413 ")) << begun;
  }
}

// A reset would take the answer from browsers whose system forgets what they have not read.
TEST_F(HttpTest, ABodyThatNobodyWantsResetsNothing) {
  RunningGateway gateway(mHost.Port());
  TcpPeer browser;
  ASSERT_TRUE(browser.Connect(gateway.Port()));
  ASSERT_TRUE(browser.Send(kHeadOfBody + std::string(40000, 'x')));
  ASSERT_TRUE(browser.WaitForClose());
  EXPECT_THAT(browser.Received(), StartsWith("HTTP/1.1 413 "));
  EXPECT_TRUE(browser.Send("x")) << "after a reset nothing can be sent";
}

TEST_F(HttpTest, OfABodyThatNobodyWantsLittleIsRead) {
  RunningGateway gateway(mHost.Port());
  TcpPeer browser;
  ASSERT_TRUE(browser.Connect(gateway.Port()));
  ASSERT_TRUE(browser.Send(kHeadOfBody));
  constexpr int kMegabytes = 64;  // Sockets hold some of them.
  int sent = 0;
  while (sent < kMegabytes && browser.Send(std::string(1048576, 'x'))) ++sent;
  EXPECT_LT(sent, kMegabytes);
}

TEST_F(HttpTest, WhoDoesNotCloseBehindTheLastAnswerIsClosed) {
  RunningGateway gateway(mHost.Port());
  TcpPeer browser;
  ASSERT_TRUE(browser.Connect(gateway.Port()));
  ASSERT_TRUE(browser.Send(kHeadOfBody));
  ASSERT_TRUE(browser.WaitForClose());
  const Deadline deadline;
  while (!deadline.IsOver() && browser.Send("x")) std::this_thread::sleep_for(Ms(10));
  EXPECT_FALSE(deadline.IsOver());
}

TEST_F(HttpTest, ClosesAConnectionThatSendsNoRequest) {
  dorn::gateway::Options options = RunningGateway::OptionsFor(mHost.Port());
  options.mTimes.mRequest = Ms(5000);  // In which a busy machine sends the one that is a request.
  options.mTimes.mIdle = Ms(500);
  RunningGateway gateway(options);
  TcpPeer silent, slow, idle;
  ASSERT_TRUE(silent.Connect(gateway.Port()) && slow.Connect(gateway.Port()) &&
              idle.Connect(gateway.Port()));
  ASSERT_TRUE(slow.Send("GET / HTTP/1.1\r\nHost:"));
  ASSERT_TRUE(idle.Send("GET /healthz HTTP/1.1\r\nHost: a\r\n\r\n"));
  EXPECT_TRUE(silent.WaitForClose());
  EXPECT_TRUE(slow.WaitForClose());
  EXPECT_TRUE(idle.WaitForClose());
  EXPECT_THAT(idle.Take(), StartsWith("HTTP/1.1 200 "));
}

// What it takes in time is enough; how long all of it takes does not matter.
TEST_F(HttpTest, SendsALongFileToASlowBrowser) {
  const fs::path folder = fs::temp_directory_path() / ("dorn-slow-" + std::to_string(getpid()));
  fs::create_directories(folder);
  const std::string bytes(std::size_t{8} << 20, 'x');
  std::ofstream(folder / "long.txt") << bytes;
  dorn::gateway::Options options = RunningGateway::OptionsFor(mHost.Port());
  options.mPageFolder = folder;
  options.mLimits.mSendBuffer = 65536;
  // A browser that is so slow only because the machine is busy proves nothing: it gets more time.
  bool isInTime = false;
  for (options.mTimes.mIdle = Ms(500); !isInTime; options.mTimes.mIdle *= 2) {
    ASSERT_LT(options.mTimes.mIdle, TestTimeout() * 4);
    RunningGateway gateway(options);
    TcpPeer slow;
    ASSERT_TRUE(slow.Connect(gateway.Port(), 65536));
    ASSERT_TRUE(slow.Send("GET /long.txt HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n"));
    const Ms longest = TakeSlowly(slow, bytes.size(), options.mTimes.mIdle / 5);
    isInTime = longest < options.mTimes.mIdle / 2;
    if (!isInTime) continue;
    EXPECT_TRUE(slow.WaitForClose());
    EXPECT_EQ(slow.Received().size() - slow.Received().find("\r\n\r\n") - 4, bytes.size());
  }
  fs::remove_all(folder);
}

TEST_F(HttpTest, ClosesABrowserThatDoesNotTakeItsFile) {
  dorn::gateway::Options options = RunningGateway::OptionsFor(mHost.Port());
  options.mTimes.mIdle = Ms(300);
  options.mLimits.mSendBuffer = 4096;
  RunningGateway gateway(options);
  TcpPeer idle;
  ASSERT_TRUE(idle.Connect(gateway.Port(), 4096));
  ASSERT_TRUE(idle.Send("GET /app.js HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n"));
  const Deadline opened;
  while (gateway.Metrics().mConnections == 0 && !opened.IsOver()) std::this_thread::yield();
  const Deadline closed;
  while (gateway.Metrics().mConnections > 0 && !closed.IsOver()) std::this_thread::yield();
  EXPECT_EQ(gateway.Metrics().mConnections, 0u);
}

TEST_F(HttpTest, GivesPagesOfItsOwnHostAWebSocket) {
  RunningGateway gateway(mHost.Port());
  for (const std::string headers :
       {"", "Sec-WebSocket-Protocol: dorn.1\r\n", "Sec-WebSocket-Protocol: x, dorn.1\r\n",
        "Origin: http://localhost\r\n", "Origin: https://LOCALHOST\r\n"}) {
    EXPECT_EQ(Asked(gateway.Port(), headers), "HTTP/1.1 101 Switching Protocols") << headers;
  }
  EXPECT_EQ(Asked(gateway.Port(), "Origin: http://panel:8080\r\n", "panel:8080"),
            "HTTP/1.1 101 Switching Protocols");
  EXPECT_EQ(Asked(gateway.Port(), "Origin: http://panel\r\n", "panel:80"),
            "HTTP/1.1 101 Switching Protocols");
  WebSocketPeer page;
  ASSERT_TRUE(page.Open(gateway.Port()));
  EXPECT_THAT(page.Head() + "\r\n", HasSubstr("\r\nSec-WebSocket-Protocol: dorn.1\r\n"));
  EXPECT_THAT(page.Head() + "\r\n", HasSubstr("\r\nServer: dorn-gateway\r\n"));
  WebSocketPeer plain;
  ASSERT_TRUE(plain.Open(gateway.Port(), WebSocketRequest("")));
  EXPECT_THAT(plain.Head(), Not(HasSubstr("Sec-WebSocket-Protocol")));
}

TEST_F(HttpTest, RefusesPagesOfOtherOrigins) {
  dorn::gateway::Options options = RunningGateway::OptionsFor(mHost.Port());
  options.mOrigins = {"https://panel.example"};
  RunningGateway gateway(options);
  for (const std::string origin :
       {"http://evil.example", "http://localhost:8080", "http://localhost.evil", "null", "",
        "localhost", "https://panel.example.evil", "http://panel.example"}) {
    EXPECT_EQ(Asked(gateway.Port(), "Origin: " + origin + "\r\n"), "HTTP/1.1 403 Forbidden")
        << origin;
  }
  EXPECT_EQ(Asked(gateway.Port(), "Origin: http://localhost\r\nOrigin: http://evil\r\n"),
            "HTTP/1.1 403 Forbidden");
  EXPECT_EQ(Asked(gateway.Port(), "Origin: https://panel.example\r\n"),
            "HTTP/1.1 101 Switching Protocols");
  EXPECT_EQ(Asked(gateway.Port(), "Sec-WebSocket-Protocol: other\r\n"), "HTTP/1.1 400 Bad Request");
}

TEST_F(HttpTest, HasTheWebSocketInOnePlace) {
  RunningGateway gateway(mHost.Port());
  WebSocketPeer page;
  std::string request = WebSocketRequest();
  request.replace(request.find("/station"), 8, "/");
  EXPECT_FALSE(page.Open(gateway.Port(), request));
  EXPECT_THAT(page.Head(), StartsWith("HTTP/1.1 404 "));
  WebSocketPeer early;
  EXPECT_FALSE(early.Open(gateway.Port(), WebSocketRequest() + WebSocketFrame(kText, "x")));
  EXPECT_THAT(early.Head(), StartsWith("HTTP/1.1 400 "));
}

TEST_F(HttpTest, TellsMetricsToLoopbackAlone) {
  dorn::gateway::Options options = RunningGateway::OptionsFor(mHost.Port());
  options.mTrustedProxies = {"127.0.0.1"};
  options.mMetricsFrom = {"192.168.1.0/24"};
  RunningGateway gateway(options);
  EXPECT_THAT(HttpGet(gateway.Port(), "/metrics"), HasSubstr("\ndorn_gateway_pages 0\n"));
  EXPECT_THAT(HttpGet(gateway.Port(), "/metrics", "X-Forwarded-For: 10.0.0.1\r\n"),
              StartsWith("HTTP/1.1 403 "));
  EXPECT_THAT(HttpGet(gateway.Port(), "/metrics", "X-Forwarded-For: 127.0.0.1, 10.0.0.1\r\n"),
              StartsWith("HTTP/1.1 403 "));
  EXPECT_THAT(HttpGet(gateway.Port(), "/metrics", "X-Forwarded-For: 10.0.0.1, 192.168.1.9\r\n"),
              StartsWith("HTTP/1.1 200 "));
}

// A proxy on this machine that nobody told about must not make everybody a neighbour.
TEST_F(HttpTest, TellsNoMetricsThroughAnUnknownProxy) {
  RunningGateway gateway(mHost.Port());
  EXPECT_THAT(HttpGet(gateway.Port(), "/metrics", "X-Forwarded-For: 10.0.0.1\r\n"),
              StartsWith("HTTP/1.1 403 "));
  EXPECT_THAT(HttpGet(gateway.Port(), "/metrics", "Forwarded: for=10.0.0.1\r\n"),
              StartsWith("HTTP/1.1 403 "));
}

TEST_F(HttpTest, RefusesToListenWherePasswordsCrossTheNetwork) {
  dorn::gateway::Options options = RunningGateway::OptionsFor(mHost.Port());
  for (const std::string address : {"0.0.0.0", "::"}) {
    options.mListen.mHost = address;
    options.mIsInsecure = false;
    EXPECT_THAT(RunningGateway(options).WhyNot(), HasSubstr("--insecure")) << address;
    options.mIsInsecure = true;
    EXPECT_EQ(RunningGateway(options).WhyNot(), "") << address;
  }
  options = RunningGateway::OptionsFor(mHost.Port());
  options.mListen.mHost = "127.0.0.2";
  EXPECT_EQ(RunningGateway(options).WhyNot(), "");
  options.mListen = {"127.0.0.1", static_cast<unsigned short>(mHost.Port())};
  EXPECT_THAT(RunningGateway(options).WhyNot(), HasSubstr("cannot listen on 127.0.0.1:"));
  options.mListen.mHost = "nowhere";
  EXPECT_THAT(RunningGateway(options).WhyNot(), HasSubstr("it is no address"));
}

}  // namespace
