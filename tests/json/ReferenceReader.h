// The reader once more, as plainly as it can be written: one character at a time, no shortcuts. The
// tests hold the library's reader against it.
#ifndef TESTS_JSON_REFERENCEREADER_H_
#define TESTS_JSON_REFERENCEREADER_H_

#include <cstdlib>
#include <string>
#include <utility>

#include "dorn/json/JsonParser.h"

class ReferenceReader {
 public:
  explicit ReferenceReader(std::string text) : mText(std::move(text)) {}

  // As value::parse(), with the offset at which reading stopped.
  size_t Parse(value& out, std::string& err) {
    if (!Value(out)) {
      err = "syntax error at line " + std::to_string(mLine) + " near: ";
      for (int ch = Get(); ch != -1 && ch != '\n'; ch = Get()) {
        if (ch >= 32) err += static_cast<char>(ch);
      }
    }
    return mNext;
  }

  int PushBacks() const { return mMostPushBacks; }

 private:
  int Get() {
    if (mPushedBack > 0) {
      mPushedBack = 0;
      return mLast;
    }
    if (mNext == mText.size()) return mLast = -1;
    if (mLast == '\n') ++mLine;
    return mLast = static_cast<unsigned char>(mText[mNext++]);
  }

  void Unget() {
    if (mLast == -1) return;
    if (++mPushedBack > mMostPushBacks) mMostPushBacks = mPushedBack;
  }

  void SkipWhiteSpace() {
    int ch = Get();
    while (ch == ' ' || ch == '\t' || ch == '\n' || ch == '\r') ch = Get();
    Unget();
  }

  bool Is(int wanted) {
    SkipWhiteSpace();
    if (Get() == wanted) return true;
    Unget();
    return false;
  }

  bool Literal(const char* rest, const value& meant, value& out) {
    for (; *rest; ++rest) {
      if (Get() != *rest) {
        Unget();
        return false;
      }
    }
    out = meant;
    return true;
  }

  bool Value(value& out) {
    SkipWhiteSpace();
    const int ch = Get();
    if (ch == '"' || ch == '\'') return String(out);
    if (ch == '[') return Array(out);
    if (ch == '{') return Object(out);
    if (ch == 'f') return Literal("alse", value(false), out);
    if (ch == 'n') return Literal("ull", value(), out);
    if (ch == 't') return Literal("rue", value(true), out);
    Unget();
    return ((ch >= '0' && ch <= '9') || ch == '-') && Number(out);
  }

  bool String(value& out) {
    std::string text;
    const bool read = Text(text);
    out = value(text);
    return read;
  }

  bool Text(std::string& out) {
    const int quote = mLast;
    for (;;) {
      int ch = Get();
      if (ch < 32) {
        Unget();
        return false;
      }
      if (ch == quote) return true;
      if (ch == '\\') {
        ch = Get();
        const std::string from = "\"/\\bfnrt";
        const std::string to = "\"/\\\b\f\n\r\t";
        const size_t known = ch <= 0 ? std::string::npos : from.find(static_cast<char>(ch));
        if (known != std::string::npos) {
          ch = to[known];
        } else if (ch == 'u') {
          if (!CodePoint(out)) return false;
          continue;
        } else {
          return false;
        }
      }
      out += static_cast<char>(ch);
    }
  }

  int FourDigits() {
    int code = 0;
    for (int i = 0; i < 4; ++i) {
      const int ch = Get();
      const std::string digits = "0123456789abcdefABCDEF";
      const size_t at = ch <= 0 ? std::string::npos : digits.find(static_cast<char>(ch));
      if (at == std::string::npos) {
        Unget();
        return -1;
      }
      code = code * 16 + static_cast<int>(at < 16 ? at : at - 6);
    }
    return code;
  }

  bool CodePoint(std::string& out) {
    int code = FourDigits();
    if (code == -1 || (code >= 0xDC00 && code <= 0xDFFF)) return false;
    if (code >= 0xD800 && code < 0xDC00) {
      if (Get() != '\\' || Get() != 'u') {
        Unget();
        return false;
      }
      const int low = FourDigits();
      if (low < 0xDC00 || low > 0xDFFF) return false;
      code = ((code - 0xD800) << 10 | (low & 0x3FF)) + 0x10000;
    }
    const auto put = [&out](int byte) { out += static_cast<char>(byte); };
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
    return true;
  }

  bool Array(value& out) {
    out = value(value::array());
    if (Is(']')) return true;
    do {
      out.get<value::array>().emplace_back();
      if (!Value(out.get<value::array>().back())) return false;
    } while (Is(','));
    return Is(']');
  }

  bool Object(value& out) {
    out = value(value::object());
    if (Is('}')) return true;
    do {
      std::string key;
      if (!Is('\'') && !Is('"')) return false;
      if (!Text(key) || !Is(':')) return false;
      if (!Value(out.get<value::object>()[key])) return false;
    } while (Is(','));
    return Is('}');
  }

  bool Number(value& out) {
    std::string text;
    bool floating = false;
    for (;;) {
      const int ch = Get();
      const bool marks = ch == '.' || ch == 'e' || ch == 'E';
      if (!marks && ch != '+' && ch != '-' && (ch < '0' || ch > '9')) break;
      floating = floating || marks;
      text += static_cast<char>(ch);
    }
    Unget();
    if (!floating) {
      out = value(std::atoi(text.c_str()));
      return true;
    }
    char* end = nullptr;
    out = value(std::strtod(text.c_str(), &end));
    return *end == '\0';
  }

  std::string mText;
  size_t mNext = 0;
  int mLast = -1;
  int mLine = 1;
  int mPushedBack = 0;
  int mMostPushBacks = 0;
};

#endif  // TESTS_JSON_REFERENCEREADER_H_
