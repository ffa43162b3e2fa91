// The library's reader against a plain one: the same result, value, error and position for every
// short text over an alphabet of trouble and for many longer ones.
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "dorn/json/JsonParser.h"
#include "gtest/gtest.h"
#include "tests/json/ReferenceReader.h"

namespace {

using namespace std::string_literals;

bool Same(const value& a, const value& b) {
  if (a.type_ != b.type_) return false;
  switch (a.type_) {
    case value::boolean_type:
      return a.get<bool>() == b.get<bool>();
    case value::int_type:
      return a.get<int>() == b.get<int>();
    case value::double_type:
      return std::memcmp(&a.get<double>(), &b.get<double>(), sizeof(double)) == 0;
    case value::string_type:
      return a.get<std::string>() == b.get<std::string>();
    case value::array_type: {
      const auto& left = a.get<value::array>();
      const auto& right = b.get<value::array>();
      if (left.size() != right.size()) return false;
      for (size_t i = 0; i < left.size(); ++i) {
        if (!Same(left[i], right[i])) return false;
      }
      return true;
    }
    case value::object_type: {
      const auto& left = a.get<value::object>();
      const auto& right = b.get<value::object>();
      if (left.size() != right.size()) return false;
      for (auto l = left.begin(), r = right.begin(); l != left.end(); ++l, ++r) {
        if (l->first != r->first || !Same(l->second, r->second)) return false;
      }
      return true;
    }
    default:
      return true;
  }
}

// Whether both readers do the same with `text`; otherwise says on which. Returns also whether the
// text was accepted.
bool ExpectSame(const std::string& text, bool* accepted = nullptr) {
  // An exact copy on the heap, so that a sanitizer sees any byte read behind the end.
  const std::unique_ptr<char[]> bytes(new char[text.size()]);
  text.copy(bytes.get(), text.size());
  value out;
  std::string err;
  const char* end = value::parse(out, bytes.get(), bytes.get() + text.size(), &err);

  ReferenceReader reference(text);
  value expected;
  std::string expectedErr;
  const size_t expectedEnd = reference.Parse(expected, expectedErr);

  EXPECT_LE(reference.PushBacks(), 1) << text;
  EXPECT_EQ(err, expectedErr) << text;
  EXPECT_EQ(static_cast<size_t>(end - bytes.get()), expectedEnd) << text;
  EXPECT_TRUE(Same(out, expected)) << text;
  if (accepted) *accepted = err.empty();
  return !testing::Test::HasFailure();
}

TEST(JsonReaderReferenceTest, EveryShortText) {
  const std::string alphabet = "[]{}\"'\\u,:1.-t n\n\x01";
  int accepted = 0;
  for (int length = 0; length <= 4; ++length) {
    std::vector<size_t> digits(static_cast<size_t>(length), 0);
    std::string text(static_cast<size_t>(length), alphabet[0]);
    for (;;) {
      bool read = false;
      ASSERT_TRUE(ExpectSame(text, &read));
      accepted += read ? 1 : 0;
      size_t i = 0;  // The next text in the order of an odometer.
      while (i < digits.size() && ++digits[i] == alphabet.size()) {
        digits[i] = 0;
        text[i++] = alphabet[0];
      }
      if (i == digits.size()) break;
      text[i] = alphabet[digits[i]];
    }
  }
  EXPECT_GT(accepted, 1000);
}

const std::vector<std::string>& Pieces() {
  static const std::vector<std::string> pieces = {
      "[",       "]",      "{",      "}",          ",",         ":",     "\"a\"",    "'b'",
      "-1",      "1.",     "\"\\u",  "D83D",       "\\uDE00",   "0041",  "tru",      "e",
      "\n",      "\"",     "'\\n'",  "\"\\q\"",    "0",         "\xFF",  "\"\x01\"", "null",
      "  ",      "\r\n",   "\"a\":", "'k' : ",     "123456789", "true,", "false",    "1e5",
      "\"x'y\"", "'x\"y'", "\"\n\"", "2147483648", "\t",        "\\",    "'",        "[1,2]"};
  return pieces;
}

TEST(JsonReaderReferenceTest, EveryPairAndTripleOfPieces) {
  for (const std::string& a : Pieces()) {
    for (const std::string& b : Pieces()) {
      ASSERT_TRUE(ExpectSame(a + b));
      for (const std::string& c : Pieces()) ASSERT_TRUE(ExpectSame(a + b + c));
    }
  }
}

TEST(JsonReaderReferenceTest, RandomRowsOfPieces) {
  std::mt19937 random(20240229);
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    const size_t count = 4 + random() % 12;
    for (size_t k = 0; k < count; ++k) text += Pieces()[random() % Pieces().size()];
    ASSERT_TRUE(ExpectSame(text));
  }
}

TEST(JsonReaderReferenceTest, EveryByteAtEveryPlaceOfAString) {
  for (const char quote : {'"', '\''}) {
    // The last ones take several steps of every kind.
    for (size_t length = 1; length <= 46; length += length < 20 ? 1 : 13) {
      for (size_t at = 0; at < length; ++at) {
        for (int byte = 0; byte <= 0xFF; ++byte) {
          std::string text(length, 'x');
          text[at] = static_cast<char>(byte);
          ASSERT_TRUE(ExpectSame("[" + (quote + text + quote) + ",1]"));
        }
      }
    }
  }
}

TEST(JsonReaderReferenceTest, TwoAwkwardBytesInAString) {
  const std::string bytes = "\"'\\\x1F\x20\x7F\x80\xA2\xDC\xFF n\0\n"s;
  for (size_t first = 0; first < 18; ++first) {
    for (size_t second = first + 1; second < 18; ++second) {
      for (const char a : bytes) {
        for (const char b : bytes) {
          std::string text(18, 'x');
          text[first] = a;
          text[second] = b;
          ASSERT_TRUE(ExpectSame("{\"" + text + "\":'" + text + "'}"));
        }
      }
    }
  }
}

// A random text that is mostly valid.
std::string RandomDocument(std::mt19937& random, int depth) {
  static const std::vector<std::string> scalars = {
      "1",           "-12",     "2147483647",
      "99999999999", "0.1",     "-0.25e2",
      "true",        "false",   "null",
      "\"text\"",    "'it\"s'", "\"\\u3042\\n\"",
      "\"日本\"",    "\"\"",    "''",
      "1-2",         "-",       "\"a longer text that takes more than one step to read\""};
  static const std::vector<std::string> gaps = {"", "", "", " ", "\n", "\r\n  ", "\t"};
  const auto gap = [&random] { return gaps[random() % gaps.size()]; };
  const unsigned kind = depth == 0 ? 0 : random() % 4;
  if (kind < 2) return gap() + scalars[random() % scalars.size()] + gap();
  const bool isArray = kind == 2;
  std::string text = gap() + (isArray ? "[" : "{");
  const unsigned count = random() % 7;
  for (unsigned i = 0; i < count; ++i) {
    if (i > 0) text += ",";
    if (!isArray) {
      const char* keys[] = {"\"a\"", "'b'", "\"Name\"", "\"\\u0041\"", "''", "\"b\""};
      text += gap() + keys[random() % 6] + gap() + ":";
    }
    text += RandomDocument(random, depth - 1);
  }
  return text + gap() + (isArray ? "]" : "}") + gap();
}

TEST(JsonReaderReferenceTest, RandomDocumentsWholeCutAndChanged) {
  std::mt19937 random(19991231);
  const std::string bytes = "\"'\\{}[],:utn-e0.\x01\x80\xFF \n\0"s;
  int accepted = 0;
  for (int i = 0; i < 3000; ++i) {
    std::string text = RandomDocument(random, 4);
    bool read = false;
    ASSERT_TRUE(ExpectSame(text, &read));
    accepted += read ? 1 : 0;
    ASSERT_TRUE(ExpectSame(text.substr(0, random() % (text.size() + 1))));
    if (!text.empty()) text[random() % text.size()] = bytes[random() % bytes.size()];
    ASSERT_TRUE(ExpectSame(text));
  }
  EXPECT_GT(accepted, 2000);
}

}  // namespace
