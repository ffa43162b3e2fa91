// Lines on standard output. Internal: not installed. Any thread.
#ifndef DORN_SERVER_CONSOLE_H_
#define DORN_SERVER_CONSOLE_H_

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "dorn/base/ShortCopy.h"

namespace dorn {

// Prints the parts and a line end as one piece, zero bytes included. A part is never a format, so
// that texts of stations may be among them.
void PrintLine(std::initializer_list<std::string_view> parts);

// The place where one line is put together: the buffer of standard output if it has room. The
// stream is locked meanwhile; the line is printed at the end of the scope.
class LinePlace {
 public:
  explicit LinePlace(std::size_t length);
  ~LinePlace();

  LinePlace(const LinePlace&) = delete;
  LinePlace& operator=(const LinePlace&) = delete;

  char* Begin() { return mBegin; }

 private:
  const std::size_t mLength;
  char* mBegin = nullptr;
  std::unique_ptr<char[]> mOwn;  // Null: the line is in the buffer of the stream.
};

inline std::size_t LengthOf(std::string_view part) { return part.size(); }

template <std::size_t N>
constexpr std::size_t LengthOf(const char (&)[N]) {
  return N - 1;
}

// The same as PrintLine() for lines that are printed for each recipient of a text: what is known of
// the parts when this is compiled costs nothing.
template <class... Parts>
void PrintOftenLine(const Parts&... parts) {
  LinePlace place((LengthOf(parts) + ... + 1));
  char* at = place.Begin();
  ((at = Put(at, parts)), ...);
  *at = '\n';
}

}  // namespace dorn

#endif  // DORN_SERVER_CONSOLE_H_
