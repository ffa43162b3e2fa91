#include "dorn/server/Console.h"

#include <cstddef>
#include <cstdio>

#include "dorn/base/ShortCopy.h"

namespace dorn {

namespace {

using Parts = std::initializer_list<std::string_view>;

// Lines up to this length are put together first: one call of the standard library for each.
constexpr std::size_t kShortLine = 2048;

void Compose(Parts parts, char* line) {
  for (const std::string_view part : parts) line = Put(line, part);
  *line = '\n';
}

// What putc_unlocked() does for one byte: a stream that has room in its buffer gets the line there.
// One that is not fully buffered, or was not written to yet, or is of wide characters, has none.
// The caller holds the stream's lock.
bool PrintIntoBuffer([[maybe_unused]] Parts parts, [[maybe_unused]] std::size_t length) {
#ifdef __GLIBC__
  std::FILE* const out = stdout;
  const bool isOfBytes = out->_mode < 0;
  if (!isOfBytes || out->_IO_write_ptr >= out->_IO_write_end) return false;
  if (static_cast<std::size_t>(out->_IO_write_end - out->_IO_write_ptr) < length) return false;
  Compose(parts, out->_IO_write_ptr);
  out->_IO_write_ptr += length;
  return true;
#else
  return false;
#endif
}

void PrintInParts(Parts parts) {
  for (const std::string_view part : parts) {
    static_cast<void>(fwrite_unlocked(part.data(), 1, part.size(), stdout));
  }
  static_cast<void>(putc_unlocked('\n', stdout));
}

void PrintAtOnce(Parts parts, std::size_t length) {
  char line[kShortLine];
  Compose(parts, line);
  static_cast<void>(fwrite_unlocked(line, 1, length, stdout));
}

}  // namespace

// The results are ignored: there is nowhere else to say that nobody listens.
void PrintLine(Parts parts) {
  std::size_t length = 1;
  for (const std::string_view part : parts) length += part.size();
  flockfile(stdout);
  if (!PrintIntoBuffer(parts, length)) {
    if (length > kShortLine) {
      PrintInParts(parts);
    } else {
      PrintAtOnce(parts, length);
    }
  }
  funlockfile(stdout);
}

}  // namespace dorn
