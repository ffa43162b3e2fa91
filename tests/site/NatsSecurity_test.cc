// Brokers that let in only whom they know, and only over TLS.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/site/NatsHost.h"

namespace dorn::site {
namespace {

using std::chrono::milliseconds;

// A certificate for that name, which has signed itself, and its key.
class Certificate {
 public:
  explicit Certificate(const std::string& name) : mFolder(testing::TempDir() + "dorn-tls-XXXXXX") {
    if (mkdtemp(mFolder.data()) == nullptr) ADD_FAILURE() << "no folder " << mFolder;
    const std::string command =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -keyout " +
        KeyFile() + " -out " + File() + " -subj /CN=dorn -addext subjectAltName=" + name +
        " 2>/dev/null";
    if (system(command.c_str()) != 0) ADD_FAILURE() << "openssl makes no certificate";
  }
  ~Certificate() {
    std::error_code ignored;
    std::filesystem::remove_all(mFolder, ignored);
  }
  Certificate(const Certificate&) = delete;
  Certificate& operator=(const Certificate&) = delete;

  std::string File() const { return mFolder + "/certificate.pem"; }
  std::string KeyFile() const { return mFolder + "/key.pem"; }

  // What a broker is told to show it, and perhaps to ask for that of a host.
  std::string Settings(const std::string& more = "") const {
    return "tls { cert_file: \"" + File() + "\", key_file: \"" + KeyFile() + "\"\n" + more +
           "\n}\n";
  }

 private:
  std::string mFolder;
};

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

}  // namespace
}  // namespace dorn::site
