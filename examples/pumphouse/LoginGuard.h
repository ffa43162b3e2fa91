// Slows down whoever guesses passwords.
#ifndef PUMPHOUSE_LOGINGUARD_H_
#define PUMPHOUSE_LOGINGUARD_H_

#include <map>
#include <string>

class LoginGuard {
 public:
  // Wrong passwords from one address until Forget() blocks it.
  static constexpr int kMaxFailures = 5;

  void CountFailure(const std::string& address) { ++mFailures[address]; }
  bool IsBlocked(const std::string& address) const;

  // Everybody may try again.
  void Forget() { mFailures.clear(); }

 private:
  std::map<std::string, int> mFailures;
};

#endif  // PUMPHOUSE_LOGINGUARD_H_
