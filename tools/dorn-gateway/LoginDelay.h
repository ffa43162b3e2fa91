// Slows down whoever guesses passwords, by the address that he comes from.
#ifndef TOOLS_DORN_GATEWAY_LOGINDELAY_H_
#define TOOLS_DORN_GATEWAY_LOGINDELAY_H_

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>

#include "tools/dorn-gateway/Options.h"

namespace dorn::gateway {

// Five failures are free. Behind them the attempts of one address are taken one after the other,
// each after a delay that doubles with each further failure up to eight times the first. What is
// not answered yet may become a failure: until there were five, no more are made at once than may
// still fail, so that opening many connections does not make guessing faster. A good log-in forgets
// the failures, and so does a quarter of an hour without any. Is told the time.
class LoginDelay {
 public:
  static constexpr int kFree = 5;
  static constexpr int kMaxFactor = 8;
  static constexpr std::size_t kMaxAddresses = 10'000;
  static constexpr Ms kForgottenAfter{900'000};

  LoginDelay(Ms first, Ms longestWait) : mFirst(first), mLongestWait(longestWait) {}

  // Counts an attempt that is made now, until Leave(). False, and nothing is counted, when it has
  // to wait for the answer to another one.
  bool Enter(const std::string& address, Ms now);
  void Leave(const std::string& address);
  // How long an attempt that is made now has to wait. Nothing when that would be too long: the
  // attempt is refused and does not count.
  std::optional<Ms> Begin(const std::string& address, Ms now);
  void CountFailure(const std::string& address, Ms now);
  void CountSuccess(const std::string& address);

 private:
  struct Failures {
    int mCount = 0;
    Ms mLast{0};
    Ms mNext{0};        // Before which no attempt begins.
    int mUnderWay = 0;  // Attempts that are not answered yet.
  };

  Ms DelayAfter(int failures) const;
  Failures& Of(const std::string& address, Ms now);
  void Forget(Ms now);

  const Ms mFirst;
  const Ms mLongestWait;
  std::unordered_map<std::string, Failures> mFailures;  // Of addresses that have any, or attempts.
};

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_LOGINDELAY_H_
