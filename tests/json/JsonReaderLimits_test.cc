// Hostile texts: nesting, sizes, truncations, changed bytes.
#include <memory>
#include <sstream>
#include <string>

#include "dorn/json/JsonParser.h"
#include "dorn/json/VQValue.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "tests/json/SmallStack.h"

namespace {

using namespace std::string_literals;

constexpr int kPromisedDepth = 1024;
constexpr int kReceiveBuffer = 0x80000;  // The longest text that a station can send.

std::string Repeat(const std::string& piece, int times) {
  std::string text;
  text.reserve(piece.size() * static_cast<size_t>(times));
  for (int i = 0; i < times; ++i) text += piece;
  return text;
}

std::string Arrays(int depth) { return Repeat("[", depth) + Repeat("]", depth); }
std::string Objects(int depth) {
  return Repeat("{\"\":", depth - 1) + "{}" + Repeat("}", depth - 1);
}
std::string Mixed(int depth) { return Repeat("[{'a':", depth / 2) + "1" + Repeat("}]", depth / 2); }

// The error text, empty for success.
std::string ErrorOf(const std::string& text) {
  value out;
  std::string err;
  value::parse(out, text.data(), text.data() + text.size(), &err);
  return err;
}

// The greatest depth that `make` can nest and the reader accepts, up to the receive buffer's size.
int Deepest(std::string (*make)(int)) {
  int good = kPromisedDepth;
  int bad = kReceiveBuffer;
  if (!ErrorOf(make(good)).empty()) return 0;
  while (bad - good > 2) {
    const int middle = (good + bad) / 4 * 2;  // Even, for the mixed form.
    (ErrorOf(make(middle)).empty() ? good : bad) = middle;
  }
  return good;
}

TEST(JsonReaderLimitsTest, NestsAtLeastToThePromisedDepth) {
  ASSERT_TRUE(RunOnSmallStack([] {
    EXPECT_EQ(ErrorOf(Arrays(kPromisedDepth)), "");
    EXPECT_EQ(ErrorOf(Objects(kPromisedDepth)), "");
    EXPECT_EQ(ErrorOf(Mixed(kPromisedDepth)), "");
  }));
}

TEST(JsonReaderLimitsTest, OneDeeperThanPromisedIsAnErrorAtItsBracket) {
  EXPECT_EQ(ErrorOf(Repeat("[", kPromisedDepth) + "[1]"), "syntax error at line 1 near: [1]");
  EXPECT_EQ(ErrorOf(Repeat("[", kPromisedDepth) + "{}"), "syntax error at line 1 near: {}");
  EXPECT_EQ(ErrorOf(Repeat("{\"\":", kPromisedDepth) + "{}"), "syntax error at line 1 near: {}");
  EXPECT_EQ(ErrorOf(Repeat("{\"\":", kPromisedDepth) + "[]"), "syntax error at line 1 near: []");
  EXPECT_NE(ErrorOf(Arrays(kPromisedDepth + 1)), "");
  EXPECT_NE(ErrorOf(Objects(kPromisedDepth + 1)), "");
}

TEST(JsonReaderLimitsTest, ATextOfBracketsIsAnOrdinarySyntaxError) {
  ASSERT_TRUE(RunOnSmallStack([] {
    const std::string brackets = ErrorOf(Repeat("[", kReceiveBuffer));
    EXPECT_EQ(brackets.substr(0, 35), "syntax error at line 1 near: [[[[[[");
    const std::string braces = ErrorOf(Repeat("{\"\":", kReceiveBuffer / 4));
    EXPECT_EQ(braces.substr(0, 37), "syntax error at line 1 near: {\"\":{\"\":");
    const std::string lines = ErrorOf(Repeat("[\n", kReceiveBuffer / 2));
    EXPECT_EQ(lines.substr(0, 21), "syntax error at line ");
    EXPECT_EQ(lines.substr(lines.size() - 8), " near: [");
    EXPECT_NE(ErrorOf(Arrays(kReceiveBuffer / 2)), "");
    EXPECT_NE(ErrorOf(Objects(kReceiveBuffer / 5)), "");
  }));
}

TEST(JsonReaderLimitsTest, TheErrorBeginsAtTheFirstBracketThatIsTooDeep) {
  const int limit = Deepest(Arrays);
  ASSERT_GE(limit, kPromisedDepth);
  // Deepest() works in steps of two.
  const int exact = ErrorOf(Arrays(limit + 1)).empty() ? limit + 1 : limit;
  EXPECT_EQ(ErrorOf(Repeat("[", exact + 10)), "syntax error at line 1 near: [[[[[[[[[[");
  EXPECT_EQ(ErrorOf(Repeat("[", exact) + "{}"), "syntax error at line 1 near: {}");
  EXPECT_EQ(ErrorOf(Repeat("[", exact)), "syntax error at line 1 near: ") << "only unfinished";
}

TEST(JsonReaderLimitsTest, TheDepthIsThatOfOpenContainersNotTheirNumber) {
  EXPECT_EQ(ErrorOf("[" + Repeat("[],", 20000) + "{}]"), "");
  EXPECT_EQ(ErrorOf("[" + Repeat(Arrays(kPromisedDepth - 1) + ",", 5) + "1]"), "");
  EXPECT_EQ(ErrorOf("{" + Repeat("\"a\":{\"b\":[{}]},", 20000) + "\"c\":1}"), "");
  EXPECT_EQ(ErrorOf("\"" + Repeat("[", 20000) + "\""), "");
}

TEST(JsonReaderLimitsTest, EveryDocumentStartsAtDepthZero) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_NE(ErrorOf(Repeat("[", 100000)), "");
    EXPECT_EQ(ErrorOf(Arrays(kPromisedDepth)), "");
  }
}

// Everything that is done with a document as deep as any text can make it, on a small stack.
void UseDeepDocument(const std::string& text) {
  JsonParser parser;
  ASSERT_TRUE(parser.Parse(("{\"deep\":" + text + "}").c_str()));

  const value copy(parser.mValue);
  value assigned;
  assigned = copy;
  EXPECT_TRUE(assigned.is<object>());

  VQValue converted;
  ASSERT_TRUE(parser.GetValue("deep", converted));
  VQValue second(converted);
  VQValue third(converted.GetType() == VQValue::TYPE_ARRAY ? VQValue(converted.GetArray())
                                                           : VQValue(converted.GetObject()));
  static_cast<void>(converted == third);
  std::ostringstream out;
  out << converted;
  EXPECT_FALSE(out.str().empty());
  EXPECT_GT(second.GetString().GetLength(), 1);
}

TEST(JsonReaderLimitsTest, TheDeepestDocumentsFitASmallStackInEveryUse) {
  ASSERT_TRUE(RunOnSmallStack([] {
    UseDeepDocument(Arrays(Deepest(Arrays) - 2));
    UseDeepDocument(Objects(Deepest(Objects) - 2));
    UseDeepDocument(Mixed(Deepest(Mixed) - 2));
  }));
}

TEST(JsonReaderLimitsTest, ATooDeepPartFailsTheWholeText) {
  const std::string text = "{\"a\":1,\"b\":" + Arrays(200000) + ",\"c\":2}";
  value out;
  std::string err;
  value::parse(out, text.data(), text.data() + text.size(), &err);
  EXPECT_FALSE(err.empty());
  ASSERT_TRUE(out.is<object>());
  EXPECT_EQ(out.get("a").get<int>(), 1);
  EXPECT_TRUE(out.get("c").is<null>());
}

TEST(JsonReaderLimitsTest, LongTokensAreReadWhole) {
  const std::string text(kReceiveBuffer, 'x');
  value out;
  const std::string quoted = "\"" + text + "\"";
  value::parse(out, quoted.data(), quoted.data() + quoted.size(), nullptr);
  ASSERT_TRUE(out.is<std::string>());
  EXPECT_EQ(out.get<std::string>(), text);

  const std::string digits(kReceiveBuffer, '1');
  value::parse(out, digits.data(), digits.data() + digits.size(), nullptr);
  EXPECT_TRUE(out.is<int>());

  const std::string real = "0." + std::string(kReceiveBuffer, '0') + "1e524289";
  value::parse(out, real.data(), real.data() + real.size(), nullptr);
  ASSERT_TRUE(out.is<double>());
  EXPECT_EQ(out.get<double>(), 1.0);

  EXPECT_EQ(ErrorOf(text), "syntax error at line 1 near: " + text);
}

// What comes behind a number is looked at once, not once for each number.
TEST(JsonReaderLimitsTest, AsManyNumbersAsFitAreRead) {
  constexpr int kNumbers = kReceiveBuffer / 2 - 1;
  const std::string text = "[" + Repeat("1,", kNumbers) + "2]";
  value out;
  const char* const end = value::parse(out, text.data(), text.data() + text.size(), nullptr);
  EXPECT_EQ(end, text.data() + text.size());
  ASSERT_TRUE(out.is<array>());
  EXPECT_EQ(out.get<array>().size(), static_cast<size_t>(kNumbers) + 1);
  EXPECT_EQ(out.get(kNumbers).get<int>(), 2);
}

constexpr char kDocument[] =
    "{\"Dialog\":{\"Name\":\"Pump \\\"1\\\"\",'Level':-12,\"Flow\":1.25e1,\"On\":true,\"Off\":false,"
    "\"None\":null,\"Text\":\"\\u3042\\uD83D\\uDE00\\n\",\"List\":[1,[2,{\"k\":'v'}],{}]}}";

TEST(JsonReaderLimitsTest, EveryTruncationIsAnError) {
  const std::string text = kDocument;
  ASSERT_EQ(ErrorOf(text), "");
  for (size_t length = 0; length < text.size(); ++length) {
    // An exact copy, so that a sanitizer sees any byte read behind the end.
    const std::unique_ptr<char[]> bytes(new char[length + 1]);
    text.copy(bytes.get(), length);
    value out;
    std::string err;
    const char* end = value::parse(out, bytes.get(), bytes.get() + length, &err);
    EXPECT_EQ(err.rfind("syntax error at line 1 near: ", 0), 0u) << length;
    EXPECT_EQ(end, bytes.get() + length) << length;
  }
}

TEST(JsonReaderLimitsTest, WhatLiesBehindTheRangeIsNotRead) {
  for (const std::string text : {"[-5]", "[1]", "[12]", "{\"a\":-5}", "[true]", "[null]", "['a']",
                                 "[[]]", "{'a':{}}", "[ ]", "{\"a\" : 1 }", kDocument}) {
    for (size_t length = 0; length < text.size(); ++length) {
      value out;
      std::string err;
      const char* const last = text.data() + length;
      EXPECT_EQ(value::parse(out, text.data(), last, &err), last) << text << ", " << length;
      EXPECT_EQ(err, "syntax error at line 1 near: ") << text << ", " << length;
    }
  }
}

TEST(JsonReaderLimitsTest, EveryChangedByteIsReadOrRefused) {
  const std::string text = kDocument;
  int refused = 0;
  for (size_t at = 0; at < text.size(); ++at) {
    for (const char changed : "\"'\\{}[],:utn-e0\x01\x80\xFF \n") {
      std::string mutated = text;
      mutated[at] = changed;
      value out;
      std::string err;
      const char* end = value::parse(out, mutated.data(), mutated.data() + mutated.size(), &err);
      EXPECT_GE(end, mutated.data());
      EXPECT_LE(end, mutated.data() + mutated.size());
      if (err.empty()) continue;
      ++refused;
      EXPECT_EQ(err.rfind("syntax error at line ", 0), 0u) << mutated;
    }
  }
  EXPECT_GT(refused, 1000);
}

}  // namespace
