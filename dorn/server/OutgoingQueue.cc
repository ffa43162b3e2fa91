#include "dorn/server/OutgoingQueue.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "dorn/server/Descriptors.h"

namespace dorn {

namespace {

// Small messages share a chunk up to this size.
constexpr std::size_t kChunkSize = std::size_t{64} * 1024;
constexpr std::size_t kFileBlock = std::size_t{64} * 1024;

// The bytes of a file that are to be written next cannot be read.
constexpr long kUnreadable = -2;

// A station that asks for many files and reads none holds this many open. All files together may
// use three quarters of the descriptors that the loop can watch; beyond, a file is closed between
// two blocks, so that slow transfers do not keep stations from connecting.
constexpr int kOpenFiles = 4;

bool MayStayOpen(int file) { return file < DescriptorLimit() / 4 * 3; }

}  // namespace

int OpenRegularFile(const char* path, struct stat& status) {
  const int file = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file < 0) return -1;
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) return file;
  close(file);
  return -1;
}

std::size_t OutgoingQueue::MemoryOf(const Chunk& chunk) {
  return sizeof(Chunk) + chunk.mBytes.capacity() + chunk.mPath.capacity();
}

// A long text takes several chunks, and gives each of them back as soon as it is out.
void OutgoingQueue::Append(const char* bytes, std::size_t length) {
  while (length > 0) {
    Chunk& chunk = ChunkWithRoom();
    const std::size_t held = chunk.mBytes.size();
    const std::size_t taken = std::min(length, kChunkSize - held);
    Grow(chunk, held + taken);
    chunk.mBytes.insert(chunk.mBytes.end(), bytes, bytes + taken);
    chunk.mEnd = static_cast<std::int64_t>(chunk.mBytes.size());
    bytes += taken;
    length -= taken;
  }
}

OutgoingQueue::Chunk& OutgoingQueue::ChunkWithRoom() {
  const bool hasRoom =
      !mChunks.empty() && !mChunks.back().mIsFile && mChunks.back().mBytes.size() < kChunkSize;
  if (!hasRoom) mMemoryBytes += MemoryOf(mChunks.emplace_back());
  return mChunks.back();
}

// At least doubles, so that small messages are not copied again and again, but never beyond a
// chunk.
void OutgoingQueue::Grow(Chunk& chunk, std::size_t size) {
  const std::size_t capacity = chunk.mBytes.capacity();
  if (size <= capacity) return;
  mMemoryBytes -= MemoryOf(chunk);
  chunk.mBytes.reserve(std::clamp(2 * capacity, size, kChunkSize));
  mMemoryBytes += MemoryOf(chunk);
}

void OutgoingQueue::AppendFile(std::string path, int file, std::int64_t offset, std::int64_t end) {
  Chunk& chunk = mChunks.emplace_back();
  chunk.mPath = std::move(path);
  chunk.mIsFile = true;
  chunk.mFile = file;
  ++mOpenFiles;
  struct stat status {};
  static_cast<void>(fstat(file, &status));  // Of an open file it cannot fail.
  chunk.mDevice = status.st_dev;
  chunk.mInode = status.st_ino;
  if (mOpenFiles > kOpenFiles || !MayStayOpen(file)) CloseFile(chunk);
  chunk.mOffset = offset;
  chunk.mEnd = end;
  mMemoryBytes += MemoryOf(chunk);
}

OutgoingQueue::Result OutgoingQueue::Write(int fd, std::size_t budget) {
  while (!mChunks.empty()) {
    Chunk& chunk = mChunks.front();
    if (chunk.mOffset >= chunk.mEnd) {
      DropFirst();
      continue;
    }
    if (budget == 0) return Result::kMore;
    const long written = WriteChunk(fd, chunk, budget);
    if (written == kUnreadable) return Result::kCutShort;
    if (written < 0 && errno == EINTR) continue;
    if (written < 0 && errno != EAGAIN) return Result::kFailed;
    if (written <= 0) return Result::kBlocked;
    chunk.mOffset += written;
    budget -= static_cast<std::size_t>(written);
    mProgress = true;
  }
  return Result::kEmpty;
}

long OutgoingQueue::WriteChunk(int fd, Chunk& chunk, std::size_t budget) {
  if (chunk.mIsFile) return WriteFilePart(fd, chunk, budget);
  const std::size_t left = static_cast<std::size_t>(chunk.mEnd - chunk.mOffset);
  return write(fd, chunk.mBytes.data() + chunk.mOffset, std::min(left, budget));
}

long OutgoingQueue::WriteFilePart(int fd, Chunk& chunk, std::size_t budget) {
  if (chunk.mFile < 0) Reopen(chunk);
  if (chunk.mFile < 0) return kUnreadable;
  char block[kFileBlock];
  const auto left = static_cast<std::size_t>(chunk.mEnd - chunk.mOffset);
  const std::size_t wanted = std::min({left, budget, sizeof block});
  const ssize_t got = pread(chunk.mFile, block, wanted, chunk.mOffset);
  if (got <= 0) return got < 0 && errno == EINTR ? -1 : kUnreadable;
  const long written = write(fd, block, static_cast<std::size_t>(got));
  const int error = errno;
  if (!MayStayOpen(chunk.mFile)) CloseFile(chunk);
  errno = error;
  return written;
}

// Only the file that was asked for: its length was announced, and that it may be fetched was found
// out when it was asked for.
void OutgoingQueue::Reopen(Chunk& chunk) {
  struct stat status {};
  chunk.mFile = OpenRegularFile(chunk.mPath.c_str(), status);
  if (chunk.mFile < 0) return;
  ++mOpenFiles;
  if (status.st_dev != chunk.mDevice || status.st_ino != chunk.mInode) CloseFile(chunk);
}

void OutgoingQueue::CloseFile(Chunk& chunk) {
  if (chunk.mFile < 0) return;
  close(std::exchange(chunk.mFile, -1));
  --mOpenFiles;
}

void OutgoingQueue::DropFirst() {
  Chunk& chunk = mChunks.front();
  mMemoryBytes -= MemoryOf(chunk);
  CloseFile(chunk);
  mChunks.pop_front();
}

void OutgoingQueue::Clear() {
  while (!mChunks.empty()) DropFirst();
}

bool OutgoingQueue::TakeProgress() { return std::exchange(mProgress, false); }

}  // namespace dorn
