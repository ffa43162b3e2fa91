// Brokers that let in only whom they know, and only over TLS.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "tests/site/Certificate.h"
#include "tests/site/Credentials.h"
#include "tests/site/NatsCluster.h"
#include "tests/site/NatsHost.h"

namespace dorn::site {
namespace {

using std::chrono::milliseconds;

int Lines(const std::string& text, const std::string& with) {
  int lines = 0;
  for (std::size_t at = 0; (at = text.find(with, at)) != std::string::npos; ++at) ++lines;
  return lines;
}

// Until the brokers have turned it away for the third time.
template <typename Brokers>
bool StaysOutside(const Brokers& brokers, const NatsOptions& options) {
  const auto refusals = [&brokers] {
    const std::string log = brokers.Log();
    return Lines(log, "authentication error") + Lines(log, "TLS handshake error");
  };
  const int before = refusals();
  NatsHost host(options);
  return host.Until([&] { return refusals() >= before + 3; }) && host.mOpened == 0;
}

TEST(NatsSecurityTest, WhoKnowsThePasswordIsLetInAndNobodyElse) {
  NatsServer server("authorization { user: dorn, password: \"s3cret\" }\n");
  NatsOptions options = OptionsFor(server);
  EXPECT_TRUE(StaysOutside(server, options));
  options.user = "dorn";
  options.password = "wrong";
  EXPECT_TRUE(StaysOutside(server, options));

  options.password = "s3cret";
  NatsHost host(options);
  EXPECT_TRUE(host.Bring("a"));
}

TEST(NatsSecurityTest, OverTlsABrokerIsBelievedByWhoHasSignedItsCertificate) {
  const Certificate certificate("IP:127.0.0.1");
  const Certificate stranger("IP:127.0.0.1");
  NatsServer server(certificate.Settings());
  NatsOptions options = OptionsFor(server);
  options.caFile = stranger.File();
  EXPECT_TRUE(StaysOutside(server, options));

  options.caFile = certificate.File();
  NatsHost host(options);
  EXPECT_TRUE(host.Bring("a"));
}

TEST(NatsSecurityTest, ABrokerWithTheCertificateOfAnotherNameIsNotBelieved) {
  const Certificate certificate("DNS:other.example");
  NatsServer server(certificate.Settings());
  NatsOptions options = OptionsFor(server);
  options.caFile = certificate.File();
  EXPECT_TRUE(StaysOutside(server, options));
}

TEST(NatsSecurityTest, AHostThatIsAskedForACertificateShowsItsOwn) {
  const Certificate certificate("IP:127.0.0.1");
  const Certificate hosts("DNS:host");
  NatsServer server(certificate.Settings("ca_file: \"" + hosts.File() + "\", verify: true"));
  NatsOptions options = OptionsFor(server);
  options.caFile = certificate.File();
  EXPECT_TRUE(StaysOutside(server, options));

  options.certificateFile = hosts.File();
  options.keyFile = hosts.KeyFile();
  NatsHost host(options);
  EXPECT_TRUE(host.Bring("a"));
}

// They too know each other by their certificate.
TEST(NatsSecurityTest, ThreeBrokersOverTlsServeAHostWithItsCertificateAndGoOnWithTwo) {
  const Certificate certificate("IP:127.0.0.1");
  const Certificate hosts("DNS:host");
  NatsCluster cluster(
      certificate.Settings("ca_file: \"" + hosts.File() + "\", verify: true"),
      certificate.Settings("ca_file: \"" + certificate.File() + "\", verify: true"));
  NatsOptions options = cluster.Options();
  options.caFile = certificate.File();
  EXPECT_TRUE(StaysOutside(cluster, options));

  options.certificateFile = hosts.File();
  options.keyFile = hosts.KeyFile();
  NatsHost host(options);
  ASSERT_TRUE(host.Bring("a"));
  cluster.mBrokers[0]->Kill();
  EXPECT_TRUE(host.Bring("b"));
  EXPECT_TRUE(host.IsWithoutGap());
}

TEST(NatsSecurityTest, AHostWithACredentialsFileOfTheSitesAccountIsLetInAndNobodyElse) {
  const Credentials credentials;
  const Credentials strangers;
  NatsServer server(credentials.Settings());
  NatsOptions options = OptionsFor(server);
  EXPECT_TRUE(StaysOutside(server, options));
  options.credentialsFile = strangers.File();
  EXPECT_TRUE(StaysOutside(server, options));

  options.credentialsFile = credentials.File();
  NatsHost host(options);
  EXPECT_TRUE(host.Bring("a"));
}

// What is written to standard error while it lives, at any time.
class StandardError {
 public:
  StandardError() : mSaved(dup(STDERR_FILENO)), mFile(memfd_create("standard-error", MFD_CLOEXEC)) {
    dup2(mFile, STDERR_FILENO);
  }
  ~StandardError() {
    dup2(mSaved, STDERR_FILENO);
    close(mSaved);
    close(mFile);
  }
  StandardError(const StandardError&) = delete;
  StandardError& operator=(const StandardError&) = delete;

  std::string Text() const {
    std::string text(100'000, '\0');
    const ssize_t size = pread(mFile, text.data(), text.size(), 0);
    text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return text;
  }

 private:
  const int mSaved;
  const int mFile;
};

// It is tried each second, since somebody may mend it.
TEST(NatsSecurityTest, WhatIsWrongWithTheOptionsIsSaidOnceUntilAnotherThingIs) {
  NatsServer server;
  NatsOptions options = OptionsFor(server);
  const Certificate certificate("IP:127.0.0.1");
  const std::string file = testing::TempDir() + "dorn-ca-" + std::to_string(getpid());
  options.caFile = file;
  options.certificateFile = file + ".host";
  const StandardError said;
  {
    NatsHost host(options);
    EXPECT_TRUE(host.Until([&] { return Lines(said.Text(), "do not work (" + file + ": ") > 0; }));
    host.RunFor(milliseconds(2500));
    std::filesystem::rename(certificate.File(), file);
    EXPECT_TRUE(host.Until([&] { return Lines(said.Text(), "(" + file + ".host: ") > 0; }));
    host.RunFor(milliseconds(2500));
  }
  const std::string text = said.Text();
  unlink(file.c_str());
  EXPECT_EQ(Lines(text, "do not work (" + file + ": "), 1) << text;
  EXPECT_EQ(Lines(text, "do not work (" + file + ".host: "), 1) << text;
  EXPECT_EQ(Lines(text, "do not work"), 2) << text;
}

}  // namespace
}  // namespace dorn::site
