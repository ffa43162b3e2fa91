// Joins the frames that go to a station while several messages are being served in a row.
// Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_FRAMEHOLD_H_
#define DORN_SERVER_FRAMEHOLD_H_

#include <cstddef>

class VQClientSocket;

namespace dorn {

// Stands around the messages that one receive has completed. While another one is waiting behind
// the message that is being executed, connections keep small frames back instead of writing each;
// what they kept goes out with one write each at the end of the scope, and always before anything
// else is sent to that station and before it is closed. A system call for each recipient costs many
// times what all the rest of sending does.
class FrameHold {
 public:
  // Larger frames are written at once, and no connection keeps back more than the second.
  static constexpr std::size_t kMaxFrame = 4096;
  static constexpr std::size_t kMaxHeld = 16384;

  FrameHold();
  ~FrameHold();

  FrameHold(const FrameHold&) = delete;
  FrameHold& operator=(const FrameHold&) = delete;

  // Whether another complete message is waiting.
  void SetMore(bool more);

  // Whether a frame is to be kept back now.
  static bool IsActive();

  // Writes the connection's frames at the end of the scope.
  static void Register(VQClientSocket* client);

  // For a connection that is destroyed.
  static void Forget(const VQClientSocket* client);

  // Whether this thread is the one that keeps frames back.
  static bool IsOurs();

  // Writes everything now; also for a process that ends in the middle of a scope.
  static void Flush();

 private:
  bool mOuter;
};

}  // namespace dorn

#endif  // DORN_SERVER_FRAMEHOLD_H_
