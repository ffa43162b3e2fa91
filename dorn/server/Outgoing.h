// Everything that one connection sends. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_OUTGOING_H_
#define DORN_SERVER_OUTGOING_H_

#include <cstddef>
#include <cstdint>
#include <memory>

#include "dorn/base/KZString.h"
#include "dorn/server/Drainable.h"

class VQClientSocket;

namespace dorn {

class OutgoingQueue;

// Frames texts, tells the kernel when more will follow, and queues what the socket does not take.
// While something is queued (a backlog) everything else lines up behind it. What cannot be queued
// closes the connection: a station that has lost a message would have a wrong picture for ever.
class Outgoing final : public Drainable {
 public:
  explicit Outgoing(VQClientSocket& socket);
  ~Outgoing();

  Outgoing(const Outgoing&) = delete;
  Outgoing& operator=(const Outgoing&) = delete;

  bool HasBacklog() const;
  std::size_t QueuedBytes() const;

  // Whether what is to be sent lines up behind a backlog.
  bool TakesBytes() const;

  // Whether there is a backlog and still somebody to take it.
  bool AwaitsRoom() const;

  // The text as one message, with one write. Returns what the write returned; the framed length
  // when all or a part was queued; -1 without a descriptor, or when the connection was closed.
  int SendText(const KZString& text);

  // Bytes behind the backlog. False when the connection was closed for them.
  bool Enqueue(const char* bytes, std::size_t length);

  // The part of a file behind everything else; see OutgoingQueue::AppendFile().
  void EnqueueFile(const KZString& path, int file, std::int64_t offset, std::int64_t end);

  // Bytes without a frame, through the connection's Send(), which hosts may override; what the
  // socket does not take is queued. False when Send() failed: the rest of the block is given up.
  bool SendBlock(const char* bytes, std::size_t length);

  // Sends what the kernel keeps back for a moment; the batch that calls this forgets it. See
  // MessageBatch.
  void Push();

  // From now on the connection is closed as soon as there is no backlog any more.
  void CloseWhenDrained() { mClosesWhenDrained = true; }
  bool ClosesWhenDrained() const { return mClosesWhenDrained; }

  // Writes what the socket takes of the backlog and closes the connection if it is to be closed.
  void Drain() override;

  // Before the descriptor is closed: writes what the socket takes at once.
  void WriteLast();

  // The descriptor is gone, and with it all that was to be sent.
  void Drop();

  // Whether queued bytes went out since the last call.
  bool TakeProgress();

 private:
  int Transmit(const char* bytes, std::size_t length);
  int WriteOrQueue(const char* bytes, std::size_t length);
  long WriteOnce(const char* bytes, std::size_t length);
  bool PrepareQueue(std::size_t length);
  bool WatchBacklog();
  bool WaitForRoom();
  void CloseCutShort();

  VQClientSocket& mSocket;
  std::unique_ptr<OutgoingQueue> mQueue;  // Made at the first backlog.
  int mUndelayedFd = -1;                  // The descriptor that a push has set TCP_NODELAY for.
  bool mIsUnpushed = false;               // The kernel may be keeping something back.
  bool mIsRemembered = false;             // By the batch.
  bool mClosesWhenDrained = false;
};

}  // namespace dorn

#endif  // DORN_SERVER_OUTGOING_H_
