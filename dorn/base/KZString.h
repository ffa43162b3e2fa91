// The string type of every interface: a byte string that holds UTF-8 text. A plain value type
// without locks; each object belongs to one thread at a time.
#ifndef DORN_BASE_KZSTRING_H_
#define DORN_BASE_KZSTRING_H_

#include <cstddef>
#include <functional>
#include <string>

#include "dorn/base/Export.h"

class KZStringArray;

// A std::string with operations that count and cut by UTF-8 character, and with helpers for file
// names, numbers, formatting and splitting. Encodings are not checked when text comes in: an
// invalid sequence (also a zero byte) ends the text for the character-wise operations, which are
// GetCharLength(), GetChar() and MakeUpper(), and is an ordinary byte for all others.
//
// A null pointer given where a text is expected counts as the empty text. Through `...` pass
// `static_cast<const char*>(text)`, never the object.
class DORN_EXPORT KZString : public std::string {
 public:
  KZString() = default;
  KZString(const char* text);
  KZString(std::string text) noexcept;
  KZString(const KZString& other) = default;
  KZString(KZString&& other) noexcept = default;
  virtual ~KZString();

  KZString& operator=(const char* text);
  KZString& operator=(std::string text) noexcept;
  KZString& operator=(KZString text) noexcept;

  // Erases all bytes.
  void Clear();

  // Length in bytes.
  int GetLength() const;

  // Number of characters before the first invalid sequence.
  int GetCharLength() const;

  // `len` characters from character index `st` on, fewer if fewer remain. With a negative `len`
  // all bytes from there to the end, those behind an invalid sequence included. Empty when `st` is
  // no index of a character, or `len` is 0.
  KZString GetChar(int st, int len) const;

  // The bytes, zero-terminated; valid until the string is changed.
  operator const char*() const { return c_str(); }

  // Equality byte for byte.
  bool operator==(const char* text) const;
  bool operator==(const KZString& other) const;
  bool operator==(const std::string& other) const;
  bool operator!=(const char* text) const { return !(*this == text); }
  bool operator!=(const KZString& other) const { return !(*this == other); }
  bool operator!=(const std::string& other) const { return !(*this == other); }

  // Replaces the contents by printf-formatted text of any length. The arguments may point into
  // this string.
  KZString& Format(const char* f, ...) __attribute__((format(printf, 2, 3)));

  // Splits at each `sep` and appends the pieces to `array`, which is not cleared first. Empty
  // pieces count, but nothing is appended for an empty remainder: "a,b," gives two pieces, ",a" an
  // empty one and "a". Kept: 100 pieces are taken at most, and what follows is dropped.
  void Separate(char sep, KZStringArray& array) const;

  // Removes the bytes of the set `str` at the end and at the beginning.
  void Trim(const char* str);

  // A copy in which the one-byte characters went through toupper() of the current locale. It ends
  // before the first invalid sequence.
  KZString MakeUpper() const;

  // As atoi(): 0 when the text does not start with a number.
  int ToInt() const;

  // The first number of the text, read with a decimal point in every locale; leading white space
  // is skipped. 0.0 when there is none.
  double ToDouble() const;

  // What follows the last '.' of the whole text, directory parts included ("dir.d/file" gives
  // "d/file"); empty when there is none or it is the last byte.
  KZString GetFileExtension() const;

  // What precedes that '.'; the whole text when there is none or it is the last byte.
  KZString GetFileNameWithoutExtension() const;

  // Replaces all occurrences in place, from left to right, without searching the replacements, and
  // returns a copy of the result. An empty `strold` occurs nowhere.
  KZString Replace(KZString strold, KZString strnew);

  // Decodes the character at byte `nn` of the zero-terminated `text` and returns its length of 1
  // to 6 bytes, or 0 at the end of the text and for an invalid sequence; `*code` is then no
  // character. Stray continuation bytes are characters of one byte, and the forms of five and six
  // bytes are accepted; overlong forms and surrogates are not looked for.
  int GetUTF8Code(const unsigned char* text, int nn, unsigned int* code) const;
};

namespace std {
template <>
struct hash<KZString> {
  size_t operator()(const KZString& text) const noexcept { return hash<string>()(text); }
};
}  // namespace std

#include "dorn/base/KZStringArray.h"

#endif  // DORN_BASE_KZSTRING_H_
