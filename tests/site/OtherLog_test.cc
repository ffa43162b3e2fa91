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
  void BackUp() {
    mOldLog = mLog;
    mOldSite = mSite;
    mOldText = mSiteText;
    mOldForeign = mForeign;
    mOldSnapshot = mSnapshot;
    mOldMark = mMark;
  }
  void Restore() {
    mLog = mOldLog;
    mSite = mOldSite;
    mSiteText = mOldText;
    mForeign = mOldForeign;
    mSnapshot = mOldSnapshot;
    mMark = mOldMark;
  }
  void DeleteLog() {
    mLog.clear();
    mSite = State(Rules());
    mForeign = 0;
  }
  // The log was put back, and its newest manifest is the one that the node began with.
  void TellRestored() {
    Restore();
    mNode.OnOtherLog(TransportListener::NewestManifest{mMark + 1, Encode(mLog[mMark])});
  }

  std::vector<Entry> mOldLog;
  State mOldSite{Rules()};
  std::string mOldText;
  std::uint64_t mOldForeign = 0;
  std::string mOldSnapshot;
  Sequence mOldMark = 0;
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
  EXPECT_EQ(mTransport.fetched.back(), mMark);
  mNode.OnFetched(mMark, mSnapshot);
  EXPECT_EQ(mTransport.reads.back(), mMark);
  ReadAgain(mMark);
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
  mNode.OnFetched(mMark, mSnapshot);
  ReadAgain(mMark);
  Pass(100ms);
  EXPECT_FALSE(mListener.Heard("refused")) << "it may still come";
  Return();
  EXPECT_TRUE(mListener.Heard("refused " + std::to_string(*waits)));
  ASSERT_TRUE(mNode.Submit(ChangeOf("later")));
  mNode.Flush();
  Return();
  EXPECT_EQ(mState.text, "begin;later;");
}

TEST_F(OtherLogTest, ItsOldMarksSayNothingOfTheNewOnes) {
  BeginAsOther();
  BackUp();
  Foreign("lost");
  Deliver(Mark{mSite.Token(), 2});
  TellRestored();
  mNode.OnFetched(mMark, mSnapshot);
  mListener.words.clear();
  ReadAgain(mMark);
  Foreign("other");
  Deliver(Mark{mSite.Token(), 2});
  Deliver(ManifestNow());
  EXPECT_FALSE(mListener.Heard("diverged"));
  EXPECT_TRUE(mNode.IsServing());
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

TEST_F(OtherLogTest, ASessionInThePlaceOfAnotherIsThatOneNoMore) {
  BeginAsOther();
  BackUp();
  const auto start = [this](unsigned char sid, const std::string& data) {
    return Deliver(Batch{Origin(2), 0, ++mForeign, {SessionStart{Sid(sid), 0, data}}});
  };
  const Sequence session = start(1, "first");
  TellRestored();
  mNode.OnFetched(mMark, mSnapshot);
  mListener.words.clear();
  ReadAgain(mMark);
  ASSERT_EQ(start(2, "second"), session);
  EXPECT_TRUE(mListener.Heard("end " + std::to_string(session)));
  EXPECT_TRUE(mListener.Heard("session " + std::to_string(session) + " second"));
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

TEST_F(OtherLogTest, ASnapshotThatStaysAwayIsSaidOnceAndAskedForOn) {
  Write(Take{Origin(2), 0});
  Write(Mark{mSite.Token(), 1});
  mNode.OnOpened(Newest(ManifestNow()));
  for (int i = 0; i < 30; ++i) {
    mNode.OnFetched(mMark, std::nullopt);
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
