#include "station/Commands.h"

#include <gtest/gtest.h>

#include <string>

#include "station/Reader.h"

namespace dorn::station {
namespace {

using std::string_literals::operator""s;

std::string ValueText(const std::string& typed, Quotes quotes) {
  return ConditionText("n", "CHANGE", {{"n", {{"Value", Json::String(typed)}}}}, quotes);
}

std::string Around(const std::string& value) {
  return R"({"Command":"CONDITION","ActionName":"n","ActionType":"CHANGE","Objects":[{"Name":"n","Value":")" +
         value + "\"}]}";
}

TEST(CommandsTest, LogsIn) {
  LogIn logIn;
  logIn.mId = "a\"b";
  logIn.mPass = "p\\q";
  EXPECT_EQ(
      HelloText(logIn),
      R"({"Command":"HELLO","Id":"a\"b","Pass":"p\\q","Type":"STATION","ResolutionH":1024,"ResolutionV":768})");
  EXPECT_EQ(
      HelloAgainText("s1", logIn),
      R"({"Command":"HELLO","SessionId":"s1","Type":"STATION","ResolutionH":1024,"ResolutionV":768})");
}

TEST(CommandsTest, EntersADialogInOneText) {
  EXPECT_EQ(
      EnterText(1, "a@b"),
      R"({"Commands":[{"Command":"GETFILE","File":"?f1"},{"Command":"CHANGE","DialogName":"a@b"},{"Command":"GETFILE","File":"a/b.json"}]})");
}

TEST(CommandsTest, EntersAgainWithTheSession) {
  EXPECT_EQ(
      EnterAgainText("s", "d"),
      R"({"Commands":[{"Command":"CHANGE","SessionId":"s","DialogName":"d"},{"Command":"GETFILE","File":"d.json"}]})");
}

TEST(CommandsTest, ActsBetweenTwoFences) {
  EXPECT_EQ(
      ActText(3, ConditionText("b", "CLICK", {{"b", {}}}), 4),
      R"({"Commands":[{"Command":"GETFILE","File":"?f3"},{"Command":"CONDITION","ActionName":"b","ActionType":"CLICK","Objects":[{"Name":"b"}]},{"Command":"GETFILE","File":"?f4"}]})");
}

TEST(CommandsTest, WritesTheSmallOnes) {
  EXPECT_EQ(KeepaliveText(), R"({"Command":"KEEPALIVE"})");
  EXPECT_EQ(ChangeText("d"), R"({"Command":"CHANGE","DialogName":"d"})");
  EXPECT_EQ(GetFileText("a.png"), R"({"Command":"GETFILE","File":"a.png"})");
  EXPECT_EQ(GetFileText("a.png", "2024-01-02 03:04:05"),
            R"({"Command":"GETFILE","File":"a.png","Date":"2024-01-02 03:04:05"})");
  EXPECT_EQ(
      ConditionText("g", "ACK", {{"g", {{"Row", Json::String("r1")}}}}),
      R"({"Command":"CONDITION","ActionName":"g","ActionType":"ACK","Objects":[{"Name":"g","Row":"r1"}]})");
}

TEST(CommandsTest, KnowsDialogsByTheirFiles) {
  EXPECT_EQ(FileOfDialog("panel"), "panel.json");
  EXPECT_EQ(FileOfDialog("a@b@c"), "a/b/c.json");
  EXPECT_EQ(DialogOfFile("a/b.json"), "a@b");
  EXPECT_EQ(DialogOfFile("panel"), "panel");
}

TEST(CommandsTest, NumbersFences) {
  EXPECT_EQ(FenceText(17), R"({"Command":"GETFILE","File":"?f17"})");
  EXPECT_EQ(FenceOf("?f17"), 17u);
  for (const char* file :
       {"", "?f", "?f1x", "?x1", "f1", "?f-1", "?f 1", "a/?f1", "?f99999999999999999999"}) {
    EXPECT_EQ(FenceOf(file), std::nullopt) << file;
  }
}

TEST(CommandsTest, EscapesWhatHostsStore) {
  EXPECT_EQ(ValueText("a\"b", Quotes::kEscape), Around(R"(a\\\"b)"));
  EXPECT_EQ(ValueText("C:\\new", Quotes::kEscape), Around(R"(C:\\\\new)"));
  EXPECT_EQ(ValueText("x\ny\tz", Quotes::kEscape), Around(R"(x\\ny\\tz)"));
  EXPECT_EQ(ValueText("\x01", Quotes::kEscape), Around(R"(\\u0001)"));
}

TEST(CommandsTest, ReplacesQuotesByTypographicOnes) {
  EXPECT_EQ(ValueText("say \"so\", 3/4\"", Quotes::kReplace), Around("say “so”, 3/4”"));
  EXPECT_EQ(ValueText("\"a\" (\"b\")\n\"c\"", Quotes::kReplace), Around("“a” (“b”)\u2028“c”"));
  EXPECT_EQ(ValueText("C:\\new\t", Quotes::kReplace), Around("C:＼new "));
}

TEST(CommandsTest, SendsRawWhatIsTyped) {
  EXPECT_EQ(ValueText("a\"b\\c\n", Quotes::kRaw), Around(R"(a\"b\\c\n)"));
}

// What a host makes of a value: it reads JSON, stores the text and writes it between quotes.
std::string AtOtherStations(const std::string& typed) {
  const ReadText sent = Reader().Read(ValueText(typed, Quotes::kEscape));
  const std::string stored(sent.mJson.Find("Objects")->mElements[0].TextOf("Value"));
  const ReadText read = Reader().Read("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"" +
                                      stored + "\",\"Name\":\"n\"}]}\n");
  EXPECT_EQ(read.mReading, Reading::kStrict) << typed;
  EXPECT_EQ(read.mJson.Find("Objects")->mElements.size(), 1u) << typed;
  return std::string(read.mJson.Find("Objects")->mElements[0].TextOf("Value"));
}

TEST(CommandsTest, EscapedValuesComeBackAsTheyWereTyped) {
  for (const std::string typed :
       {"a\"b", "x\"},{\"Value\":\"999", "C:\\new", "\\", "\\\"", "a\nb\r\n\tc", "\x7F\x01",
        "日本語", "', 'Name':'x", "\\u0041", "{\"a\":[1,2]}"}) {
    EXPECT_EQ(AtOtherStations(typed), typed);
  }
}

TEST(CommandsTest, RefusesFramingBytes) {
  for (const std::string& bad : {"a\x02"s, "\x03"s, "a\0b"s}) {
    EXPECT_FALSE(IsSendable(bad));
    EXPECT_EQ(ValueText(bad, Quotes::kEscape), "");
    EXPECT_EQ(ConditionText(bad, "CLICK", {}), "");
    EXPECT_EQ(ConditionText("n", "CLICK", {{bad, {}}}), "");
    EXPECT_EQ(ConditionText("n", "CLICK", {{"n", {{bad, Json(true)}}}}), "");
  }
  EXPECT_TRUE(IsSendable("\x01\x04\n"));
}

TEST(CommandsTest, RefusesWhatIsNoValueOfADialog) {
  EXPECT_EQ(ConditionText("n", "CHANGE", {{"n", {{"Value", Json()}}}}), "");
  EXPECT_EQ(ConditionText("n", "CHANGE", {{"n", {{"Value", Json::Number("1.5")}}}}), "");
  EXPECT_EQ(
      ConditionText("n", "CHANGE",
                    {{"n", {{"Value", Json::MakeArray({Json::String("a\"b"), Json::Number(1)})}}}}),
      R"({"Command":"CONDITION","ActionName":"n","ActionType":"CHANGE","Objects":[{"Name":"n","Value":["a\\\"b",1]}]})");
}

TEST(CommandsTest, StoresTextsInsideOfValuesAsWell) {
  const Json inner =
      Json::MakeObject({{"k", Json::String("a\"b")}, {"n", Json::Number("-2147483648")}});
  EXPECT_EQ(
      ConditionText("n", "CHANGE", {{"n", {{"Value", Json::MakeArray({inner})}}}}),
      R"({"Command":"CONDITION","ActionName":"n","ActionType":"CHANGE","Objects":[{"Name":"n","Value":[{"k":"a\\\"b","n":-2147483648}]}]})");
}

TEST(CommandsTest, RefusesFramingBytesInTheKeysOfAValue) {
  const Json inner = Json::MakeObject({{"k\x02", Json::String("x")}});
  EXPECT_EQ(ConditionText("n", "CHANGE", {{"n", {{"Value", inner}}}}), "");
  EXPECT_EQ(ConditionText("n", "CHANGE", {{"n", {{"Value", Json::MakeArray({inner})}}}}), "");
}

TEST(CommandsTest, RefusesKeysThatCouldEndAKeyAtOtherStations) {
  for (const std::string key : {"a\":1,\"Value", "a'", "\\", "a\nb", ""}) {
    const Json inner = Json::MakeObject({{key, Json::String("x")}});
    EXPECT_EQ(ConditionText("n", "CHANGE", {{"n", {{key, Json(true)}}}}), "") << key;
    EXPECT_EQ(ConditionText("n", "CHANGE", {{"n", {{"Value", inner}}}}), "") << key;
    const Json object = Json::MakeObject({{"Name", Json::String("n")}, {key, Json(true)}});
    const Json command = Json::MakeObject(
        {{"Command", Json::String("CONDITION")}, {"Objects", Json::MakeArray({object})}});
    EXPECT_EQ(CheckedCommand(command).mText, "") << key;
    EXPECT_EQ(CheckedCommand(command).mReason,
              "a key is empty, or holds a quote, a backslash or a "
              "control character");
  }
  EXPECT_NE(ConditionText("n", "CHANGE", {{"n", {{"Label:ja", Json::String("x")}}}}), "");
}

TEST(CommandsTest, RefusesAValueThatNestsTooDeep) {
  const auto nested = [](int depth) {
    Json value = Json::String("x");
    for (int i = 0; i < depth; ++i) value = Json::MakeArray({value});
    return ConditionText("n", "CHANGE", {{"n", {{"Value", value}}}});
  };
  EXPECT_NE(nested(16), "");
  EXPECT_EQ(nested(17), "");
}

CheckedText Check(const std::string& text) { return CheckedCommand(Reader().Read(text).mJson); }

TEST(CommandsTest, LetsPagesSendWhatStationsSend) {
  const struct {
    std::string page, host;
  } cases[] = {
      {R"({"Command":"KEEPALIVE"})", R"({"Command":"KEEPALIVE"})"},
      {R"({"ResolutionH":10,"Command":"HELLO","Id":"a\\b","Pass":"p"})",
       R"({"Command":"HELLO","Id":"a\\b","Pass":"p","ResolutionH":10})"},
      {R"({"Commands":[{"Command":"GETFILE","File":"?f1"},{"Command":"CHANGE","SessionId":"s","DialogName":"d"}]})",
       R"({"Commands":[{"Command":"GETFILE","File":"?f1"},{"Command":"CHANGE","DialogName":"d","SessionId":"s"}]})"},
      {R"({"Command":"CONDITION","ActionName":"e","ActionType":"CHANGE","Objects":[{"Value":"a\"b\\","Name":"e\"f"}]})",
       R"({"Command":"CONDITION","ActionName":"e","ActionType":"CHANGE","Objects":[{"Name":"e\"f","Value":"a\\\"b\\\\"}]})"},
      {R"({"Command":"CONDITION","ActionName":"e","Objects":[{"Name":"e"},{"Name":"f","Value":[1,true,{"a":"b"}]}]})",
       R"({"Command":"CONDITION","ActionName":"e","Objects":[{"Name":"e"},{"Name":"f","Value":[1,true,{"a":"b"}]}]})"},
      {R"({"Command":"CONDITION","Objects":[]})", R"({"Command":"CONDITION","Objects":[]})"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(Check(each.page).mText, each.host) << Check(each.page).mReason;
    EXPECT_EQ(Check(each.page).mReason, "");
  }
}

TEST(CommandsTest, SaysWhyAPageMayNotSendIt) {
  const struct {
    std::string page, reason;
  } cases[] = {
      {"[]", "the text is no object"},
      {"{}", "unknown Command"},
      {R"({"Command":"UPDATE"})", "unknown Command"},
      {R"({"Command":["HELLO"]})", "unknown Command"},
      {R"({"Command":"GETFILE","File":"f","Objects":[]})", "GETFILE has no member \"Objects\""},
      {R"({"Command":"GETFILE","File":["f"]})", "File is no text"},
      {R"({"Command":"GETFILE","":"f"})", "GETFILE has no member \"\""},
      {R"({"Command":"HELLO","Id":1})", "Id is no text"},
      {R"({"Commands":[]})", "Commands is no list of commands"},
      {R"({"Commands":{}})", "Commands is no list of commands"},
      {R"({"Commands":[1]})", "a command is no object"},
      {R"({"Commands":[{"Commands":[]}]})", "unknown Command"},
      {R"({"Commands":[{"Command":"KEEPALIVE"}],"Command":"X"})",
       "Commands stands beside other members"},
      {R"({"Command":"CONDITION","Objects":{}})", "Objects is no array"},
      {R"({"Command":"CONDITION","Objects":[1]})", "Objects holds something that is no object"},
      {R"({"Command":"CONDITION","Objects":[{"Value":"x"}]})", "an object has no Name"},
      {R"({"Command":"CONDITION","Objects":[{"Name":1}]})", "an object has no Name"},
      {R"({"Command":"CONDITION","Objects":[{"Name":"a","Objects":[]}]})",
       "objects inside objects are not sent"},
      {R"({"Command":"CONDITION","Objects":[{"Name":"a","Value":null}]})", "a value is null"},
      {R"({"Command":"CONDITION","Objects":[{"Name":"a","Value":1.5}]})", "a number is no integer"},
      {R"({"Command":"CONDITION","Objects":[{"Name":"a","Value":"\u0002"}]})",
       "the text holds one of the bytes 00, 02 and 03"},
      {R"({"Command":"GETFILE","File":"a\u0000b"})",
       "the text holds one of the bytes 00, 02 and 03"},
      {R"({"Command":"CONDITION","Objects":[{"Name":"a","Value":{"k\u0003":"x"}}]})",
       "the text holds one of the bytes 00, 02 and 03"},
      {R"({"Command":"CONDITION","Objects":[{"Name":"a","Value":123456789012}]})",
       "a number is no integer"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(Check(each.page).mReason, each.reason) << each.page;
    EXPECT_EQ(Check(each.page).mText, "") << each.page;
  }
}

TEST(CommandsTest, CountsTheLengthAsWrittenToTheHost) {
  const std::string frame = R"({"Command":"GETFILE","File":""})";
  const auto page = [](std::size_t length) {
    return CheckedCommand(Json::MakeObject(
        {{"Command", Json::String("GETFILE")}, {"File", Json::String(std::string(length, 'x'))}}));
  };
  EXPECT_EQ(page(524286 - frame.size()).mText.size(), 524286u);
  EXPECT_EQ(page(524287 - frame.size()).mReason, "the text is longer than 524286 bytes");
  // A quote takes four bytes.
  const std::string around = Around("");
  EXPECT_NE(ValueText(std::string((524286 - around.size()) / 4, '"'), Quotes::kEscape), "");
  EXPECT_EQ(ValueText(std::string((524286 - around.size()) / 4 + 1, '"'), Quotes::kEscape), "");
}

}  // namespace
}  // namespace dorn::station
