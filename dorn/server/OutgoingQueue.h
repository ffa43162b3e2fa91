// What one connection still has to send. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_OUTGOINGQUEUE_H_
#define DORN_SERVER_OUTGOINGQUEUE_H_

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace dorn {

// Bytes in memory and parts of files, in the order in which they go out. Nothing is ever taken back
// or reordered. Files are read when their turn comes and the socket has room, so a large file costs
// no memory, and many requested files cost no descriptors.
class OutgoingQueue {
 public:
  enum class Result {
    kEmpty,    // Everything is out.
    kMore,     // The budget is used up.
    kBlocked,  // The socket has no room.
    kFailed,   // The connection is broken.
  };

  OutgoingQueue() = default;
  ~OutgoingQueue() { Clear(); }
  OutgoingQueue(const OutgoingQueue&) = delete;
  OutgoingQueue& operator=(const OutgoingQueue&) = delete;

  bool IsEmpty() const { return mChunks.empty(); }

  // Bytes of memory that are allocated.
  std::size_t MemoryBytes() const { return mMemoryBytes; }

  void Append(const char* bytes, std::size_t length);

  // The bytes from `offset` to `end` of a file. `file` is the open file, owned from here on, or -1
  // to have `path` opened when its turn comes. A file that has become shorter, is not a regular
  // one, or cannot be opened, gives fewer bytes.
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
    int mFile = -1;
    std::int64_t mOffset = 0;
    std::int64_t mEnd = 0;
  };

  static std::size_t MemoryOf(const Chunk& chunk);
  Chunk& ChunkWithRoom();
  void Grow(Chunk& chunk, std::size_t size);
  long WriteChunk(int fd, Chunk& chunk, std::size_t budget);
  long WriteFilePart(int fd, Chunk& chunk, std::size_t budget);
  void DropFirst();

  std::deque<Chunk> mChunks;
  std::size_t mMemoryBytes = 0;
  bool mProgress = false;
};

// Opens a file for reading if it is a regular one, without waiting for anybody; -1 otherwise.
int OpenRegularFile(const char* path);

}  // namespace dorn

#endif  // DORN_SERVER_OUTGOINGQUEUE_H_
