#include "station/StrictText.h"

#include "station/Escapes.h"
#include "station/Reader.h"

namespace dorn::station {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

class StrictText {
 public:
  explicit StrictText(std::string_view text) : mText(text) {}

  bool ReadAll(Json& out) {
    if (!ReadValue(out)) return false;
    SkipSpace();
    return mAt == mText.size();
  }

 private:
  char Peek() const { return mAt < mText.size() ? mText[mAt] : '\0'; }

  void SkipSpace() {
    while (mAt < mText.size() &&
           (mText[mAt] == ' ' || mText[mAt] == '\n' || mText[mAt] == '\t' || mText[mAt] == '\r')) {
      ++mAt;
    }
  }

  bool Take(char c) {
    SkipSpace();
    if (mAt == mText.size() || mText[mAt] != c) return false;
    ++mAt;
    return true;
  }

  bool TakeWord(std::string_view word) {
    if (mText.substr(mAt, word.size()) != word) return false;
    mAt += word.size();
    return true;
  }

  bool ReadValue(Json& out) {
    SkipSpace();
    switch (Peek()) {
      case '{':
        return ReadObject(out);
      case '[':
        return ReadArray(out);
      case '"':
        out.mKind = Json::Kind::kString;
        return ReadString(out.mText);
      case 't':
        out = Json(true);
        return TakeWord("true");
      case 'f':
        out = Json(false);
        return TakeWord("false");
      case 'n':
        return TakeWord("null");
      default:
        return ReadNumber(out);
    }
  }

  bool ReadObject(Json& out) {
    out.mKind = Json::Kind::kObject;
    if (++mDepth > Reader::kMaxDepth) return false;
    ++mAt;
    if (!Take('}')) {
      do {
        if (!ReadMember(out.mMembers)) return false;
      } while (Take(','));
      if (!Take('}')) return false;
    }
    --mDepth;
    return true;
  }

  bool ReadMember(Json::Object& members) {
    SkipSpace();
    std::string key;
    if (Peek() != '"' || !ReadString(key) || !Take(':')) return false;
    // The usual case: keys come in order.
    const auto place = members.emplace_hint(members.end(), std::move(key), Json());
    place->second = Json();
    return ReadValue(place->second);
  }

  bool ReadArray(Json& out) {
    out.mKind = Json::Kind::kArray;
    if (++mDepth > Reader::kMaxDepth) return false;
    ++mAt;
    if (!Take(']')) {
      do {
        out.mElements.emplace_back();
        if (!ReadValue(out.mElements.back())) return false;
      } while (Take(','));
      if (!Take(']')) return false;
    }
    --mDepth;
    return true;
  }

  bool ReadString(std::string& out) {
    const std::size_t start = ++mAt;
    bool escaped = false;
    for (; mAt < mText.size() && mText[mAt] != '"'; ++mAt) {
      if (static_cast<unsigned char>(mText[mAt]) < 0x20) return false;
      if (mText[mAt] != '\\') continue;
      escaped = true;
      ++mAt;
    }
    if (mAt >= mText.size()) return false;
    const std::string_view raw = mText.substr(start, mAt++ - start);
    if (!escaped) {
      out = raw;
      return true;
    }
    auto text = Unescaped(raw);
    if (!text) return false;
    out = std::move(*text);
    return true;
  }

  bool ReadNumber(Json& out) {
    const std::size_t start = mAt;
    while (mAt < mText.size() &&
           (IsDigit(mText[mAt]) ||
            std::string_view("+-.eE").find(mText[mAt]) != std::string_view::npos)) {
      ++mAt;
    }
    const std::string_view number = mText.substr(start, mAt - start);
    if (!IsJsonNumber(number)) return false;
    out = Json::Number(number);
    return true;
  }

  std::string_view mText;
  std::size_t mAt = 0;
  int mDepth = 0;
};

// Takes the digits at the front; false if there is none.
bool TakeDigits(std::string_view& text) {
  const std::size_t before = text.size();
  while (!text.empty() && IsDigit(text.front())) text.remove_prefix(1);
  return text.size() < before;
}

bool TakeOneOf(std::string_view& text, std::string_view set) {
  if (text.empty() || set.find(text.front()) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}

}  // namespace

bool ReadStrictly(std::string_view text, Json& out) { return StrictText(text).ReadAll(out); }

bool IsJsonNumber(std::string_view text) {
  static_cast<void>(TakeOneOf(text, "-"));  // A sign may be there.
  if (!TakeOneOf(text, "0") && !TakeDigits(text)) return false;
  if (TakeOneOf(text, ".") && !TakeDigits(text)) return false;
  if (TakeOneOf(text, "eE")) {
    static_cast<void>(TakeOneOf(text, "+-"));
    if (!TakeDigits(text)) return false;
  }
  return text.empty();
}

}  // namespace dorn::station
