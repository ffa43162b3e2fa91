// Time-stamped logs of single objects, such as a socket, and a log file that is switched on by
// creating it. Nothing here takes a lock: a log belongs to the thread that uses its object.
#ifndef DORN_BASE_KZLOG_H_
#define DORN_BASE_KZLOG_H_

#include <sys/time.h>

#include <cstdint>

#include "dorn/base/Export.h"

// A sink for log texts, derived from by hosts.
class DORN_EXPORT KZStream {
 public:
  KZStream() = default;
  virtual ~KZStream();

  // Takes one zero-terminated text, which is the caller's and valid during the call. Each message
  // makes two calls: one with the time stamp, one with the message, which ends its own line. The
  // results are added up and returned to whoever logged. The base class drops the text and
  // returns 0.
  virtual int Output(char* text);
};

// Writes messages, each behind the time that has passed since LogStart(), to a sink, or to standard
// output as long as there is no buffer.
class DORN_EXPORT KZLog {
 public:
  // Console mode. Until LogStart() the stamps count from the epoch.
  KZLog() = default;

  // Frees the buffer and leaves the sink alone.
  virtual ~KZLog();

  KZLog(const KZLog&) = delete;
  KZLog& operator=(const KZLog&) = delete;

  // Starts the clock of the stamps. With a sink and a `size` above 0, messages go to the sink
  // through a buffer of `size` bytes; a longer message is cut there. Without a sink they go to
  // standard output. The sink is not owned and must outlive the log's last message. Returns 1.
  // Kept: a sink given with `size` 0 is stored, but without a buffer the messages still go to
  // standard output.
  int LogStart(int size, KZStream* srteam);

  // Writes one message, stamped with the elapsed time as " hh:mm:ss.mmm " (hours are not wrapped).
  // No line end is added. When the clock is found behind the start, the start moves back to it.
  // Returns the sum of the sink's two results, or -1 in console mode. `errno` stays as it was.
  int LogPrintf(const char* f, ...) __attribute__((format(printf, 2, 3)));

  // The same with `time` in place of the clock.
  int LogPrintf(timeval time, const char* f, ...) __attribute__((format(printf, 3, 4)));

  // Capacity of the buffer in bytes; 0 in console mode.
  int GetSize() const { return mBufferSize; }

  // The sink that was given last, or null.
  KZStream* GetStream() const { return mSrteam; }

  std::uint64_t mStratTime = 0;  // Start, in microseconds since the epoch; 0 until LogStart().
  int mBufferSize = 0;           // Capacity of mBuffer.
  char* mBuffer = nullptr;       // Owned; null is console mode. Before the first message it may be
                                 // one that all such logs share: read and write it afterwards.
  KZStream* mSrteam = nullptr;   // Not owned.
};

// Appends printf-formatted text to the file `path` if the file exists, and returns the number of
// bytes written; otherwise returns 0. Kept: the file is never created, so that creating it is what
// switches this log on. Opens and closes the file each time; any thread and several processes may
// append to one file.
DORN_EXPORT int log_printf(const char* path, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

#endif  // DORN_BASE_KZLOG_H_
