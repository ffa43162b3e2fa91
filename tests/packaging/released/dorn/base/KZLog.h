#ifndef DORN_BASE_KZLOG_H_
#define DORN_BASE_KZLOG_H_
#include <sys/time.h>
#include <cstdint>
#include "dorn/base/Export.h"
class DORN_EXPORT KZStream {
 public:
  KZStream() = default;
  virtual ~KZStream();
  virtual int Output(char* text);
};
class DORN_EXPORT KZLog {
 public:
  KZLog() = default;
  virtual ~KZLog();
  KZLog(const KZLog&) = delete;
  KZLog& operator=(const KZLog&) = delete;
  int LogStart(int size, KZStream* srteam);
  int LogPrintf(const char* f, ...) __attribute__((format(printf, 2, 3)));
  int LogPrintf(timeval time, const char* f, ...) __attribute__((format(printf, 3, 4)));
  int GetSize() const { return mBufferSize; }
  KZStream* GetStream() const { return mSrteam; }
  std::uint64_t mStratTime = 0;
  int mBufferSize = 0;
  char* mBuffer = nullptr;
  KZStream* mSrteam = nullptr;
};
DORN_EXPORT int log_printf(const char* path, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
#endif
