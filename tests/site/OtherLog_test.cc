// What a node does when its log has become another one, and with snapshots that cannot be had.
#include <gtest/gtest.h>

#include <string>

#include "NodeTest.h"

namespace dorn::site {
namespace {

using namespace std::chrono_literals;

class OtherLogTest : public NodeTest {
 protected:
  // What the brokers have at this moment, to go back to.
  void BackUp() { mBackUp = mBrokers; }
  void DeleteLog() { mBrokers = {}; }
  // The log was put back, and its newest manifest is the one that the node began with.
  void TellRestored() {
    mBrokers = mBackUp;
    const Sequence mark = mBrokers.mark;
    mNode.OnOtherLog(TransportListener::NewestManifest{mark + 1, Encode(mBrokers.log[mark])});
  }
  // The node keeps the site, and has handed over the bytes of a snapshot that follows the first.
  void BeginAsKeeperAndStoreASecond() {
    ASSERT_NO_FATAL_FAILURE(BeginAsKeeper());
    mTransport.stored.clear();
    mNode.Submit(ChangeOf("x"));
    for (int i = 0; i < 700 && mTransport.stored.empty(); ++i) {
      Pass(100ms);
      Return();
    }
    ASSERT_EQ(mTransport.stored.size(), 1U) << "the second snapshot";
  }

  Brokers mBackUp;
};

TEST_F(OtherLogTest, WithoutItsEndTheHostBeginsAnewWithTheNewestSnapshotAndSaysSo) {
  BeginAsOther();
  Foreign("kept");
  BackUp();
  Foreign("lost");
  ASSERT_EQ(mState.text, "begin;kept;lost;");

  TellRestored();
  EXPECT_TRUE(mListener.Heard("word: The site's log is not the one that this host has read"));
  EXPECT_FALSE(mNode.IsServing());
  EXPECT_FALSE(mNode.Submit(ChangeOf("x")));
  EXPECT_EQ(mTransport.fetched.back(), mBrokers.mark);
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  EXPECT_EQ(mTransport.reads.back(), mBrokers.mark);
  ReadAgain(mBrokers.mark);
  EXPECT_TRUE(mNode.IsServing());
  Foreign("other");
  EXPECT_EQ(mState.text, "begin;kept;other;");
  EXPECT_FALSE(mListener.Heard("diverged"));
}

TEST_F(OtherLogTest, OwnChangesThatWaitAreRefusedByTheNewLogAndLaterOnesCount) {
  BeginAsOther();
  BackUp();
  mNode.Submit(ChangeOf("accepted and lost"));
  mNode.Flush();
  Return();
  const auto waits = mNode.Submit(ChangeOf("waits"));
  mNode.Flush();
  mTransport.TakePublished();

  TellRestored();
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  Pass(100ms);
  EXPECT_FALSE(mListener.Heard("refused")) << "it may still come";
  Return();
  EXPECT_TRUE(mListener.Heard("refused " + std::to_string(*waits)));
  ASSERT_TRUE(mNode.Submit(ChangeOf("later")));
  mNode.Flush();
  Return();
  EXPECT_EQ(mState.text, "begin;later;");
}

// The new log has a mark at the same place, which its snapshot is behind: of that one the host
// knows nothing.
TEST_F(OtherLogTest, ItsOldMarksSayNothingOfTheNewOnes) {
  BeginAsOther();
  BackUp();
  Foreign("lost");
  const Sequence old = Deliver(Mark{mBrokers.site.Token(), 2});
  mBrokers = mBackUp;
  Write(ForeignBatch("other"));
  ASSERT_EQ(Write(Mark{mBrokers.site.Token(), 2}), old);
  const Manifest late = ManifestNow();
  Write(ForeignBatch("more"));
  Write(Mark{mBrokers.site.Token(), 3});
  Write(late);
  mNode.OnOtherLog(Newest(ManifestNow()));
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  EXPECT_EQ(mState.text, "begin;other;more;");
  EXPECT_FALSE(mListener.Heard("diverged"));
  EXPECT_TRUE(mNode.IsServing());
}

// Of the old log, and with a later mark than any of the new one.
TEST_F(OtherLogTest, WhoIsLoadingASnapshotLoadsTheOneOfTheNewLog) {
  BeginAsOther();
  BackUp();
  Foreign("lost");
  Write(Mark{mBrokers.site.Token(), 2});
  const Brokers old = mBrokers;
  mNode.OnOpened(Newest(ManifestNow()));
  ASSERT_EQ(mTransport.fetched.back(), old.mark);
  TellRestored();
  ASSERT_EQ(mTransport.fetched.back(), mBrokers.mark);
  mNode.OnFetched(old.mark, old.snapshot);  // It was on its way.
  EXPECT_EQ(mState.text, "begin;lost;");
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  EXPECT_TRUE(mNode.IsServing());
  EXPECT_EQ(mState.text, "begin;");
}

TEST_F(OtherLogTest, AnEmptyLogBeginsWithTheDialogsOfWhoKeepsFirst) {
  BeginAsKeeper();
  mNode.Submit(ChangeOf("a"));
  mNode.StartSession({Sid(7), 4000, "data"});
  mNode.Flush();
  Return();
  const Sequence session = mNode.FindSession(Sid(7));
  ASSERT_NE(session, 0U);

  DeleteLog();
  mTransport.stored.clear();
  mTransport.TakePublished();
  mNode.OnOtherLog(std::nullopt);
  EXPECT_EQ(mTransport.reads.back(), 0U);
  EXPECT_FALSE(mNode.IsServing());
  mNode.OnCaughtUp();
  EXPECT_TRUE(mListener.Heard("end " + std::to_string(session))) << "nobody knows it any more";
  Pass(1100ms);
  Return();
  Pass(100ms);
  Return();
  ASSERT_EQ(mTransport.stored.size(), 1U);
  mNode.OnStored(mTransport.stored[0].first, true);
  Pass(100ms);
  Return();
  EXPECT_TRUE(mNode.IsServing());
  EXPECT_EQ(mState.text, "a;");
  ASSERT_TRUE(mNode.Submit(ChangeOf("b")));
  mNode.Flush();
  Return();
  EXPECT_EQ(mState.text, "a;b;");
}

// It is there already when the host has read the new log.
TEST_F(OtherLogTest, ASessionInThePlaceOfAnotherIsThatOneNoMore) {
  BeginAsOther();
  BackUp();
  const auto start = [this](unsigned char sid, const std::string& data) {
    return Batch{Origin(2), 0, ++mBrokers.foreign, {SessionStart{Sid(sid), 0, data}}};
  };
  const Sequence session = Deliver(start(1, "first"));
  TellRestored();
  ASSERT_EQ(Write(start(2, "second")), session);
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  mListener.words.clear();
  ReadAgain(mBrokers.mark);
  const std::string name = std::to_string(session);
  EXPECT_EQ(mListener.words,
            (std::vector<std::string>{"end " + name, "session " + name + " second", "serving"}));
}

// An extension that was lost with the old log is told again.
TEST_F(OtherLogTest, WhatWasToldOfSessionsIsToldAnew) {
  BeginAsOther();
  const Sequence session =
      Deliver(Batch{Origin(2), 0, ++mBrokers.foreign, {SessionStart{Sid(1), 60'000, "data"}}});
  BackUp();
  const auto told = [&] {
    mNode.ExtendSession(session);
    mNode.Flush();
    return mTransport.TakePublished<Batch>().size();
  };
  ASSERT_EQ(told(), 1U);
  ASSERT_EQ(told(), 0U);
  TellRestored();
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  Pass(100ms);
  Return();  // What waits is fenced off.
  EXPECT_EQ(told(), 1U);
  EXPECT_FALSE(mListener.Heard("end"));
}

// The host has had to look for a later one in the old log.
TEST_F(OtherLogTest, ItsNewestSnapshotIsOfUseHoweverEarlyItIs) {
  BeginAsOther();
  BackUp();
  Foreign("lost");
  mNode.OnOpened(Newest(ManifestNow()));
  ASSERT_EQ(mTransport.fetched.size(), 1U) << "of no use in the old log";
  TellRestored();
  ASSERT_EQ(mTransport.fetched.size(), 2U);
  mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
  ReadAgain(mBrokers.mark);
  EXPECT_TRUE(mNode.IsServing());
  EXPECT_EQ(mState.text, "begin;");
}

TEST_F(OtherLogTest, WhatNobodyCouldLoadIsNotStoredAndSaidOnce) {
  BeginAsKeeper();
  mTransport.stored.clear();
  mState.isLoadable = false;
  const auto change = [this] {
    mNode.Submit(ChangeOf("x"));
    for (int i = 0; i < 700; ++i) {
      Pass(100ms);
      Return();
    }
  };
  change();
  change();
  EXPECT_TRUE(mTransport.stored.empty());
  int words = 0;
  for (const std::string& word : mListener.words) words += word.find("too large") != word.npos;
  EXPECT_EQ(words, 1);
  EXPECT_TRUE(mNode.IsServing());

  mState.isLoadable = true;
  change();
  EXPECT_FALSE(mTransport.stored.empty());
}

// Nothing changes, so there would be no other occasion.
TEST_F(OtherLogTest, TheKeeperStoresANewSnapshotWhenAllAreGoneAndSaysSoOnce) {
  BeginAsKeeper();
  for (int times = 1; times <= 2; ++times) {
    Pass(10s);
    mTransport.stored.clear();
    Return();
    ASSERT_TRUE(mTransport.stored.empty());

    for (int i = 0; i < 20; ++i) {
      mNode.OnNoSnapshots();
      Pass(100ms);
      Return();
    }
    ASSERT_EQ(mTransport.stored.size(), 1U);
    int words = 0;
    for (const std::string& word : mListener.words) words += word.find("none of") != word.npos;
    EXPECT_EQ(words, times) << "once each time";
    mNode.OnStored(mTransport.stored[0].first, true);
    Pass(1100ms);
    Return();
    const Sequence newest = mTransport.stored[0].first;
    for (int i = 0; i < 100; ++i) {
      Pass(100ms);
      Return();
    }
    EXPECT_EQ(mTransport.stored.size(), 1U) << "it is there";
    EXPECT_EQ(mBrokers.mark, newest);
  }
}

TEST_F(OtherLogTest, WhoDoesNotKeepTheSiteMarksNothingWhenSnapshotsAreGone) {
  BeginAsOther();
  Pass(2s);
  mTransport.TakePublished();
  mNode.OnNoSnapshots();
  Pass(900ms);
  EXPECT_TRUE(mTransport.TakePublished<Mark>().empty());
  EXPECT_FALSE(mListener.Heard("word: The brokers have none"));
}

TEST_F(OtherLogTest, BeforeTheFirstSnapshotNoneIsMissed) {
  mNode.OnOpened(std::nullopt);
  mNode.OnCaughtUp();
  mNode.OnNoSnapshots();
  Pass(100ms);
  Return();
  Pass(100ms);
  mNode.OnNoSnapshots();
  Return();
  EXPECT_EQ(mTransport.stored.size(), 1U);
  EXPECT_FALSE(mListener.Heard("word: The brokers have none"));
}

// Brokers answer a question of a moment ago.
TEST_F(OtherLogTest, ASnapshotThatWasJustAnnouncedIsNotMissed) {
  BeginAsKeeper();
  mTransport.stored.clear();
  for (int i = 0; i < 15; ++i) {
    mNode.OnNoSnapshots();
    Pass(100ms);
    Return();
  }
  EXPECT_FALSE(mListener.Heard("word: The brokers have none"));
  EXPECT_TRUE(mTransport.stored.empty());
}

// The log may be another one, which the host has not been told yet.
TEST_F(OtherLogTest, NoSnapshotIsAnnouncedWhileNoRenewalComesBack) {
  ASSERT_NO_FATAL_FAILURE(BeginAsKeeperAndStoreASecond());
  Pass(2s);
  mNode.OnStored(mTransport.stored[0].first, true);
  Pass(5s);
  EXPECT_TRUE(mTransport.TakePublished<Manifest>().empty());
  Pass(100ms);
  Return();
  Pass(1s);
  Return();
  Pass(1s);
  EXPECT_FALSE(mTransport.TakePublished<Manifest>().empty());
}

// A log that is another one, which the host has not been told yet, would lose its beginning.
TEST_F(OtherLogTest, NothingIsForgottenWhileNoRenewalComesBack) {
  ASSERT_NO_FATAL_FAILURE(BeginAsKeeperAndStoreASecond());
  mNode.OnStored(mTransport.stored[0].first, true);
  Pass(100ms);
  Return();
  Pass(70s);
  EXPECT_TRUE(mTransport.forgotten.empty());
  Return();
  Pass(100ms);
  EXPECT_EQ(mTransport.forgotten.size(), 1U);
}

TEST_F(OtherLogTest, ASnapshotThatStaysAwayIsSaidOnceAndAskedForOn) {
  Write(Take{Origin(2), 0});
  Write(Mark{mBrokers.site.Token(), 1});
  mNode.OnOpened(Newest(ManifestNow()));
  for (int i = 0; i < 30; ++i) {
    mNode.OnFetched(mBrokers.mark, std::nullopt);
    Pass(1100ms);
  }
  EXPECT_EQ(mTransport.fetched.size(), 31U);
  int words = 0;
  for (const std::string& word : mListener.words)
    words += word.find("not among those") != word.npos;
  EXPECT_EQ(words, 1);
}

}  // namespace
}  // namespace dorn::site
