#include "dorn/server/OutgoingQueue.h"

#include <fcntl.h>
#include <sys/stat.h>
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

// Nothing is left to write in a chunk, whether or not all of it could be read.
constexpr long kChunkDone = -2;

// Files may use three quarters of the descriptors that the loop can watch; beyond, a file is closed
// between two blocks, so that slow transfers do not keep stations from connecting.
bool MayStayOpen(int file) { return file < DescriptorLimit() / 4 * 3; }

}  // namespace

int OpenRegularFile(const char* path) {
  const int file = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file < 0) return -1;
  struct stat status {};
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) return file;
  close(file);
  return -1;
}

void OutgoingQueue::Append(const char* bytes, std::size_t length) {
  if (length == 0) return;
  const bool startsChunk = mChunks.empty() || mChunks.back().mIsFile ||
                           mChunks.back().mBytes.size() + length > kChunkSize;
  if (startsChunk) mChunks.emplace_back();
  Chunk& chunk = mChunks.back();
  chunk.mBytes.append(bytes, length);
  chunk.mEnd = static_cast<std::int64_t>(chunk.mBytes.size());
  mMemoryBytes += length;
}

void OutgoingQueue::AppendFile(std::string path, int file, std::int64_t offset, std::int64_t end) {
  mMemoryBytes += path.size();
  Chunk& chunk = mChunks.emplace_back();
  chunk.mBytes = std::move(path);
  chunk.mIsFile = true;
  chunk.mFile = file;
  chunk.mOffset = offset;
  chunk.mEnd = end;
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
    if (written == kChunkDone) {
      DropFirst();
      continue;
    }
    if (written < 0 && errno == EINTR) continue;
    if (written < 0 && errno != EAGAIN && errno != EWOULDBLOCK) return Result::kFailed;
    if (written <= 0) return Result::kBlocked;
    chunk.mOffset += written;
    if (!chunk.mIsFile) mMemoryBytes -= static_cast<std::size_t>(written);
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
  if (chunk.mFile < 0) chunk.mFile = OpenRegularFile(chunk.mBytes.c_str());
  if (chunk.mFile < 0) return kChunkDone;
  char block[kFileBlock];
  const auto left = static_cast<std::size_t>(chunk.mEnd - chunk.mOffset);
  const std::size_t wanted = std::min({left, budget, sizeof block});
  const ssize_t got = pread(chunk.mFile, block, wanted, chunk.mOffset);
  if (got <= 0) return got < 0 && errno == EINTR ? -1 : kChunkDone;
  const long written = write(fd, block, static_cast<std::size_t>(got));
  const int error = errno;
  if (!MayStayOpen(chunk.mFile)) close(std::exchange(chunk.mFile, -1));
  errno = error;
  return written;
}

void OutgoingQueue::DropFirst() {
  Chunk& chunk = mChunks.front();
  if (chunk.mIsFile) {
    mMemoryBytes -= chunk.mBytes.size();
    if (chunk.mFile >= 0) close(chunk.mFile);
  } else {
    mMemoryBytes -= static_cast<std::size_t>(chunk.mEnd - chunk.mOffset);
  }
  mChunks.pop_front();
}

void OutgoingQueue::Clear() {
  while (!mChunks.empty()) DropFirst();
}

bool OutgoingQueue::TakeProgress() { return std::exchange(mProgress, false); }

}  // namespace dorn
