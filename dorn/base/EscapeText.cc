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
  char code[sizeof "\\u0000"];
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

// Of a "\u" with its four digits.
constexpr std::size_t kCodeLength = 6;

// The number behind a "\u" at the beginning of `text`, or -1.
long CodeUnit(std::string_view text) {
  if (text.size() < kCodeLength || text.substr(0, 2) != "\\u") return -1;
  long unit = 0;
  for (const char byte : text.substr(2, kCodeLength - 2)) {
    const int digit = HexDigit(byte);
    if (digit < 0) return digit;
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
  const long unit = CodeUnit(text);
  if (unit < 0 || IsTrail(unit)) return 0;
  if (!IsLead(unit)) {
    AppendUtf8(out, unit);
    return kCodeLength;
  }
  const long second = CodeUnit(text.substr(kCodeLength));
  if (!IsTrail(second)) return 0;
  AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (second - 0xDC00));
  return 2 * kCodeLength;
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
