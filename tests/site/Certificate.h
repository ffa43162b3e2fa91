// A certificate for that name, which has signed itself, and its key: files of a test's own.
#ifndef TESTS_SITE_CERTIFICATE_H_
#define TESTS_SITE_CERTIFICATE_H_

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <system_error>

namespace dorn::site {

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

}  // namespace dorn::site

#endif  // TESTS_SITE_CERTIFICATE_H_
