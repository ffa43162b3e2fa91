// The characters of a JSON text that need no second look. Internal: not installed.
#ifndef DORN_JSON_PLAINTEXT_H_
#define DORN_JSON_PLAINTEXT_H_

#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace dorn {

inline bool IsJsonSpace(char ch) { return ch == ' ' || ch == '\n' || ch == '\r' || ch == '\t'; }

inline bool IsJsonDigit(char ch) { return ch >= '0' && ch <= '9'; }

// Whether a number goes on with this character.
inline bool IsNumberPart(char ch) {
  return IsJsonDigit(ch) || ch == '+' || ch == '-' || ch == '.' || ch == 'e' || ch == 'E';
}

// Whether the character stands for itself in a string, whichever quote opened it.
inline bool IsPlain(char ch) {
  return static_cast<unsigned char>(ch) >= ' ' && ch != '"' && ch != '\'' && ch != '\\';
}

#ifdef __SSE2__
// One bit for each of the sixteen bytes at `at`, the lowest for the first: whether it is not plain.
inline unsigned FindNotPlain(const char* at) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
  const auto equals = [bytes](char ch) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(ch)); };
  const __m128i quotes = _mm_or_si128(equals('"'), equals('\''));
  const __m128i controls = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(' ' - 1)), bytes);
  return static_cast<unsigned>(
      _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(quotes, equals('\\')), controls)));
}
#endif

// The first character from `at` on that is not plain.
inline const char* SkipPlain(const char* at, const char* end) {
#ifdef __SSE2__
  for (; end - at >= 16; at += 16) {
    const unsigned found = FindNotPlain(at);
    if (found != 0) return at + __builtin_ctz(found);
  }
#endif
  // Eight at a time: a byte of `found` has its highest bit set where the byte of `word` is not
  // plain, and perhaps also behind the first such byte.
  constexpr std::uint64_t kOnes = 0x0101010101010101U;
  constexpr std::uint64_t kHighs = 0x80U * kOnes;
  while (end - at >= 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, sizeof word);
    const std::uint64_t quotes = word ^ ('"' * kOnes);
    const std::uint64_t apostrophes = word ^ ('\'' * kOnes);
    const std::uint64_t backslashes = word ^ ('\\' * kOnes);
    const std::uint64_t found =
        (((word - ' ' * kOnes) & ~word) | ((quotes - kOnes) & ~quotes) |
         ((apostrophes - kOnes) & ~apostrophes) | ((backslashes - kOnes) & ~backslashes)) &
        kHighs;
    if (found == 0) {
      at += 8;
      continue;
    }
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return at + __builtin_ctzll(found) / 8;
#else
    break;
#endif
  }
  while (at != end && IsPlain(*at)) ++at;
  return at;
}

}  // namespace dorn

#endif  // DORN_JSON_PLAINTEXT_H_
