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

  // Of a text that a host sends.
  const Digest& Read(std::string_view text) {
    Receiver receiver(mTexts);
    EXPECT_TRUE(receiver.mFraming.Feed(dorn::station::Framed(text)));
    return *receiver.mDigest;
  }

  const Targets mTargets = Some();
  Texts mTexts{mTargets};

 private:
  struct Receiver : dorn::station::Framing::Sink {
    explicit Receiver(Texts& texts) : mTexts(texts) {}
    void OnText(std::string_view text) override { mDigest = &mTexts.Read(text, mFraming); }
    void OnPayload(std::string_view, bool) override {}

    Texts& mTexts;
    dorn::station::Framing mFraming{*this};
    const Digest* mDigest = nullptr;
  };
};

TEST_F(TextsTest, TellsFences) {
  const Digest& digest =
      Read(R"({"Command":"PUTFILE","File":"?f17","Info":"FILE NOT FOUND","Status":"ERROR"})");
  EXPECT_TRUE(digest.mIsReadable);
  EXPECT_EQ(digest.mFences, std::vector<unsigned long>{17});
}

// Hosts differ in what stands around the number, and each answers all fences alike.
TEST_F(TextsTest, TellsFencesThatDifferInTheirNumberAlone) {
  const auto tells = [&](const std::string& text, const std::vector<unsigned long>& fences) {
    const Digest& digest = Read(text);
    EXPECT_TRUE(digest.mIsReadable) << text;
    EXPECT_EQ(digest.mFences, fences) << text;
    EXPECT_TRUE(digest.mTold.empty() && !digest.mOpens && !digest.mIsRefusal && !digest.mAsks);
  };
  const auto answer = [](const std::string& file) {
    return R"({"Command":"PUTFILE","File":")" + file + R"(","Status":"ERROR"})";
  };
  for (int round = 0; round < 2; ++round) {
    tells(answer("?f9"), {9});
    tells(answer("?f10"), {10});
    tells(answer("?f123456789"), {123456789});
    tells(answer("?f0"), {0});
    tells(answer("?f"), {});
    tells(answer("?f-1"), {});
    tells(answer("?f7x"), {});
    tells(answer("?f99999999999999999999"), {});
    tells(R"({"Command":"PUTFILE","File":"?f9"})", {9});
    tells(R"({"Command":"PUTFILE","File":"?f10"})", {10});
    tells(R"({"Command":"GETFILE","File":"?f10"})", {});
    tells(R"({"Commands":[{"Command":"PUTFILE","File":"?f1"},{"Command":"PUTFILE","File":"?f2"}]})",
          {1, 2});
  }
}

// The number that counts is that of the file, wherever else one like it stands.
TEST_F(TextsTest, TellsTheFenceOfTheFileAmongOthers) {
  for (const std::string file : {R"(\u003ff1)", "?f1"}) {
    for (const std::string number : {"1", "2"}) {
      EXPECT_EQ(Read(R"({"Command":"PUTFILE","File":")" + file + R"(","Info":"?f)" + number + "\"}")
                    .mFences,
                std::vector<unsigned long>{1});
    }
  }
}

TEST_F(TextsTest, LooksBehindTheNumberOfAFence) {
  EXPECT_TRUE(Read(R"({"Command":"PUTFILE","File":"?f1"})").mIsReadable);
  EXPECT_FALSE(Read(R"({"Command":"PUTFILE","File":"?f2"])").mIsReadable);
}

// The same text says the same, also when another was known by what stands around its number.
TEST_F(TextsTest, TellsMoreThanAFenceWhereThereIsMore) {
  for (const char* const number : {"1", "2"}) {
    const Digest& digest = Read(R"({"Commands":[{"Command":"PUTFILE","File":"?f)" +
                                std::string(number) + R"("},{"Command":"KEEPALIVE"}]})");
    EXPECT_EQ(digest.mFences.size(), 1u);
    EXPECT_TRUE(digest.mAsks);
  }
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
  const Digest& digest = Read(
      R"({'Commands':[{"Command":"UPDATE","Objects":[{"Value":"1","Name":"e"},{"Value":"2","Name":"other"},)"
      R"({"Name":"g","Objects":[{"Value":3,"Name":"f"}]},{"State":"ON","Name":"e"}]},{"Command":"DELETE","Name":"x"}]})");
  ASSERT_EQ(digest.mTold.size(), 2u);
  EXPECT_EQ(digest.mTold[0].mTarget, mTargets.Find("e"));
  EXPECT_EQ(digest.mTold[0].mValue, "1");
  EXPECT_EQ(digest.mTold[1].mTarget, mTargets.Find("f"));
  EXPECT_EQ(digest.mTold[1].mValue, "3");
}

TEST_F(TextsTest, TellsOpenKeepaliveAndError) {
  EXPECT_TRUE(Read(R"({"Command":"OPEN","File":"a.json"})").mOpens);
  EXPECT_TRUE(Read(R"({"Command":"KEEPALIVE"})").mAsks);
  EXPECT_TRUE(Read(R"({"Command":"ERROR","Status":"Authentication"})").mIsRefusal);
}

TEST_F(TextsTest, TellsWhatCannotBeRead) {
  EXPECT_FALSE(Read("nonsense").mIsReadable);
  EXPECT_FALSE(Read("nonsense").mIsReadable);
}

TEST_F(TextsTest, ReadsTheSameTextAlikeAndAnotherOneAnew) {
  const std::string one = R"({"Command":"UPDATE","Objects":[{"Value":"1","Name":"e"}]})";
  const std::string two = R"({"Command":"UPDATE","Objects":[{"Value":"2","Name":"e"}]})";
  EXPECT_EQ(Read(one).mTold[0].mValue, "1");
  EXPECT_EQ(Read(one).mTold[0].mValue, "1");
  EXPECT_EQ(Read(two).mTold[0].mValue, "2");
}

// Two lengths share a place, and those that are very long share one.
TEST_F(TextsTest, ReadsTextsOfAnyLengthAnew) {
  const auto padded = [](char value, std::size_t length) {
    std::string text = R"({"Command":"UPDATE","Objects":[{"Name":"e","Value":")";
    return text + value + R"("}],"Pad":")" + std::string(length, 'x') + R"("})";
  };
  for (const std::size_t length : {0u, 16u, 70'000u, 80'000u}) {
    for (const char value : {'1', '2', '1'}) {
      EXPECT_EQ(Read(padded(value, length)).mTold[0].mValue, std::string(1, value)) << length;
    }
  }
}

}  // namespace
}  // namespace dorn::load
