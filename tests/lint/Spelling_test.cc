#include "tools/dorn-lint/Spelling.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "station/Vocabulary.h"

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

TEST(SpellingTest, CountsLongWordsByWhatIsNearTheirDiagonal) {
  const std::string word(30, 'a');
  std::size_t cells = 0;
  EXPECT_EQ(Distance(word, word + "bc", 2, &cells), 2);
  EXPECT_LE(cells, 5 * word.size());
  EXPECT_EQ(Distance("bc" + word, word, 2), 2);
  EXPECT_EQ(Distance(word + "bc", word + "cb", 2), 1);
  EXPECT_EQ(Distance("abcabcabc", "bacabcacb", 2), 2);
  EXPECT_EQ(Distance("abcabcabc", "bacbacacb", 2), 3);
}

// As files that programs made can have: the rules ask for each of these names.
TEST(SpellingTest, LooksAtFewPairsOfLettersHoweverManyNamesThereAre) {
  std::vector<std::string> names;
  for (int i = 0; i < 2000; ++i) names.push_back("unknown" + std::to_string(10000 + i));
  std::vector<std::string_view> vocabulary;
  for (const station::AttributeWord& word : station::Attributes()) vocabulary.push_back(word.mName);
  const KnownWords known(vocabulary);
  for (const std::string& name : names) EXPECT_EQ(known.Nearest(name), "");
  EXPECT_LT(known.Cells(), 10 * names.size());

  const KnownWords own({names.begin(), names.end()});
  for (int i = 0; i < 100; ++i) EXPECT_EQ(own.Nearest("nwonknu" + std::to_string(20000 + i)), "");
  EXPECT_LT(own.Cells(), 100 * 40 * names.size());
}

}  // namespace
}  // namespace dorn::lint
