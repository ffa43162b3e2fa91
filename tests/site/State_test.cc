#include "site/core/State.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CoreTest.h"

namespace dorn::site {
namespace {

class StateTest : public testing::Test {
 protected:
  // The next entry of the log.
  Verdict Apply(const Entry& entry) { return mState.Apply(++mLast, entry); }

  // A site whose keeper is host 1, with its first manifest.
  void Begin() {
    Apply(Take{Origin(1), 0});
    Apply(Mark{mState.Token(), 1});
    Apply(Manifest{mState.Token(), mLast, {}, 1, 1, {}});
  }

  static Batch BatchOf(std::uint64_t first, std::vector<Item> items, unsigned char origin = 2,
                       std::uint32_t generation = 0) {
    return {Origin(origin), generation, first, std::move(items)};
  }
  static std::vector<Item> Changes(int count) { return std::vector<Item>(count, ChangeOf("x")); }

  std::string Bytes() const {
    ByteWriter out;
    mState.Save(out);
    return out.Take();
  }

  State mState{Rules()};
  Sequence mLast = 0;
};

TEST_F(StateTest, NothingCountsBeforeTheFirstManifest) {
  EXPECT_FALSE(Apply(BatchOf(1, Changes(1))).counts);
  Begin();
  EXPECT_TRUE(Apply(BatchOf(1, Changes(1))).counts);
}

TEST_F(StateTest, OnlyTheItemBehindTheLastAppliedOneCounts) {
  Begin();
  EXPECT_TRUE(Apply(BatchOf(1, Changes(3))).counts);
  EXPECT_FALSE(Apply(BatchOf(1, Changes(3))).counts) << "doubled";
  const Verdict gap = Apply(BatchOf(5, Changes(1)));
  EXPECT_FALSE(gap.counts);
  EXPECT_TRUE(gap.isGap);
  const Verdict overlapping = Apply(BatchOf(2, Changes(4)));
  EXPECT_TRUE(overlapping.counts);
  EXPECT_EQ(overlapping.firstNew, 2U);
  EXPECT_EQ(mState.FindOrigin(Origin(2)).last, 5U);
}

TEST_F(StateTest, OriginsCountEachForItself) {
  Begin();
  EXPECT_TRUE(Apply(BatchOf(1, Changes(2), 2)).counts);
  EXPECT_TRUE(Apply(BatchOf(1, Changes(1), 3)).counts);
  EXPECT_TRUE(Apply(BatchOf(3, Changes(1), 2)).counts);
}

TEST_F(StateTest, ANewGenerationDropsWhatComesFromAnOlderOne) {
  Begin();
  Apply(BatchOf(1, Changes(2)));
  EXPECT_TRUE(Apply(NewGeneration{Origin(2), 1}).counts);
  EXPECT_FALSE(Apply(NewGeneration{Origin(2), 1}).counts) << "doubled";
  EXPECT_FALSE(Apply(BatchOf(3, Changes(1), 2, 0)).counts);
  EXPECT_TRUE(Apply(BatchOf(1, Changes(1), 2, 1)).counts);
  EXPECT_EQ(mState.FindOrigin(Origin(2)).before, 2U);
}

TEST_F(StateTest, ATakeCountsIfTheTokenIsStillTheExpectedOne) {
  EXPECT_TRUE(Apply(Take{Origin(1), 0}).counts);
  EXPECT_EQ(mState.Token(), 1U);
  EXPECT_FALSE(Apply(Take{Origin(2), 0}).counts);
  EXPECT_TRUE(Apply(Take{Origin(2), 1}).counts);
  EXPECT_EQ(mState.Token(), 3U);
  EXPECT_EQ(mState.Keeper(), Origin(2));
}

TEST_F(StateTest, WhatNamesAnotherTokenIsDropped) {
  Begin();
  const Sequence old = mState.Token();
  Apply(BatchOf(1, {SessionStart{Sid(1), 100, ""}}));
  const Sequence session = mLast;
  Apply(Take{Origin(3), old});
  EXPECT_FALSE(Apply(Renew{old, 9}).counts);
  EXPECT_FALSE(Apply(Mark{old, 9}).counts);
  EXPECT_FALSE(Apply(Manifest{old, mLast - 1, {}, 1, 1, {}}).counts);
  EXPECT_FALSE(Apply(SessionEnd{old, session, session}).counts);

  const Verdict verdict = Apply(BatchOf(2, {ChangeOf("old", old), ChangeOf("station's")}));
  EXPECT_EQ(verdict.applied, (std::vector<bool>{false, true}));
  EXPECT_EQ(mState.FindOrigin(Origin(2)).last, 3U) << "what was fenced has had its turn";
}

TEST_F(StateTest, ARenewalOrMarkThatCameBeforeCountsNotAgain) {
  Begin();
  EXPECT_TRUE(Apply(Renew{mState.Token(), 5}).counts);
  EXPECT_FALSE(Apply(Renew{mState.Token(), 5}).counts);
  EXPECT_FALSE(Apply(Renew{mState.Token(), 4}).counts);
  EXPECT_FALSE(Apply(Mark{mState.Token(), 1}).counts);
  EXPECT_TRUE(Apply(Mark{mState.Token(), 2}).counts);
}

TEST_F(StateTest, ManifestsOfOlderMarksDoNotCount) {
  Begin();
  const Sequence first = mState.NewestMark();
  Apply(Mark{mState.Token(), 2});
  const Sequence second = mLast;
  EXPECT_TRUE(Apply(Manifest{mState.Token(), second, {}, 1, 1, {}}).counts);
  EXPECT_FALSE(Apply(Manifest{mState.Token(), first, {}, 1, 1, {}}).counts);
  EXPECT_FALSE(Apply(Manifest{mState.Token(), second, {}, 1, 1, {}}).counts);
  EXPECT_EQ(mState.NewestMark(), second);
  EXPECT_EQ(mState.OlderMark(), first);
}

TEST_F(StateTest, ASessionIsNamedByItsEntry) {
  Begin();
  Apply(BatchOf(1, {ChangeOf("x"), SessionStart{Sid(7), 100, "data"}}));
  EXPECT_EQ(mState.FindSession(Sid(7)), mLast);
  ASSERT_NE(mState.Session(mLast), nullptr);
  EXPECT_EQ(mState.Session(mLast)->start.data, "data");
  EXPECT_EQ(mState.FindSession(Sid(8)), 0U);
}

TEST_F(StateTest, ASecondSessionInOneEntryHasNoName) {
  Begin();
  const Verdict verdict =
      Apply(BatchOf(1, {SessionStart{Sid(7), 1, ""}, SessionStart{Sid(8), 1, ""}}));
  EXPECT_EQ(verdict.applied, (std::vector<bool>{true, false}));
  EXPECT_EQ(mState.FindSession(Sid(8)), 0U);
}

TEST_F(StateTest, ASessionOfTheSameIdentifierTakesThePlaceOfTheOlder) {
  Begin();
  Apply(BatchOf(1, {SessionStart{Sid(7), 100, "old"}}));
  const Sequence old = mLast;
  const Verdict verdict = Apply(BatchOf(2, {SessionStart{Sid(7), 100, "new"}}));
  EXPECT_EQ(verdict.replaced, old);
  EXPECT_EQ(mState.Session(old), nullptr);
  EXPECT_EQ(mState.FindSession(Sid(7)), mLast);
}

TEST_F(StateTest, ALateEndDoesNotEndASessionThatWasUsedMeanwhile) {
  Begin();
  Apply(BatchOf(1, {SessionStart{Sid(7), 100, ""}}));
  const Sequence session = mLast;
  Apply(BatchOf(2, {SessionExtend{session}}));
  EXPECT_FALSE(Apply(SessionEnd{mState.Token(), session, session}).counts);
  EXPECT_NE(mState.Session(session), nullptr);
  EXPECT_TRUE(Apply(SessionEnd{mState.Token(), session, session + 1}).counts);
  EXPECT_EQ(mState.Session(session), nullptr);
  EXPECT_EQ(mState.FindSession(Sid(7)), 0U);
}

TEST_F(StateTest, TheOriginsThatWereUsedLastAreRemembered) {
  Begin();
  const auto origin = [](std::size_t i) {
    OriginId id{};
    id[1] = static_cast<unsigned char>(i);
    id[2] = static_cast<unsigned char>(i >> 8);
    id[15] = 1;
    return id;
  };
  for (std::size_t i = 0; i < kMaxOrigins; ++i) Apply(Batch{origin(i), 0, 1, Changes(1)});
  Apply(Batch{origin(0), 0, 2, Changes(1)});
  Apply(Batch{origin(kMaxOrigins), 0, 1, Changes(1)});
  EXPECT_EQ(mState.FindOrigin(origin(0)).last, 2U);
  EXPECT_EQ(mState.FindOrigin(origin(1)).last, 0U) << "the one that was not used for longest";
  EXPECT_EQ(mState.FindOrigin(origin(2)).last, 1U);
}

TEST_F(StateTest, WhatIsLoadedIsWhatWasSaved) {
  Begin();
  Apply(BatchOf(1, {SessionStart{Sid(7), 100, "data"}, ChangeOf("x")}));
  Apply(NewGeneration{Origin(2), 3});
  Apply(BatchOf(1, {SessionExtend{mLast - 1}}, 2, 3));
  Apply(Renew{mState.Token(), 5});
  const std::string bytes = Bytes();

  State loaded{Rules()};
  ByteReader in(bytes);
  loaded.Load(in);
  ASSERT_TRUE(in.IsSound() && in.IsAtEnd());
  // Both go on alike.
  std::swap(mState, loaded);
  EXPECT_EQ(Bytes(), bytes);
  const Entry next = BatchOf(2, {SessionStart{Sid(7), 5, ""}}, 2, 3);
  EXPECT_TRUE(Apply(next).counts);
  const std::string after = Bytes();
  std::swap(mState, loaded);
  mState.Apply(mLast, next);
  EXPECT_EQ(Bytes(), after);
}

TEST_F(StateTest, BrokenBytesAreRefused) {
  Begin();
  Apply(BatchOf(1, {SessionStart{Sid(7), 100, "data"}}));
  const std::string bytes = Bytes();
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    State loaded{Rules()};
    ByteReader in(std::string_view(bytes).substr(0, length));
    loaded.Load(in);
    EXPECT_FALSE(in.IsSound()) << length;
  }
}

TEST_F(StateTest, TwoSessionsOfOneIdentifierAreRefused) {
  Begin();
  Apply(BatchOf(1, {SessionStart{Sid(7), 100, ""}}));
  Apply(BatchOf(2, {SessionStart{Sid(8), 100, ""}}));
  std::string bytes = Bytes();
  const auto second = bytes.rfind('\x08');
  ASSERT_NE(second, std::string::npos);
  bytes[second] = '\x07';
  State loaded{Rules()};
  ByteReader in(bytes);
  loaded.Load(in);
  EXPECT_FALSE(in.IsSound());
}

}  // namespace
}  // namespace dorn::site
