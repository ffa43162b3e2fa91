#include "station/Utf8.h"

#include <algorithm>
#include <cstdio>

namespace dorn::station {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

unsigned ByteAt(std::string_view text, std::size_t at) {
  return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

// What a lead byte asks for: so many bytes, the second one within these bounds.
struct Lead {
  std::size_t length;
  unsigned low;
  unsigned high;
};

Lead LeadOf(unsigned byte) {
  if (byte < 0x80) return {1, 0, 0};
  if (byte >= 0xC2 && byte <= 0xDF) return {2, 0x80, 0xBF};
  if (byte == 0xE0) return {3, 0xA0, 0xBF};
  if (byte == 0xED) return {3, 0x80, 0x9F};
  if (byte >= 0xE1 && byte <= 0xEF) return {3, 0x80, 0xBF};
  if (byte == 0xF0) return {4, 0x90, 0xBF};
  if (byte >= 0xF1 && byte <= 0xF3) return {4, 0x80, 0xBF};
  if (byte == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

// How many bytes at `at` may begin a character, up to its whole length; at least 1.
std::size_t LongestBeginning(std::string_view text, std::size_t at) {
  const Lead lead = LeadOf(ByteAt(text, at));
  if (lead.length < 2) return 1;
  const unsigned second = ByteAt(text, at + 1);
  if (at + 1 >= text.size() || second < lead.low || second > lead.high) return 1;
  std::size_t length = 2;
  while (length < lead.length && (ByteAt(text, at + length) & 0xC0) == 0x80) ++length;
  return length;
}

void AppendEscaped(std::string& out, unsigned code) {
  char escape[8];
  static_cast<void>(std::snprintf(escape, sizeof escape, "\\u%04x", code & 0xFF));
  out += escape;
}

}  // namespace

std::size_t SequenceAt(std::string_view text, std::size_t at) {
  const std::size_t wanted = LeadOf(ByteAt(text, at)).length;
  return wanted != 0 && LongestBeginning(text, at) == wanted ? wanted : 0;
}

bool IsValidUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = SequenceAt(text, at);
    if (length == 0) return false;
    at += length;
  }
  return true;
}

std::string ValidUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = SequenceAt(text, at);
    if (length != 0) {
      out += text.substr(at, length);
      at += length;
    } else {
      out += kReplacement;
      at += LongestBeginning(text, at);
    }
  }
  return out;
}

std::string Printable(std::string_view text) {
  const std::string valid = ValidUtf8(text);
  std::string out;
  out.reserve(valid.size());
  for (std::size_t at = 0; at < valid.size(); ++at) {
    const unsigned byte = ByteAt(valid, at);
    if (byte < 0x20 || byte == 0x7F) {
      AppendEscaped(out, byte);
    } else if (byte == 0xC2 && ByteAt(valid, at + 1) < 0xA0) {  // U+0080 to U+009F.
      AppendEscaped(out, ByteAt(valid, ++at));
    } else {
      out += valid[at];
    }
  }
  return out;
}

std::string PrintableLines(std::string_view text) {
  std::string out;
  for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    out += Printable(text.substr(0, end)) + '\n';
    text.remove_prefix(end + 1);
  }
  return out + Printable(text);
}

std::size_t CharactersOf(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

void AppendUtf8(std::string& out, unsigned code) {
  const auto tail = [&out, code](int shift) {
    out += static_cast<char>(0x80 | ((code >> shift) & 0x3F));
  };
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | code >> 6);
    tail(0);
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | code >> 12);
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0 | code >> 18);
    tail(12);
    tail(6);
    tail(0);
  }
}

}  // namespace dorn::station
