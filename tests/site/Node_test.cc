#include "site/core/Node.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "NodeTest.h"

namespace dorn::site {
namespace {

using namespace std::chrono_literals;

TEST_F(NodeTest, TheFirstKeeperMakesTheFirstSnapshotAndServesThen) {
  mState.text = "own;";
  mNode.OnOpened(std::nullopt);
  EXPECT_EQ(mTransport.reads, std::vector<Sequence>{0});
  mNode.OnCaughtUp();
  EXPECT_FALSE(mNode.Submit(ChangeOf("x"))) << "the site has not begun";
  Pass(100ms);
  EXPECT_EQ(mTransport.published.size(), 1U);
  Return();
  Pass(100ms);
  Return();
  ASSERT_EQ(mTransport.stored.size(), 1U);
  EXPECT_FALSE(mNode.IsServing()) << "not before it has come back";
  mNode.OnStored(mTransport.stored[0].first, true);
  Pass(100ms);
  Return();
  EXPECT_TRUE(mNode.IsServing());
  EXPECT_EQ(mState.text, "own;");
  EXPECT_TRUE(mTransport.fetched.empty());
}

TEST_F(NodeTest, OthersLoadTheFirstSnapshotAndCallItNoDivergence) {
  mState.text = "own;";
  mNode.OnOpened(std::nullopt);
  Deliver(Take{Origin(2), 0});
  mBrokers.text = "theirs;";
  Deliver(Mark{mBrokers.site.Token(), 1});
  mNode.OnCaughtUp();
  Deliver(ManifestNow());
  EXPECT_FALSE(mNode.IsServing());
  Foreign("a");
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  EXPECT_TRUE(mNode.IsServing());
  EXPECT_EQ(mState.text, "theirs;a;");
  EXPECT_FALSE(mListener.Heard("diverged"));
}

TEST_F(NodeTest, AChangeIsAppliedWhenItComesBackAndNotBefore) {
  BeginAsOther();
  const auto ticket = mNode.Submit(ChangeOf("mine"));
  ASSERT_TRUE(ticket);
  mNode.Flush();
  Foreign("a");
  EXPECT_EQ(mState.text, "begin;a;");
  Return();
  EXPECT_EQ(mState.text, "begin;a;mine;");
  EXPECT_EQ(mState.own, std::vector<Ticket>{*ticket});
}

TEST_F(NodeTest, WhatIsMissingBeforeAnOwnChangeIsSentAgainAtOnce) {
  BeginAsOther();
  mNode.Submit(ChangeOf("lost"));
  mNode.Flush();
  mTransport.TakePublished();
  mNode.Submit(ChangeOf("next"));
  mNode.Flush();
  Return();
  const auto again = mTransport.TakePublished<Batch>();
  ASSERT_EQ(again.size(), 1U);
  EXPECT_EQ(again[0].first, 1U);
  EXPECT_EQ(again[0].items.size(), 2U);
  Deliver(again[0]);
  EXPECT_EQ(mState.text, "begin;lost;next;");
  EXPECT_EQ(mNode.Count().sentAgain, 1U);
}

TEST_F(NodeTest, OnlyTheKeeperProposes) {
  BeginAsOther();
  EXPECT_FALSE(mNode.Propose(ChangeOf("x")));
  EXPECT_EQ(mListener.kept, 0);
}

TEST_F(NodeTest, TheKeeperIsAskedWhileARenewalOfItsOwnIsFresh) {
  BeginAsKeeper();
  Pass(100ms);
  EXPECT_TRUE(mNode.IsKeeper());
  const int kept = mListener.kept;
  EXPECT_GT(kept, 0);
  EXPECT_TRUE(mNode.Propose(ChangeOf("x")));
  Pass(2s);  // Nothing comes back.
  EXPECT_FALSE(mNode.IsKeeper());
  EXPECT_FALSE(mNode.Propose(ChangeOf("x")));
  EXPECT_LE(mListener.kept - kept, 20);
}

TEST_F(NodeTest, AKeeperThatLacksSomethingGivesUp) {
  BeginAsKeeper();
  Pass(100ms);
  ASSERT_TRUE(mNode.IsKeeper());
  mTransport.TakePublished();
  mState.whole = false;
  const int kept = mListener.kept;
  Deliver(Mark{mBrokers.site.Token(), 2});  // That it published before.
  Pass(70s);
  EXPECT_TRUE(mNode.IsServing());
  EXPECT_FALSE(mNode.IsKeeper());
  EXPECT_FALSE(mNode.Propose(ChangeOf("x")));
  EXPECT_EQ(mListener.kept, kept);
  EXPECT_EQ(mTransport.stored.size(), 1U) << "the one of the beginning";
  EXPECT_TRUE(mTransport.TakePublished().empty());
  mState.whole = true;
  Pass(2s);
  EXPECT_EQ(mTransport.TakePublished<Renew>().size(), 2U);
}

TEST_F(NodeTest, WhoLacksSomethingDoesNotTake) {
  BeginAsOther();
  mState.whole = false;
  Pass(20s);
  EXPECT_TRUE(mTransport.TakePublished<Take>().empty());
  mState.whole = true;
  Pass(200ms);
  EXPECT_EQ(mTransport.TakePublished<Take>().size(), 1U);
}

TEST_F(NodeTest, AProposalBehindATakeOfAnotherIsRefused) {
  BeginAsKeeper();
  Pass(100ms);
  const auto ticket = mNode.Propose(ChangeOf("old"));
  ASSERT_TRUE(ticket);
  mNode.Flush();
  const auto published = mTransport.TakePublished();
  Deliver(Take{Origin(2), mBrokers.site.Token()});
  for (const Entry& entry : published) Deliver(entry);
  EXPECT_EQ(mState.text, "");
  EXPECT_TRUE(mListener.Heard("refused " + std::to_string(*ticket)));
}

TEST_F(NodeTest, StationsChangesOfAFormerKeeperCount) {
  BeginAsKeeper();
  mNode.Submit(ChangeOf("station's", 99));
  mNode.Flush();
  const auto published = mTransport.TakePublished();
  Deliver(Take{Origin(2), mBrokers.site.Token()});
  for (const Entry& entry : published) Deliver(entry);
  EXPECT_EQ(mState.text, "station's;");
}

TEST_F(NodeTest, ADifferentStateIsFoundSaidAndLoadedAnew) {
  BeginAsOther();
  Foreign("a");
  mState.text += "cosmic ray;";
  Deliver(Mark{mBrokers.site.Token(), 2});
  const auto mine = mNode.Submit(ChangeOf("mine"));
  mNode.Flush();
  Return();
  Deliver(ManifestNow());
  EXPECT_TRUE(mListener.Heard("diverged " + std::to_string(mBrokers.mark)));
  EXPECT_FALSE(mNode.IsServing());
  EXPECT_FALSE(mNode.Submit(ChangeOf("x")));
  Foreign("b");
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  EXPECT_EQ(mTransport.reads.back(), mBrokers.mark);
  ReadAgain(mBrokers.mark);
  EXPECT_TRUE(mNode.IsServing());
  EXPECT_EQ(mState.text, "begin;a;mine;b;");
  EXPECT_EQ(mState.own, std::vector<Ticket>{*mine}) << "once";
  EXPECT_EQ(mNode.Count().diverged, 1U);
}

TEST_F(NodeTest, AnEqualStateIsLeftAlone) {
  BeginAsOther();
  Foreign("a");
  Deliver(Mark{mBrokers.site.Token(), 2});
  Foreign("b");
  Deliver(ManifestNow());
  EXPECT_TRUE(mNode.IsServing());
  EXPECT_FALSE(mListener.Heard("diverged"));
}

TEST_F(NodeTest, WhoDiffersTwiceWithinAMinuteStops) {
  BeginAsOther();
  for (std::uint64_t mark = 2; mark <= 3; ++mark) {
    DifferAt(mark);
    Pass(20s);
  }
  EXPECT_TRUE(mListener.Heard("diverged " + std::to_string(mBrokers.mark) + " stop"));
  EXPECT_FALSE(mNode.IsServing());
  mTransport.TakePublished();
  Pass(10s);
  EXPECT_TRUE(mTransport.published.empty()) << "nor does it keep the site";
}

TEST_F(NodeTest, WhoDiffersAgainAfterAMinuteLoadsAgain) {
  BeginAsOther();
  for (std::uint64_t mark = 2; mark <= 3; ++mark) {
    DifferAt(mark);
    for (std::uint64_t second = 0; second < 61; ++second) {
      Deliver(Renew{mBrokers.site.Token(), mBrokers.site.Renewals() + 1});
      Pass(1s);
    }
  }
  EXPECT_TRUE(mNode.IsServing());
  EXPECT_EQ(mNode.Count().diverged, 2U);
}

TEST_F(NodeTest, AMissingPieceMakesItLookForANewerSnapshot) {
  Write(Take{Origin(2), 0});
  Write(Mark{mBrokers.site.Token(), 1});
  mNode.OnOpened(Newest(ManifestNow()));
  const Sequence first = mBrokers.mark;
  mNode.OnFetched(first, std::nullopt);
  EXPECT_EQ(mTransport.reads, std::vector<Sequence>{0}) << "all that is kept";
  ReadAgain(0);
  EXPECT_FALSE(mNode.IsServing());
  Deliver(Mark{mBrokers.site.Token(), 2});
  Deliver(ManifestNow());
  EXPECT_EQ(mTransport.fetched.back(), mBrokers.mark);
  mNode.OnFetched(first, std::nullopt);  // Late, of the one before.
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  EXPECT_TRUE(mNode.IsServing());
}

TEST_F(NodeTest, AMissingPieceIsAskedForAgain) {
  Write(Take{Origin(2), 0});
  Write(Mark{mBrokers.site.Token(), 1});
  mNode.OnOpened(Newest(ManifestNow()));
  Pass(100ms);
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot + "x");
  EXPECT_EQ(mTransport.fetched.size(), 1U);
  Pass(1s);
  EXPECT_EQ(mTransport.fetched.size(), 2U);
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  EXPECT_TRUE(mNode.IsServing());
}

TEST_F(NodeTest, ASnapshotThatIsNotWhatWasStoredIsSaidOnceAndAskedForAgain) {
  Write(Take{Origin(2), 0});
  Write(Mark{mBrokers.site.Token(), 1});
  mNode.OnOpened(Newest(ManifestNow()));
  for (const std::string& bytes :
       {mBrokers.snapshot + "x", std::string(mBrokers.snapshot.size(), 'x')}) {
    mNode.OnFetched(mBrokers.mark, bytes);
    Pass(1100ms);
  }
  EXPECT_EQ(mTransport.fetched,
            (std::vector<Sequence>{mBrokers.mark, mBrokers.mark, mBrokers.mark}));
  ASSERT_TRUE(mListener.Heard("word: The site's snapshot is not what its host has stored"));
  mListener.words.clear();
  mNode.OnFetched(mBrokers.mark, "x");
  EXPECT_FALSE(mListener.Heard("word"));
  EXPECT_FALSE(mNode.IsServing());
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  EXPECT_TRUE(mNode.IsServing());
}

TEST_F(NodeTest, WhoHasMissedAForgottenPartBeginsWithASnapshot) {
  BeginAsOther();
  const auto mine = mNode.Submit(ChangeOf("mine"));
  mNode.Flush();
  for (const Batch& batch : mTransport.TakePublished<Batch>()) Write(batch);
  Write(ForeignBatch("a"));
  const Sequence forgotten = mBrokers.log.size();
  Write(Mark{mBrokers.site.Token(), 2});
  Write(ManifestNow());
  ReadAgain(forgotten);
  EXPECT_FALSE(mNode.IsServing());
  EXPECT_EQ(mState.text, "begin;") << "nothing is applied behind a gap";
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  EXPECT_TRUE(mListener.Heard("passed " + std::to_string(*mine)));
  ReadAgain(mBrokers.mark);
  EXPECT_TRUE(mNode.IsServing());
  EXPECT_EQ(mState.text, "begin;mine;a;");
  EXPECT_EQ(mNode.Waiting(), 0U);
}

TEST_F(NodeTest, OpenedAnewItNoLongerServesAndLooksForASnapshotThatIsThere) {
  BeginAsOther();
  Foreign("a");
  mListener.words.clear();
  Write(ForeignBatch("b"));
  Write(Mark{mBrokers.site.Token(), 2});
  const Sequence gone = mBrokers.mark;
  mNode.OnOpened(Newest(ManifestNow()));  // "b" is forgotten.
  EXPECT_TRUE(mListener.Heard("not serving"));
  EXPECT_EQ(mTransport.fetched.back(), gone);
  const std::size_t reads = mTransport.reads.size();
  mNode.OnFetched(gone, std::nullopt);
  ASSERT_EQ(mTransport.reads.size(), reads + 1);
  EXPECT_EQ(mTransport.reads.back(), 0U) << "all that is kept";

  const Sequence forgotten = mBrokers.log.size();
  Write(Mark{mBrokers.site.Token(), 3});
  Write(ManifestNow());
  ReadAgain(forgotten);
  EXPECT_EQ(mTransport.fetched.back(), mBrokers.mark);
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  EXPECT_TRUE(mNode.IsServing());
  EXPECT_EQ(mState.text, "begin;a;b;");
}

// It would come to the same place, where the log does not go on.
TEST_F(NodeTest, OpenedAnewItDoesNotLoadWhatIsOlderThanItsOwnState) {
  BeginAsOther();
  Foreign("a");
  const std::size_t fetched = mTransport.fetched.size();
  mNode.OnOpened(Newest(ManifestNow()));
  EXPECT_EQ(mTransport.fetched.size(), fetched);
  EXPECT_EQ(mTransport.reads.back(), 0U);
  const Sequence forgotten = mBrokers.log.size();
  Write(ManifestNow());  // Doubled.
  Write(Mark{mBrokers.site.Token(), 2});
  ReadAgain(forgotten);
  EXPECT_EQ(mTransport.fetched.size(), fetched);
  EXPECT_FALSE(mNode.IsServing());
  Deliver(ManifestNow());
  EXPECT_EQ(mTransport.fetched.back(), mBrokers.mark);
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  EXPECT_TRUE(mNode.IsServing());
}

TEST_F(NodeTest, OpenedAnewWithoutAManifestItAppliesNothingToWhatItHas) {
  BeginAsOther();
  mNode.OnOpened(std::nullopt);
  mNode.OnCaughtUp();
  EXPECT_FALSE(mNode.IsServing());
  mNode.OnEntry(1, Encode(mBrokers.log[0]));
  mNode.OnEntry(2, Encode(ForeignBatch("a")));
  EXPECT_EQ(mState.text, "begin;");
}

TEST_F(NodeTest, AManifestOfAMarkThatIsStillToComeIsNotBelieved) {
  Write(Take{Origin(2), 0});
  Write(Mark{mBrokers.site.Token(), 1});
  Manifest wrong = ManifestNow();
  wrong.mark = 4;
  mNode.OnOpened(Newest(wrong));
  EXPECT_TRUE(mTransport.fetched.empty());
  EXPECT_EQ(mTransport.reads, std::vector<Sequence>{0});
  EXPECT_TRUE(mListener.Heard("word: "));
  wrong.mark = 1'000'000;
  mNode.OnEntry(Write(wrong), Encode(wrong));  // A gap: it looks for a manifest.
  EXPECT_TRUE(mTransport.fetched.empty());
  Deliver(ManifestNow());
  ASSERT_EQ(mTransport.fetched, std::vector<Sequence>{mBrokers.mark});
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  EXPECT_TRUE(mNode.IsServing());
}

TEST_F(NodeTest, EntriesThatTheLogHasLostAreSaidAndLeftOut) {
  BeginAsOther();
  Foreign("a");
  Write(NewGeneration{Origin(9), 1});
  const Sequence lost = Write(NewGeneration{Origin(9), 2});
  mNode.OnHole(lost + 1);
  EXPECT_TRUE(mListener.Heard("word: The brokers have lost entries " + std::to_string(lost - 1) +
                              " to " + std::to_string(lost) + " "));
  Foreign("b");
  EXPECT_TRUE(mNode.IsServing());
  EXPECT_EQ(mState.text, "begin;a;b;");
}

TEST_F(NodeTest, AMarkFollowsTenThousandChangesInWhateverEntries) {
  BeginAsKeeper();
  Pass(kMarkAtMostEach);
  Return();
  std::uint64_t marks = mBrokers.site.Marks();
  std::uint64_t changes = 0;
  while (changes < kMarkAfterChanges) {
    Pass(100ms);
    Return();
    EXPECT_EQ(mBrokers.site.Marks(), marks) << changes;
    Batch batch{Origin(2), 0, changes + 1, {}};
    for (int i = 0; i < 50; ++i, ++changes) batch.items.emplace_back(ChangeOf("x"));
    if (changes == kMarkAfterChanges) mTransport.TakePublished();
    Deliver(batch);
  }
  Pass(100ms);
  EXPECT_EQ(mTransport.TakePublished<Mark>().size(), 1U);
}

TEST_F(NodeTest, ALogThatIsNotOpenedForTenSecondsIsSaidOnce) {
  Pass(9900ms, false);
  EXPECT_FALSE(mListener.Heard("word: "));
  Pass(200ms, false);
  EXPECT_TRUE(mListener.Heard("word: The site's log cannot be opened"));
  mListener.words.clear();
  Pass(60s, false);
  EXPECT_FALSE(mListener.Heard("word: "));
}

TEST_F(NodeTest, SessionsAreKnownByTheirEntry) {
  BeginAsOther();
  ASSERT_TRUE(mNode.StartSession({Sid(7), 4000, "data"}));
  EXPECT_FALSE(mNode.StartSession({Sid(8), 4000, std::string(kMaxSessionData + 1, 'x')}));
  mNode.Flush();
  EXPECT_EQ(mNode.FindSession(Sid(7)), 0U);
  Return();
  const Sequence session = mBrokers.log.size();
  EXPECT_EQ(mNode.FindSession(Sid(7)), session);
  EXPECT_TRUE(mListener.Heard("session " + std::to_string(session) + " data mine"));
  Deliver(SessionEnd{mBrokers.site.Token(), session, session});
  EXPECT_TRUE(mListener.Heard("end " + std::to_string(session)));
  EXPECT_EQ(mNode.Session(session), nullptr);
}

TEST_F(NodeTest, ReadingAgainEndsNoSessionThatLives) {
  BeginAsOther();
  const Sequence old =
      Deliver(Batch{Origin(2), 0, ++mBrokers.foreign, {SessionStart{Sid(1), 0, "a"}}});
  mState.text += "ray;";
  Deliver(Mark{mBrokers.site.Token(), 2});
  const Sequence fresh =
      Deliver(Batch{Origin(2), 0, ++mBrokers.foreign, {SessionStart{Sid(2), 0, "b"}}});
  Deliver(ManifestNow());
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  EXPECT_FALSE(mListener.Heard("end"));
  EXPECT_NE(mNode.Session(old), nullptr);
  EXPECT_NE(mNode.Session(fresh), nullptr);
}

TEST_F(NodeTest, TheKeeperEndsIdleSessionsAndOthersDoNot) {
  BeginAsKeeper();
  mNode.StartSession({Sid(7), 4000, ""});
  mNode.Flush();
  Return();
  const Sequence session = mNode.FindSession(Sid(7));
  ASSERT_NE(session, 0U);
  for (int i = 0; i < 40; ++i, Pass(100ms)) Return();
  EXPECT_FALSE(mListener.Heard("end"));
  mNode.ExtendSession(session);
  for (int i = 0; i < 40; ++i, Pass(100ms)) Return();
  EXPECT_FALSE(mListener.Heard("end")) << "it was used";
  for (int i = 0; i < 30; ++i, Pass(100ms)) Return();
  EXPECT_TRUE(mListener.Heard("end " + std::to_string(session)));
}

TEST_F(NodeTest, AKeeperOfLongStandingLetsANewSessionLive) {
  BeginAsKeeper();
  for (int i = 0; i < 100; ++i, Pass(100ms)) Return();
  mNode.StartSession({Sid(7), 4000, ""});
  mNode.Flush();
  for (int i = 0; i < 40; ++i, Pass(100ms)) Return();
  EXPECT_FALSE(mListener.Heard("end"));
}

TEST_F(NodeTest, AnAwayLogIsSaidOnceAndAskedForNothing) {
  BeginAsOther();
  mListener.words.clear();
  Pass(5s, false);
  Pass(1s);
  int away = 0;
  for (const std::string& word : mListener.words) away += word == "away";
  EXPECT_EQ(away, 1);
  EXPECT_EQ(mListener.words.back(), "back");
  EXPECT_TRUE(mNode.IsServing()) << "stations stay";
}

TEST_F(NodeTest, GarbageIsCountedAndSaidOnce) {
  BeginAsOther();
  for (const std::string bytes : {"", "garbage", "\x02"}) {
    mBrokers.log.emplace_back(Renew{});
    mNode.OnEntry(mBrokers.log.size(), bytes);
  }
  EXPECT_EQ(mNode.Count().refusedEntries, 3U);
  int words = 0;
  for (const std::string& word : mListener.words) words += word.rfind("word:", 0) == 0;
  EXPECT_EQ(words, 1);
  Foreign("a");
  EXPECT_EQ(mState.text, "begin;a;");
}

TEST_F(NodeTest, SaysThatItsResourceFilesAreOthers) {
  mState.resources = Sid(9);
  BeginAsOther();
  EXPECT_TRUE(mListener.Heard("word: The resource files"));
}

TEST_F(NodeTest, AnEntryThatComesTwiceIsAppliedOnce) {
  BeginAsOther();
  const Sequence sequence = Foreign("a");
  mNode.OnEntry(sequence, Encode(mBrokers.log.back()));
  Deliver(Entry(mBrokers.log.back()));
  EXPECT_EQ(mState.text, "begin;a;");
}

}  // namespace
}  // namespace dorn::site
