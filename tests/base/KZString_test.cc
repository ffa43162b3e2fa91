// The string's value semantics, overloads and byte-wise operations. What counts UTF-8 characters is
// tested in KZStringCharacters_test.cc.
#include "dorn/base/KZString.h"

#include <climits>
#include <cstdlib>
#include <cwchar>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/CommaLocale.h"
#include "tests/support/GroupingLocale.h"

namespace {

using namespace std::string_literals;

static_assert(std::is_base_of_v<std::string, KZString>);
static_assert(std::is_convertible_v<KZString*, std::string*>, "the base is public");
static_assert(std::has_virtual_destructor_v<KZString>);
static_assert(sizeof(KZString) == 40, "a virtual table pointer and a std::string");
static_assert(std::is_nothrow_move_constructible_v<KZString>, "vectors move on growth");
static_assert(std::is_default_constructible_v<KZString>);
static_assert(std::is_copy_constructible_v<KZString>);
static_assert(std::is_convertible_v<const char*, KZString>);
static_assert(std::is_convertible_v<std::string, KZString>);
static_assert(std::is_convertible_v<const KZString&, const char*>);
static_assert(std::is_same_v<decltype(std::declval<const KZString&>().GetLength()), int>);
static_assert(std::is_same_v<decltype(std::declval<KZString&>() = "x"), KZString&>);
static_assert(std::is_same_v<decltype(std::declval<KZString&>() = std::string()), KZString&>);
static_assert(std::is_same_v<decltype(std::declval<KZString&>() = KZString()), KZString&>);
static_assert(std::is_same_v<decltype(std::declval<KZString&>().Format("x")), KZString&>);
static_assert(std::is_same_v<decltype(std::declval<KZString&>().MakeUpper()), KZString>);
static_assert(std::is_same_v<decltype(std::declval<KZString&>().Replace("", "")), KZString>);
static_assert(std::is_same_v<decltype(std::declval<KZString&>().ToDouble()), double>);

// Construction and assignment.

TEST(KZStringTest, IsEmptyByDefault) {
  const KZString text;
  EXPECT_EQ(text.GetLength(), 0);
  EXPECT_STREQ(static_cast<const char*>(text), "");
}

TEST(KZStringTest, TakesACharPointerUpToItsZero) {
  const KZString text("ab\0cd");
  EXPECT_EQ(text.GetLength(), 2);
  EXPECT_TRUE(text == "ab");
}

TEST(KZStringTest, TakesAByteStringWhole) {
  const KZString text("ab\0cd"s);
  EXPECT_EQ(text.GetLength(), 5);
  EXPECT_EQ(static_cast<const std::string&>(text), "ab\0cd"s);
}

TEST(KZStringTest, KeepsBytesThatAreNoUtf8) {
  const KZString text("\xFF\xC3\x80\xFE");
  EXPECT_EQ(static_cast<const std::string&>(text), "\xFF\xC3\x80\xFE"s);
}

TEST(KZStringTest, CopyIsIndependentOfItsSource) {
  KZString source("a text that is too long for the small string buffer");
  KZString copy(source);
  source += "!";
  EXPECT_TRUE(copy == "a text that is too long for the small string buffer");
}

TEST(KZStringTest, MoveHandsOverTheBuffer) {
  KZString source("a text that is too long for the small string buffer");
  const char* buffer = source;
  const KZString target(std::move(source));
  EXPECT_EQ(static_cast<const char*>(target), buffer);
}

TEST(KZStringTest, GrowingVectorMovesItsStrings) {
  std::vector<KZString> list;
  list.emplace_back("a text that is too long for the small string buffer");
  const char* buffer = list[0];
  list.reserve(list.capacity() + 1);
  EXPECT_EQ(static_cast<const char*>(list[0]), buffer);
}

TEST(KZStringTest, TreatsANullPointerAsEmptyText) {
  EXPECT_TRUE(KZString(nullptr) == "");
  EXPECT_TRUE(KZString(static_cast<const char*>(nullptr)) == "");

  KZString text("abc");
  text = nullptr;
  EXPECT_EQ(text.GetLength(), 0);
  text = "abc";
  text = 0;
  EXPECT_EQ(text.GetLength(), 0);
  text = "abc";
  text = {};
  EXPECT_EQ(text.GetLength(), 0);
}

TEST(KZStringTest, ComparesANullPointerAsEmptyText) {
  EXPECT_TRUE(KZString() == nullptr);
  EXPECT_FALSE(KZString("abc") == nullptr);
  EXPECT_FALSE(KZString("abc") == static_cast<const char*>(nullptr));
}

TEST(KZStringTest, AssignmentReplacesTheContents) {
  KZString text("before");
  EXPECT_EQ(&(text = "pointer"), &text);
  EXPECT_TRUE(text == "pointer");
  EXPECT_EQ(&(text = "by\0tes"s), &text);
  EXPECT_TRUE(text == "by\0tes"s);
  const KZString other("other");
  EXPECT_EQ(&(text = other), &text);
  EXPECT_TRUE(text == "other");
  EXPECT_TRUE(other == "other");
  text = KZString("temporary");
  EXPECT_TRUE(text == "temporary");
}

TEST(KZStringTest, AssignmentOfItselfOrOfItsOwnCharactersIsSafe) {
  KZString text("a text that is too long for the small string buffer");
  const KZString& alias = text;
  text = alias;
  EXPECT_TRUE(text == "a text that is too long for the small string buffer");
  text = static_cast<const char*>(text) + 2;
  EXPECT_TRUE(text == "text that is too long for the small string buffer");
}

TEST(KZStringTest, DeletesADerivedClassThroughItsOwnPointer) {
  struct Derived : KZString {
    explicit Derived(bool* flag) : destroyed(flag) {}
    ~Derived() override { *destroyed = true; }
    bool* destroyed;
  };
  bool destroyed = false;
  std::unique_ptr<KZString>(new Derived(&destroyed)).reset();
  EXPECT_TRUE(destroyed);
}

TEST(KZStringTest, ClearErasesAllBytes) {
  KZString text("a\0b"s);
  text.Clear();
  EXPECT_EQ(text.GetLength(), 0);
  EXPECT_TRUE(text == "");
}

TEST(KZStringTest, LengthCountsBytes) {
  EXPECT_EQ(KZString("aあb").GetLength(), 5);
  EXPECT_EQ(KZString("a\0b"s).GetLength(), 3);
}

// Comparison and overloads.

TEST(KZStringTest, ComparesByteWise) {
  const KZString text("ON");
  EXPECT_TRUE(text == "ON");
  EXPECT_TRUE(text == KZString("ON"));
  EXPECT_TRUE(text == "ON"s);
  EXPECT_FALSE(text == "On");
  EXPECT_FALSE(text == "ONE");
  EXPECT_FALSE(text == KZString("O"));
  EXPECT_FALSE(text == "ON\0"s);
}

TEST(KZStringTest, ComparesZeroBytesLikeAnyOther) {
  const KZString text("a\0b"s);
  EXPECT_TRUE(text == KZString("a\0b"s));
  EXPECT_FALSE(text == KZString("a\0c"s));
  EXPECT_FALSE(text == "a");
}

TEST(KZStringTest, ComparesContentsWithTheOperandsInEitherOrder) {
  const KZString text("ON");
  const char copy[] = "ON";
  EXPECT_TRUE("ON" == text);
  EXPECT_TRUE(copy == text);
  EXPECT_TRUE(std::string("ON") == text);
  EXPECT_FALSE(text != copy);
  EXPECT_FALSE(text != KZString(copy));
  EXPECT_FALSE(text != std::string(copy));
  EXPECT_TRUE(text != "OFF");
}

TEST(KZStringTest, IndexesByIntAndBySize) {
  KZString text("abc");
  const int first = 0;
  const size_t second = 1;
  EXPECT_EQ(text[first], 'a');
  EXPECT_EQ(text[second], 'b');
  text[first] = 'X';
  EXPECT_TRUE(text == "Xbc");
}

TEST(KZStringTest, OrdersMapKeysByUnsignedBytes) {
  std::map<KZString, int> map{{"あ", 4}, {"b", 3}, {"Z", 1}, {"a", 2}};
  std::vector<int> order;
  for (const auto& entry : map) order.push_back(entry.second);
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
  EXPECT_EQ(map.count("a"), 1u);
}

// Format.

TEST(KZStringTest, FormatReplacesTheContentsAndReturnsItself) {
  KZString text("before");
  EXPECT_EQ(&text.Format("%s=%d (%05.1f%%)", "level", -42, 7.25), &text);
  EXPECT_TRUE(text == "level=-42 (007.2%)");
  text.Format("%s", "");
  EXPECT_EQ(text.GetLength(), 0);
}

TEST(KZStringTest, FormatWritesTextOfAnyLengthWhole) {
  for (const size_t length : {1022u, 1023u, 1024u, 1025u, 4096u, 600000u}) {
    const std::string argument(length, 'x');
    KZString text;
    text.Format("<%s>", argument.c_str());
    EXPECT_TRUE(text == "<" + argument + ">") << length;
  }
}

TEST(KZStringTest, FormatMayReadTheStringThatItReplaces) {
  KZString text("a text that is too long for the small string buffer");
  text.Format("%s|%s", static_cast<const char*>(text), static_cast<const char*>(text));
  EXPECT_TRUE(text ==
              "a text that is too long for the small string buffer|"
              "a text that is too long for the small string buffer");
}

TEST(KZStringTest, FormatEndsAtACharacterThatTheLocaleCannotWrite) {
  KZString text("before");
  text.Format("a%lcb", static_cast<wint_t>(0x3042));
  EXPECT_TRUE(text == "a");
}

// Trim, upper case and numbers.

TEST(KZStringTest, TrimStripsASetOfBytesAtBothEnds) {
  struct Row {
    const char* name;
    std::string input;
    const char* set;
    std::string expected;
  };
  const Row rows[] = {
      {"blank and tab", "\t a b \t", " \t", "a b"},
      {"the order of the set", "\t a b \t", "\t ", "a b"},
      {"only set bytes", " \t \t", " \t", ""},
      {"empty string", "", " ", ""},
      {"empty set", " a ", "", " a "},
      {"nothing to strip", "a b", " ", "a b"},
      {"start only", "  a", " ", "a"},
      {"end only", "a  ", " ", "a"},
      {"line ends are no default", " a \n", " ", "a \n"},
      {"letters", "xyaxbyx", "xy", "axb"},
      {"single byte", "x", "x", ""},
      {"bytes above 0x7F",
       "\xE3\x81\x82"
       "a\xE3\x81\x82",
       "\xE3\x81\x82", "a"},
      {"zero bytes are in no set", "\0a\0"s, " ", "\0a\0"s},
      {"up to a zero byte", " \0 "s, " ", "\0"s},
  };
  for (const Row& row : rows) {
    KZString text(row.input);
    text.Trim(row.set);
    EXPECT_TRUE(text == row.expected) << row.name;
  }
}

TEST(KZStringTest, TrimTakesAModifiableBuffer) {
  char set[] = " ";
  KZString text(" a ");
  text.Trim(set);
  EXPECT_TRUE(text == "a");
}

TEST(KZStringTest, ToIntReadsAsAtoi) {
  const std::pair<const char*, int> rows[] = {
      {"12", 12},
      {"-7", -7},
      {"+5", 5},
      {" \t\n 42 rest", 42},
      {"7up", 7},
      {"abc", 0},
      {"", 0},
      {"-", 0},
      {"- 1", 0},
      {"007", 7},
      {"0x10", 0},
      {"3.9", 3},
      {"2147483647", INT_MAX},
      {"-2147483648", INT_MIN},
      {"4294967296", 0},
      {"99999999999", 1215752191},
  };
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(KZString(text).ToInt(), expected) << text;
  }
}

TEST(KZStringTest, ToDoubleReadsAsAnInputStream) {
  const std::pair<const char*, double> rows[] = {
      {"1.5", 1.5},
      {"-0.5", -0.5},
      {"+2", 2.0},
      {" \t\n 2.25rest", 2.25},
      {"1e3", 1000.0},
      {"12", 12.0},
      {".5", 0.5},
      {"1,5", 1.0},
      {"1.234.567", 1.234},
      {"0x10", 0.0},
      {"", 0.0},
      {"abc", 0.0},
      {"inf", 0.0},
      {"nan", 0.0},
      {"-", 0.0},
      {"1e400", std::numeric_limits<double>::max()},
  };
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(KZString(text).ToDouble(), expected) << text;
  }
}

TEST(KZStringTest, NumbersIgnoreTheGlobalLocale) {
  const GroupingLocale locale;
  EXPECT_EQ(KZString("1.5").ToDouble(), 1.5);
  EXPECT_EQ(KZString("1,5").ToDouble(), 1.0);
  EXPECT_EQ(KZString("1234.25").ToDouble(), 1234.25);
  EXPECT_TRUE(KZString().Format("%d %.2f", 1234567, 1.5) == "1234567 1.50");
}

TEST(KZStringTest, ToDoubleKeepsItsPointUnderADecimalComma) {
  const CommaLocale locale;
  ASSERT_TRUE(locale.IsSet()) << "install the package locales: script/setup does";
  ASSERT_EQ(std::strtod("1,5", nullptr), 1.5) << "the locale is in force";
  EXPECT_EQ(KZString("1.5").ToDouble(), 1.5);
  EXPECT_EQ(KZString("1,5").ToDouble(), 1.0);
}

// File names.

TEST(KZStringTest, SplitsFileNamesAtTheLastDot) {
  struct Row {
    const char* input;
    const char* extension;
    const char* rest;
  };
  const Row rows[] = {
      {"archive.tar.gz", "gz", "archive.tar"},
      {"name.txt", "txt", "name"},
      {"name.", "", "name."},
      {"name", "", "name"},
      {"dir.d/file", "d/file", "dir"},
      {"dir.d/file.x", "x", "dir.d/file"},
      {".profile", "profile", ""},
      {"", "", ""},
      {".", "", "."},
      {"..", "", ".."},
      {"a..b", "b", "a."},
      {"a.b.", "", "a.b."},
      {"図.表", "表", "図"},
  };
  for (const Row& row : rows) {
    KZString name(row.input);
    EXPECT_TRUE(name.GetFileExtension() == row.extension) << row.input;
    EXPECT_TRUE(name.GetFileNameWithoutExtension() == row.rest) << row.input;
    EXPECT_TRUE(name == row.input);
  }
}

// Replace.

TEST(KZStringTest, ReplaceChangesEveryOccurrenceInPlaceAndReturnsACopy) {
  struct Row {
    const char* input;
    const char* from;
    const char* to;
    const char* expected;
  };
  const Row rows[] = {
      {"abab", "ab", "abab", "abababab"},
      {"aXbXc", "X", "", "abc"},
      {"aXbXc", "X", "--", "a--b--c"},
      {"XX", "X", "X", "XX"},
      {"X", "X", "y", "y"},
      {"aaa", "aa", "a", "aa"},
      {"aaaa", "aa", "b", "bb"},
      {"abc", "x", "y", "abc"},
      {"abc", "abcd", "y", "abc"},
      {"abc", "abc", "", ""},
      {"", "a", "b", ""},
      {"あいあ", "あ", "う", "ういう"},
  };
  for (const Row& row : rows) {
    KZString text(row.input);
    KZString result = text.Replace(row.from, row.to);
    EXPECT_TRUE(text == row.expected) << row.input;
    EXPECT_TRUE(result == row.expected) << row.input;
    result += "!";
    EXPECT_TRUE(text == row.expected) << row.input;
  }
}

TEST(KZStringTest, ReplaceOfAnEmptyTextReturnsAtOnceUnchanged) {
  KZString text("abc");
  EXPECT_TRUE(text.Replace("", "x") == "abc");
  EXPECT_TRUE(text == "abc");
  KZString empty;
  EXPECT_TRUE(empty.Replace("", "x") == "");
}

TEST(KZStringTest, ReplaceOfWhatIsNotThereTouchesNothing) {
  KZString text("a text that is too long for the small string buffer");
  const char* buffer = text;
  text.Replace("missing", "");
  EXPECT_EQ(static_cast<const char*>(text), buffer);
}

TEST(KZStringTest, ReplaceMayBeGivenTheStringItself) {
  KZString text("ab");
  EXPECT_TRUE(text.Replace(text, "x") == "x");
  EXPECT_TRUE(text.Replace("x", text) == "x");
}

TEST(KZStringTest, ReplaceHandlesZeroBytes) {
  KZString text("a\0b\0"s);
  EXPECT_TRUE(text.Replace(KZString("\0"s), "-") == "a-b-");
}

}  // namespace
