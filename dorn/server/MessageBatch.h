// Lets the kernel join what stations get while several messages are being served in a row.
// Internal: not installed. Loop thread only, where nothing else is said.
#ifndef DORN_SERVER_MESSAGEBATCH_H_
#define DORN_SERVER_MESSAGEBATCH_H_

namespace dorn {

class Outgoing;

// Stands around the messages that one receive has completed. While another one is waiting behind
// the message that is being executed, frames are given to the kernel with the remark that more will
// follow, which spares it a packet, and the station a wake-up, for each of them. The kernel has the
// bytes all the same: they keep their place before whatever is written behind them by any means,
// and they survive the process.
//
// What the kernel still keeps back for a station leaves at the end of the scope, however it is
// left, and before a hook that follows another one late: unasked, the kernel takes 200 ms.
class MessageBatch {
 public:
  MessageBatch();
  ~MessageBatch();

  MessageBatch(const MessageBatch&) = delete;
  MessageBatch& operator=(const MessageBatch&) = delete;

  // Whether another complete message is waiting.
  void SetMore(bool more);

  // Whether more frames are likely to follow at once. Any thread; true on the loop thread only.
  static bool HasMore();

  // Remembers a connection for whose station the kernel keeps something back. Once for each; until
  // the batch pushes it or it is forgotten.
  static void Remember(Outgoing* outgoing);
  static void Forget(const Outgoing* outgoing);

  // To be called before a hook of the host.
  static void BeforeHook();

 private:
  bool mOuter;
};

}  // namespace dorn

#endif  // DORN_SERVER_MESSAGEBATCH_H_
