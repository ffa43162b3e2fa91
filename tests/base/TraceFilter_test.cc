#include "dorn/base/TraceFilter.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using dorn::Trace;

class TraceFilterTest : public testing::Test {
 protected:
  void TearDown() override { dorn::SetTraceLevel(Trace::kAll); }

  static std::string Text(const std::string& text) {
    std::string storage;
    return std::string(dorn::ShownText(text, storage));
  }
};

TEST_F(TraceFilterTest, ShowsEverythingByDefault) {
  EXPECT_TRUE(dorn::IsTraced());
  EXPECT_TRUE(dorn::ShowsSecrets());
  EXPECT_EQ("0123456789", dorn::Shown("0123456789"));
  EXPECT_EQ(R"({"Pass":"p","SessionId":"0123456789"})",
            Text(R"({"Pass":"p","SessionId":"0123456789"})"));
}

TEST_F(TraceFilterTest, NoneShowsNoSecretsEither) {
  dorn::SetTraceLevel(Trace::kNone);
  EXPECT_FALSE(dorn::IsTraced());
  EXPECT_FALSE(dorn::ShowsSecrets());
}

TEST_F(TraceFilterTest, CutsSessionIdsToEightCharacters) {
  dorn::SetTraceLevel(Trace::kNoSecrets);
  EXPECT_EQ("", dorn::Shown(""));
  EXPECT_EQ("01234567", dorn::Shown("01234567"));
  EXPECT_EQ("01234567", dorn::Shown("0123456789"));
  EXPECT_EQ("ポンプポンプポン", dorn::Shown("ポンプポンプポンプ"));
  EXPECT_EQ("ポンプ", dorn::Shown("ポンプ"));
  EXPECT_EQ("\x80\x80", dorn::Shown("\x80\x80"));
  EXPECT_EQ("\x80\x80 123456", dorn::Shown("\x80\x80 1234567"));
}

TEST_F(TraceFilterTest, CutsTheMembersOfATextWhereverTheyStand) {
  dorn::SetTraceLevel(Trace::kNoSecrets);
  const struct {
    const char* text;
    const char* shown;
  } kRows[] = {
      {"", ""},
      {"no json", "no json"},
      {R"({"Pass":"water"})", R"({"Pass":"***"})"},
      {R"({"Pass":""})", R"({"Pass":"***"})"},
      {R"({"Id":"a","Pass":"water","Type":"T"})", R"({"Id":"a","Pass":"***","Type":"T"})"},
      {R"({"Pass":"a"b","X":1})", R"({"Pass":"***","X":1})"},
      {R"({"Pass":"a""})", R"({"Pass":"***"})"},
      {R"({"Pass":"never ends)", R"({"Pass":"***)"},
      {R"({"Pass":"never ends"s)", R"({"Pass":"***)"},
      {R"({"Pass":"no more")", R"({"Pass":"***")"},
      {R"({"Pass":)", R"({"Pass":***)"},
      {R"({"SessionId":"0123456789"})", R"({"SessionId":"01234567"})"},
      {R"({"SessionId":"short"})", R"({"SessionId":"short"})"},
      {R"([{"SessionId":"0123456789","Pass":"x"},{"Pass":"y"}])",
       R"([{"SessionId":"01234567","Pass":"***"},{"Pass":"***"}])"},
      {R"({"Pass":1234,"X":1})", R"({"Pass":***,"X":1})"},
      {R"({"Pass":1234})", R"({"Pass":***})"},
      {R"({"SessionId":123456789012})", R"({"SessionId":12345678})"},
      {R"({"Passage":"open"})", R"({"Passage":"open"})"},
  };
  for (const auto& row : kRows) EXPECT_EQ(row.shown, Text(row.text));
}

TEST_F(TraceFilterTest, LooksAtNothingBehindATextsEnd) {
  dorn::SetTraceLevel(Trace::kNoSecrets);
  const std::string_view whole = R"({"Pass":"water"})";
  std::string storage;
  EXPECT_EQ(R"({"Pass":***)", dorn::ShownText(whole.substr(0, 8), storage));
  EXPECT_EQ(R"({"Pass":"***)", dorn::ShownText(whole.substr(0, 9), storage));
  EXPECT_EQ(R"({"Pass":"***")", dorn::ShownText(whole.substr(0, 15), storage));
}

}  // namespace
