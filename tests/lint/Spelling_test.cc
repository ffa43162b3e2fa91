#include "tools/dorn-lint/Spelling.h"

#include <gtest/gtest.h>

namespace dorn::lint {
namespace {

TEST(SpellingTest, CountsWhatIsDifferent) {
  EXPECT_EQ(Distance("Label", "Label", 2), 0);
  EXPECT_EQ(Distance("Lable", "Label", 2), 1);
  EXPECT_EQ(Distance("Labl", "Label", 2), 1);
  EXPECT_EQ(Distance("Labeel", "Label", 2), 1);
  EXPECT_EQ(Distance("Lobol", "Label", 2), 2);
  EXPECT_EQ(Distance("Xyzzy", "Label", 2), 3);
  EXPECT_EQ(Distance("", "Label", 2), 3);
}

TEST(SpellingTest, FindsTheWordThatWasMeant) {
  EXPECT_EQ(Nearest("label", {"Label", "Low"}), "Label");
  EXPECT_EQ(Nearest("BUTON", {"BUTTON", "GRID"}), "BUTTON");
  EXPECT_EQ(Nearest("MaxLenght", {"Max", "MaxLength"}), "MaxLength");
  EXPECT_EQ(Nearest("Visable", {"Visible", "Enabled"}), "Visible");
}

TEST(SpellingTest, LeavesOtherWordsAlone) {
  EXPECT_EQ(Nearest("GAUGE", {"GROUP", "IMAGE", "LABEL"}), "");
  EXPECT_EQ(Nearest("Z", {"X", "Y"}), "");
  EXPECT_EQ(Nearest("x", {"X", "Y"}), "X");
  EXPECT_EQ(Nearest("Rate", {"Role", "Rows"}), "");
  EXPECT_EQ(Nearest("", {"X"}), "");
  EXPECT_EQ(Nearest(std::string(100000, 'a'), {"Label"}), "");
}

}  // namespace
}  // namespace dorn::lint
