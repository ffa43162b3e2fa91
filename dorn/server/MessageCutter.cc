#include "dorn/server/MessageCutter.h"

#include <string>

#include "dorn/server/FrameBytes.h"

namespace dorn {

void MessageCutter::StartAnewIfStale() {
  if (!mIsStale.load(std::memory_order_acquire)) return;
  mIsStale.store(false, std::memory_order_relaxed);
  mNoStart = 0;
  mNoEnd = 0;
}

std::size_t MessageCutter::CountGarbage(std::string_view held) {
  StartAnewIfStale();
  if (held.empty() || held.front() == kStx || mNoStart >= held.size()) return 0;
  const std::size_t start = held.find(kStx, mNoStart);
  mNoStart = held.size();
  return start == std::string_view::npos ? 0 : start;
}

std::size_t MessageCutter::FindMessage(std::string_view held) {
  StartAnewIfStale();
  if (mNoEnd >= held.size()) return 0;
  const std::size_t end = held.find(kEtx, mNoEnd);
  if (end != std::string_view::npos) return end + 1;
  mNoEnd = held.size();
  return 0;
}

std::string_view MessageCutter::TextOf(std::string_view message) {
  if (message.size() < 2) return {};
  const std::string_view text = message.substr(1, message.size() - 2);
  return text.substr(0, text.find('\0'));
}

}  // namespace dorn
