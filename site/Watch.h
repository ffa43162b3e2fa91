// A descriptor that the loop watches for us. Internal: not installed.
#ifndef SITE_WATCH_H_
#define SITE_WATCH_H_

#include <functional>
#include <utility>

#include "dorn/loop/KZFdData.h"

namespace dorn::site {

// Calls a function whenever the descriptor is readable. Owns neither.
class Watch final : public KZFdData {
 public:
  Watch(int fd, KZFdDataList* list, std::function<void()> onReadable)
      : KZFdData(kTypeListener, fd, -1, list), mOnReadable(std::move(onReadable)) {
    AddEvent();
  }

  void ReadyToRead() override { mOnReadable(); }

 private:
  std::function<void()> mOnReadable;
};

}  // namespace dorn::site

#endif  // SITE_WATCH_H_
