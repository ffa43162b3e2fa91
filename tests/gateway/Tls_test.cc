#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/gateway/FakeHost.h"
#include "tests/gateway/RunningGateway.h"
#include "tests/gateway/TlsPeer.h"
#include "tests/gateway/WebSocketPeer.h"
#include "tests/support/Deadline.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

class TlsTest : public testing::Test {
 protected:
  TlsTest()
      : mFolder(fs::temp_directory_path() / ("dorn-tls-" + std::to_string(getpid()))),
        mOptions(RunningGateway::OptionsFor(mHost.Port())) {
    fs::create_directories(mFolder);
    const SelfSigned first(mFolder, "first");
    mOptions.mCertificate = first.mCertificate;
    mOptions.mKey = first.mKey;
  }
  ~TlsTest() override { fs::remove_all(mFolder); }

  // The name in the certificate that a new connection gets.
  static std::string NameAt(int port) {
    TlsPeer peer;
    return peer.Connect(port) ? peer.Name() : "none";
  }

  fs::path mFolder;
  FakeHost mHost;
  dorn::gateway::Options mOptions;
};

TEST_F(TlsTest, ServesPagesAndWebSockets) {
  RunningGateway gateway(mOptions);
  ASSERT_EQ(gateway.WhyNot(), "");
  TlsPeer browser;
  ASSERT_TRUE(browser.Connect(gateway.Port()));
  EXPECT_EQ(browser.Name(), "first");
  ASSERT_TRUE(browser.Send("GET /healthz HTTP/1.1\r\nHost: a\r\n\r\n"));
  EXPECT_THAT(browser.ReadUntil("\"}\n"), StartsWith("HTTP/1.1 200 OK\r\n"));
  ASSERT_TRUE(browser.Send(WebSocketRequest()));
  EXPECT_THAT(browser.ReadUntil("\"t\":\"hello\""), StartsWith("HTTP/1.1 101 "));
  browser.Send(WebSocketFrame(kText, R"({"Command":"HELLO","Id":"u","Pass":"right"})"));
  EXPECT_NE(browser.ReadUntil("\"OPEN\""), "");
}

TEST_F(TlsTest, MayListenAnywhere) {
  mOptions.mListen.mHost = "0.0.0.0";
  EXPECT_EQ(RunningGateway(mOptions).WhyNot(), "");
}

TEST_F(TlsTest, SpeaksNothingOlderThanTls12) {
  RunningGateway gateway(mOptions);
  TlsPeer newest, older, old;
  ASSERT_TRUE(newest.Connect(gateway.Port()));
  EXPECT_EQ(newest.Version(), "TLSv1.3");
  ASSERT_TRUE(older.Connect(gateway.Port(), TLS1_2_VERSION));
  EXPECT_EQ(older.Version(), "TLSv1.2");
  EXPECT_FALSE(old.Connect(gateway.Port(), TLS1_1_VERSION));
  EXPECT_EQ(HttpGet(gateway.Port(), "/"), "") << "nor plain HTTP";
}

TEST_F(TlsTest, ClosesAHandshakeThatDoesNotEnd) {
  mOptions.mTimes.mRequest = dorn::gateway::Ms(50);
  RunningGateway gateway(mOptions);
  TcpPeer silent;
  ASSERT_TRUE(silent.Connect(gateway.Port()));
  EXPECT_TRUE(silent.WaitForClose());
}

TEST_F(TlsTest, ReadsTheCertificateAnew) {
  RunningGateway gateway(mOptions);
  TlsPeer before;
  ASSERT_TRUE(before.Connect(gateway.Port()));
  const SelfSigned second(mFolder, "second");
  fs::rename(second.mCertificate, mOptions.mCertificate);
  fs::rename(second.mKey, mOptions.mKey);
  EXPECT_EQ(NameAt(gateway.Port()), "first");
  gateway.ReloadCertificate();
  const Deadline deadline;
  while (NameAt(gateway.Port()) != "second" && !deadline.IsOver()) std::this_thread::yield();
  EXPECT_EQ(NameAt(gateway.Port()), "second");
  ASSERT_TRUE(before.Send("GET /healthz HTTP/1.1\r\nHost: a\r\n\r\n"));
  EXPECT_NE(before.ReadUntil("HTTP/1.1 200"), "") << "who is there stays";
}

TEST_F(TlsTest, KeepsTheCertificateWhenTheNewOneIsNoGood) {
  RunningGateway gateway(mOptions);
  const SelfSigned second(mFolder, "second");
  fs::rename(second.mCertificate, mOptions.mCertificate);  // The key stays that of the first.
  gateway.ReloadCertificate();
  const Deadline deadline;
  while (gateway.Logged().find("the old certificate stays") == std::string::npos &&
         !deadline.IsOver()) {
    std::this_thread::yield();
  }
  EXPECT_THAT(gateway.Logged(), HasSubstr("the old certificate stays"));
  EXPECT_EQ(NameAt(gateway.Port()), "first");
}

TEST_F(TlsTest, SaysWhatIsWrongWithCertificateAndKey) {
  dorn::gateway::Options options = mOptions;
  options.mKey.clear();
  EXPECT_EQ(RunningGateway(options).WhyNot(), "TLS takes both --cert and --key");
  options = mOptions;
  options.mCertificate = options.mKey;
  EXPECT_THAT(RunningGateway(options).WhyNot(), HasSubstr("cannot be used"));
  options = mOptions;
  options.mKey = SelfSigned(mFolder, "other").mKey;
  EXPECT_THAT(RunningGateway(options).WhyNot(), HasSubstr("cannot be used with"));
}

}  // namespace
