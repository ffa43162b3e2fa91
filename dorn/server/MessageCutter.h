// Cuts a stream of bytes into messages: STX text ETX. Internal: not installed.
#ifndef DORN_SERVER_MESSAGECUTTER_H_
#define DORN_SERVER_MESSAGECUTTER_H_

#include <atomic>
#include <cstddef>
#include <string_view>

namespace dorn {

// Looks at the bytes that somebody else holds and takes off the front. Remembers how many of them
// it has searched, so that a message which arrives in a thousand pieces is searched once; whoever
// changes the bytes otherwise than by appending says Forget().
// One thread at a time, but for Forget().
class MessageCutter {
 public:
  // How many bytes precede the first STX of `held`; 0 also if there is none.
  std::size_t CountGarbage(std::string_view held);

  // The length of the first complete message of `held`, its ETX included; 0 if none is complete.
  std::size_t FindMessage(std::string_view held);

  // The text of a complete message, as a part of it: what lies between its first byte, whatever
  // that is, and its last one, up to a zero byte. A lone ETX has an empty text, as STX ETX does.
  // Kept: nobody looks for a second STX, so what lies between two messages becomes the start of
  // the second one's text.
  static std::string_view TextOf(std::string_view message);

  // The bytes at the front have changed. Any thread.
  void Forget() { mIsStale.store(true, std::memory_order_release); }

 private:
  void StartAnewIfStale();

  // How much of the front is known to hold no STX, and no ETX.
  std::size_t mNoStart = 0;
  std::size_t mNoEnd = 0;
  std::atomic<bool> mIsStale{false};
};

}  // namespace dorn

#endif  // DORN_SERVER_MESSAGECUTTER_H_
