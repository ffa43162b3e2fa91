#include "dorn/server/Connection.h"

#include <poll.h>
#include <sys/ioctl.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "dorn/base/Poison.h"
#include "dorn/base/SemaphoreLock.h"
#include "dorn/loop/SharedInt.h"
#include "dorn/model/KeptCommands.h"
#include "dorn/server/App.h"
#include "dorn/server/ApplicationState.h"
#include "dorn/server/CommandCount.h"
#include "dorn/server/Commands.h"
#include "dorn/server/Console.h"
#include "dorn/server/Counters.h"
#include "dorn/server/MessageBatch.h"
#include "dorn/server/Observed.h"
#include "dorn/server/ProxyLine.h"
#include "dorn/server/VQApplication.h"

namespace dorn {

// Descriptor, status and length are read without the lock, as the loop does: see SharedInt.h.
bool IsRemoved(const KZFdData& record) {
  return LoadShared(record.mStatus) == KZFdData::kStatusRemove;
}

// A record that never got a descriptor carries the number 0.
bool HasNoDescriptor(const KZFdData& record) {
  const int fd = LoadShared(record.mFD);
  return fd < 0 || (fd == 0 && LoadShared(record.mStatus) == KZFdData::kStatusInitial);
}

// A call of OnAuth() that is running. OnAuth() may have others called.
class Connection::Asking {
 public:
  explicit Asking(Connection& connection)
      : mConnection(connection),
        mDepth(connection.mDepth),
        mEnds(connection.mEnds),
        mOuter(sInnermost) {
    sInnermost = this;
  }
  ~Asking() { sInnermost = mOuter; }

  Asking(const Asking&) = delete;
  Asking& operator=(const Asking&) = delete;

  static Connection* Innermost() {
    return sInnermost != nullptr ? &sInnermost->mConnection : nullptr;
  }
  // For both, one must be running.
  // How deep the message lies of which the innermost one is.
  static int InnermostDepth() { return sInnermost->mDepth; }
  // Whether its connection was closed meanwhile.
  static bool HasInnermostEnded() {
    return sInnermost->mConnection.HasEndedSince(sInnermost->mEnds);
  }

 private:
  static const Asking* sInnermost;

  Connection& mConnection;
  const int mDepth;
  const int mEnds;
  const Asking* mOuter;
};

const Connection::Asking* Connection::Asking::sInnermost = nullptr;

// Stands while a message is executed.
class Connection::Depth {
 public:
  explicit Depth(Connection& connection) : mConnection(connection) { ++mConnection.mDepth; }
  ~Depth() { --mConnection.mDepth; }

  Depth(const Depth&) = delete;
  Depth& operator=(const Depth&) = delete;

 private:
  Connection& mConnection;
};

namespace {

// Messages pile up behind a delayed log-in, and taking one moves all bytes behind it. So much is
// moved in one call; the rest of the pile waits for the next pass, and the other stations for none
// of it.
constexpr std::size_t kMaxMoved = std::size_t{4} * 1024 * 1024;

// The commands of a message while they are executed.
class ReadMessage {
 public:
  explicit ReadMessage(const KZString& text) : mKept(StateOf(App()).keptCommands) {
    bool isReadable = false;
    mCommands = mKept.Read(text, isReadable);
    if (!isReadable) ++Counters().unreadable;
  }
  ~ReadMessage() { mKept.GiveBack(std::move(mCommands)); }

  ReadMessage(const ReadMessage&) = delete;
  ReadMessage& operator=(const ReadMessage&) = delete;

  const std::vector<VQJsonObject*>& Entries() const { return mCommands->mObjectList; }

 private:
  KeptCommands& mKept;
  KeptCommands::List mCommands;
};

// The text of the message that is being executed, in storage that is used again.
struct MessageText {
  MessageText() {
    text.swap(Spare());
    Unpoison(text.data(), text.capacity() + 1);
  }
  ~MessageText() {
    constexpr std::size_t kMaxKept = 4096;
    if (text.capacity() > kMaxKept || text.capacity() <= Spare().capacity()) return;
    text.swap(Spare());
    // Whoever still has a pointer to it is found by AddressSanitizer.
    const bool isElsewhere = Spare().capacity() > KZString().capacity();
    if (isElsewhere) Poison(Spare().data(), Spare().capacity() + 1);
  }

  MessageText(const MessageText&) = delete;
  MessageText& operator=(const MessageText&) = delete;

  KZString text;

 private:
  // Never destroyed: connections may be used until the process ends.
  static std::string& Spare() {
    static std::string& spare = *new std::string;
    return spare;
  }
};

}  // namespace

Connection::Connection(VQClientSocket& socket)
    : mSocket(socket), mOutgoing(socket), mTimers(socket, mOutgoing), mPeer(socket) {}

int Connection::HeldLength() const { return LoadShared(mSocket.mBufferPos); }

// The caller holds the lock of the buffer.
std::string_view Connection::Held() const {
  return {mSocket.mDataBuffer, static_cast<std::size_t>(mSocket.mBufferPos)};
}

// A station that shuts down its sending side may still be reading. By status kStatusOpen the loop
// watches the socket for writing instead of reading, so the end of its stream is not reported again
// and again until the rest of the queue is out.
bool Connection::PrepareRead() {
  if (HeldLength() != mLeft) mCutter.Forget();
  if (mSocket.IsSelect() == 0 || !mOutgoing.HasBacklog() || !HasPeerFinished()) return true;
  mOutgoing.CloseWhenDrained();
  mSocket.SetFDStatus(KZFdData::kStatusOpen);
  return false;
}

// Asks without reading: even a peek would take the error of a reset with it, and the read behind it
// would find an orderly end.
bool Connection::HasPeerFinished() const {
  const int fd = LoadShared(mSocket.mFD);
  pollfd peer = {fd, POLLRDHUP, 0};
  if (poll(&peer, 1, 0) <= 0 || peer.revents != POLLRDHUP) return false;
  int unread = 0;
  return ioctl(fd, FIONREAD, &unread) == 0 && unread == 0;
}

// An incomplete message keeps the record on the ready list in every pass. Such a call, in which
// nothing has arrived, must not count as a sign of life: the timer would never run out, a station
// that died in the middle of a message would never be noticed, and setting the timer wakes the loop
// up, so that it would spin.
void Connection::Receive() {
  const bool isRepetition = mSocket.IsSelect() == 0 && HeldLength() == mLeft;
  if (!isRepetition) mTimers.BytesArrived();
  // Bytes that were put there without the loop may be anything.
  if (mSocket.IsSelect() == 0 && !isRepetition) mCutter.Forget();
  const int ends = mEnds;
  if (TakeProxyLine(mSocket)) {
    mCutter.Forget();
    if (HasEndedSince(ends)) return;
  }
  DropGarbage();
  ExecuteMessages();
  if (HasEndedSince(ends)) return;
  CloseIfFull();
  mLeft = HeldLength();
}

void Connection::End() {
  ++mEnds;
  ForgetLogIn();
  ForgetFailures();
  mOutgoing.Drop();
  mTimers.Forget();
  mCutter.Forget();
  mLeft = -1;
}

// Wrong passwords are counted by the id of the object, which may be used for another station.
void Connection::ForgetFailures() {
  const ApplicationState* state = FindStateOfList(mSocket.GetFdDataList());
  if (state == nullptr || state->loginGuard == nullptr) return;
  state->loginGuard->ForgetConnection(static_cast<unsigned int>(mSocket.GetId()));
}

// A host's OnClose() need not have called ours.
void Connection::BeginAnew() {
  if (LoadShared(mSocket.mFD) >= 0) return;
  NoteOpenedAgain(&mSocket);
  End();
  mPeer.HostOpens();
  mTimers.CancelAll();
  mSocket.mSessionId.Clear();
  mSocket.mAuth = false;
  mSocket.mDialogName.Clear();
}

// What a closed connection has sent is not executed any more, or one message could try thousands of
// session ids.
void Connection::ExecuteMessages() {
  MessageBatch batch;
  const int ends = mEnds;
  MessageText message;
  KZString& text = message.text;
  mMoved = 0;
  while (mMoved <= kMaxMoved && mWaitingLogIn == nullptr && TakeMessage(text)) {
    batch.SetMore(HasMessage());
    // Hooks may read from the buffer too, so the end is looked for anew.
    mCutter.Forget();
    mSocket.DoCommand(text);
    if (HasEndedSince(ends)) return;
  }
}

// Hooks may change the list of commands, so the walk goes by position. A log-in that waits keeps
// the text, not the objects: it is read again when its time has come.
void Connection::ExecuteFrom(const KZString& message, std::size_t first, Greeting greeting) {
  const ReadMessage read(message);
  const std::vector<VQJsonObject*>& entries = read.Entries();
  const int ends = mEnds;
  const Depth depth(*this);
  for (std::size_t i = first; i < entries.size(); ++i) {
    VQJsonObject* entry = entries[i];
    const int waitsBefore = mWaits;
    if (entry != nullptr && greeting != Greeting::kNew && i == first) {
      ResumeGreeting(mSocket, entry, greeting);
    } else if (entry != nullptr) {
      ExecuteCommand(mSocket, entry);
    }
    // Kept: the command that closed the connection is finished. Nothing behind it is executed.
    if (HasEndedSince(ends) || LeavesRest(message, i, waitsBefore)) break;
  }
}

// Whether what is left of the message has to wait, which is noted. A log-in of a message that a
// hook had executed takes what is behind the command of that hook along, or a station could have
// many guesses looked at while one waits.
bool Connection::LeavesRest(const KZString& message, std::size_t index, int waitsBefore) {
  if (std::exchange(mComesBehind, false)) {
    mBehind.push_back({message, index});
    return true;
  }
  if (mWaitingLogIn == nullptr || mWaits == waitsBefore) return false;
  if (mWaitingLogIn->depth == mDepth) {
    mWaitingLogIn->message = message;
    mWaitingLogIn->index = index;
    mWaitingLogIn->depth = 0;
  } else {
    mBehind.push_back({message, index + 1});
  }
  return true;
}

void Connection::BeginToWait() {
  mWaitingLogIn = std::make_unique<WaitingLogIn>();
  mWaitingLogIn->depth = mDepth;
  ++mWaits;
}

void Connection::DelayLogIn(unsigned long ms) {
  mComesBehind = mWaitingLogIn != nullptr;
  if (mComesBehind) return;
  BeginToWait();
  mTimers.DelayLogIn(ms);
}

// What is executed may have a further log-in that has to wait: the rest remains behind that.
void Connection::GoOn(const WaitingLogIn& due, Greeting greeting) {
  const std::vector<RestOfMessage> behind = std::exchange(mBehind, {});
  const int ends = mEnds;
  ExecuteFrom(due.message, due.index, greeting);
  auto next = behind.begin();
  while (next != behind.end() && mWaitingLogIn == nullptr && !HasEndedSince(ends)) {
    ExecuteFrom(next->message, next->index, Greeting::kNew);
    ++next;
  }
  if (!HasEndedSince(ends)) mBehind.insert(mBehind.end(), next, behind.end());
}

// Messages behind it are still in the buffer, so the loop comes back for them by itself.
void Connection::ResumeLogIn() {
  const std::unique_ptr<WaitingLogIn> due = std::move(mWaitingLogIn);
  if (due == nullptr || IsRemoved(mSocket)) return;
  GoOn(*due, Greeting::kDelayed);
}

bool Connection::AskHost(const KZString& id, const KZString& pass) {
  {
    const Asking asking(*this);
    App().OnAuth(id, pass, &mSocket);
  }
  return HeldLogIn() != 0;
}

Connection* Connection::LoggingIn() { return Asking::Innermost(); }

// Nobody may stay without a log-in for ever, so the limit counts even where the host has ended it.
unsigned int Connection::HoldLogIn() {
  static unsigned int sLast = 0;
  if (mSocket.mAuth || Asking::HasInnermostEnded()) return 0;
  const int depth = Asking::InnermostDepth();
  if (mWaitingLogIn != nullptr) return mWaitingLogIn->depth == depth ? mWaitingLogIn->held : 0;
  BeginToWait();
  mWaitingLogIn->depth = depth;
  mWaitingLogIn->held = ++sLast != 0 ? sLast : ++sLast;
  mTimers.LimitLogIn();
  return mWaitingLogIn->held;
}

// Called by OnAuth() itself it only takes the holding back: the greeting goes on behind OnAuth().
void Connection::FinishLogIn() {
  const std::unique_ptr<WaitingLogIn> held = std::move(mWaitingLogIn);
  if (mSocket.mAuth) mTimers.HeldLogInIsGood();
  if (held->depth != 0 || IsRemoved(mSocket)) return;
  GoOn(*held, Greeting::kHeld);
}

void Connection::GiveUpHeldLogIn() {
  mWaitingLogIn.reset();
  mSocket.Authentication("");
  RefuseLogIn(mSocket);
}

void Connection::ForgetLogIn() {
  mBehind.clear();
  mComesBehind = false;
  if (mWaitingLogIn == nullptr) return;
  mWaitingLogIn.reset();
  mTimers.ForgetLogIn();
}

// Drops what precedes the first STX. Without any STX nothing is dropped.
void Connection::DropGarbage() {
  if (HeldLength() == 0) return;
  const SemaphoreLock lock(mSocket.mSemData);
  const std::size_t length = mCutter.CountGarbage(Held());
  if (length > 0) DropFront(length);
}

bool Connection::TakeMessage(KZString& text) {
  if (HeldLength() == 0) return false;
  const SemaphoreLock lock(mSocket.mSemData);
  const std::string_view held = Held();
  const std::size_t length = mCutter.FindMessage(held);
  if (length == 0) return false;
  text.assign(MessageCutter::TextOf(held.substr(0, length)));
  ++Counters().messagesIn;
  Counters().bytesIn += length;
  DropFront(length);
  return true;
}

bool Connection::HasMessage() {
  if (HeldLength() == 0) return false;
  const SemaphoreLock lock(mSocket.mSemData);
  return mCutter.FindMessage(Held()) > 0;
}

// What GetData() does without a copy. The caller holds the lock.
void Connection::DropFront(std::size_t length) {
  char* const buffer = mSocket.mDataBuffer;
  const std::size_t left = static_cast<std::size_t>(mSocket.mBufferPos) - length;
  std::memmove(buffer, buffer + length, left);
  mMoved += left;
  StoreShared(mSocket.mBufferPos, static_cast<int>(left));
  mCutter.Forget();
}

// No ETX can ever arrive in a buffer that is full: whatever comes is dropped, the record would be
// served in every pass, and the station never heard again.
void Connection::CloseIfFull() {
  if (mSocket.mBufferSize <= 0 || HeldLength() < mSocket.mBufferSize) return;
  const ClosingFor reason(&Statistics::closedTooLong);
  PrintLine({"Connection ", std::to_string(mSocket.GetId()),
             " closed: its message does not fit into the buffer"});
  mSocket.Close();
}

std::uint64_t CommandCount(const VQClientSocket& client) {
  return Connection::Of(client).Commands();
}

}  // namespace dorn
