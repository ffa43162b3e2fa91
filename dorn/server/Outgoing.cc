#include "dorn/server/Outgoing.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "dorn/loop/LoopPass.h"
#include "dorn/loop/SharedInt.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Console.h"
#include "dorn/server/Counters.h"
#include "dorn/server/FrameBytes.h"
#include "dorn/server/MessageBatch.h"
#include "dorn/server/OutgoingDrainer.h"
#include "dorn/server/OutgoingQueue.h"
#include "dorn/server/VQClientSocket.h"

namespace dorn {

namespace {

// A station that lets more than this wait is closed when there is something else to send.
constexpr std::size_t kMaxQueuedBytes = std::size_t{8} * 1024 * 1024;

// The most that waits together with what else there is to send. A single text may be longer, also
// for a station that is no more than a moment behind.
constexpr std::size_t kMaxWithNext = 10000000;
constexpr std::size_t kMomentBytes = std::size_t{64} * 1024;

// The most that one connection gets at once while others wait for their turn, and before it is
// closed.
constexpr std::size_t kDrainBudget = std::size_t{256} * 1024;
constexpr std::size_t kClosingBudget = std::size_t{4} * 1024 * 1024;

// How long a payload waits for a station that has stopped reading while no loop runs.
constexpr int kRoomTimeoutMs = 500;

// A frame buffer that has grown beyond this is given back.
constexpr std::size_t kMaxKeptFrame = std::size_t{1024} * 1024;

bool IsRetryable(int error) { return error == EAGAIN || error == EINTR; }

// Zero ends a text, STX and ETX frame it.
bool MayNotBeInText(char byte) { return byte == '\0' || byte == kStx || byte == kEtx; }

// Whether one of them, or 0x01, is in the text. Without a way out the compiler looks at many bytes
// at a time.
bool HasLowBytes(std::string_view text) {
  unsigned char lowest = 0xFF;
  for (const char byte : text) lowest = std::min(lowest, static_cast<unsigned char>(byte));
  return lowest <= kEtx;
}

// Asks without taking the error.
bool IsBroken(int fd) {
  pollfd peer = {fd, 0, 0};
  return poll(&peer, 1, 0) > 0 && (peer.revents & (POLLERR | POLLHUP)) != 0;
}

bool IsFrameOf(const std::string& frame, const KZString& text) {
  return frame.size() == text.size() + 2 &&
         std::memcmp(frame.data() + 1, text.data(), text.size()) == 0;
}

// STX text ETX. Bytes of the text that would end the message, or forge one, become blanks. One text
// usually goes to many stations in a row: the frame of the last one is used again.
void Frame(const KZString& text, std::string& frame) {
  if (IsFrameOf(frame, text)) return;
  frame.assign(1, kStx);
  frame.reserve(text.size() + 2);
  frame += text;
  if (HasLowBytes(text)) std::replace_if(frame.begin() + 1, frame.end(), MayNotBeInText, ' ');
  frame += kEtx;
}

}  // namespace

Outgoing::Outgoing(VQClientSocket& socket) : mSocket(socket) {}

Outgoing::~Outgoing() { Drop(); }

// A host's own OnClose() need not have dropped what was queued when the connection was closed.
bool Outgoing::TakesBytes() const { return HasBacklog() && !HasNoDescriptor(mSocket); }

bool Outgoing::HasBacklog() const { return mQueue != nullptr && !mQueue->IsEmpty(); }

bool Outgoing::AwaitsRoom() const { return HasBacklog() && !IsBroken(LoadShared(mSocket.mFD)); }

std::size_t Outgoing::QueuedBytes() const { return mQueue != nullptr ? mQueue->MemoryBytes() : 0; }

bool Outgoing::TakeProgress() { return mQueue != nullptr && mQueue->TakeProgress(); }

int Outgoing::SendText(const KZString& text) {
  thread_local std::string lastFrame;
  std::string& frame = lastFrame;
  Frame(text, frame);
  const int result = Transmit(frame.data(), frame.size());
  if (result > 0) {
    ++Counters().messagesOut;
    Counters().bytesOut += frame.size();
  }
  if (frame.capacity() > kMaxKeptFrame) std::string().swap(frame);
  return result;
}

int Outgoing::Transmit(const char* bytes, std::size_t length) {
  if (HasNoDescriptor(mSocket)) return -1;
  if (HasBacklog()) return Enqueue(bytes, length) ? static_cast<int>(length) : -1;
  return WriteOrQueue(bytes, length);
}

// One write. What it leaves over is queued and counts as written: a message that was begun must be
// completed before anything else, or the station would be out of step for ever.
int Outgoing::WriteOrQueue(const char* bytes, std::size_t length) {
  const int total = static_cast<int>(length);
  const long written = WriteOnce(bytes, length);
  if (written == total || (written < 0 && !IsRetryable(errno))) return static_cast<int>(written);
  if (mSocket.GetFdDataList() == nullptr) {
    return static_cast<int>(written);  // No loop to send the rest.
  }
  const std::size_t sent = written > 0 ? static_cast<std::size_t>(written) : 0;
  return Enqueue(bytes + sent, length - sent) ? total : -1;
}

// For what is no socket too. A plain write also sends what the kernel kept back, if nothing delays
// it: a batch usually ends so.
long Outgoing::WriteOnce(const char* bytes, std::size_t length) {
  const int fd = LoadShared(mSocket.mFD);
  if (!MessageBatch::HasMore()) {
    const ssize_t written = write(fd, bytes, length);
    if (fd == mUndelayedFd && written == static_cast<ssize_t>(length)) mIsUnpushed = false;
    return written;
  }
  const ssize_t written = send(fd, bytes, length, MSG_MORE);
  if (written < 0) return errno == ENOTSOCK ? write(fd, bytes, length) : written;
  mIsUnpushed = true;
  if (!std::exchange(mIsRemembered, true)) MessageBatch::Remember(this);
  return written;
}

// The sockets of stations have this option already; setting it anew is what sends. Fails, rightly,
// on what is no TCP socket: nothing is kept back there.
void Outgoing::Push() {
  mIsRemembered = false;
  if (!std::exchange(mIsUnpushed, false) || HasNoDescriptor(mSocket)) return;
  const int fd = LoadShared(mSocket.mFD);
  const int on = 1;
  const int result = setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  mUndelayedFd = result == 0 ? fd : -1;
}

// A queue that holds something is being watched already.
bool Outgoing::Enqueue(const char* bytes, std::size_t length) {
  const bool isWatched = HasBacklog();
  if (!PrepareQueue(length)) return false;
  mQueue->Append(bytes, length);
  return isWatched || WatchBacklog();
}

void Outgoing::EnqueueFile(const KZString& path, int file, std::int64_t offset, std::int64_t end) {
  const bool isWatched = HasBacklog();
  if (!PrepareQueue(path.size())) {
    close(file);
    return;
  }
  mQueue->AppendFile(path, file, offset, end);
  if (!isWatched) WatchBacklog();
}

// Closes a station that does not read. Dropping messages instead would leave it with a wrong
// picture for ever; when it comes back it gets everything anew.
bool Outgoing::PrepareQueue(std::size_t length) {
  if (mQueue == nullptr) mQueue = std::make_unique<OutgoingQueue>();
  const std::size_t queued = mQueue->MemoryBytes();
  if (queued < kMomentBytes) return true;
  if (queued < kMaxQueuedBytes && queued + length < kMaxWithNext) return true;
  const ClosingFor reason(&Statistics::closedNotReading);
  PrintLine({"Connection ", std::to_string(mSocket.GetId()), " closed: it does not read, ",
             std::to_string(queued), " bytes are waiting"});
  mSocket.Close();
  errno = ENOBUFS;
  return false;
}

bool Outgoing::WatchBacklog() {
  KZFdDataList* list = mSocket.GetFdDataList();
  OutgoingDrainer* drainer = list != nullptr ? OutgoingDrainer::Of(list) : nullptr;
  if (drainer != nullptr && drainer->Watch(mSocket.GetFD(), this)) return true;
  PrintLine({"Connection ", std::to_string(mSocket.GetId()),
             " closed: the rest of a message cannot be queued: ", std::strerror(errno)});
  mSocket.Close();
  errno = ENOBUFS;
  return false;
}

// A broken connection is left to the next read, which reports why it is broken: a write would take
// the error with it.
void Outgoing::Drain() {
  using Result = OutgoingQueue::Result;
  if (mQueue == nullptr || HasNoDescriptor(mSocket)) return;
  if (IsBroken(mSocket.GetFD())) {
    if (std::exchange(mClosesWhenDrained, false)) mSocket.SetFDStatus(KZFdData::kStatusActive);
    return;
  }
  const ClosingFor reason(&Statistics::closedByStation);
  const Result result = mQueue->Write(mSocket.GetFD(), kDrainBudget);
  if (result == Result::kFailed) {
    PrintLine({"Connection ", std::to_string(mSocket.GetId()),
               " closed: the rest of a message cannot be sent: ", std::strerror(errno)});
    mSocket.Close();
  } else if (result == Result::kCutShort) {
    CloseCutShort();
  } else if (result != Result::kEmpty) {
    WatchBacklog();
  } else if (mClosesWhenDrained) {
    mSocket.Close();
  }
}

// The station counts the bytes that were announced: it would take whatever is sent next for the
// rest of the file, and be out of step for ever. When it comes back it asks anew.
void Outgoing::CloseCutShort() {
  const ClosingFor reason(&Statistics::closedByHost);
  PrintLine({"Connection ", std::to_string(mSocket.GetId()),
             " closed: a file that was being sent to it is shorter now, or not the same"});
  mSocket.Close();
}

// Outside the passes of a loop nobody may ever send what is queued, and nobody is kept waiting
// either: a station that goes on reading gets everything at once.
bool Outgoing::WaitForRoom() {
  if (IsInPass()) return false;
  pollfd room = {mSocket.GetFD(), POLLOUT, 0};
  int ready;
  do {
    ready = poll(&room, 1, kRoomTimeoutMs);
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

bool Outgoing::SendBlock(const char* bytes, std::size_t length) {
  while (length > 0 && !HasBacklog()) {
    const int sent = mSocket.Send(bytes, static_cast<int>(length));
    if (sent < 0 && errno != EAGAIN) return false;
    const std::size_t taken = sent > 0 ? std::min(static_cast<std::size_t>(sent), length) : 0;
    bytes += taken;
    length -= taken;
    if (length > 0 && !WaitForRoom()) return Enqueue(bytes, length);
  }
  return length == 0 || Enqueue(bytes, length);
}

// Failure is ignored: the connection is being closed anyway.
void Outgoing::WriteLast() {
  if (!HasBacklog() || HasNoDescriptor(mSocket)) return;
  static_cast<void>(mQueue->Write(mSocket.GetFD(), kClosingBudget));
}

// The end of the stream has taken along what the kernel kept back.
void Outgoing::Drop() {
  mClosesWhenDrained = false;
  mIsUnpushed = false;
  mUndelayedFd = -1;
  if (std::exchange(mIsRemembered, false)) MessageBatch::Forget(this);
  if (mQueue == nullptr) return;
  mQueue->Clear();
  static_cast<void>(mQueue->TakeProgress());
  OutgoingDrainer::Forget(mSocket.GetFdDataList(), this);
}

}  // namespace dorn
