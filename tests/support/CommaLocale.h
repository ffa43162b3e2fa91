// The C library's locale with a decimal comma, made with localedef for the length of a test.
#ifndef TESTS_SUPPORT_COMMALOCALE_H_
#define TESTS_SUPPORT_COMMALOCALE_H_

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "gtest/gtest.h"

// While an object of this class lives, setlocale() has been called with a German locale, as a host
// may have done, if IsSet() says so; the machine may lack the sources of locales.
class CommaLocale {
 public:
  CommaLocale() {
    mDirectory = testing::TempDir() + "dorn-locale-XXXXXX";
    if (!mkdtemp(mDirectory.data())) return;
    const std::string command =
        "localedef -i de_DE -f UTF-8 '" + mDirectory + "/de_DE.UTF-8' >/dev/null 2>&1";
    static_cast<void>(std::system(command.c_str()));  // IsSet() tells.
    setenv("LOCPATH", mDirectory.c_str(), 1);
    mIsSet = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
  }
  ~CommaLocale() {
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
    std::error_code ignored;
    std::filesystem::remove_all(mDirectory, ignored);
  }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

  bool IsSet() const { return mIsSet; }

 private:
  std::string mDirectory;
  bool mIsSet = false;
};

#endif  // TESTS_SUPPORT_COMMALOCALE_H_
