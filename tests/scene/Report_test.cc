#include "tools/dorn-station/scene/Report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using dorn::scene::Failure;
using dorn::scene::FailureText;
using dorn::scene::JUnitText;
using dorn::scene::MistakesText;
using dorn::scene::Played;
using testing::HasSubstr;

namespace {

Played Failed() {
  Played played{"s/a.scene", {}, {}};
  played.mResult.mFailure = Failure{"x Value is <ON>", "\"OFF\" & more"};
  played.mResult.mLine = 7;
  played.mResult.mSource = "a: expect x Value <ON>";
  played.mResult.mWho = "a";
  played.mResult.mMessages = "      0.001 <- {}\n";
  played.mResult.mHostOutput = "one\ntwo\n";
  played.mResult.mTook = 1042;
  return played;
}

}  // namespace

TEST(SceneReportTest, AFailureTellsWhereWhatAndWhy) {
  EXPECT_EQ(FailureText(Failed()),
            "s/a.scene:7: failed\n"
            "    a: expect x Value <ON>\n"
            "  expected  x Value is <ON>\n"
            "  got       \"OFF\" & more\n"
            "  the last messages of a:\n"
            "      0.001 <- {}\n"
            "  what the host printed last:\n"
            "    one\n"
            "    two\n");
}

TEST(SceneReportTest, AMistakeTellsItsLine) {
  EXPECT_EQ(MistakesText({"a.scene", {{3, "write: x"}, {9, "write: y"}}, {}}),
            "a.scene:3: write: x\na.scene:9: write: y\n");
}

TEST(SceneReportTest, JUnitHasACaseForEachScene) {
  Played held{"h.scene", {}, {}};
  held.mResult.mTook = 5;
  const std::string text = JUnitText({held, Failed(), {"m.scene", {{3, "write: x"}}, {}}});
  EXPECT_THAT(text,
              HasSubstr("<testsuites tests=\"3\" failures=\"1\" errors=\"1\" time=\"1.047\">"));
  EXPECT_THAT(text, HasSubstr("<testcase classname=\"scene\" name=\"h.scene\" time=\"0.005\"/>"));
  EXPECT_THAT(text, HasSubstr("<failure message=\"s/a.scene:7: expected x Value is &lt;ON&gt;, got "
                              "&quot;OFF&quot; &amp; more\">s/a.scene:7: failed&#10;"));
  EXPECT_THAT(text, HasSubstr("<error message=\"the scene cannot be read\">m.scene:3: write: x"));
}

TEST(SceneReportTest, ShowsNothingThatATerminalObeys) {
  Played played = Failed();
  played.mResult.mHostOutput = "one\x1b[2J\ntwo\n";
  played.mResult.mFailure->mGot = "\xc2\x9bm";
  EXPECT_THAT(FailureText(played), HasSubstr("    one\\u001b[2J\n    two\n"));
  EXPECT_THAT(FailureText(played), HasSubstr("got       \\u009bm\n"));
}

TEST(SceneReportTest, JUnitIsXmlWhateverAHostSays) {
  Played played = Failed();
  played.mResult.mHostOutput = "bell \x07, bad \xff, <tag>";
  played.mResult.mFailure->mGot = "bell \x07";
  EXPECT_THAT(JUnitText({played}), HasSubstr("bell \\u0007, bad \xEF\xBF\xBD, &lt;tag&gt;"));
  EXPECT_THAT(JUnitText({played}), HasSubstr("got bell ?\""));
}
