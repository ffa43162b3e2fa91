#include "dorn/base/KZLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "dorn/base/Clock.h"

namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1000000;

using Prefix = std::array<char, 64>;

// Wraps for times beyond what the count can hold, which no clock gives.
std::int64_t Microseconds(const timeval& time) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(time.tv_sec) *
                                       static_cast<std::uint64_t>(kMicrosecondsPerSecond) +
                                   static_cast<std::uint64_t>(time.tv_usec));
}

// The time from the start to `time`; a start after it moves back to it.
std::uint64_t Elapsed(const timeval& time, std::uint64_t& startUs) {
  const std::int64_t nowUs = Microseconds(time);
  startUs = static_cast<std::uint64_t>(std::min(nowUs, static_cast<std::int64_t>(startUs)));
  return static_cast<std::uint64_t>(nowUs) - startUs;
}

// The stamp of a message.
Prefix MakePrefix(std::uint64_t elapsedUs) {
  const std::uint64_t seconds = elapsedUs / kMicrosecondsPerSecond;
  const std::uint64_t rest = elapsedUs % kMicrosecondsPerSecond;
  Prefix prefix{};
  static_cast<void>(std::snprintf(prefix.data(), prefix.size(), " %02d:%02d:%02d.%03d ",
                                  static_cast<int>(seconds / 3600),
                                  static_cast<int>(seconds / 60 % 60),
                                  static_cast<int>(seconds % 60), static_cast<int>(rest / 1000)));
  return prefix;
}

// Stands for the buffer of a log until its first message: there is one log for each connection, and
// most of them never say a word before the connection ends. Nobody writes to it.
char gUnwritten[2048];

bool IsUnwritten(const char* buffer) { return buffer == gUnwritten; }

// A log that gets no memory for its buffer has none from here on.
void MakeBuffer(KZLog& log) {
  log.mBuffer = new (std::nothrow) char[static_cast<std::size_t>(log.mBufferSize)];
  if (log.mBuffer == nullptr) log.mBufferSize = 0;
}

// The first word of a polymorphic object tells its class, also where a host is compiled without
// type_info.
const void* ClassOf(const KZStream& sink) {
  const void* table;
  std::memcpy(&table, static_cast<const void*>(&sink), sizeof table);
  return table;
}

// Whether the sink is of the base class, as that of every socket is unless the host gives one.
bool DropsAll(const KZStream& sink) {
  const KZStream base;
  return ClassOf(sink) == ClassOf(base);
}

int Output(KZLog& log, Prefix prefix) {
  const int result = log.mSrteam->Output(prefix.data());
  return result + log.mSrteam->Output(log.mBuffer);
}

__attribute__((format(printf, 3, 0))) int Write(KZLog& log, const timeval& time, const char* f,
                                                va_list arguments) {
  // Callers log between a failed system call and whoever looks at its error.
  const int error = errno;
  const std::uint64_t elapsedUs = Elapsed(time, log.mStratTime);
  int result = -1;
  if (IsUnwritten(log.mBuffer)) MakeBuffer(log);
  if (log.mBuffer != nullptr && log.mSrteam != nullptr) {
    errno = error;  // For "%m".
    static_cast<void>(
        std::vsnprintf(log.mBuffer, static_cast<std::size_t>(log.mBufferSize), f, arguments));
    result = DropsAll(*log.mSrteam) ? 0 : Output(log, MakePrefix(elapsedUs));
  } else {
    static_cast<void>(std::fputs(MakePrefix(elapsedUs).data(), stdout));
    errno = error;
    static_cast<void>(std::vprintf(f, arguments));
  }
  errno = error;
  return result;
}

}  // namespace

KZStream::~KZStream() = default;

int KZStream::Output(char* /*text*/) { return 0; }

KZLog::~KZLog() {
  if (!IsUnwritten(mBuffer)) delete[] mBuffer;
}

int KZLog::LogStart(int size, KZStream* srteam) {
  mStratTime = static_cast<std::uint64_t>(Microseconds(dorn::Now()));
  if (size > 0) {
    const bool isSmall = size <= static_cast<int>(sizeof gUnwritten);
    char* buffer = isSmall ? gUnwritten : new (std::nothrow) char[static_cast<std::size_t>(size)];
    if (buffer != nullptr) {
      if (!IsUnwritten(mBuffer)) delete[] mBuffer;
      mBuffer = buffer;
      mBufferSize = size;
    }
  }
  if (srteam == nullptr) {
    if (!IsUnwritten(mBuffer)) delete[] mBuffer;
    mBuffer = nullptr;
    mBufferSize = 0;
  } else {
    mSrteam = srteam;
  }
  return 1;
}

int KZLog::LogPrintf(const char* f, ...) {
  va_list arguments;
  va_start(arguments, f);
  const int result = Write(*this, dorn::Now(), f, arguments);
  va_end(arguments);
  return result;
}

int KZLog::LogPrintf(timeval time, const char* f, ...) {
  va_list arguments;
  va_start(arguments, f);
  const int result = Write(*this, time, f, arguments);
  va_end(arguments);
  return result;
}

int log_printf(const char* path, const char* format, ...) {
  // Opened without O_CREAT, so that a file which vanishes meanwhile does not come back.
  const int descriptor = open(path, O_RDWR | O_APPEND | O_CLOEXEC);
  if (descriptor < 0) return 0;
  std::FILE* file = fdopen(descriptor, "a+");
  if (file == nullptr) {
    static_cast<void>(close(descriptor));
    return 0;
  }
  static_cast<void>(std::setvbuf(file, nullptr, _IOLBF, 0));
  va_list arguments;
  va_start(arguments, format);
  const int written = std::vfprintf(file, format, arguments);
  va_end(arguments);
  static_cast<void>(std::fclose(file));
  return written;
}
