#include "dorn/server/VQClientSocket.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "dorn/base/SemaphoreLock.h"
#include "dorn/loop/LoopPass.h"
#include "dorn/loop/SharedInt.h"
#include "dorn/server/App.h"
#include "dorn/server/Connections.h"
#include "dorn/server/Console.h"
#include "dorn/server/MessageBatch.h"
#include "dorn/server/OutgoingDrainer.h"
#include "dorn/server/OutgoingQueue.h"
#include "dorn/server/VQApplication.h"

namespace {

constexpr char kStx = 0x02;
constexpr char kEtx = 0x03;

constexpr int kLogBufferSize = 1024;
constexpr unsigned long kIdleTimeoutMs = 180000;

// A station that lets more than this wait is closed when there is something else to send.
constexpr std::size_t kMaxQueuedBytes = std::size_t{8} * 1024 * 1024;

// The most that one connection gets at once while others wait for their turn, and before it is
// closed.
constexpr std::size_t kDrainBudget = std::size_t{256} * 1024;
constexpr std::size_t kClosingBudget = std::size_t{4} * 1024 * 1024;

// How long a payload waits for a station that has stopped reading while no loop runs.
constexpr int kRoomTimeoutMs = 500;

// A frame buffer that has grown beyond this is given back.
constexpr std::size_t kMaxKeptFrame = std::size_t{1024} * 1024;

bool IsRetryable(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

// Zero ends a text, STX and ETX frame it.
bool MayNotBeInText(char byte) { return byte == '\0' || byte == kStx || byte == kEtx; }

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
  std::replace_if(frame.begin() + 1, frame.end(), MayNotBeInText, ' ');
  frame += kEtx;
}

}  // namespace

VQClientSocket::VQClientSocket(KZStream* stream, KZFdDataList* list)
    : KZClientSocket(kLogBufferSize, stream, list), mStream(stream) {
  SetId(static_cast<int>(dorn::App().NextSocketId()));
}

VQClientSocket::~VQClientSocket() {
  if (mIsUnpushed) dorn::MessageBatch::Forget(this);
  if (mOutgoing != nullptr) dorn::OutgoingDrainer::Forget(GetFdDataList(), this);
  std::puts("socket delete");
}

// Descriptor, status and length are read without the lock, as the loop does: see SharedInt.h.
int VQClientSocket::HeldLength() const { return dorn::LoadShared(mBufferPos); }

bool VQClientSocket::IsRemoved() { return dorn::LoadShared(KZFdData::mStatus) == kStatusRemove; }

// A record that never got a descriptor carries the number 0.
bool VQClientSocket::HasNoDescriptor() {
  const int fd = dorn::LoadShared(mFD);
  return fd < 0 || (fd == 0 && dorn::LoadShared(KZFdData::mStatus) == kStatusInitial);
}

// Receiving.

// A station that shuts down its sending side may still be reading. By status kStatusOpen the loop
// watches the socket for writing instead of reading, so the end of its stream is not reported again
// and again until the rest of the queue is out.
void VQClientSocket::ReadyToRead() {
  if (HeldLength() != mLeft) ForgetSearches();
  if (IsSelect() != 0 && HasBacklog() && HasPeerFinished()) {
    mFinishing = true;
    SetFDStatus(kStatusOpen);
    return;
  }
  KZClientSocket::ReadyToRead();
}

void VQClientSocket::ReadyToWrite() {
  if (mFinishing) {
    DrainBacklog();
  } else {
    KZClientSocket::ReadyToWrite();
  }
}

bool VQClientSocket::HasPeerFinished() {
  char byte;
  return recv(GetFD(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
}

int VQClientSocket::OnNotice(int code, int value) {
  if (code == kNoticeCleared) ForgetSearches();
  return KZClientSocket::OnNotice(code, value);
}

// An incomplete message keeps the record on the ready list in every pass. Such a call, in which
// nothing has arrived, must not count as a sign of life: the timer would never run out, a station
// that died in the middle of a message would never be noticed, and setting the timer wakes the loop
// up, so that it would spin.
int VQClientSocket::OnReceive(sockaddr*, unsigned int) {
  const bool isRepetition = IsSelect() == 0 && HeldLength() == mLeft;
  if (!isRepetition) RestartIdleTimer();
  // Bytes that were put there without the loop may be anything.
  if (IsSelect() == 0 && !isRepetition) ForgetSearches();
  Resynchronise();
  ExecuteMessages();
  if (IsRemoved()) return 0;
  CloseIfFull();
  mLeft = HeldLength();
  return 0;
}

// What a closed connection has sent is not executed any more, or one message could try thousands of
// session ids.
void VQClientSocket::ExecuteMessages() {
  dorn::MessageBatch batch;
  for (int length = FindMessageEnd(); length > 0; length = FindMessageEnd()) {
    const KZString message = TakeMessage(length);
    batch.SetMore(FindMessageEnd() > 0);
    // Hooks may read from the buffer too, so the end is looked for anew.
    ForgetSearches();
    DoCommand(message);
    if (IsRemoved()) return;
  }
}

void VQClientSocket::RestartIdleTimer() {
  VQApplication& app = dorn::App();
  const unsigned int id = static_cast<unsigned int>(GetId()) + dorn::kIdleTimer;
  app.SetApplicationSingleTimerInterval(0, id);
  app.SetApplicationSingleTimerInterval(kIdleTimeoutMs, id);
}

void VQClientSocket::ForgetSearches() {
  mNoEnd = 0;
  mNoStart = 0;
}

// Drops what precedes the first STX. Without any STX nothing is dropped.
void VQClientSocket::Resynchronise() {
  if (mNoStart >= HeldLength()) return;
  const dorn::SemaphoreLock lock(mSemData);
  const int held = mBufferPos;
  if (held == 0 || mDataBuffer[0] == kStx || mNoStart >= held) return;
  const char* from = mDataBuffer + mNoStart;
  const void* start = std::memchr(from, kStx, static_cast<std::size_t>(held - mNoStart));
  mNoStart = held;
  if (start == nullptr) return;
  DropFront(static_cast<int>(static_cast<const char*>(start) - mDataBuffer));
  ForgetSearches();
}

// What GetData() does without a copy. The caller holds the lock.
void VQClientSocket::DropFront(int length) {
  const int left = mBufferPos - length;
  std::memmove(mDataBuffer, mDataBuffer + length, static_cast<std::size_t>(left));
  dorn::StoreShared(mBufferPos, left);
}

// The length of the first complete message, ETX included, or 0. Goes on where the last search
// ended, so that a message which arrives in many pieces is searched once.
int VQClientSocket::FindMessageEnd() {
  if (mNoEnd >= HeldLength()) return 0;
  const dorn::SemaphoreLock lock(mSemData);
  const int held = mBufferPos;
  if (mNoEnd >= held) return 0;
  const char* from = mDataBuffer + mNoEnd;
  const void* end = std::memchr(from, kEtx, static_cast<std::size_t>(held - mNoEnd));
  mNoEnd = held;
  if (end == nullptr) return 0;
  return static_cast<int>(static_cast<const char*>(end) - mDataBuffer) + 1;
}

// The text between the first byte, which is dropped unseen, and the ETX. A lone ETX gives an empty
// text, as STX ETX does.
// Kept: only the first STX of a call is looked for, so what lies between two messages becomes the
// start of the second one's text.
KZString VQClientSocket::TakeMessage(int length) {
  std::string text;
  {
    const dorn::SemaphoreLock lock(mSemData);
    // Another thread may have taken bytes since the end was found.
    length = std::min(length, static_cast<int>(mBufferPos));
    const char* first = mDataBuffer + 1;
    if (length > 1) text.assign(first, strnlen(first, static_cast<std::size_t>(length) - 2));
    DropFront(length);
  }
  ForgetSearches();
  return KZString(std::move(text));
}

// No ETX can ever arrive in a buffer that is full: whatever comes is dropped, the record would be
// served in every pass, and the station never heard again.
void VQClientSocket::CloseIfFull() {
  if (mBufferSize <= 0 || HeldLength() < mBufferSize) return;
  dorn::PrintLine({"Connection ", std::to_string(GetId()),
                   " closed: its message does not fit into the buffer"});
  Close();
}

// Sending.

bool VQClientSocket::HasBacklog() const { return mOutgoing != nullptr && !mOutgoing->IsEmpty(); }

bool VQClientSocket::TakeProgress() { return mOutgoing != nullptr && mOutgoing->TakeProgress(); }

int VQClientSocket::SendData(const KZString& text) {
  dorn::PrintLine({" sid=", mSessionId, " dname=", mDialogName, " id=", std::to_string(GetId()),
                   " out=", text});
  thread_local std::string lastFrame;
  std::string& frame = lastFrame;
  Frame(text, frame);
  const int result = Transmit(frame.data(), frame.size());
  if (frame.capacity() > kMaxKeptFrame) std::string().swap(frame);
  return result;
}

int VQClientSocket::Send(const void* data, int length) {
  if (length <= 0 || !HasBacklog()) return KZClientSocket::Send(data, length);
  return Enqueue(static_cast<const char*>(data), static_cast<std::size_t>(length)) ? length : -1;
}

int VQClientSocket::Transmit(const char* bytes, std::size_t length) {
  const int total = static_cast<int>(length);
  if (HasBacklog()) return Enqueue(bytes, length) ? total : -1;
  if (HasNoDescriptor()) return -1;
  return WriteOrQueue(bytes, length);
}

// One write, for what is no socket too. A plain one also sends what the kernel kept back.
long VQClientSocket::WriteFrame(const char* bytes, std::size_t length) {
  const int fd = dorn::LoadShared(mFD);
  if (!dorn::MessageBatch::HasMore()) return write(fd, bytes, length);
  const ssize_t written = send(fd, bytes, length, MSG_MORE);
  if (written < 0) return errno == ENOTSOCK ? write(fd, bytes, length) : written;
  if (!std::exchange(mIsUnpushed, true)) dorn::MessageBatch::Remember(this);
  return written;
}

// The socket has this option already; setting it anew is what sends. Fails, rightly, on what is no
// TCP socket: nothing is kept back there.
void VQClientSocket::Push() {
  if (!std::exchange(mIsUnpushed, false) || HasNoDescriptor()) return;
  const int on = 1;
  static_cast<void>(setsockopt(dorn::LoadShared(mFD), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
}

// One write. What it leaves over is queued and counts as written: a message that was begun must be
// completed before anything else, or the station would be out of step for ever.
int VQClientSocket::WriteOrQueue(const char* bytes, std::size_t length) {
  const int total = static_cast<int>(length);
  const long written = WriteFrame(bytes, length);
  if (written == total || (written < 0 && !IsRetryable(errno))) return static_cast<int>(written);
  if (GetFdDataList() == nullptr) return static_cast<int>(written);  // No loop to send the rest.
  const std::size_t sent = written > 0 ? static_cast<std::size_t>(written) : 0;
  return Enqueue(bytes + sent, length - sent) ? total : -1;
}

// A queue that holds something is being watched already.
bool VQClientSocket::Enqueue(const char* bytes, std::size_t length) {
  const bool isWatched = HasBacklog();
  if (!PrepareQueue()) return false;
  mOutgoing->Append(bytes, length);
  return isWatched || WatchBacklog();
}

bool VQClientSocket::EnqueueFile(const KZString& path, int file, long long offset, long long end) {
  const bool isWatched = HasBacklog();
  if (!PrepareQueue()) {
    if (file >= 0) close(file);
    return false;
  }
  mOutgoing->AppendFile(path, file, offset, end);
  return isWatched || WatchBacklog();
}

// Closes a station that does not read. Dropping messages instead would leave it with a wrong
// picture for ever; when it comes back it gets everything anew.
bool VQClientSocket::PrepareQueue() {
  if (mOutgoing == nullptr) mOutgoing = std::make_unique<dorn::OutgoingQueue>();
  if (mOutgoing->MemoryBytes() < kMaxQueuedBytes) return true;
  dorn::PrintLine({"Connection ", std::to_string(GetId()), " closed: it does not read, ",
                   std::to_string(mOutgoing->MemoryBytes()), " bytes are waiting"});
  Close();
  errno = ENOBUFS;
  return false;
}

bool VQClientSocket::WatchBacklog() {
  KZFdDataList* list = GetFdDataList();
  dorn::OutgoingDrainer* drainer = list != nullptr ? dorn::OutgoingDrainer::Of(list) : nullptr;
  if (drainer != nullptr && drainer->Watch(this)) return true;
  dorn::PrintLine({"Connection ", std::to_string(GetId()),
                   " closed: the rest of a message cannot be queued: ", std::strerror(errno)});
  Close();
  errno = ENOBUFS;
  return false;
}

void VQClientSocket::DrainBacklog() {
  using Result = dorn::OutgoingQueue::Result;
  if (mOutgoing == nullptr || HasNoDescriptor()) return;
  const Result result = mOutgoing->Write(GetFD(), kDrainBudget);
  if (result == Result::kFailed) {
    dorn::PrintLine({"Connection ", std::to_string(GetId()),
                     " closed: the rest of a message cannot be sent: ", std::strerror(errno)});
    Close();
  } else if (result != Result::kEmpty) {
    WatchBacklog();
  } else if (mFinishing) {
    Close();
  }
}

// Outside the passes of a loop nobody may ever send what is queued, and nobody is kept waiting
// either: a station that goes on reading gets everything at once.
bool VQClientSocket::WaitForRoom() {
  if (dorn::IsInPass()) return false;
  pollfd room = {GetFD(), POLLOUT, 0};
  int ready;
  do {
    ready = poll(&room, 1, kRoomTimeoutMs);
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

// Writes a payload in blocks through the virtual Send(), and queues what the socket does not take.
// False when the connection is broken.
bool VQClientSocket::SendPayload(const char* bytes, std::size_t length, std::size_t blockSize) {
  while (length > 0 && !HasBacklog()) {
    const std::size_t block = std::min(length, blockSize);
    const int sent = Send(bytes, static_cast<int>(block));
    if (sent < 0 && !IsRetryable(errno)) return false;
    const std::size_t taken = sent > 0 ? static_cast<std::size_t>(sent) : 0;
    bytes += taken;
    length -= taken;
    if (taken < block && !WaitForRoom()) return Enqueue(bytes, length);
  }
  return length == 0 || Enqueue(bytes, length);
}

int VQClientSocket::Close() {
  // Failure is ignored: the connection is being closed anyway.
  if (HasBacklog() && !HasNoDescriptor())
    static_cast<void>(mOutgoing->Write(GetFD(), kClosingBudget));
  return KZClientSocket::Close();
}

void VQClientSocket::OnClose() {
  // The end of the stream has taken along what the kernel kept back.
  if (std::exchange(mIsUnpushed, false)) dorn::MessageBatch::Forget(this);
  if (mOutgoing != nullptr) {
    mOutgoing->Clear();
    dorn::OutgoingDrainer::Forget(GetFdDataList(), this);
  }
  KZClientSocket::OnClose();
}
