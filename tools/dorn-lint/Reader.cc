#include "tools/dorn-lint/Reader.h"

#include <algorithm>
#include <utility>

#include "station/Utf8.h"

namespace dorn::lint {

namespace {

constexpr int kEnd = -1;

bool IsSpace(int ch) { return ch == ' ' || ch == '\t' || ch == '\n' || ch == '\r'; }
bool IsDigit(int ch) { return ch >= '0' && ch <= '9'; }
bool IsSign(int ch) { return ch == '+' || ch == '-'; }
bool IsFloatMark(int ch) { return ch == '.' || ch == 'e' || ch == 'E'; }

std::size_t SkipDigits(std::string_view text, std::size_t at) {
  while (at < text.size() && IsDigit(text[at])) ++at;
  return at;
}

// Whether all of a number with a point or an exponent is one: -12.5e+3, -.5 and 1. are.
bool IsDecimal(std::string_view text) {
  std::size_t at = text.front() == '-' ? 1 : 0;
  const std::size_t whole = SkipDigits(text, at);
  std::size_t digits = whole - at;
  at = whole;
  if (at < text.size() && text[at] == '.') {
    const std::size_t fraction = SkipDigits(text, ++at);
    digits += fraction - at;
    at = fraction;
  }
  if (digits == 0) return false;
  if (at == text.size()) return true;
  if (text[at] != 'e' && text[at] != 'E') return false;
  ++at;
  if (at < text.size() && IsSign(text[at])) ++at;
  return at < text.size() && SkipDigits(text, at) == text.size();
}

// Recursive; the depth is limited.
class Reading {
 public:
  explicit Reading(std::string_view text) : mText(text) {}

  Document Read() {
    Document document;
    static_cast<void>(ReadValue(document.mRoot));
    document.mEnd = mReason.empty() ? mAt : std::min(mFailedAt, mText.size());
    document.mDepth = mDeepest;
    document.mIsTooDeep = mIsTooDeep;
    document.mReason = std::move(mReason);
    return document;
  }

 private:
  int Look() const { return mAt < mText.size() ? static_cast<unsigned char>(mText[mAt]) : kEnd; }

  int SkipSpace() {
    while (IsSpace(Look())) ++mAt;
    return Look();
  }

  bool Fail(std::size_t at, std::string reason) {
    mFailedAt = at;
    mReason = std::move(reason);
    return false;
  }

  bool FailHere(const char* wanted) {
    const int ch = Look();
    if (ch == kEnd) return Fail(mAt, std::string("the file ends where ") + wanted + " must stand");
    if (ch == '/' || ch == '#') {
      return Fail(mAt, "a comment: resource files have none, take it out");
    }
    return Fail(mAt, std::string("here must stand ") + wanted);
  }

  bool ReadValue(Node& node) {
    const int ch = SkipSpace();
    node.mAt = mAt;
    switch (ch) {
      case '"':
      case '\'':
        node.mKind = Node::Kind::kString;
        return ReadString(node.mText);
      case '[':
        return ReadArray(node);
      case '{':
        return ReadObject(node);
      case 'f':
        return ReadTruth(node, "false", false);
      case 't':
        return ReadTruth(node, "true", true);
      case 'n':
        return ReadWord("null");
      default:
        if (IsDigit(ch) || ch == '-') return ReadNumber(node);
        return FailValue(ch);
    }
  }

  bool FailValue(int ch) {
    if (ch == ',' || ch == ']' || ch == '}') {
      return Fail(mAt, "a value is missing: write one, or take out the comma or colon before it");
    }
    if (ch == '+' || ch == '.') return Fail(mAt, "a number begins with a digit or a minus sign");
    if (mText.compare(mAt, 3, "\xef\xbb\xbf") == 0) {
      return Fail(mAt, "a byte order mark: save the file as UTF-8 without one");
    }
    return FailHere("a value: \"text\", a number, true, false, [ or {");
  }

  bool ReadWord(std::string_view word) {
    if (mText.compare(mAt, word.size(), word) != 0) {
      return FailHere("a value: a text needs quotes");
    }
    mAt += word.size();
    return true;
  }

  bool ReadTruth(Node& node, std::string_view word, bool truth) {
    node.mKind = Node::Kind::kBool;
    node.mTruth = truth;
    return ReadWord(word);
  }

  bool ReadNumber(Node& node) {
    const std::size_t first = mAt;
    bool isDecimal = false;
    for (; IsDigit(Look()) || IsSign(Look()) || IsFloatMark(Look()); ++mAt) {
      isDecimal = isDecimal || IsFloatMark(Look());
    }
    node.mText = mText.substr(first, mAt - first);
    node.mKind = isDecimal ? Node::Kind::kDecimal : Node::Kind::kInteger;
    if (!isDecimal || IsDecimal(node.mText)) return true;
    return Fail(first, "this is no number: put it in quotes");
  }

  bool ReadString(std::string& out) {
    const std::size_t first = mAt;
    const int quote = Look();
    for (++mAt;;) {
      const int ch = Look();
      if (ch == kEnd) return Fail(mAt, "the file ends inside a text: close its quote");
      if (ch < ' ') return FailControl(first, ch);
      ++mAt;
      if (ch == quote) return true;
      if (ch != '\\') {
        out.push_back(static_cast<char>(ch));
      } else if (!ReadEscape(out)) {
        return false;
      }
    }
  }

  bool FailControl(std::size_t first, int ch) {
    if (ch == '\n' || ch == '\r') {
      return Fail(first, "this text does not end on its line: close its quote");
    }
    return Fail(mAt, "a control character in a text: take it out");
  }

  bool ReadEscape(std::string& out) {
    constexpr std::string_view kLetters = "\"/\\bfnrt";
    constexpr std::string_view kMeant = "\"/\\\b\f\n\r\t";
    const int ch = Look();
    if (ch == 'u') {
      ++mAt;
      return ReadCodePoint(out);
    }
    const std::size_t found =
        ch == kEnd ? std::string_view::npos : kLetters.find(static_cast<char>(ch));
    if (found == std::string_view::npos) {
      return Fail(mAt - 1,
                  "no escape: a backslash itself is written \\\\, and ' and others need none");
    }
    ++mAt;
    out.push_back(kMeant[found]);
    return true;
  }

  // Four hexadecimal digits; -1 without them.
  int ReadUnit() {
    int unit = 0;
    for (int i = 0; i < 4; ++i, ++mAt) {
      const int ch = Look();
      const int letter = ch | 0x20;
      if (IsDigit(ch)) {
        unit = unit * 16 + ch - '0';
      } else if (ch != kEnd && letter >= 'a' && letter <= 'f') {
        unit = unit * 16 + letter - 'a' + 10;
      } else {
        return -1;
      }
    }
    return unit;
  }

  bool ReadCodePoint(std::string& out) {
    const std::size_t first = mAt - 2;
    const int high = ReadUnit();
    if (high < 0) return Fail(first, "\\u needs four hexadecimal digits");
    unsigned code = static_cast<unsigned>(high);
    if (high >= 0xD800 && high <= 0xDFFF) {
      const bool hasLow = high < 0xDC00 && mText.compare(mAt, 2, "\\u") == 0;
      if (hasLow) mAt += 2;
      const int low = hasLow ? ReadUnit() : -1;
      if (low < 0xDC00 || low > 0xDFFF) {
        return Fail(first, "half of a character: write the character itself");
      }
      code = 0x10000U + ((code - 0xD800U) << 10U) + (static_cast<unsigned>(low) - 0xDC00U);
    }
    station::AppendUtf8(out, code);
    return true;
  }

  bool Open(Node& node, Node::Kind kind) {
    if (mDepth >= kMaxDepth) {
      mIsTooDeep = true;
      return Fail(mAt, "too many [ and { within each other");
    }
    node.mKind = kind;
    ++mAt;
    mDeepest = std::max(mDeepest, ++mDepth);
    return true;
  }

  bool ReadArray(Node& node) {
    if (!Open(node, Node::Kind::kArray)) return false;
    if (SkipSpace() != ']') {
      do {
        if (!ReadValue(node.mElements.emplace_back())) return false;
      } while (TakeComma());
    }
    return Close(']', "a comma or ]");
  }

  bool ReadObject(Node& node) {
    if (!Open(node, Node::Kind::kObject)) return false;
    if (SkipSpace() != '}') {
      do {
        if (!ReadMember(node.mMembers.emplace_back())) return false;
      } while (TakeComma());
    }
    return Close('}', "a comma or }");
  }

  bool ReadMember(Member& member) {
    const int quote = SkipSpace();
    member.mAt = mAt;
    if (quote == '}') return Fail(mAt, "a member is missing: take out the comma before the }");
    if (quote != '"' && quote != '\'') return FailHere("a key in quotes");
    if (!ReadString(member.mKey)) return false;
    if (SkipSpace() != ':') return FailHere("a colon");
    ++mAt;
    return ReadValue(member.mValue);
  }

  bool TakeComma() {
    if (SkipSpace() != ',') return false;
    ++mAt;
    return true;
  }

  bool Close(int bracket, const char* wanted) {
    if (Look() != bracket) return FailHere(wanted);
    ++mAt;
    --mDepth;
    return true;
  }

  const std::string_view mText;
  std::size_t mAt = 0;
  int mDepth = 0;
  int mDeepest = 0;
  bool mIsTooDeep = false;
  std::size_t mFailedAt = 0;
  std::string mReason;
};

}  // namespace

Document ReadDocument(std::string_view text) { return Reading(text).Read(); }

}  // namespace dorn::lint
