// The reader of JsonValue.h: `input` and the parse steps of `value`, one character at a time. It
// has the last word on every text; parse() asks it only for those that the quick reader gives back.
#include <clocale>
#include <cstdlib>
#include <string>
#include <utility>

#include "dorn/base/Check.h"
#include "dorn/json/JsonValue.h"
#include "dorn/json/QuickReader.h"

namespace {

constexpr int kEnd = -1;

bool IsSpace(int ch) { return ch == ' ' || ch == '\t' || ch == '\n' || ch == '\r'; }

bool IsDigit(int ch) { return ch >= '0' && ch <= '9'; }

bool IsFloatMark(int ch) { return ch == '.' || ch == 'e' || ch == 'E'; }

bool IsNumberPart(int ch) { return IsDigit(ch) || ch == '+' || ch == '-' || IsFloatMark(ch); }

// Skips white space and reads the character behind it.
int GetToken(input& in) {
  int ch = in.getc();
  while (IsSpace(ch)) ch = in.getc();
  return ch;
}

// strtod() with a decimal point, whatever locale the host has set.
double ToDouble(const char* text, char** end) {
  static const locale_t kPlain = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(text, end, kPlain);
}

void AppendUtf8(int code, std::string& out) {
  const auto append = [&out](int byte) { out.push_back(static_cast<char>(byte)); };
  if (code < 0x80) {
    append(code);
    return;
  }
  if (code < 0x800) {
    append(0xC0 | (code >> 6));
  } else {
    if (code < 0x10000) {
      append(0xE0 | (code >> 12));
    } else {
      append(0xF0 | (code >> 18));
      append(0x80 | ((code >> 12) & 0x3F));
    }
    append(0x80 | ((code >> 6) & 0x3F));
  }
  append(0x80 | (code & 0x3F));
}

// Behind a backslash.
bool ParseEscape(std::string& out, input& in) {
  switch (in.getc()) {
    case '"':
      out.push_back('"');
      return true;
    case '/':
      out.push_back('/');
      return true;
    case '\\':
      out.push_back('\\');
      return true;
    case 'b':
      out.push_back('\b');
      return true;
    case 'f':
      out.push_back('\f');
      return true;
    case 'n':
      out.push_back('\n');
      return true;
    case 'r':
      out.push_back('\r');
      return true;
    case 't':
      out.push_back('\t');
      return true;
    case 'u':
      return value::_parse_codepoint(out, in);
    default:
      return false;
  }
}

// The last four digits of a surrogate pair, of which `high` has been read; -1 if there is none.
int ParseLowSurrogate(int high, input& in) {
  if (in.getc() != '\\' || in.getc() != 'u') {
    in.ungetc();
    return -1;
  }
  const int low = value::_parse_quadhex(in);
  if (low < 0xDC00 || low > 0xDFFF) return -1;
  return (((high - 0xD800) << 10) | (low & 0x3FF)) + 0x10000;
}

[[gnu::noinline]] value& AppendNull(value::array& elements) { return elements.emplace_back(); }

// A line like "syntax error at line 3 near: tru}": the rest of the line that `in` stands in.
std::string DescribeError(input& in) {
  std::string description = "syntax error at line " + std::to_string(in.line()) + " near: ";
  for (int ch = in.getc(); ch != kEnd && ch != '\n'; ch = in.getc()) {
    if (ch >= ' ') description.push_back(static_cast<char>(ch));
  }
  return description;
}

// What was built before the quick reader gave up is gone when the other one begins.
const char* ParseQuickly(value& out, const char* first, const char* last) {
  value quick;
  const char* stop = dorn::ReadQuickly(quick, first, last);
  if (stop != nullptr) out = std::move(quick);
  return stop;
}

}  // namespace

int input::getc() {
  if (ungot_) {
    ungot_ = false;
    return last_ch_;
  }
  if (cur_ == end_) {
    last_ch_ = kEnd;
    return kEnd;
  }
  if (last_ch_ == '\n') ++line_;
  last_ch_ = static_cast<unsigned char>(*cur_++);
  return last_ch_;
}

void input::ungetc() {
  if (last_ch_ == kEnd) return;
  DORN_CHECK(!ungot_);
  ungot_ = true;
}

void input::skip_ws() {
  static_cast<void>(GetToken(*this));
  ungetc();
}

bool input::isget(int ch) {
  if (GetToken(*this) == ch) return true;
  ungetc();
  return false;
}

bool input::match(const char* pattern) {
  for (; *pattern != '\0'; ++pattern) {
    if (getc() != static_cast<unsigned char>(*pattern)) {
      ungetc();
      return false;
    }
  }
  return true;
}

const char* value::parse(value& out, const char* first, const char* last, std::string* err) {
  if (const char* stop = ParseQuickly(out, first, last)) return stop;
  input in(first, last);
  if (!_parse(out, in) && err != nullptr) *err = DescribeError(in);
  return in.cur();
}

// Arrays and objects recurse from here. What they do not need while an inner value is read lies in
// functions of its own, so that a level takes little of the stack.
bool value::_parse(value& out, input& in) {
  switch (GetToken(in)) {
    case '"':
    case '\'':
      return _parse_string(out, in);
    case '[':
      return _parse_array(out, in);
    case '{':
      return _parse_object(out, in);
    default:
      return ParseWord(out, in);
  }
}

// A literal or a number, of which the first character has been read.
bool value::ParseWord(value& out, input& in) {
  const int ch = in.lastc();
  switch (ch) {
    case 'f':
      if (!in.match("alse")) return false;
      out = value(false);
      return true;
    case 'n':
      if (!in.match("ull")) return false;
      out = value();
      return true;
    case 't':
      if (!in.match("rue")) return false;
      out = value(true);
      return true;
    default:
      in.ungetc();
      return (IsDigit(ch) || ch == '-') && _parse_number(out, in);
  }
}

bool value::_parse_string(value& out, input& in) {
  out = value(string_type, false);
  return _parse_string(*out.string_, in);
}

bool value::_parse_string(std::string& out, input& in) {
  const int quote = in.lastc();
  for (;;) {
    const int ch = in.getc();
    if (ch < ' ') {
      in.ungetc();
      return false;
    }
    if (ch == quote) return true;
    if (ch != '\\') {
      out.push_back(static_cast<char>(ch));
    } else if (!ParseEscape(out, in)) {
      return false;
    }
  }
}

// Makes `out` an empty container behind an opening bracket, or leaves the bracket when too many
// are open.
bool value::Open(value& out, int tag, input& in) {
  if (in.depth_ >= input::kMaxDepth) {
    in.ungetc();
    return false;
  }
  out = value(tag, false);
  ++in.depth_;
  return true;
}

bool value::_parse_array(value& out, input& in) {
  if (!Open(out, array_type, in)) return false;
  const bool read = ParseElements(*out.array_, in);
  --in.depth_;
  return read;
}

bool value::ParseElements(array& elements, input& in) {
  if (in.isget(']')) return true;
  for (;;) {
    if (!_parse(AppendNull(elements), in)) return false;
    const int ch = GetToken(in);
    if (ch == ',') continue;
    if (ch == ']') return true;
    in.ungetc();
    return false;
  }
}

bool value::_parse_object(value& out, input& in) {
  if (!Open(out, object_type, in)) return false;
  const bool read = ParseMembers(*out.object_, in);
  --in.depth_;
  return read;
}

bool value::ParseMembers(object& members, input& in) {
  if (in.isget('}')) return true;
  for (;;) {
    value* member = ParseKey(members, in);
    if (member == nullptr || !_parse(*member, in)) return false;
    const int ch = GetToken(in);
    if (ch == ',') continue;
    if (ch == '}') return true;
    in.ungetc();
    return false;
  }
}

// A key and its colon: the member's place, which a repeated key has already filled, or null.
value* value::ParseKey(object& members, input& in) {
  const int ch = GetToken(in);
  if (ch != '\'' && ch != '"') {
    in.ungetc();
    return nullptr;
  }
  std::string key;
  if (!_parse_string(key, in) || !in.isget(':')) return nullptr;
  return &members[std::move(key)];
}

bool value::_parse_number(value& out, input& in) {
  std::string text;
  bool floating = false;
  int ch = in.getc();
  for (; IsNumberPart(ch); ch = in.getc()) {
    text.push_back(static_cast<char>(ch));
    floating = floating || IsFloatMark(ch);
  }
  in.ungetc();
  if (!floating) {
    // Kept: text that is no integer counts as far as atoi() reads it ("1-2" is 1, "-" is 0).
    out = value(std::atoi(text.c_str()));
    return true;
  }
  char* end = nullptr;
  out = value(ToDouble(text.c_str(), &end));
  return end == text.c_str() + text.length();
}

bool value::_parse_codepoint(std::string& out, input& in) {
  int code = _parse_quadhex(in);
  if (code >= 0xD800 && code <= 0xDFFF) {
    code = code < 0xDC00 ? ParseLowSurrogate(code, in) : -1;
  }
  if (code < 0) return false;
  AppendUtf8(code, out);
  return true;
}

int value::_parse_quadhex(input& in) {
  int code = 0;
  for (int i = 0; i < 4; ++i) {
    const int ch = in.getc();
    int digit = 0;
    if (IsDigit(ch)) {
      digit = ch - '0';
    } else if (ch >= 'A' && ch <= 'F') {
      digit = ch - 'A' + 10;
    } else if (ch >= 'a' && ch <= 'f') {
      digit = ch - 'a' + 10;
    } else {
      in.ungetc();
      return -1;
    }
    code = (code << 4) | digit;
  }
  return code;
}
