// What one connection still has to send. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_OUTGOINGQUEUE_H_
#define DORN_SERVER_OUTGOINGQUEUE_H_

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace dorn {

// Bytes in memory and parts of files, in the order in which they go out. Nothing is ever taken back
// or reordered. Files are read when their turn comes and the socket has room, so a large file costs
// no memory, and many requested files cost few descriptors.
class OutgoingQueue {
 public:
  enum class Result {
    kEmpty,     // Everything is out.
    kMore,      // The budget is used up.
    kBlocked,   // The socket has no room.
    kFailed,    // The connection is broken.
    kCutShort,  // A file does not have the bytes that were announced.
  };

  OutgoingQueue() = default;
  ~OutgoingQueue() { Clear(); }
  OutgoingQueue(const OutgoingQueue&) = delete;
  OutgoingQueue& operator=(const OutgoingQueue&) = delete;

  bool IsEmpty() const { return mChunks.empty(); }

  // Bytes of memory that are allocated.
  std::size_t MemoryBytes() const { return mMemoryBytes; }

  void Append(const char* bytes, std::size_t length);

  // The bytes from `offset` to `end` of an open file, which is owned from here on. It may be closed
  // until its turn comes and is then opened anew by its path. Where it has become shorter, cannot
  // be opened anew or is not the same any more, the queue ends: nothing behind it is ever written.
  void AppendFile(std::string path, int file, std::int64_t offset, std::int64_t end);

  // Writes up to `budget` bytes to the descriptor.
  Result Write(int fd, std::size_t budget);

  // Drops everything.
  void Clear();

  // Whether bytes went out since the last call.
  bool TakeProgress();

 private:
  struct Chunk {
    std::vector<char> mBytes;
    std::string mPath;  // Of a file.
    bool mIsFile = false;
    int mFile = -1;     // -1 while it is closed.
    dev_t mDevice = 0;  // With the next one: which file it is.
    ino_t mInode = 0;
    std::int64_t mOffset = 0;
    std::int64_t mEnd = 0;
  };

  static std::size_t MemoryOf(const Chunk& chunk);
  void Reopen(Chunk& chunk);
  void CloseFile(Chunk& chunk);
  Chunk& ChunkWithRoom();
  void Grow(Chunk& chunk, std::size_t size);
  long WriteChunk(int fd, Chunk& chunk, std::size_t budget);
  long WriteFilePart(int fd, Chunk& chunk, std::size_t budget);
  void DropFirst();

  std::deque<Chunk> mChunks;
  std::size_t mMemoryBytes = 0;
  int mOpenFiles = 0;
  bool mProgress = false;
};

// Opens a file for reading if it is a regular one, without waiting for anybody; -1 otherwise. What
// was opened is in `status`.
int OpenRegularFile(const char* path, struct stat& status);

}  // namespace dorn

#endif  // DORN_SERVER_OUTGOINGQUEUE_H_
