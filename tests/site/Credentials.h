// An account at a broker and a user of it, as operators' tools make them: the broker's settings,
// and the user's file.
#ifndef TESTS_SITE_CREDENTIALS_H_
#define TESTS_SITE_CREDENTIALS_H_

#include <string>

namespace dorn::site {

class Credentials {
 public:
  Credentials();
  ~Credentials();
  Credentials(const Credentials&) = delete;
  Credentials& operator=(const Credentials&) = delete;

  const std::string& Settings() const { return mSettings; }
  const std::string& File() const { return mFile; }

 private:
  std::string mSettings;
  std::string mFile;
};

}  // namespace dorn::site

#endif  // TESTS_SITE_CREDENTIALS_H_
