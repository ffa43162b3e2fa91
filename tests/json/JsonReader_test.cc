// Reading text into values: what is accepted, what it becomes, and how errors are reported. Limits
// and hostile texts are in JsonReaderLimits_test.cc.
#include <climits>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "dorn/json/JsonParser.h"
#include "gtest/gtest.h"
#include "tests/support/GroupingLocale.h"

namespace {

using namespace std::string_literals;

constexpr char kNotWritten[] = "not written";

struct Result {
  value out;
  std::string err = kNotWritten;
  int stopped = -1;  // The offset at which reading stopped.

  bool Succeeded() const { return err == kNotWritten; }
};

Result Read(const std::string& text) {
  Result result;
  const char* first = text.data();
  const char* end = value::parse(result.out, first, first + text.size(), &result.err);
  result.stopped = static_cast<int>(end - first);
  return result;
}

std::string ErrorOf(const std::string& text) {
  const Result result = Read(text);
  return result.Succeeded() ? "accepted" : result.err;
}

// A compact notation of a value for comparisons: i7, d1.500000, s(text), t, f, n, [..], {key=..}.
std::string Show(const value& v) {
  std::string text;
  switch (v.type_) {
    case value::null_type:
      return "n";
    case value::boolean_type:
      return v.get<bool>() ? "t" : "f";
    case value::int_type:
      return "i" + v.to_str();
    case value::double_type:
      return "d" + v.to_str();
    case value::string_type:
      return "s(" + v.get<std::string>() + ")";
    case value::array_type:
      for (const value& element : v.get<array>()) text += Show(element) + ",";
      return "[" + text + "]";
    default:
      for (const auto& [key, member] : v.get<object>()) text += key + "=" + Show(member) + ",";
      return "{" + text + "}";
  }
}

struct Accepted {
  std::string text;
  std::string shown;
};

void ExpectAccepted(const std::vector<Accepted>& rows) {
  for (const Accepted& row : rows) {
    const Result result = Read(row.text);
    EXPECT_TRUE(result.Succeeded()) << row.text << ": " << result.err;
    EXPECT_EQ(Show(result.out), row.shown) << row.text;
  }
}

struct Refused {
  std::string text;
  int line;
  std::string near;
};

void ExpectRefused(const std::vector<Refused>& rows) {
  for (const Refused& row : rows) {
    EXPECT_EQ(ErrorOf(row.text),
              "syntax error at line " + std::to_string(row.line) + " near: " + row.near)
        << row.text;
  }
}

TEST(JsonReaderTest, ReadsLiterals) {
  ExpectAccepted({{"true", "t"}, {"false", "f"}, {"null", "n"}, {" \t\r\n true", "t"}});
}

TEST(JsonReaderTest, ReadsContainers) {
  ExpectAccepted({
      {"[]", "[]"},
      {"{}", "{}"},
      {"[ \n ]", "[]"},
      {"{ \t }", "{}"},
      {" \t\r\n[1]", "[i1,]"},
      {"[1,\"x\",true,false,null,[],{}]", "[i1,s(x),t,f,n,[],{},]"},
      {" [ 1 , 2 ] ", "[i1,i2,]"},
      {"{\"b\":1,\"a\":2}", "{a=i2,b=i1,}"},
      {" { \"a\" : { \"b\" : [ 1 ] } } ", "{a={b=[i1,],},}"},
      {"[[[]]]", "[[[],],]"},
      {"{\"\":1}", "{=i1,}"},
  });
}

TEST(JsonReaderTest, SingleQuotesDelimitKeysAndStrings) {
  ExpectAccepted({
      {"{'a':'x'}", "{a=s(x),}"},
      {"{'a\"b':1}", "{a\"b=i1,}"},
      {"{\"it's\":1}", "{it's=i1,}"},
      {"'a\"b'", "s(a\"b)"},
      {"\"it's\"", "s(it's)"},
      {"['a',\"b\"]", "[s(a),s(b),]"},
  });
}

TEST(JsonReaderTest, ARepeatedKeyKeepsTheLastValue) {
  ExpectAccepted({
      {"{\"a\":1,\"a\":2}", "{a=i2,}"},
      {"{\"a\":{\"x\":1},\"a\":{\"y\":2}}", "{a={y=i2,},}"},
      {"{\"a\":[1,2],\"a\":[3]}", "{a=[i3,],}"},
      {"{\"a\":[1],\"a\":null}", "{a=n,}"},
      {"{\"a\":\"x\",\"a\":true}", "{a=t,}"},
  });
}

TEST(JsonReaderTest, StringsTakeAnyByteFrom32OnAndEscapes) {
  ExpectAccepted({
      {"\"\"", "s()"},
      {R"("\"\/\\\b\f\n\r\t")", "s(\"/\\\b\f\n\r\t)"},
      {"\"a\x7F z\"", "s(a\x7F z)"},
      {"\"日本語\"", "s(日本語)"},
      {"\"\xFF\xFE\xC3\x28\"", "s(\xFF\xFE\xC3\x28)"},
      {R"('\"')", "s(\")"},
      {R"({"a\tb":1})", "{a\tb=i1,}"},
      {R"({"\u0041":1})", "{A=i1,}"},
  });
}

TEST(JsonReaderTest, CodePointEscapesBecomeUtf8) {
  ExpectAccepted({
      {R"("\u0041")", "s(A)"},
      {R"("\u007f")", "s(\x7F)"},
      {R"("\u0080")", "s(\xC2\x80)"},
      {R"("\u00e9\u00E9")", "s(\xC3\xA9\xC3\xA9)"},
      {R"("\u07FF")", "s(\xDF\xBF)"},
      {R"("\u0800")", "s(\xE0\xA0\x80)"},
      {R"("\u3042x")", "s(あx)"},
      {R"("\uD7FF")", "s(\xED\x9F\xBF)"},
      {R"("\uE000")", "s(\xEE\x80\x80)"},
      {R"("\uFFFF")", "s(\xEF\xBF\xBF)"},
      {R"("\uD800\uDC00")", "s(\xF0\x90\x80\x80)"},
      {R"("\uD83D\uDE00")", "s(\xF0\x9F\x98\x80)"},
      {R"("\udbff\udfff")", "s(\xF4\x8F\xBF\xBF)"},
      {R"("a\u0000b")", "s(a\0b)"s},
      {R"("\u000a\u001f")", "s(\n\x1F)"},
  });
}

TEST(JsonReaderTest, NumbersWithoutPointOrExponentAreIntegersAsAtoiReadsThem) {
  ExpectAccepted({
      {"0", "i0"},
      {"10", "i10"},
      {"12", "i12"},
      {"-7", "i-7"},
      {"007", "i7"},
      {"-", "i0"},
      {"--5", "i0"},
      {"-+5", "i0"},
      {"1-2", "i1"},
      {"1+", "i1"},
      {"1+-2", "i1"},
      {"2147483647", "i2147483647"},
      {"-2147483648", "i-2147483648"},
      {"2147483648", "i-2147483648"},
      {"4294967296", "i0"},
      {"99999999999", "i1215752191"},
      {"[-]", "[i0,]"},
  });
}

TEST(JsonReaderTest, NumbersWithPointOrExponentAreFloating) {
  ExpectAccepted({
      {"10.0", "d10.000000"},
      {"12.0", "d12.000000"},
      {"1e5", "d100000.000000"},
      {"1e3", "d1000.000000"},
      {"1E3", "d1000.000000"},
      {"1e+3", "d1000.000000"},
      {"125e-3", "d0.125000"},
      {"-0.5", "d-0.500000"},
      {"-.5", "d-0.500000"},
      {"5.", "d5.000000"},
      {"0.0", "d0.000000"},
      {"00.5", "d0.500000"},
  });
  EXPECT_TRUE(std::isinf(Read("1e999").out.get<double>()));
}

TEST(JsonReaderTest, FloatingNumbersHaveFullPrecision) {
  EXPECT_EQ(Read("0.1").out.get<double>(), 0.1);
  EXPECT_EQ(Read("3.141592653589793").out.get<double>(), 3.141592653589793);
  EXPECT_EQ(Read("-1.7976931348623157e308").out.get<double>(), -1.7976931348623157e308);
  EXPECT_EQ(Read("4.9406564584124654e-324").out.get<double>(), 4.9406564584124654e-324);
  EXPECT_EQ(Read("9007199254740993.0").out.get<double>(), 9007199254740992.0);
}

TEST(JsonReaderTest, FloatingNumbersMustBeReadWhole) {
  ExpectRefused({
      {"1.5e", 1, ""},
      {"1.2.3", 1, ""},
      {"1e5-", 1, ""},
      {"1.5-2", 1, ""},
      {"-e", 1, ""},
      {"-.", 1, ""},
      {"1e+", 1, ""},
      {"[1.2.3, 4]", 1, ", 4]"},
  });
}

TEST(JsonReaderTest, NumbersIgnoreTheGlobalLocale) {
  const GroupingLocale locale;
  ExpectAccepted({{"1.5", "d1.500000"}, {"[1,5]", "[i1,i5,]"}, {"1234567.25", "d1234567.250000"}});
}

TEST(JsonReaderTest, IgnoresWhatFollowsTheValue) {
  ExpectAccepted({
      {"{\"a\":1} and words", "{a=i1,}"},
      {"[1]]", "[i1,]"},
      {"truely", "t"},
      {"1.5x", "d1.500000"},
      {"0x10", "i0"},
      {"12abc", "i12"},
      {"\"a\"b", "s(a)"},
      {"{}{", "{}"},
  });
}

TEST(JsonReaderTest, ReturnsWhereReadingStopped) {
  const std::pair<const char*, int> rows[] = {
      {"{\"a\":1} tail", 7},
      {"[1,2]tail", 5},
      {" \"x\" ", 4},
      {"true,", 4},
      {"{}", 2},
      {"12", 2},
      // The character that ended the number was read and pushed back.
      {"12 ", 3},
      {"1.5x", 4},
      // And so was the one that nothing begins with.
      {"x", 1},
      {"", 0},
      // The error text took the rest of the line.
      {"[x]\nmore", 4},
  };
  for (const auto& [text, stopped] : rows) EXPECT_EQ(Read(text).stopped, stopped) << text;
}

TEST(JsonReaderTest, WorksWithoutAnErrorText) {
  const std::string text = "[1,x";
  value out;
  EXPECT_NE(value::parse(out, text.data(), text.data() + text.size(), nullptr), nullptr);
  EXPECT_EQ(Show(out), "[i1,n,]");
}

TEST(JsonReaderTest, SuccessLeavesTheErrorTextAlone) { EXPECT_EQ(Read("[1]").err, kNotWritten); }

TEST(JsonReaderTest, RefusesWhatBeginsNoValue) {
  ExpectRefused({
      {"", 1, ""},
      {" \t ", 1, ""},
      {"x", 1, "x"},
      {"+1", 1, "+1"},
      {".5", 1, ".5"},
      {"e5", 1, "e5"},
      {"]", 1, "]"},
      {"}", 1, "}"},
      {":", 1, ":"},
      {",1", 1, ",1"},
      {"True", 1, "True"},
      {"NaN", 1, "NaN"},
      {"/* c */ 1", 1, "/* c */ 1"},
      {"\xEF\xBB\xBF{}", 1, "\xEF\xBB\xBF{}"},
      {"\xC2\xA0"
       "1",
       1,
       "\xC2\xA0"
       "1"},
      {"\v1", 1, "1"},
      {"\0[]"s, 1, "[]"},
  });
}

TEST(JsonReaderTest, RefusesMisspeltLiterals) {
  ExpectRefused({
      {"tru", 1, ""},
      {"trux", 1, "x"},
      {"tTue", 1, "Tue"},
      {"nul}", 1, "}"},
      {"fals e", 1, " e"},
      {"{\"a\":1,\n\"b\":tru, \"c\":2}\n", 2, ", \"c\":2}"},
  });
}

TEST(JsonReaderTest, RefusesBrokenArrays) {
  ExpectRefused({
      {"[", 1, ""},
      {"[1", 1, ""},
      {"[1,", 1, ""},
      {"[1,]", 1, "]"},
      {"[1,2,]", 1, "]"},
      {"[,1]", 1, ",1]"},
      {"[1 2]", 1, "2]"},
      {"[1}", 1, "}"},
      {"[1:2]", 1, ":2]"},
      {"[[1]", 1, ""},
  });
}

TEST(JsonReaderTest, RefusesBrokenObjects) {
  ExpectRefused({
      {"{", 1, ""},
      {"{\"a\"", 1, ""},
      {"{\"a\":", 1, ""},
      {"{\"a\":1", 1, ""},
      {"{\"a\":1,", 1, ""},
      {"{\"a\":1,}", 1, "}"},
      {"{,}", 1, ",}"},
      {"{a:1}", 1, "a:1}"},
      {"{1:2}", 1, "1:2}"},
      {"{\"a\" 1}", 1, "1}"},
      {"{\"a\",1}", 1, ",1}"},
      {"{\"a\":}", 1, "}"},
      {"{\"a\"::1}", 1, ":1}"},
      {"{\"a\":1 \"b\":2}", 1, "\"b\":2}"},
      {"{\"a\":1]", 1, "]"},
      {"{'a\":1}", 1, ""},
  });
}

TEST(JsonReaderTest, RefusesBrokenStrings) {
  ExpectRefused({
      {"\"abc", 1, ""},
      {"'abc\"", 1, ""},
      {"\"a\tb\"", 1, "b\""},
      {"\"a\x01"
       "b\"",
       1, "b\""},
      {"\"a\0b\""s, 1, "b\""},
      {"\"a\nb\"", 1, ""},
      {"\"a\rb\"", 1, "b\""},
      {"\"abc\\", 1, ""},
      {R"("\'")", 1, "\""},
      {R"('\'')", 1, "'"},
      {R"("\x41")", 1, "41\""},
      {R"("\U0041")", 1, "0041\""},
      {R"("\a")", 1, "\""},
      {R"({"a\qb":1})", 1, "b\":1}"},
  });
}

TEST(JsonReaderTest, RefusesBrokenCodePoints) {
  ExpectRefused({
      {R"("\u")", 1, "\""},
      {R"("\u12)", 1, ""},
      {R"("\u12")", 1, "\""},
      {R"("\u12G4")", 1, "G4\""},
      {R"("\u 123")", 1, " 123\""},
      {R"("\u-001")", 1, "-001\""},
      {R"("\uDC00")", 1, "\""},
      {R"("\uDC00\uDC00")", 1, "\\uDC00\""},
      {R"("\uDFFF\uDC00")", 1, "\\uDC00\""},
      {R"("\uDFFFx")", 1, "x\""},
      {R"("\uD83D")", 1, "\""},
      {R"("\uD83Dx")", 1, "x\""},
      {R"("\uD83D\n")", 1, "n\""},
      {R"("\uD83D\)", 1, ""},
      {R"("\uD83D\u0041")", 1, "\""},
      {R"("\uD83D\uD83D\uDE00")", 1, "\\uDE00\""},
      {R"("\uD83D\uE000")", 1, "\""},
      {R"("\uD83D\u12")", 1, "\""},
      {R"("\uD83D\uDE0)", 1, ""},
  });
}

TEST(JsonReaderTest, CountsLinesUpToTheOffendingCharacter) {
  ExpectRefused({
      {"\n\nx", 3, "x"},
      {"[\n1,\n]", 3, "]"},
      {"[\n", 1, ""},
      {"[\n\n", 2, ""},
      {"[\r\n\r\nx", 3, "x"},
      {"{\"a\":\n\"b\n\"}", 2, ""},
      {"[1\n,x", 2, "x"},
  });
}

TEST(JsonReaderTest, ErrorTextEndsWithTheLineAndDropsControlCharacters) {
  ExpectRefused({
      {"x\ty\x01z\nnext line", 1, "xyz"},
      {"x\0y\r\n"s, 1, "xy"},
      {"x \x7Fあ%s\xFF", 1, "x \x7Fあ%s\xFF"},
  });
}

TEST(JsonReaderTest, FailureKeepsWhatWasBuilt) {
  struct Row {
    const char* text;
    const char* shown;
  };
  const Row rows[] = {
      {"[1,2,", "[i1,i2,n,]"},
      {"[1,]", "[i1,n,]"},
      {"[1 2", "[i1,]"},
      {"[", "[n,]"},
      {"{", "{}"},
      {"{\"a\":1,\"b\":tru}", "{a=i1,b=n,}"},
      {"{\"a\":1,\"a\":x}", "{a=i1,}"},
      {"{\"a\":1,\"b\"", "{a=i1,}"},
      {"{\"a\":[1,{\"b\":", "{a=[i1,{b=n,},],}"},
      {"[\"ab\\q", "[s(ab),]"},
      {"\"ab\n", "s(ab)"},
      {"1.5e", "d1.500000"},
      {"1.2.3", "d1.200000"},
  };
  for (const Row& row : rows) {
    const Result result = Read(row.text);
    EXPECT_FALSE(result.Succeeded()) << row.text;
    EXPECT_EQ(Show(result.out), row.shown) << row.text;
  }
}

TEST(JsonReaderTest, FailureBeforeAnythingWasBuiltKeepsTheOldValue) {
  for (const std::string text : {"", "x", "tru", "nul", "+1"}) {
    value out(7);
    std::string err;
    value::parse(out, text.data(), text.data() + text.size(), &err);
    EXPECT_EQ(Show(out), "i7") << text;
    EXPECT_FALSE(err.empty()) << text;
  }
}

TEST(JsonReaderTest, SuccessReplacesTheOldValue) {
  value out(object{{"old", value("text"s)}});
  for (const auto& [text, shown] : {std::pair<std::string, std::string>{"null", "n"},
                                    {"[1]", "[i1,]"},
                                    {"\"x\"", "s(x)"},
                                    {"{}", "{}"},
                                    {"1.5", "d1.500000"},
                                    {"'y'", "s(y)"},
                                    {"true", "t"},
                                    {"5", "i5"}}) {
    value::parse(out, text.data(), text.data() + text.size(), nullptr);
    EXPECT_EQ(Show(out), shown);
  }
}

}  // namespace
