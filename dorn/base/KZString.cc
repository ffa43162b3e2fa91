#include "dorn/base/KZString.h"

#include <array>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <sstream>
#include <utility>

#include "dorn/base/ShortCopy.h"

namespace {

constexpr int kMaxPieces = 100;

const char* NotNull(const char* text) { return text != nullptr ? text : ""; }

const unsigned char* Bytes(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.c_str());
}

// Length of the character that a first byte from 0xC0 to 0xFD begins, by the byte's lower six bits.
constexpr unsigned char kCharacterLength[] = {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2,  //
                                              2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2,  //
                                              3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3,  //
                                              4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5, 5, 6, 6};

}  // namespace

KZString::KZString(const char* text) : std::string(NotNull(text)) {}

KZString::KZString(std::string text) noexcept : std::string(std::move(text)) {}

KZString::~KZString() = default;

KZString& KZString::operator=(const char* text) {
  assign(NotNull(text));
  return *this;
}

KZString& KZString::operator=(std::string text) noexcept {
  swap(text);
  return *this;
}

KZString& KZString::operator=(KZString text) noexcept {
  swap(text);
  return *this;
}

void KZString::Clear() { clear(); }

int KZString::GetLength() const { return static_cast<int>(length()); }

int KZString::GetCharLength() const {
  unsigned int code = 0;
  int characters = 0;
  int at = 0;
  while (const int bytes = GetUTF8Code(Bytes(*this), at, &code)) {
    at += bytes;
    ++characters;
  }
  return characters;
}

KZString KZString::GetChar(int st, int len) const {
  unsigned int code = 0;
  int start = -1;
  int at = 0;
  int counted = 0;
  for (int index = 0; counted != len; ++index) {
    const int bytes = GetUTF8Code(Bytes(*this), at, &code);
    if (bytes == 0) break;
    if (index == st) {
      if (len < 0) return KZString(substr(at));
      start = at;
    }
    at += bytes;
    if (index >= st) ++counted;
  }
  if (start < 0) return {};
  return KZString(substr(start, at - start));
}

bool KZString::operator==(const char* text) const { return compare(NotNull(text)) == 0; }

bool KZString::operator==(const KZString& other) const {
  return *this == static_cast<const std::string&>(other);
}

bool KZString::operator==(const std::string& other) const {
  return dorn::IsSame(static_cast<const std::string&>(*this), other);
}

KZString& KZString::Format(const char* f, ...) {
  std::array<char, 1024> small{};
  va_list arguments;
  va_start(arguments, f);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(small.data(), small.size(), f, arguments);
  va_end(arguments);
  if (length < static_cast<int>(small.size())) {
    // Also after a conversion error, with what was written before it.
    assign(small.data());
  } else {
    std::string large(static_cast<std::size_t>(length) + 1, '\0');
    static_cast<void>(std::vsnprintf(large.data(), large.size(), f, again));
    assign(large.c_str());
  }
  va_end(again);
  return *this;
}

void KZString::Separate(char sep, KZStringArray& array) const {
  // A copy, because this string may be an element of the array that grows here.
  const std::string work = *this;
  std::size_t start = 0;
  for (int pieces = 0; pieces < kMaxPieces; ++pieces) {
    const std::size_t end = work.find(sep, start);
    if (end == npos) {
      if (start < work.length()) array.push_back(KZString(work.substr(start)));
      return;
    }
    array.push_back(KZString(work.substr(start, end - start)));
    start = end + 1;
  }
}

void KZString::Trim(const char* str) {
  const char* set = NotNull(str);
  // Without such a byte npos + 1 is 0, and all goes.
  erase(find_last_not_of(set) + 1);
  erase(0, find_first_not_of(set));
}

KZString KZString::MakeUpper() const {
  KZString upper;
  upper.reserve(length());
  unsigned int code = 0;
  int at = 0;
  while (const int bytes = GetUTF8Code(Bytes(*this), at, &code)) {
    if (bytes == 1) {
      upper.push_back(static_cast<char>(std::toupper(static_cast<int>(code))));
    } else {
      upper.append(*this, at, bytes);
    }
    at += bytes;
  }
  return upper;
}

int KZString::ToInt() const { return std::atoi(c_str()); }

double KZString::ToDouble() const {
  std::istringstream stream(*this);
  stream.imbue(std::locale::classic());
  double number = 0.0;
  stream >> number;
  return number;
}

KZString KZString::GetFileExtension() const {
  const std::size_t dot = rfind('.');
  if (dot == npos || dot + 1 == length()) return {};
  return KZString(substr(dot + 1));
}

KZString KZString::GetFileNameWithoutExtension() const {
  const std::size_t dot = rfind('.');
  if (dot == npos || dot + 1 == length()) return *this;
  return KZString(substr(0, dot));
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value in the interface.
KZString KZString::Replace(KZString strold, KZString strnew) {
  if (strold.empty()) return *this;
  std::string result;
  std::size_t start = 0;
  for (std::size_t at = find(strold); at != npos; at = find(strold, start)) {
    result.append(*this, start, at - start).append(strnew);
    start = at + strold.length();
  }
  if (start > 0) {
    result.append(*this, start, npos);
    swap(result);
  }
  return *this;
}

int KZString::GetUTF8Code(const unsigned char* text, int nn, unsigned int* code) const {
  const unsigned char* at = text + nn;
  const unsigned int first = *at;
  if (first == 0 || first >= 0xFE) return 0;
  *code = first;
  if (first < 0xC0) return 1;
  const int bytes = kCharacterLength[first & 0x3F];
  *code = first & (0x7CU >> bytes);
  for (int i = 1; i < bytes; ++i) {
    // A zero byte is no continuation either, so nothing behind the end is read.
    if ((at[i] & 0xC0) != 0x80) return 0;
    *code = (*code << 6) | (at[i] & 0x3FU);
  }
  return bytes;
}
