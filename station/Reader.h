// Reads what hosts send, which is not quite JSON: they write texts without escaping them, leave out
// what has no value, and put some keys in single quotes.
#ifndef STATION_READER_H_
#define STATION_READER_H_

#include <cstddef>
#include <string_view>

#include "station/Json.h"

namespace dorn::station {

enum class Reading {
  kStrict,     // The bytes as they came are JSON.
  kTolerant,   // Read by the rules below.
  kUnreadable  // Longer or deeper than the limits, or no such text at all.
};

struct ReadText {
  Reading mReading = Reading::kUnreadable;
  Json mJson;  // Null when unreadable.
};

// The rules, for a text that is not JSON as it stands:
//
//   bytes      what is no UTF-8 becomes U+FFFD first
//   key        in '...' or "...", up to the same quote before a colon
//   nothing    {"k":,"l":} has no members; ["a",] is two elements, the second one empty
//   string     any bytes, control characters too. A quote ends it only where the structure goes
//              on behind it: in an object before `}` or before `,"key":`, in an array before `]`
//              or before `,` and the start of a value; behind the bracket what holds it goes on
//   escapes    count in a string whose escapes are all legal and whose quotes are all escaped;
//              otherwise the string is taken literally, backslashes and all
//   twice      of equal keys the last one holds
//
// A value that imitates the structure around it (`a","Name":"b`) cannot be told from structure.
class Reader {
 public:
  static constexpr std::size_t kMaxLength = std::size_t{16} * 1024 * 1024;
  static constexpr int kMaxDepth = 1024;

  enum class Strings {
    kStrictFirst,  // For hosts whose stations escape what is typed.
    kLiteral       // For hosts that store texts as they are: a backslash is a backslash.
  };

  explicit Reader(Strings strings = Strings::kStrictFirst) : mStrings(strings) {}

  // Takes time in proportion to the length of the text.
  ReadText Read(std::string_view bytes) const;

 private:
  Strings mStrings;
};

}  // namespace dorn::station

#endif  // STATION_READER_H_
