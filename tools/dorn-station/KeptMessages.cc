#include "tools/dorn-station/KeptMessages.h"

#include <algorithm>
#include <utility>

namespace {

// Short ones take room as well.
std::size_t BytesOf(const std::string& message) { return message.size() + 64; }

}  // namespace

void KeptMessages::Add(std::string message) {
  mBytes += BytesOf(message);
  mMessages.push_back(std::move(message));
  while (mBytes > kMostBytes && mMessages.size() > 1) ForgetFirst();
}

void KeptMessages::ForgetPassed() {
  while (mPassed > 0) ForgetFirst();
}

bool KeptMessages::PassUntil(std::string_view text) {
  while (mPassed < mMessages.size()) {
    if (mMessages[mPassed++].find(text) != std::string::npos) return true;
  }
  return false;
}

bool KeptMessages::Contain(std::string_view text) const {
  return std::any_of(mMessages.begin(), mMessages.end(), [text](const std::string& message) {
    return message.find(text) != std::string::npos;
  });
}

void KeptMessages::ForgetFirst() {
  mBytes -= BytesOf(mMessages.front());
  mMessages.pop_front();
  if (mPassed > 0) --mPassed;
}
