#include "station/Reader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace dorn::station {
namespace {

struct Case {
  const char* rule;
  std::string text;
  std::string json;  // As strict JSON with keys in order; empty: unreadable.
};

std::string Read(const std::string& text, Reader::Strings strings = Reader::Strings::kStrictFirst) {
  const ReadText read = Reader(strings).Read(text);
  return read.mReading == Reading::kUnreadable ? "" : read.mJson.Written();
}

void ExpectAll(const std::vector<Case>& cases,
               Reader::Strings strings = Reader::Strings::kStrictFirst) {
  for (const Case& each : cases) {
    EXPECT_EQ(Read(each.text, strings), each.json) << each.rule << ": " << each.text;
  }
}

std::string Update(const std::string& value) {
  return "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"" + value + "\",\"Name\":\"b1\"}]}\n";
}

std::string ValueOf(const ReadText& read) {
  const Json* objects = read.mJson.Find("Objects");
  if (objects == nullptr || objects->mElements.size() != 1) return "<no object>";
  return std::string(objects->mElements[0].TextOf("Value"));
}

TEST(ReaderTest, ReadsStrictJson) {
  ExpectAll({
      {"all kinds", R"({"a":1,"b":-2.5e3,"c":true,"d":false,"e":null,"f":"x","g":[],"h":{}})",
       R"({"a":1,"b":-2.5e3,"c":true,"d":false,"e":null,"f":"x","g":[],"h":{}})"},
      {"space", " { \"a\" : [ 1 ,\t2 ]\r\n} ", R"({"a":[1,2]})"},
      {"escapes", R"({"a":"\"\\\/\b\f\n\r\t\u00e9\ud83d\ude00"})",
       "{\"a\":\"\\\"\\\\/\\b\\f\\n\\r\\té\xF0\x9F\x98\x80\"}"},
      {"equal keys", R"({"a":1,"a":{"b":2},"a":3})", R"({"a":3})"},
      {"large numbers keep their text", R"({"a":123456789012345678901234567890})",
       R"({"a":123456789012345678901234567890})"},
  });
}

TEST(ReaderTest, SaysHowATextWasRead) {
  const Reader reader;
  EXPECT_EQ(reader.Read("{\"a\":\"b\"}").mReading, Reading::kStrict);
  EXPECT_EQ(reader.Read("{'a':\"b\"}").mReading, Reading::kTolerant);
  EXPECT_EQ(reader.Read("{\"a\":\"b\xFF\"}").mReading, Reading::kTolerant);
  EXPECT_EQ(reader.Read("{\"a\":\"b\"").mReading, Reading::kUnreadable);
  EXPECT_TRUE(reader.Read("{\"a\":\"b\"").mJson.IsNull());
}

TEST(ReaderTest, RepairsUtf8First) {
  ExpectAll({
      {"in a value", "{\"a\":\"x\xFFy\"}", "{\"a\":\"x\uFFFDy\"}"},
      {"in a key", "{\"\xC3\":1}", "{\"\uFFFD\":1}"},
      {"a cut character before the quote", "{\"a\":\"\xE6\x97\",\"b\":1}",
       "{\"a\":\"\uFFFD\",\"b\":1}"},
  });
}

TEST(ReaderTest, TakesKeysInEitherQuotes) {
  ExpectAll({
      {"the envelope of updates", "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[]}\n]}",
       R"({"Commands":[{"Command":"UPDATE","Objects":[]}]})"},
      {"a double quote inside", "{'a\"b':1}", R"({"a\"b":1})"},
      {"a single quote inside", "{\"a'b\":1,'c':2}", R"({"a'b":1,"c":2})"},
      {"up to the same quote before a colon", "{\"a\"b\":1}", R"({"a\"b":1})"},
      {"blanks before the colon", "{'a' :1}", R"({"a":1})"},
      {"strings in single quotes", "{'a':'x','b':'it's'}", R"({"a":"x","b":"it's"})"},
  });
}

TEST(ReaderTest, DropsMembersWithoutValue) {
  ExpectAll({
      {"in the middle", R"({"Data":,"Name":"g"})", R"({"Name":"g"})"},
      {"at the end", R"({"Value":"x","Name":})", R"({"Value":"x"})"},
      {"alone", R"({"Name":})", "{}"},
      {"the value before stays", R"({"a":"1","a":})", R"({"a":"1"})"},
      {"no members", "{'x':{}}", R"({"x":{}})"},
      {"empty members", R"({,"a":1,,})", R"({"a":1})"},
  });
}

TEST(ReaderTest, RemembersThatDataHadNoValue) {
  EXPECT_TRUE(Reader().Read(R"({"Data":,"Name":"g"})").mJson.mHadEmptyData);
  EXPECT_FALSE(Reader().Read(R"({"Value":,"Name":"g"})").mJson.mHadEmptyData);
}

TEST(ReaderTest, ReadsElementsWithoutValueAsEmpty) {
  ExpectAll({
      {"at the end", R"({"a":["x",]})", R"({"a":["x",""]})"},
      {"two", R"({"a":[,]})", R"({"a":["",""]})"},
      {"in the middle", R"({"a":["x",,"y"]})", R"({"a":["x","","y"]})"},
      {"at the beginning", R"({"a":[,1]})", R"({"a":["",1]})"},
      {"none", R"({'a':[]})", R"({"a":[]})"},
      {"rows", R"({"Rows":[["a",],[,]],"Name":"g"})", R"({"Name":"g","Rows":[["a",""],["",""]]})"},
  });
}

TEST(ReaderTest, EndsAStringWhereTheStructureGoesOn) {
  ExpectAll({
      {"quotes", R"({"Value":"say "no" twice","Name":"b"})",
       R"({"Name":"b","Value":"say \"no\" twice"})"},
      {"inches at the end", R"({"Value":"3/4"","Name":"b"})", R"({"Name":"b","Value":"3/4\""})"},
      {"a quote alone", R"({"Value":""","Name":"b"})", R"({"Name":"b","Value":"\""})"},
      {"a quote and a comma", R"({"Value":"a", b","Name":"b"})",
       R"({"Name":"b","Value":"a\", b"})"},
      {"quoted words with commas", R"({"Value":""a", "b" and "c"","Name":"b"})",
       R"({"Name":"b","Value":"\"a\", \"b\" and \"c\""})"},
      {"a quote and a brace", R"({"Objects":[{"Value":"{"x"} y","Name":"b"}]})",
       R"({"Objects":[{"Name":"b","Value":"{\"x\"} y"}]})"},
      {"a quote, a brace and a comma", R"({"Objects":[{"Value":"{"x"}, y","Name":"b"}]})",
       R"({"Objects":[{"Name":"b","Value":"{\"x\"}, y"}]})"},
      {"a colon behind a quote", R"({"Value":"he said": "no","Name":"b"})",
       R"({"Name":"b","Value":"he said\": \"no"})"},
      {"at the end of the object", R"({"Name":"b","Value":"x"y"})",
       R"({"Name":"b","Value":"x\"y"})"},
      {"before a nested end", R"({"a":{"b":"x"y"},"c":"z""})", R"({"a":{"b":"x\"y"},"c":"z\""})"},
      {"in an array", R"({"a":["x"y","z"]})", R"({"a":["x\"y","z"]})"},
      {"in an array before prose", R"({"a":["so "x", said I","z"]})",
       R"({"a":["so \"x\", said I","z"]})"},
      {"in an array before a number", R"({"a":["x"y",12,true,null]})",
       R"({"a":["x\"y",12,true,null]})"},
      {"in an array, digits that are no number", R"({"a":["3", 12 inches","z"]})",
       R"({"a":["3\", 12 inches","z"]})"},
      {"in rows", R"({"Rows":[["a"b","c"],["d"]]})", R"({"Rows":[["a\"b","c"],["d"]]})"},
      {"an object written as a string", R"({"a":{"m":"{"b":"c"}"},"Name":"x"})",
       R"({"Name":"x","a":{"m":"{\"b\":\"c\"}"}})"},
      {"a string before an object in an array", R"({"a":["x"y",{"b":1}]})",
       R"({"a":["x\"y",{"b":1}]})"},
      {"blanks behind the quote", "{\"a\":\"x\"y\" ,\n \"b\":\"z\" }", R"({"a":"x\"y","b":"z"})"},
  });
}

TEST(ReaderTest, TakesControlCharactersAsTheyAre) {
  ExpectAll({
      {"a line feed", Update("a\nb"),
       R"({"Command":"UPDATE","Objects":[{"Name":"b1","Value":"a\nb"}]})"},
      {"a tab and a bell", "{\"a\":\"\t\a\"}", R"({"a":"\t\u0007"})"},
      {"a zero byte", std::string("{\"a\":\"x\0y\"}", 11), R"({"a":"x\u0000y"})"},
  });
}

TEST(ReaderTest, ReadsEscapesOfEachStringForItself) {
  ExpectAll({
      {"all legal and every quote escaped", R"({'a':"x\"y\\z\n"})", R"({"a":"x\"y\\z\n"})"},
      {"an escape that is not legal", R"({"a":"C:\dir\new"})", R"({"a":"C:\\dir\\new"})"},
      {"a quote that is not escaped", R"({"a":"x\n"y""})", R"({"a":"x\\n\"y\""})"},
      {"one string does not decide for another", R"({"a":"C:\dir","b":"x\ty"})",
       R"({"a":"C:\\dir","b":"x\ty"})"},
      {"a backslash at the end", R"({"a":"C:\","b":"x"})", R"({"a":"C:\\","b":"x"})"},
      {"a lone surrogate", R"({"a":"\ud800"})", R"({"a":"\\ud800"})"},
      {"a surrogate pair", R"({'a':"\ud83d\ude00"})", "{\"a\":\"\xF0\x9F\x98\x80\"}"},
      {"four digits are needed", R"({"a":"\u12"})", R"({"a":"\\u12"})"},
      {"C:\\new reads as a line feed", R"({"a":"C:\new"})", "{\"a\":\"C:\\new\"}"},
      {"in a key", R"({'a\tb':1})", R"({"a\tb":1})"},
  });
}

TEST(ReaderTest, ReadsAllStringsLiterallyWhenAsked) {
  ExpectAll(
      {
          {"a path", R"({"a":"C:\new"})", R"({"a":"C:\\new"})"},
          {"escaped quotes stay", R"({"a":"x\"y","b":"z"})", R"({"a":"x\\\"y","b":"z"})"},
          {"a backslash at the end", R"({"a":"C:\","b":"x"})", R"({"a":"C:\\","b":"x"})"},
          {"no backslash", R"({"a":"x","b":[1]})", R"({"a":"x","b":[1]})"},
      },
      Reader::Strings::kLiteral);
}

TEST(ReaderTest, TheLastOfEqualKeysWins) {
  ExpectAll({
      {"a changed name", R"({"Name":"n","Name":"n",'x':1})", R"({"Name":"n","x":1})"},
      {"the table behind the attribute", "{'Data':\"plain\",\"Data\":[[\"a\"],\n[\"b\"]]}",
       R"({"Data":[["a"],["b"]]})"},
      {"of different kinds", R"({'a':{"b":1},"a":"x"})", R"({"a":"x"})"},
  });
}

TEST(ReaderTest, ReadsNumbersAsHostsDo) {
  ExpectAll({
      {"leading zeros", R"({'a':007})", R"({"a":7})"},
      {"trailing signs", R"({'a':1-2})", R"({"a":1})"},
      {"a sign alone", R"({'a':-})", R"({"a":0})"},
      {"beyond int", R"({'a':00123456789012})", R"({"a":2147483647})"},
      {"no float of that form", R"({'a':1.2.3})", ""},
      {"no plus", R"({'a':+1})", ""},
  });
}

TEST(ReaderTest, GivesUpOnWhatIsNoSuchText) {
  ExpectAll({
      {"nothing", "", ""},
      {"a word", "hello", ""},
      {"no end", R"({"a":"b")", ""},
      {"no value", R"({"a"})", ""},
      {"a key without quotes", "{a:1}", ""},
      {"text behind it", R"({"a":1} x)", ""},
      {"two texts", R"({"a":1}{"b":2})", ""},
      {"the wrong bracket", R"({"a":[1})", ""},
      {"members without comma", R"({'a':1 "b":2})", ""},
      {"half a word", R"({'a':tru})", ""},
  });
}

std::string Nested(int depth, const std::string& open, const std::string& close) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += open;
  text += '1';
  for (int i = 0; i < depth; ++i) text += close;
  return text;
}

TEST(ReaderTest, ReadsOneThousandAndTwentyFourLevels) {
  EXPECT_NE(Read(Nested(1024, "[", "]")), "");
  EXPECT_EQ(Read(Nested(1025, "[", "]")), "");
  EXPECT_NE(Read(Nested(1024, "{'a':", "}")), "");
  EXPECT_EQ(Read(Nested(1025, "{'a':", "}")), "");
  EXPECT_EQ(Read(std::string(1000000, '[')), "");
}

TEST(ReaderTest, ReadsSixteenMebibytes) {
  const std::string frame = "{\"a\":\"\"}";
  const std::string text(Reader::kMaxLength - frame.size(), 'x');
  EXPECT_EQ(Reader().Read("{\"a\":\"" + text + "\"}").mReading, Reading::kStrict);
  EXPECT_EQ(Reader().Read("{\"a\":\"x" + text + "\"}").mReading, Reading::kUnreadable);
}

// Milliseconds for each when time is linear, and many seconds when it is not.
TEST(ReaderTest, TakesLinearTime) {
  std::vector<std::string> pieces{
      "\"",       "\" ",         "\",",        "\",\"",    "\",'",    "\"}",           "\"]",
      "\\\"",     "\",1",        "\",{",       "\",[",     "\"}  ",   "\" } , ",       "'",
      "\\",       "\",\"a",      "\"},{\"a",   "\"},",     "\"],[\"", "\",11111",      "\\\",1",
      "{\"a\":[", "[\"x\",[\"y", "{'a':\"x\\", "{\"a\":'", "\"    ,", ",\"k\":\"v\\\""};
  for (const std::string& piece : pieces) {
    for (const std::string start : {"{'a':\"", "{'a':[\"", "{'a':[[{'b':\"", "{'", "["}) {
      std::string text = start;
      while (text.size() < 100000) text += piece;
      const auto before = std::chrono::steady_clock::now();
      static_cast<void>(Reader().Read(text));
      static_cast<void>(Reader().Read(text + "\"}"));
      EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2))
          << start << piece;
    }
  }
}

TEST(ReaderTest, ReadsWhatHostsWrite) {
  ExpectAll({
      {"an update with side commands",
       "{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"ON\",\"Name\":\"b1\"}]}\n"
       ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"b2\"},"
       "{ \"Command\":\"ADD\",\"Name\":\"g\", \"Objects\":[{\"Name\":\"n\"}]}]}",
       R"({"Commands":[{"Command":"UPDATE","Objects":[{"Name":"b1","Value":"ON"}]},)"
       R"({"Command":"DELETE","Delete":"THIS","Name":"b2"},)"
       R"({"Command":"ADD","Name":"g","Objects":[{"Name":"n"}]}]})"},
      {"a grid in full",
       "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"g\",\"Type\":\"GRID\",\n"
       "\"Data\":[[\"a\",\"b\"],\n[\"c\",\"d\"]]}]}\n",
       R"({"Command":"UPDATE","Objects":[{"Data":[["a","b"],["c","d"]],"Name":"g","Type":"GRID"}]})"},
      {"a grid with empty cells",
       "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Name\":\"g\",\n\"Data\":[[,],\n[,]]}]}\n",
       R"({"Command":"UPDATE","Objects":[{"Data":[["",""],["",""]],"Name":"g"}]})"},
      {"a per-session object without a name",
       "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"x\",\"Name\":}]}\n",
       R"({"Command":"UPDATE","Objects":[{"Value":"x"}]})"},
      {"an error in Japanese",
       R"({"Command":"ERROR","Message":"認証失敗","Status":"Authentication"})",
       R"({"Command":"ERROR","Message":"認証失敗","Status":"Authentication"})"},
      {"an attempt to become two objects stays one when escaped",
       R"({ "Command":"UPDATE", "Objects":[{"Value":"x\"},{\"Value\":\"999","Name":"b1"}]})",
       R"({"Command":"UPDATE","Objects":[{"Name":"b1","Value":"x\"},{\"Value\":\"999"}]})"},
  });
}

TEST(ReaderTest, KeepsTheValueAroundEveryKindOfProse) {
  for (const std::string value : {"",
                                  "\"",
                                  "\"\"",
                                  "a\"b",
                                  "say \"so\", he said",
                                  "3/4\"",
                                  "5\" x 3/4\", steel",
                                  "{x}",
                                  "{\"x\"}",
                                  "[\"x\"]",
                                  "a, b; c",
                                  "it's",
                                  "l1\nl2",
                                  "\"\n\"",
                                  "C:\\dir\\x",
                                  "\\",
                                  "a\\\"b\\q",
                                  "100 % \"ok\"!",
                                  "}",
                                  "]",
                                  "},",
                                  "],[",
                                  "{\"a\":",
                                  "\",",
                                  "\" ,\"",
                                  "日本語\"の\"",
                                  ": \"x\":"}) {
    EXPECT_EQ(ValueOf(Reader(Reader::Strings::kLiteral).Read(Update(value))), value);
  }
}

}  // namespace
}  // namespace dorn::station
