#include "station/Escapes.h"

#include "station/Json.h"
#include "station/Utf8.h"

namespace dorn::station {

namespace {

constexpr unsigned kNoCode = 0xFFFFFFFF;

unsigned HexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
  return kNoCode;
}

// Four digits at the front, which are taken away.
unsigned TakeQuad(std::string_view& text) {
  if (text.size() < 4) return kNoCode;
  unsigned code = 0;
  for (int i = 0; i < 4; ++i) {
    const unsigned digit = HexDigit(text[static_cast<std::size_t>(i)]);
    if (digit == kNoCode) return kNoCode;
    code = code << 4 | digit;
  }
  text.remove_prefix(4);
  return code;
}

// Behind "\u".
bool TakeCodePoint(std::string_view& text, std::string& out) {
  unsigned code = TakeQuad(text);
  if (code == kNoCode || (code >= 0xDC00 && code <= 0xDFFF)) return false;
  if (code >= 0xD800 && code <= 0xDBFF) {
    if (text.substr(0, 2) != "\\u") return false;
    text.remove_prefix(2);
    const unsigned low = TakeQuad(text);
    if (low < 0xDC00 || low > 0xDFFF) return false;
    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
  }
  AppendUtf8(out, code);
  return true;
}

char LetterMeaning(char letter) {
  switch (letter) {
    case '"':
    case '\\':
    case '/':
      return letter;
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return 0;
  }
}

// Behind the backslash.
bool TakeEscape(std::string_view& text, std::string& out) {
  if (text.empty()) return false;
  const char letter = text.front();
  text.remove_prefix(1);
  if (letter == 'u') return TakeCodePoint(text, out);
  const char meaning = LetterMeaning(letter);
  if (meaning == 0) return false;
  out += meaning;
  return true;
}

}  // namespace

std::optional<std::string> Unescaped(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (;;) {
    const std::size_t slash = text.find('\\');
    out += text.substr(0, slash);
    if (slash == std::string_view::npos) return out;
    text.remove_prefix(slash + 1);
    if (!TakeEscape(text, out)) return std::nullopt;
  }
}

std::string EscapedValue(std::string_view text) {
  std::string quoted = Quoted(text);
  quoted.pop_back();
  quoted.erase(0, 1);
  return quoted;
}

}  // namespace dorn::station
