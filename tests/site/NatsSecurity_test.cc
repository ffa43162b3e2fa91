// Brokers that let in only whom they know, and only over TLS.
#include <gtest/gtest.h>
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

// Long enough for whoever is let in.
bool StaysOutside(const NatsOptions& options) {
  NatsHost host(options);
  host.RunFor(milliseconds(2500));
  return host.mOpened == 0;
}

TEST(NatsSecurityTest, WhoKnowsThePasswordIsLetInAndNobodyElse) {
  NatsServer server("authorization { user: dorn, password: \"s3cret\" }\n");
  NatsOptions options = OptionsFor(server);
  EXPECT_TRUE(StaysOutside(options));
  options.user = "dorn";
  options.password = "wrong";
  EXPECT_TRUE(StaysOutside(options));

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
  EXPECT_TRUE(StaysOutside(options));

  options.caFile = certificate.File();
  NatsHost host(options);
  EXPECT_TRUE(host.Bring("a"));
}

TEST(NatsSecurityTest, ABrokerWithTheCertificateOfAnotherNameIsNotBelieved) {
  const Certificate certificate("DNS:other.example");
  NatsServer server(certificate.Settings());
  NatsOptions options = OptionsFor(server);
  options.caFile = certificate.File();
  EXPECT_TRUE(StaysOutside(options));
}

TEST(NatsSecurityTest, AHostThatIsAskedForACertificateShowsItsOwn) {
  const Certificate certificate("IP:127.0.0.1");
  const Certificate hosts("DNS:host");
  NatsServer server(certificate.Settings("ca_file: \"" + hosts.File() + "\", verify: true"));
  NatsOptions options = OptionsFor(server);
  options.caFile = certificate.File();
  EXPECT_TRUE(StaysOutside(options));

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
  EXPECT_TRUE(StaysOutside(options));

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
  EXPECT_TRUE(StaysOutside(options));
  options.credentialsFile = strangers.File();
  EXPECT_TRUE(StaysOutside(options));

  options.credentialsFile = credentials.File();
  NatsHost host(options);
  EXPECT_TRUE(host.Bring("a"));
}

int Lines(const std::string& text, const std::string& with) {
  int lines = 0;
  for (std::size_t at = 0; (at = text.find(with, at)) != std::string::npos; ++at) ++lines;
  return lines;
}

// It is tried each second, since somebody may mend it.
TEST(NatsSecurityTest, WhatIsWrongWithTheOptionsIsSaidOnceUntilAnotherThingIs) {
  NatsServer server;
  NatsOptions options = OptionsFor(server);
  const std::string file = testing::TempDir() + "dorn-ca-" + std::to_string(getpid());
  options.caFile = file;
  options.certificateFile = file + ".host";
  testing::internal::CaptureStderr();
  {
    NatsHost host(options);
    host.RunFor(milliseconds(3500));
    const Certificate certificate("IP:127.0.0.1");
    std::filesystem::copy_file(certificate.File(), file);
    host.RunFor(milliseconds(4500));
  }
  const std::string text = testing::internal::GetCapturedStderr();
  unlink(file.c_str());
  EXPECT_EQ(Lines(text, "do not work (" + file + ": "), 1) << text;
  EXPECT_EQ(Lines(text, "do not work (" + file + ".host: "), 1) << text;
  EXPECT_EQ(Lines(text, "do not work"), 2) << text;
}

}  // namespace
}  // namespace dorn::site
