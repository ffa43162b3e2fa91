#include "dorn/loop/KZFdData.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "dorn/base/SemaphoreLock.h"
#include "dorn/loop/BufferPool.h"
#include "dorn/loop/LiveList.h"
#include "dorn/loop/NextPass.h"
#include "dorn/loop/RecordState.h"
#include "dorn/loop/SettledRecords.h"
#include "dorn/loop/SharedInt.h"

using dorn::SemaphoreLock;
using dorn::StoreShared;

namespace {

// Memory that the process has used before comes with its pages. Without them a large buffer that
// stays nearly empty costs one page, on a server's first day and after years of stations that come
// and go. What the buffer held is nobody's any more, so a failure changes nothing but memory use.
void GiveBackPages(char* buffer, std::size_t size) {
  if (size < dorn::kPooledSize) return;
  const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  void* firstPage = buffer;
  if (std::align(pageSize, pageSize, firstPage, size) == nullptr) return;
  static_cast<void>(madvise(firstPage, size / pageSize * pageSize, MADV_DONTNEED));
}

// Left uninitialised: zeros would touch every page of a large buffer that may stay nearly empty.
char* NewBuffer(std::size_t size) {
  char* buffer = dorn::TakeKeptBuffer(size);
  if (buffer != nullptr) return buffer;
  buffer = new (std::nothrow) char[size];
  if (buffer != nullptr) GiveBackPages(buffer, size);
  return buffer;
}

}  // namespace

KZFdData::KZFdData(KZFdDataList* list)
    : mStatus(kStatusInitial),
      mType(kTypeUnset),
      mId(-1),
      mFD(0),
      mList(list),
      mState(std::make_unique<dorn::RecordState>()) {}

KZFdData::KZFdData(int type, int fd, int id, KZFdDataList* list)
    : mStatus(kStatusOpen),
      mType(type),
      mId(id),
      mFD(fd),
      mList(list),
      mState(std::make_unique<dorn::RecordState>()) {}

void KZFdData::TouchSettled() {
  if (mState->mSettledIn.load(std::memory_order_relaxed) != nullptr) {
    dorn::SettledRecords::TouchRecord(this);
  }
}

KZFdData::~KZFdData() {
  dorn::LiveList::Forget(this);
  dorn::NextPass::Forget(this);
  const std::shared_ptr<KZFdDataList*>& holder = mState->mHolder;
  if (holder != nullptr && *holder != nullptr) (*holder)->Forget(this);
  FreeBuffer();
}

void KZFdData::ReadyToRead() {
  if (mIsSelect != 0) {
    const int fd = GetFD();
    if (fd < 0) return;
    char data[kReadSize];
    const ssize_t length = read(fd, data, sizeof data);
    if (length < 0) {
      OnNotice(kNoticeReadError, errno);
      return;
    }
    // Kept: the end of the file is not reported.
    if (length == 0) return;
    // What does not fit is lost; CheckBuffer() warns before that.
    static_cast<void>(SetDataToBuffer(data, static_cast<int>(length)));
  }
  OnReceive();
  CheckBuffer(1);
}

void KZFdData::ReadyToWrite() {}

int KZFdData::OnReceive() { return 0; }

int KZFdData::OnNotice(int /*code*/, int /*value*/) { return 0; }

int KZFdData::AddEvent() { return mList != nullptr ? mList->Add(this) : 0; }

void KZFdData::RemoveEvent() {
  if (mList != nullptr) mList->Remove(this);
}

int KZFdData::GetFD() {
  const SemaphoreLock lock(mSemData);
  return mFD;
}

int KZFdData::GetFDStatus() {
  const SemaphoreLock lock(mSemData);
  return mStatus;
}

int KZFdData::SetFD(int fd) {
  int previous;
  {
    const SemaphoreLock lock(mSemData);
    if (fd < 0) StoreShared(mStatus, kStatusGone);
    previous = mFD;
    StoreShared(mFD, fd);
    mState->mDescriptors.fetch_add(1, std::memory_order_relaxed);
    TouchSettled();
    // The caller may close the former one now.
    if (mState->mMemberOf.load(std::memory_order_relaxed) != nullptr) {
      dorn::SettledRecords::LeaveDescriptor(this);
    }
  }
  return previous;
}

int KZFdData::SetFDStatus(int s) {
  int previous;
  {
    const SemaphoreLock lock(mSemData);
    previous = mStatus;
    StoreShared(mStatus, s);
    TouchSettled();
  }
  return previous;
}

int KZFdData::GetStatus() {
  switch (GetFDStatus()) {
    case kStatusInitial:
      return 0;
    case kStatusOpen:
      return mType == kTypeClient ? 0 : 1;
    case kStatusActive:
      return 1;
    default:
      return -1;
  }
}

bool KZFdData::CreateBuffer(int buffersize) {
  const SemaphoreLock lock(mSemData);
  StoreShared(mBufferPos, 0);
  if (buffersize == 0) return true;
  FreeBuffer();
  mDataBuffer = buffersize > 0 ? NewBuffer(static_cast<std::size_t>(buffersize)) : nullptr;
  if (mDataBuffer == nullptr) return false;
  mState->mMadeBuffer = mDataBuffer;
  mState->mMadeSize = buffersize;
  mState->mMadeUsed = 0;
  mBufferSize = buffersize;
  return true;
}

// A host may have put another buffer in the place of ours, even at the same address.
void KZFdData::FreeBuffer() {
  const bool isOurs = mDataBuffer != nullptr && mDataBuffer == mState->mMadeBuffer &&
                      mBufferSize == mState->mMadeSize;
  const int used = std::max(mState->mMadeUsed, static_cast<int>(mBufferPos));
  mState->mMadeBuffer = nullptr;
  if (isOurs && dorn::KeepBuffer(mDataBuffer, static_cast<std::size_t>(mState->mMadeSize),
                                 static_cast<std::size_t>(used))) {
    return;
  }
  delete[] mDataBuffer;
}

bool KZFdData::SetDataToBuffer(char* data, int len) {
  if (len < 1) return true;
  const SemaphoreLock lock(mSemData);
  // After a failed CreateBuffer() there is a capacity without a buffer.
  if (mBufferSize <= 0 || mDataBuffer == nullptr) return true;
  const int taken = std::min(len, mBufferSize - mBufferPos);
  std::memcpy(mDataBuffer + mBufferPos, data, static_cast<size_t>(taken));
  StoreShared(mBufferPos, mBufferPos + taken);
  mState->mMadeUsed = std::max(mState->mMadeUsed, static_cast<int>(mBufferPos));
  TouchSettled();
  return taken == len;
}

int KZFdData::GetDataLength() {
  const SemaphoreLock lock(mSemData);
  return mBufferPos;
}

int KZFdData::GetData(void* data, int len) {
  const SemaphoreLock lock(mSemData);
  if (mBufferPos <= 0 || len <= 0) return 0;
  const int taken = std::min(static_cast<int>(mBufferPos), len);
  const int left = mBufferPos - taken;
  std::memcpy(data, mDataBuffer, static_cast<size_t>(taken));
  std::memmove(mDataBuffer, mDataBuffer + taken, static_cast<size_t>(left));
  StoreShared(mBufferPos, left);
  return taken;
}

int KZFdData::CheckBuffer(int notice) {
  bool nearlyFull = false;
  {
    const SemaphoreLock lock(mSemData);
    nearlyFull = mBufferSize > 0 && mBufferSize - mBufferPos < kReadSize;
  }
  if (!nearlyFull) return 1;
  if (notice != 0) OnNotice(kNoticeNearlyFull, 0);
  return 0;
}

void KZFdData::ClearData() {
  {
    const SemaphoreLock lock(mSemData);
    StoreShared(mBufferPos, 0);
  }
  OnNotice(kNoticeCleared, 0);
}
