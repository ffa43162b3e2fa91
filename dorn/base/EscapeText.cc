#include "dorn/base/EscapeText.h"

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

namespace dorn {

namespace {

constexpr std::string_view kPlain = "\"\\/\b\f\n\r\t";
constexpr std::string_view kLetters = "\"\\/bfnrt";

void AppendControl(std::string& out, char byte) {
  char code[8];
  static_cast<void>(std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(byte)));
  out += code;
}

void AppendEscaped(std::string& out, char byte) {
  const std::size_t known = byte == '/' ? std::string_view::npos : kPlain.find(byte);
  if (known != std::string_view::npos) {
    out += '\\';
    out += kLetters[known];
  } else if (static_cast<unsigned char>(byte) < ' ') {
    AppendControl(out, byte);
  } else {
    out += byte;
  }
}

int HexDigit(char byte) {
  if (byte >= '0' && byte <= '9') return byte - '0';
  if (byte >= 'a' && byte <= 'f') return byte - 'a' + 10;
  if (byte >= 'A' && byte <= 'F') return byte - 'A' + 10;
  return -1;
}

// The number behind a "\u" at the beginning of `text`, or -1.
long CodeUnit(std::string_view text) {
  constexpr std::size_t kDigits = 4;
  if (text.substr(0, 2) != "\\u") return -1;
  const std::string_view digits = text.substr(2, kDigits);
  if (digits.size() < kDigits) return -1;
  long unit = 0;
  for (const char byte : digits) {
    const int digit = HexDigit(byte);
    if (digit < 0) return -1;
    unit = unit * 16 + digit;
  }
  return unit;
}

bool IsLead(long unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsTrail(long unit) { return unit >= 0xDC00 && unit < 0xE000; }

void AppendUtf8(std::string& out, long code) {
  const auto put = [&out](long byte) { out += static_cast<char>(byte); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | code >> 6);
    put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | code >> 12);
    put(0x80 | (code >> 6 & 0x3F));
    put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | code >> 18);
    put(0x80 | (code >> 12 & 0x3F));
    put(0x80 | (code >> 6 & 0x3F));
    put(0x80 | (code & 0x3F));
  }
}

// Reads the \u escape, or the pair of them, at the beginning of `text`; returns its length, or 0 if
// it stands for no character.
std::size_t ReadCode(std::string& out, std::string_view text) {
  constexpr std::size_t kLength = 6;
  const long unit = CodeUnit(text);
  if (unit < 0 || IsTrail(unit)) return 0;
  if (!IsLead(unit)) {
    AppendUtf8(out, unit);
    return kLength;
  }
  const long second = CodeUnit(text.substr(kLength));
  if (!IsTrail(second)) return 0;
  AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (second - 0xDC00));
  return 2 * kLength;
}

// The same for any escape. `text` begins with a backslash.
std::size_t ReadEscape(std::string& out, std::string_view text) {
  if (text.size() < 2) return 0;
  if (text[1] == 'u') return ReadCode(out, text);
  const std::size_t known = kLetters.find(text[1]);
  if (known == std::string_view::npos) return 0;
  out += kPlain[known];
  return 2;
}

}  // namespace

KZString EscapeText(const KZString& text) {
  std::string out;
  out.reserve(text.size());
  for (const char byte : text) AppendEscaped(out, byte);
  return KZString(std::move(out));
}

KZString UnescapeText(const KZString& text) {
  std::string out;
  out.reserve(text.size());
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::size_t length = rest[0] == '\\' ? ReadEscape(out, rest) : 0;
    if (length == 0) out += rest[0];
    rest.remove_prefix(length != 0 ? length : 1);
  }
  return KZString(std::move(out));
}

}  // namespace dorn
