#include "dorn/server/Console.h"

#include <cstdio>

#include "dorn/base/ShortCopy.h"

namespace dorn {

namespace {

// Where a line of this length goes: as putc_unlocked() does for one byte, into the stream's own
// buffer if that has room. One that is not fully buffered, or was not written to yet, or is of wide
// characters, has none: null. The caller holds the stream's lock.
char* RoomInBuffer([[maybe_unused]] std::size_t length) {
#ifdef __GLIBC__
  std::FILE* const out = stdout;
  const bool isOfBytes = out->_mode < 0;
  if (!isOfBytes || out->_IO_write_ptr >= out->_IO_write_end) return nullptr;
  const auto room = static_cast<std::size_t>(out->_IO_write_end - out->_IO_write_ptr);
  return room >= length ? out->_IO_write_ptr : nullptr;
#else
  return nullptr;
#endif
}

void TakeRoom([[maybe_unused]] std::size_t length) {
#ifdef __GLIBC__
  stdout->_IO_write_ptr += length;
#endif
}

}  // namespace

LinePlace::LinePlace(std::size_t length) : mLength(length) {
  flockfile(stdout);
  mBegin = RoomInBuffer(length);
  if (mBegin != nullptr) return;
  mOwn.reset(new char[length]);
  mBegin = mOwn.get();
}

// The result is ignored: there is nowhere else to say that nobody listens.
LinePlace::~LinePlace() {
  if (mOwn == nullptr) {
    TakeRoom(mLength);
  } else {
    static_cast<void>(fwrite_unlocked(mOwn.get(), 1, mLength, stdout));
  }
  funlockfile(stdout);
}

void PrintLine(std::initializer_list<std::string_view> parts) {
  std::size_t length = 1;
  for (const std::string_view part : parts) length += part.size();
  LinePlace place(length);
  char* at = place.Begin();
  for (const std::string_view part : parts) at = Put(at, part);
  *at = '\n';
}

}  // namespace dorn
