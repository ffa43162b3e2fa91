#include "site/core/Snapshots.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "CoreTest.h"

namespace dorn::site {
namespace {

using namespace std::chrono_literals;

class SnapshotsTest : public testing::Test {
 protected:
  SnapshotsTest() { Apply(Take{Origin(1), 0}); }

  Sequence Apply(const Entry& entry) {
    mState.Apply(++mLast, entry);
    return mLast;
  }
  // What the keeper publishes within that time, a tick each 100 ms.
  std::vector<Entry> Pass(Ms time) {
    std::vector<Entry> published;
    for (const Ms end = mNow + time; mNow < end;) {
      mNow += 100ms;
      if (const auto entry = mSnapshots.Tick(mState, mNow)) published.push_back(*entry);
      mSnapshots.Forget(mNow);
    }
    return published;
  }
  // A mark comes back and its bytes are stored.
  Sequence MarkAndStore(bool isStored = true) {
    const Sequence mark = Apply(Mark{mState.Token(), mState.Marks() + 1});
    mSnapshots.OnMark(mNow);
    mSnapshots.Store(mark, "bytes", Sid(1), Sid(2), mNow);
    mSnapshots.OnStored(mark, isStored);
    return mark;
  }
  void ReturnManifest(Sequence mark) {
    Apply(Manifest{mState.Token(), mark, {}, 1, 1, {}});
    mSnapshots.OnManifest(mState.NewestMark(), mState.OlderMark(), mNow);
  }
  void Begin() { ReturnManifest(MarkAndStore()); }

  RecordingTransport mTransport;
  Snapshots mSnapshots{mTransport};
  State mState{Rules()};
  Sequence mLast = 0;
  Ms mNow{1'000'000};
};

TEST_F(SnapshotsTest, TheFirstMarkGoesAtOnce) {
  const auto published = Pass(100ms);
  ASSERT_EQ(published.size(), 1U);
  EXPECT_EQ(std::get<Mark>(published[0]).count, 1U);
  EXPECT_EQ(Pass(4900ms).size(), 0U);
  EXPECT_EQ(Pass(100ms).size(), 1U) << "again, until it comes back";
}

TEST_F(SnapshotsTest, AMarkEachMinuteIfAnythingHasChanged) {
  Begin();
  EXPECT_EQ(Pass(200s).size(), 0U);
  mSnapshots.OnChanged(1);
  EXPECT_EQ(Pass(100ms).size(), 1U);
  ReturnManifest(MarkAndStore());
  mSnapshots.OnChanged(1);
  EXPECT_EQ(Pass(59'900ms).size(), 0U);
  EXPECT_EQ(Pass(100ms).size(), 1U);
}

TEST_F(SnapshotsTest, AMarkAfterTenThousandChangesButNotWithinFiveSeconds) {
  Begin();
  for (std::uint64_t i = 0; i < kMarkAfterChanges - 1; ++i) mSnapshots.OnChanged(1);
  EXPECT_EQ(Pass(10s).size(), 0U);
  mSnapshots.OnChanged(1);
  EXPECT_EQ(Pass(100ms).size(), 1U);
  ReturnManifest(MarkAndStore());
  for (std::uint64_t i = 0; i < kMarkAfterChanges; ++i) mSnapshots.OnChanged(1);
  EXPECT_EQ(Pass(4900ms).size(), 0U);
  EXPECT_EQ(Pass(100ms).size(), 1U);
}

TEST_F(SnapshotsTest, ANewKeeperMarksNotWithinFiveSecondsBehindTheFormer) {
  Begin();
  Pass(100s);
  mSnapshots.OnMark(mNow);  // The former keeper's.
  mSnapshots.OnTake();
  for (std::uint64_t i = 0; i < kMarkAfterChanges; ++i) mSnapshots.OnChanged(1);
  EXPECT_EQ(Pass(4900ms).size(), 0U);
  EXPECT_EQ(Pass(100ms).size(), 1U);
}

TEST_F(SnapshotsTest, TheManifestFollowsTheStoringAndIsSaidUntilItComesBack) {
  const Sequence mark = MarkAndStore();
  const auto published = Pass(2s);
  ASSERT_EQ(published.size(), 2U);
  const auto& manifest = std::get<Manifest>(published[0]);
  EXPECT_EQ(manifest.token, mState.Token());
  EXPECT_EQ(manifest.mark, mark);
  EXPECT_EQ(manifest.digest, Sid(1));
  EXPECT_EQ(manifest.resources, Sid(2));
  EXPECT_EQ(manifest.bytes, 5U);
  EXPECT_EQ(manifest.pieces, 1U);
  ReturnManifest(mark);
  EXPECT_EQ(Pass(10s).size(), 0U);
}

TEST_F(SnapshotsTest, WhatCouldNotBeStoredIsStoredAgain) {
  const Sequence mark = MarkAndStore(false);
  EXPECT_EQ(Pass(1500ms).size(), 0U);
  EXPECT_EQ(mTransport.stored.size(), 2U);
  mSnapshots.OnStored(mark, true);
  EXPECT_EQ(Pass(100ms).size(), 1U);
}

TEST_F(SnapshotsTest, WhatIsNeverStoredGivesWayToANewMark) {
  const Sequence mark = Apply(Mark{mState.Token(), 1});
  mSnapshots.Store(mark, "bytes", Sid(1), Sid(2), mNow);
  EXPECT_EQ(Pass(59'900ms).size(), 0U);
  EXPECT_EQ(Pass(100ms).size(), 1U);
}

TEST_F(SnapshotsTest, PiecesAreOf256Kilobytes) {
  for (const auto& [size, pieces] :
       {std::pair<std::size_t, unsigned>{0, 1}, {262'144, 1}, {262'145, 2}}) {
    mSnapshots.Store(5, std::string(size, 'x'), Sid(1), Sid(2), mNow);
    mSnapshots.OnStored(5, true);
    const auto published = Pass(1s);
    ASSERT_FALSE(published.empty());
    EXPECT_EQ(std::get<Manifest>(published[0]).pieces, pieces) << size;
  }
}

TEST_F(SnapshotsTest, TheLogIsForgottenUpToTheOlderMarkAMinuteLater) {
  Begin();
  const Sequence older = mState.NewestMark();
  Pass(200s);
  EXPECT_TRUE(mTransport.forgotten.empty());
  ReturnManifest(MarkAndStore());
  Pass(59'900ms);
  EXPECT_TRUE(mTransport.forgotten.empty());
  Pass(100ms);
  EXPECT_EQ(mTransport.forgotten, std::vector<Sequence>{older}) << "and its snapshot stays";
}

TEST_F(SnapshotsTest, AFormerKeeperDropsWhatItWasMaking) {
  MarkAndStore();
  mSnapshots.OnTake();
  for (const Entry& entry : Pass(3s)) EXPECT_FALSE(std::holds_alternative<Manifest>(entry));
}

TEST_F(SnapshotsTest, DigestsOfTheLastMarksAreKnown) {
  for (unsigned char i = 1; i <= 20; ++i) mSnapshots.Remember(i, Sid(i));
  EXPECT_EQ(mSnapshots.DigestAt(20), Sid(20));
  EXPECT_EQ(mSnapshots.DigestAt(10), Sid(10));
  EXPECT_FALSE(mSnapshots.DigestAt(1));
  mSnapshots.Remember(15, Sid(99));
  EXPECT_EQ(mSnapshots.DigestAt(15), Sid(99)) << "the last word";
}

TEST_F(SnapshotsTest, WhatIsReadIsWhatWasWritten) {
  const std::string bytes = WriteSnapshot(mState, "dialogs");
  const auto parts = ReadSnapshot(bytes, Rules());
  ASSERT_TRUE(parts);
  EXPECT_EQ(parts->dialogs, "dialogs");
  EXPECT_EQ(parts->state.Token(), mState.Token());
  EXPECT_EQ(WriteSnapshot(parts->state, parts->dialogs), bytes);
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_FALSE(ReadSnapshot(std::string_view(bytes).substr(0, length), Rules())) << length;
  }
  EXPECT_FALSE(ReadSnapshot(bytes + "x", Rules()));
  EXPECT_FALSE(ReadSnapshot("\x02" + bytes.substr(1), Rules())) << "another version";
}

}  // namespace
}  // namespace dorn::site
