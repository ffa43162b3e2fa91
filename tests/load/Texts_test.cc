#include "tools/dorn-load/Texts.h"

#include <gtest/gtest.h>

namespace dorn::load {
namespace {

class TextsTest : public testing::Test {
 protected:
  static Targets Some() {
    dorn::station::Screen screen;
    dorn::station::Item edit;
    edit.mWidget = dorn::station::Widget::kEdit;
    edit.mMaxLength = 9;
    edit.mName = "e";
    screen.mCards.push_back({"", "", 4, {edit}});
    edit.mName = "f";
    screen.mCards.back().mItems.push_back(edit);
    return Targets(screen, {});
  }

  const Targets mTargets = Some();
  Texts mTexts{mTargets};
};

TEST_F(TextsTest, TellsFences) {
  const Digest& digest = mTexts.Read(
      R"({"Command":"PUTFILE","File":"?f17","Info":"FILE NOT FOUND","Status":"ERROR"})");
  EXPECT_TRUE(digest.mIsReadable);
  EXPECT_EQ(digest.mFences, std::vector<unsigned long>{17});
}

TEST_F(TextsTest, KnowsAnUpdateByItsFirstLetters) {
  EXPECT_TRUE(IsUpdate(R"({"Command":"UPDATE","Objects":[]})"));
  EXPECT_TRUE(IsUpdate(R"( { "Command" : "UPDATE", "Objects":[)"));
  EXPECT_FALSE(IsUpdate(R"({"Commands":[{"Command":"UPDATE"}]})"));
  EXPECT_FALSE(IsUpdate(R"({"Command":"UPDATED"})"));
  EXPECT_FALSE(IsUpdate(R"({"Command":"KEEPALIVE"})"));
  EXPECT_FALSE(IsUpdate(R"({"Command":)"));
  EXPECT_FALSE(IsUpdate(""));
}

TEST_F(TextsTest, TellsValuesOfTargets) {
  const Digest& digest = mTexts.Read(
      R"({'Commands':[{"Command":"UPDATE","Objects":[{"Value":"1","Name":"e"},{"Value":"2","Name":"other"},)"
      R"({"Name":"g","Objects":[{"Value":3,"Name":"f"}]},{"State":"ON","Name":"e"}]},{"Command":"DELETE","Name":"x"}]})");
  ASSERT_EQ(digest.mTold.size(), 2u);
  EXPECT_EQ(digest.mTold[0].mTarget, mTargets.Find("e"));
  EXPECT_EQ(digest.mTold[0].mValue, "1");
  EXPECT_EQ(digest.mTold[1].mTarget, mTargets.Find("f"));
  EXPECT_EQ(digest.mTold[1].mValue, "3");
}

TEST_F(TextsTest, TellsOpenKeepaliveAndError) {
  EXPECT_TRUE(mTexts.Read(R"({"Command":"OPEN","File":"a.json"})").mOpens);
  EXPECT_TRUE(mTexts.Read(R"({"Command":"KEEPALIVE"})").mAsks);
  EXPECT_TRUE(mTexts.Read(R"({"Command":"ERROR","Status":"Authentication"})").mIsRefusal);
}

TEST_F(TextsTest, TellsWhatCannotBeRead) {
  EXPECT_FALSE(mTexts.Read("nonsense").mIsReadable);
  EXPECT_FALSE(mTexts.Read("nonsense").mIsReadable);
}

TEST_F(TextsTest, ReadsTheSameTextAlikeAndAnotherOneAnew) {
  const std::string one = R"({"Command":"UPDATE","Objects":[{"Value":"1","Name":"e"}]})";
  const std::string two = R"({"Command":"UPDATE","Objects":[{"Value":"2","Name":"e"}]})";
  EXPECT_EQ(mTexts.Read(one).mTold[0].mValue, "1");
  EXPECT_EQ(mTexts.Read(one).mTold[0].mValue, "1");
  EXPECT_EQ(mTexts.Read(two).mTold[0].mValue, "2");
}

// Two lengths share a place, and those that are very long share one.
TEST_F(TextsTest, ReadsTextsOfAnyLengthAnew) {
  const auto padded = [](char value, std::size_t length) {
    std::string text = R"({"Command":"UPDATE","Objects":[{"Name":"e","Value":")";
    return text + value + R"("}],"Pad":")" + std::string(length, 'x') + R"("})";
  };
  for (const std::size_t length : {0u, 16u, 70'000u, 80'000u}) {
    for (const char value : {'1', '2', '1'}) {
      EXPECT_EQ(mTexts.Read(padded(value, length)).mTold[0].mValue, std::string(1, value))
          << length;
    }
  }
}

}  // namespace
}  // namespace dorn::load
