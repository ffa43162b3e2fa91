// What lies behind a VQClientSocket. Internal: not installed. Loop thread only, where nothing else
// is said.
#ifndef DORN_SERVER_CONNECTION_H_
#define DORN_SERVER_CONNECTION_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "dorn/base/KZString.h"
#include "dorn/server/Commands.h"
#include "dorn/server/ConnectionTimers.h"
#include "dorn/server/MessageCutter.h"
#include "dorn/server/Outgoing.h"
#include "dorn/server/Peers.h"
#include "dorn/server/VQClientSocket.h"

namespace dorn {

// Whether the loop has been asked to remove the record.
bool IsRemoved(const KZFdData& record);

// Whether the record has no descriptor: none was ever opened, or it was closed.
bool HasNoDescriptor(const KZFdData& record);

// A log-in that waits for its time, or that the host holds: the message that it came in, and which
// of its commands it is.
struct WaitingLogIn {
  KZString message;
  std::size_t index = 0;
  unsigned int held = 0;  // The number that the host knows it by; 0: it waits for its time.
  // How deep the message lies of which it is, until that is noted here; then 0.
  int depth = 0;
};

// The commands of a message from one of them on.
struct RestOfMessage {
  KZString message;
  std::size_t index = 0;
};

// The rooms of one connection, and what is done with the bytes of its receive buffer.
class Connection {
 public:
  explicit Connection(VQClientSocket& socket);

  static Connection& Of(VQClientSocket& socket) { return *socket.mConnection; }
  static const Connection& Of(const VQClientSocket& socket) { return *socket.mConnection; }

  Outgoing& Out() { return mOutgoing; }
  Peer& Station() { return mPeer; }
  const Peer& Station() const { return mPeer; }
  ConnectionTimers& Timers() { return mTimers; }

  // To be called when the socket is readable or its buffer holds something. False when it must not
  // be read: the station has finished sending while a backlog is waiting for it.
  bool PrepareRead();

  // Executes the messages that are complete: all of them, unless so many lie there that other
  // stations would wait. The loop comes back for the rest by itself.
  void Receive();

  // The descriptor was closed: whatever belonged to it alone is forgotten.
  void End();

  // The object is about to get another descriptor. What its last station was, in a dialog or logged
  // in, the next one is not; nor do its timers count.
  void BeginAnew();

  // How often the connection was closed. A closed one may be open again, for another station, when
  // a hook returns.
  int Ends() const { return mEnds; }

  // Whether it was closed since it had ended that often, be it open again or not.
  bool HasEndedSince(int ends) const { return IsRemoved(mSocket) || mEnds != ends; }
  // Whether it was closed since and is open again: for another station.
  bool IsAnothersSince(int ends) const { return !IsRemoved(mSocket) && mEnds != ends; }

  // Executes the commands of one message.
  void Execute(const KZString& message) { ExecuteFrom(message, 0, Greeting::kNew); }

  // The log-in that is being executed is to be looked at so much later, and with it all that the
  // station sends behind it. For ExecuteCommand() only. Where another one waits already, as when
  // the host executes a message of its own, it comes behind that.
  void DelayLogIn(unsigned long ms);
  // Goes on with it, if there is one and the connection is still open.
  void ResumeLogIn();

  // Calls the host's OnAuth(), in which alone a log-in can be held. Returns whether it is.
  bool AskHost(const KZString& id, const KZString& pass);
  // The one of the innermost call of OnAuth() that is running; null: none is.
  static Connection* LoggingIn();
  // As the public functions of these names.
  unsigned int HoldLogIn();
  void FinishLogIn();
  // The number of the log-in that the host holds; 0: none.
  unsigned int HeldLogIn() const { return mWaitingLogIn != nullptr ? mWaitingLogIn->held : 0; }
  // The time for a held log-in is over: the station is told before it is closed.
  void GiveUpHeldLogIn();

  void ForgetLogIn();

  // A command came that shows that the user is there.
  void CountCommand() { ++mCommands; }
  std::uint64_t Commands() const { return mCommands; }

  // The receive buffer was emptied. Any thread.
  void BufferCleared() { mCutter.Forget(); }

 private:
  class Asking;
  class Depth;

  void ExecuteMessages();
  void ExecuteFrom(const KZString& message, std::size_t first, Greeting greeting);
  bool LeavesRest(const KZString& message, std::size_t index, int waitsBefore);
  void GoOn(const WaitingLogIn& due, Greeting greeting);
  void BeginToWait();
  void DropGarbage();
  bool TakeMessage(KZString& text);
  bool HasMessage();
  std::string_view Held() const;
  void DropFront(std::size_t length);
  int HeldLength() const;
  bool HasPeerFinished() const;
  void CloseIfFull();
  void ForgetFailures();

  VQClientSocket& mSocket;
  Outgoing mOutgoing;
  ConnectionTimers mTimers;
  MessageCutter mCutter;
  Peer mPeer;
  int mEnds = 0;
  std::unique_ptr<WaitingLogIn> mWaitingLogIn;  // Null: none is waiting.
  int mWaits = 0;                               // How many have waited so far.
  std::vector<RestOfMessage> mBehind;           // What is executed behind the one that waits.
  bool mComesBehind = false;  // The log-in that is being executed is to be of that.
  int mDepth = 0;  // How many messages are being executed; more than one if a hook calls us.
  std::uint64_t mCommands = 0;
  std::size_t mMoved = 0;  // How many bytes taking messages has moved in this Receive().
  int mLeft = -1;          // What the last Receive() left in the buffer; -1 before the first.
};

}  // namespace dorn

#endif  // DORN_SERVER_CONNECTION_H_
