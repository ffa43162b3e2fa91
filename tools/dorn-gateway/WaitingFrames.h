// What the frames that wait for pages take of the memory.
#ifndef TOOLS_DORN_GATEWAY_WAITINGFRAMES_H_
#define TOOLS_DORN_GATEWAY_WAITINGFRAMES_H_

#include <cstddef>
#include <string>
#include <unordered_map>

#include "tools/dorn-gateway/Conversion.h"

namespace dorn::gateway {

// A frame that waits for many pages is held once, and counts once. It is known by its place:
// whoever adds a frame holds it until he has removed it.
class WaitingFrames {
 public:
  // What one waiting message takes beside its payload.
  static constexpr std::size_t kOverhead = 100;

  std::size_t Bytes() const { return mBytes; }

  // How many they will be when the frame waits for one page more.
  std::size_t BytesWith(const Frame& frame) const {
    return mBytes + kOverhead + (mPages.count(frame.get()) == 0 ? frame->size() : 0);
  }

  void Add(const Frame& frame) {
    if (mPages[frame.get()]++ == 0) mBytes += frame->size();
    mBytes += kOverhead;
  }

  // As often as it was added, and never a frame that was not.
  void Remove(const Frame& frame) {
    mBytes -= kOverhead;
    const auto found = mPages.find(frame.get());
    if (--found->second > 0) return;
    mBytes -= frame->size();
    mPages.erase(found);
  }

 private:
  std::unordered_map<const std::string*, std::size_t> mPages;  // For how many each waits.
  std::size_t mBytes = 0;
};

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_WAITINGFRAMES_H_
