// Copies and comparisons of short texts, of which lines and messages are put together. A call of
// memcpy() or memcmp() takes longer than the work itself. Internal: not installed. Any thread.
#ifndef DORN_BASE_SHORTCOPY_H_
#define DORN_BASE_SHORTCOPY_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace dorn {

// Its first and its last bytes, which may overlap.
template <class Word>
void PutEnds(char* to, std::string_view text) {
  Word first;
  Word last;
  std::memcpy(&first, text.data(), sizeof first);
  std::memcpy(&last, text.data() + text.size() - sizeof last, sizeof last);
  std::memcpy(to, &first, sizeof first);
  std::memcpy(to + text.size() - sizeof last, &last, sizeof last);
}

// Copies the text, which lies elsewhere, and returns the place behind the copy.
inline char* Put(char* to, std::string_view text) {
  const std::size_t size = text.size();
  if (size > 2 * sizeof(std::uint64_t)) {
    std::memcpy(to, text.data(), size);
  } else if (size >= sizeof(std::uint64_t)) {
    PutEnds<std::uint64_t>(to, text);
  } else if (size >= sizeof(std::uint32_t)) {
    PutEnds<std::uint32_t>(to, text);
  } else {
    for (std::size_t i = 0; i < size; ++i) to[i] = text[i];
  }
  return to + size;
}

// The same for a literal, whose length is known when this is compiled.
template <std::size_t N>
char* Put(char* to, const char (&literal)[N]) {
  std::memcpy(to, literal, N - 1);
  return to + N - 1;
}

// Of two texts of one length, that is not shorter than the word.
template <class Word>
bool HaveSameEnds(std::string_view left, std::string_view right) {
  Word first[2];
  Word last[2];
  const std::size_t rest = left.size() - sizeof(Word);
  std::memcpy(&first[0], left.data(), sizeof(Word));
  std::memcpy(&first[1], right.data(), sizeof(Word));
  std::memcpy(&last[0], left.data() + rest, sizeof(Word));
  std::memcpy(&last[1], right.data() + rest, sizeof(Word));
  return ((first[0] ^ first[1]) | (last[0] ^ last[1])) == 0;
}

// As left == right.
inline bool IsSame(std::string_view left, std::string_view right) {
  const std::size_t size = left.size();
  if (size != right.size()) return false;
  if (size > 2 * sizeof(std::uint64_t)) return std::memcmp(left.data(), right.data(), size) == 0;
  if (size >= sizeof(std::uint64_t)) return HaveSameEnds<std::uint64_t>(left, right);
  if (size >= sizeof(std::uint32_t)) return HaveSameEnds<std::uint32_t>(left, right);
  for (std::size_t i = 0; i < size; ++i) {
    if (left[i] != right[i]) return false;
  }
  return true;
}

// As to.assign(text). The text lies elsewhere.
inline void Assign(std::string& to, std::string_view text) {
  if (to.size() == text.size()) {
    Put(to.data(), text);
  } else {
    to.assign(text);
  }
}

// Appends `size` bytes, which are to be written from the returned place on.
inline char* AppendRoom(std::string& out, std::size_t size) {
  static constexpr char kZeros[256] = {};
  const std::size_t before = out.size();
  if (size <= sizeof kZeros) {
    out.append(kZeros, size);  // Half the work of resize().
  } else {
    out.resize(before + size);
  }
  return out.data() + before;
}

}  // namespace dorn

#endif  // DORN_BASE_SHORTCOPY_H_
