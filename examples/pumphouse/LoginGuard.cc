#include "LoginGuard.h"

bool LoginGuard::IsBlocked(const std::string& address) const {
  const auto found = mFailures.find(address);
  return found != mFailures.end() && found->second >= kMaxFailures;
}
