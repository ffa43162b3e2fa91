#include "station/TolerantText.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <optional>

#include "station/Escapes.h"
#include "station/Reader.h"
#include "station/StrictText.h"

namespace dorn::station {

namespace {

// A longer one is not looked for behind a quote.
constexpr std::size_t kLongestKeyAhead = 1024;

bool IsQuote(char c) { return c == '"' || c == '\''; }

bool IsNumberByte(char c) {
  return (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.' || c == 'e' || c == 'E';
}

// Hosts read integers that JSON does not know, such as 007, as far as digits go.
std::optional<Json> LenientNumber(std::string_view text) {
  if (IsJsonNumber(text)) return Json::Number(text);
  if (text.find_first_of(".eE") != std::string_view::npos || text.front() == '+') {
    return std::nullopt;
  }
  const long long number = std::strtoll(std::string(text).c_str(), nullptr, 10);
  return Json::Number(std::clamp<long long>(number, INT_MIN, INT_MAX));
}

}  // namespace

bool TolerantText::ReadAll(Json& out) {
  if (!ReadValue(out)) return false;
  SkipSpace();
  return mAt == mText.size();
}

bool TolerantText::ReadValue(Json& out) {
  SkipSpace();
  const char c = At(mAt);
  if (c == '{') return ReadObject(out);
  if (c == '[') return ReadArray(out);
  if (IsQuote(c)) {
    out = Json::String("");
    return ReadString(out.mText);
  }
  return c >= 'a' && c <= 'z' ? ReadWord(out) : ReadNumber(out);
}

bool TolerantText::Open(char bracket) {
  if (mOpen.size() == static_cast<std::size_t>(Reader::kMaxDepth)) return false;
  mOpen += bracket;
  ++mAt;
  return true;
}

bool TolerantText::ReadObject(Json& out) {
  out = Json::MakeObject();
  if (!Open('{')) return false;
  for (;;) {
    SkipSpace();
    const char c = At(mAt);
    if (c == '}') break;
    if (c == ',') {
      ++mAt;
    } else if (!ReadMember(out)) {
      return false;
    }
  }
  ++mAt;
  mOpen.pop_back();
  return true;
}

// The member, and that a comma or the bracket follows.
bool TolerantText::ReadMember(Json& object) {
  std::string key;
  if (!ReadKey(key)) return false;
  SkipSpace();
  if (At(mAt) == ',' || At(mAt) == '}') {
    if (key == "Data") object.mHadEmptyData = true;
    return true;
  }
  if (!ReadValue(object.mMembers[std::move(key)])) return false;
  SkipSpace();
  return At(mAt) == ',' || At(mAt) == '}';
}

bool TolerantText::ReadArray(Json& out) {
  out = Json::MakeArray();
  if (!Open('[')) return false;
  SkipSpace();
  if (At(mAt) != ']') {
    for (bool more = true; more;) {
      SkipSpace();
      out.mElements.push_back(Json::String(""));
      const bool isNothing = At(mAt) == ',' || At(mAt) == ']';
      if (!isNothing && !ReadValue(out.mElements.back())) return false;
      SkipSpace();
      more = At(mAt) == ',';
      if (more) ++mAt;
    }
    if (At(mAt) != ']') return false;
  }
  ++mAt;
  mOpen.pop_back();
  return true;
}

bool TolerantText::ReadWord(Json& out) {
  const std::string_view left = mText.substr(mAt);
  if (left.substr(0, 4) == "true") {
    out = Json(true);
    mAt += 4;
  } else if (left.substr(0, 5) == "false") {
    out = Json(false);
    mAt += 5;
  } else if (left.substr(0, 4) == "null") {
    out = Json();
    mAt += 4;
  } else {
    return false;
  }
  return true;
}

bool TolerantText::ReadNumber(Json& out) {
  const std::size_t end = NumberEnd(mAt);
  if (end == mAt) return false;
  auto number = LenientNumber(mText.substr(mAt, end - mAt));
  if (!number) return false;
  out = std::move(*number);
  mAt = end;
  return true;
}

// Up to the same quote before a colon, behind which the cursor then stands.
bool TolerantText::ReadKey(std::string& key) {
  const char quote = At(mAt);
  if (!IsQuote(quote)) return false;
  const std::size_t start = mAt + 1;
  for (std::size_t end = mText.find(quote, start); end != std::string_view::npos;
       end = mText.find(quote, end + 1)) {
    const std::size_t behind = SpaceEnd(end + 1);
    if (At(behind) != ':') continue;
    const std::string_view raw = mText.substr(start, end - start);
    const auto unescaped = mLiterally ? std::nullopt : Unescaped(raw);
    key = unescaped ? *unescaped : std::string(raw);
    mAt = behind + 1;
    return true;
  }
  return false;
}

bool TolerantText::ReadString(std::string& out) {
  const char quote = At(mAt++);
  if (!mLiterally && ReadEscapedString(out, quote)) return true;
  return ReadLiteralString(out, quote);
}

// True when every quote up to the one that ends the string is escaped and all escapes are legal.
bool TolerantText::ReadEscapedString(std::string& out, char quote) {
  std::size_t end = mAt;
  while (end < mText.size() && mText[end] != quote) end += mText[end] == '\\' ? 2 : 1;
  if (end >= mText.size() || !GoesOnAt(end + 1, mOpen.size())) return false;
  auto text = Unescaped(mText.substr(mAt, end - mAt));
  if (!text) return false;
  out = std::move(*text);
  mAt = end + 1;
  return true;
}

bool TolerantText::ReadLiteralString(std::string& out, char quote) {
  for (std::size_t end = mText.find(quote, mAt); end != std::string_view::npos;
       end = mText.find(quote, end + 1)) {
    if (!GoesOnAt(end + 1, mOpen.size())) continue;
    out = mText.substr(mAt, end - mAt);
    mAt = end + 1;
    return true;
  }
  return false;
}

std::size_t TolerantText::SpaceEnd(std::size_t at) const {
  while (at < mText.size() &&
         (mText[at] == ' ' || mText[at] == '\n' || mText[at] == '\t' || mText[at] == '\r')) {
    ++at;
  }
  return at;
}

// Whether, behind a value, the structure goes on as what is open there asks.
bool TolerantText::GoesOnAt(std::size_t at, std::size_t open) const {
  at = SpaceEnd(at);
  if (open == 0) return at == mText.size();
  const bool inObject = mOpen[open - 1] == '{';
  const char c = At(at);
  if (c == ',') return inObject ? IsMemberAt(at + 1) : IsElementAt(at + 1, open);
  return c == (inObject ? '}' : ']') && BracketGoesOnAt(at + 1, open);
}

// Whether the structure goes on behind the bracket that closes the innermost of `open`. Only one
// bracket is looked behind: more would let each quote look at all of them.
bool TolerantText::BracketGoesOnAt(std::size_t at, std::size_t open) const {
  at = SpaceEnd(at);
  if (open == 1) return at == mText.size();
  const bool inObject = mOpen[open - 2] == '{';
  const char c = At(at);
  if (c == ',') return inObject ? IsMemberAt(at + 1) : IsOpeningAt(at + 1);
  return c == (inObject ? '}' : ']');
}

// Behind an object or array among others another one comes, or something short.
bool TolerantText::IsOpeningAt(std::size_t at) const {
  at = SpaceEnd(at);
  const char c = At(at);
  if (c == '{') {
    at = SpaceEnd(at + 1);
    return IsQuote(At(at)) || At(at) == '}';
  }
  return c == '[' || IsQuote(c) || c == ',' || c == ']' || IsScalarAt(at);
}

// A key that holds its own quote is not recognised here: prose with commas between quoted words
// would be taken for one.
bool TolerantText::IsMemberAt(std::size_t at) const {
  at = SpaceEnd(at);
  if (!IsQuote(At(at))) return false;
  const std::size_t end = mText.substr(0, at + 1 + kLongestKeyAhead).find(At(at), at + 1);
  return end != std::string_view::npos && At(SpaceEnd(end + 1)) == ':';
}

bool TolerantText::IsElementAt(std::size_t at, std::size_t open) const {
  at = SpaceEnd(at);
  return At(at) == ']' ? BracketGoesOnAt(at + 1, open) : IsOpeningAt(at);
}

// A whole number or word, with an end of the element behind it.
bool TolerantText::IsScalarAt(std::size_t at) const {
  std::size_t end = NumberEnd(at);
  if (end > at && !LenientNumber(mText.substr(at, end - at))) return false;
  for (const std::string_view word : {"true", "false", "null"}) {
    if (mText.substr(at, word.size()) == word) end = at + word.size();
  }
  if (end == at) return false;
  end = SpaceEnd(end);
  return At(end) == ',' || At(end) == ']';
}

std::size_t TolerantText::NumberEnd(std::size_t at) const {
  while (at < mText.size() && IsNumberByte(mText[at])) ++at;
  return at;
}

}  // namespace dorn::station
