#include "dorn/json/QuickReader.h"

#include <string_view>
#include <tuple>
#include <utility>

#include "dorn/json/PlainText.h"

namespace dorn {

namespace {

// Room for a short array, to be taken at once.
constexpr std::size_t kFirstElements = 4;

int FirstByte(std::string_view text) {
  return text.empty() ? -1 : static_cast<unsigned char>(text.front());
}

// The member with this key, made if there is none, as a null value.
value& Place(value::object& members, std::string_view key) {
  const auto keyPart = std::forward_as_tuple(key);
  // The first bytes tell cheaply, in most cases, that the key goes behind all others.
  if (members.empty() || FirstByte(key) > FirstByte(members.rbegin()->first)) {
    return members.emplace_hint(members.end(), std::piecewise_construct, keyPart, std::tuple<>())
        ->second;
  }
  const auto [place, isNew] = members.emplace(std::piecewise_construct, keyPart, std::tuple<>());
  if (!isNew) place->second = value();
  return place->second;
}

// Every step takes the position that it reads from and returns the one behind what it has read, or
// null when it gives up. The position stays in a register, which is what makes this quick.
class QuickReader {
 public:
  explicit QuickReader(const char* end) : end_(end) {}

  const char* Value(value& out, const char* at);

 private:
  const char* SkipSpace(const char* at) const {
    while (at != end_ && IsJsonSpace(*at)) ++at;
    return at;
  }

  // Behind white space and the character `ch`.
  const char* Skip(char ch, const char* at) const {
    at = SkipSpace(at);
    return at != end_ && *at == ch ? at + 1 : nullptr;
  }

  const char* Array(value& out, const char* at);
  const char* Object(value& out, const char* at);
  const char* Key(value::object& members, value*& member, const char* at) const;
  const char* String(value& out, const char* at) const;
  const char* Number(value& out, const char* at) const;

  // The rarer ones are kept out of the recursion, so that a level takes little of the stack.
  [[gnu::noinline]] const char* EscapedKey(value::object& members, value*& member,
                                           const char* at) const;
  [[gnu::noinline]] const char* EscapedString(std::string& out, const char* at) const;
  [[gnu::noinline]] const char* AnyNumber(value& out, const char* at) const;
  [[gnu::noinline]] const char* Word(value& out, const char* at) const;

  const char* end_;
  int depth_ = 0;
};

const char* QuickReader::Value(value& out, const char* at) {
  at = SkipSpace(at);
  if (at == end_) return nullptr;
  switch (*at) {
    case '"':
    case '\'':
      return String(out, at);
    case '[':
      return Array(out, at + 1);
    case '{':
      return Object(out, at + 1);
    case 'f':
    case 'n':
    case 't':
      return Word(out, at);
    default:
      return Number(out, at);
  }
}

const char* QuickReader::Array(value& out, const char* at) {
  if (depth_ == input::kMaxDepth) return nullptr;
  value::array& elements = *(out.array_ = new value::array);
  out.type_ = value::array_type;
  if (const char* behind = Skip(']', at)) return behind;
  elements.reserve(kFirstElements);
  ++depth_;
  for (;;) {
    at = Value(elements.emplace_back(), at);
    if (at == nullptr) return nullptr;
    at = SkipSpace(at);
    if (at == end_) return nullptr;
    if (*at != ',') break;
    ++at;
  }
  --depth_;
  return *at == ']' ? at + 1 : nullptr;
}

const char* QuickReader::Object(value& out, const char* at) {
  if (depth_ == input::kMaxDepth) return nullptr;
  value::object& members = *(out.object_ = new value::object);
  out.type_ = value::object_type;
  if (const char* behind = Skip('}', at)) return behind;
  ++depth_;
  for (;;) {
    value* member = nullptr;
    at = Key(members, member, at);
    if (at == nullptr) return nullptr;
    at = Value(*member, at);
    if (at == nullptr) return nullptr;
    at = SkipSpace(at);
    if (at == end_) return nullptr;
    if (*at != ',') break;
    ++at;
  }
  --depth_;
  return *at == '}' ? at + 1 : nullptr;
}

// A key and its colon.
const char* QuickReader::Key(value::object& members, value*& member, const char* at) const {
  at = SkipSpace(at);
  if (at == end_ || (*at != '"' && *at != '\'')) return nullptr;
  const char* begin = at + 1;
  const char* end = SkipPlain(begin, end_);
  if (end == end_ || *end != *at) return EscapedKey(members, member, at);
  member = &Place(members, std::string_view(begin, end - begin));
  return Skip(':', end + 1);
}

const char* QuickReader::EscapedKey(value::object& members, value*& member, const char* at) const {
  std::string key;
  at = EscapedString(key, at);
  if (at == nullptr) return nullptr;
  member = &Place(members, key);
  return Skip(':', at);
}

const char* QuickReader::String(value& out, const char* at) const {
  const char* begin = at + 1;
  const char* end = SkipPlain(begin, end_);
  const bool plain = end != end_ && *end == *at;
  out.string_ = plain ? new std::string(begin, end) : new std::string;
  out.type_ = value::string_type;
  return plain ? end + 1 : EscapedString(*out.string_, at);
}

// A string with escapes, or with the other quote in it: the work of the other reader.
const char* QuickReader::EscapedString(std::string& out, const char* at) const {
  input in(at, end_);
  static_cast<void>(in.getc());
  return value::_parse_string(out, in) ? in.cur() : nullptr;
}

// An integer of at most nine digits.
const char* QuickReader::Number(value& out, const char* at) const {
  constexpr int kMaxDigits = 9;
  const bool negative = *at == '-';
  const char* digits = at + (negative ? 1 : 0);
  const char* behind = digits;
  int number = 0;
  for (; behind != end_ && IsJsonDigit(*behind) && behind - digits < kMaxDigits; ++behind) {
    number = number * 10 + (*behind - '0');
  }
  if (behind == digits || behind == end_ || IsNumberPart(*behind)) return AnyNumber(out, at);
  out.int_ = negative ? -number : number;
  out.type_ = value::int_type;
  return behind;
}

// Any other number: the work of the other reader, too.
const char* QuickReader::AnyNumber(value& out, const char* at) const {
  if (!IsJsonDigit(*at) && *at != '-') return nullptr;
  input in(at, end_);
  if (!value::_parse_number(out, in)) return nullptr;
  return in.ungot_ ? in.cur() - 1 : in.cur();
}

const char* QuickReader::Word(value& out, const char* at) const {
  const std::string_view rest(at, end_ - at);
  const auto startsWith = [&rest](std::string_view word) {
    return rest.substr(0, word.length()) == word;
  };
  if (startsWith("null")) return at + 4;
  const bool isTrue = startsWith("true");
  if (!isTrue && !startsWith("false")) return nullptr;
  out.boolean_ = isTrue;
  out.type_ = value::boolean_type;
  return at + (isTrue ? 4 : 5);
}

}  // namespace

const char* ReadQuickly(value& out, const char* first, const char* last) {
  QuickReader reader(last);
  const char* stop = reader.Value(out, first);
  // Behind a number or word the position depends on what is read and pushed back.
  return out.type_ == value::array_type || out.type_ == value::object_type ? stop : nullptr;
}

}  // namespace dorn
