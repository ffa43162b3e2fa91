#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/site/NatsHost.h"

namespace dorn::site {
namespace {

using testing::ElementsAre;
using testing::Pair;

std::string SomeSnapshot(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 31 + i / 257);
  return bytes;
}

class NatsSnapshotsTest : public testing::Test {
 protected:
  std::optional<std::string> Fetched(NatsHost& host, Sequence mark, std::uint32_t pieces) {
    const std::size_t before = host.mFetched.size();
    host.Transport().Fetch(mark, pieces);
    if (!host.Until([&] { return host.mFetched.size() > before; })) return std::nullopt;
    EXPECT_EQ(host.mFetched.back().first, mark);
    return host.mFetched.back().second;
  }

  bool IsStored(Sequence mark, const std::string& bytes) {
    const std::size_t before = mHost.mStored.size();
    mHost.Transport().Store(mark, bytes);
    EXPECT_TRUE(mHost.Until([&] { return mHost.mStored.size() > before; }));
    return mHost.mStored.back() == std::pair(mark, true);
  }

  NatsServer mServer;
  NatsHost mHost{OptionsFor(mServer)};
};

TEST_F(NatsSnapshotsTest, WhatOneHostStoresAnotherFetches) {
  const std::string bytes = SomeSnapshot(3 * kPieceBytes + 17);
  ASSERT_TRUE(IsStored(7, bytes));

  NatsHost other(OptionsFor(mServer));
  const auto fetched = Fetched(other, 7, 4);
  ASSERT_TRUE(fetched);
  EXPECT_TRUE(*fetched == bytes);
}

TEST_F(NatsSnapshotsTest, OneOfExactlyAPieceAndAnEmptyOneAreFetched) {
  for (const std::size_t size : {std::size_t{0}, kPieceBytes}) {
    ASSERT_TRUE(IsStored(size + 1, SomeSnapshot(size)));
    const auto fetched = Fetched(mHost, size + 1, 1);
    ASSERT_TRUE(fetched);
    EXPECT_TRUE(*fetched == SomeSnapshot(size));
  }
}

TEST_F(NatsSnapshotsTest, AMissingPieceMakesNoSnapshot) {
  ASSERT_TRUE(IsStored(7, SomeSnapshot(kPieceBytes)));
  EXPECT_FALSE(Fetched(mHost, 7, 2));
  EXPECT_FALSE(Fetched(mHost, 8, 1));
  EXPECT_TRUE(Fetched(mHost, 7, 1));
}

TEST_F(NatsSnapshotsTest, OneThatIsStoredTwiceIsFetchedOnce) {
  ASSERT_TRUE(IsStored(7, SomeSnapshot(300'000)));
  ASSERT_TRUE(IsStored(7, SomeSnapshot(300'000)));
  EXPECT_TRUE(Fetched(mHost, 7, 2) == SomeSnapshot(300'000));
}

TEST_F(NatsSnapshotsTest, AnotherOneWhileOneIsBeingStoredIsRefused) {
  ASSERT_TRUE(mHost.Opens());
  mHost.Transport().Store(1, SomeSnapshot(kPieceBytes * 20));
  mHost.Transport().Store(2, "b");
  ASSERT_TRUE(mHost.Until([&] { return mHost.mStored.size() == 2; }));
  EXPECT_THAT(mHost.mStored, ElementsAre(Pair(2, false), Pair(1, true)));
}

TEST_F(NatsSnapshotsTest, OneThatNobodyAcknowledgesIsNotStored) {
  ASSERT_TRUE(mHost.Bring("before"));
  mServer.Pause();
  EXPECT_FALSE(IsStored(7, SomeSnapshot(kPieceBytes)));
  mServer.Resume();
}

TEST_F(NatsSnapshotsTest, WhatIsForgottenIsGoneAndTheRestStays) {
  for (int i = 1; i <= 10; ++i) mHost.Transport().Publish(std::to_string(i));
  const std::string manifest = Encode(Manifest{1, 6, {}, 1, 1, {}});
  ASSERT_TRUE(mHost.Has(10));
  mHost.Transport().Publish(manifest);
  ASSERT_TRUE(mHost.Has(11));
  ASSERT_TRUE(IsStored(3, "three") && IsStored(5, "five") && IsStored(6, "six"));

  mHost.Transport().Forget(6);
  ASSERT_TRUE(mHost.Until([&] { return !Fetched(mHost, 5, 1); }));
  EXPECT_FALSE(Fetched(mHost, 3, 1));
  EXPECT_EQ(Fetched(mHost, 6, 1), "six");
  mHost.mEntries.clear();
  mHost.Transport().Read(5);
  ASSERT_TRUE(mHost.Has(6));
  EXPECT_EQ(mHost.mEntries.front(), std::pair(Sequence{6}, std::string("6")));
}

// Whoever is behind what was forgotten is told to begin anew, and never given half.
TEST_F(NatsSnapshotsTest, AHostThatIsTooFarBehindIsOpenedAnew) {
  for (int i = 1; i <= 5; ++i) mHost.Transport().Publish(std::to_string(i));
  ASSERT_TRUE(mHost.Has(5));
  const std::string manifest = Encode(Manifest{1, 4, {}, 1, 1, {}});
  mHost.Transport().Publish(manifest);
  ASSERT_TRUE(mHost.Has(6));
  ASSERT_TRUE(IsStored(3, "three"));
  mHost.Transport().Forget(4);
  ASSERT_TRUE(mHost.Until([&] { return !Fetched(mHost, 3, 1); }));

  NatsHost late(OptionsFor(mServer), false);
  ASSERT_TRUE(late.Opens());
  late.Transport().Read(1);
  ASSERT_TRUE(late.Until([&] { return late.mOpened == 2; }));
  ASSERT_TRUE(late.mNewest);
  EXPECT_EQ(late.mNewest->entry, manifest);
  EXPECT_TRUE(late.mEntries.empty());
  late.Transport().Read(4);
  ASSERT_TRUE(late.Has(2));
  EXPECT_EQ(late.mEntries.front(), std::pair(Sequence{5}, std::string("5")));
}

// As when the newest manifest is one that came late, and its snapshot is gone: a host reads what
// there is to find a better one.
TEST_F(NatsSnapshotsTest, WhoReadsFromTheBeginningReadsWhatIsKept) {
  for (int i = 1; i <= 5; ++i) mHost.Transport().Publish(std::to_string(i));
  ASSERT_TRUE(mHost.Has(5));
  mHost.Transport().Forget(4);
  const std::string manifest = Encode(Manifest{1, 2, {}, 1, 1, {}});
  mHost.Transport().Publish(manifest);
  ASSERT_TRUE(mHost.Has(6));
  NatsHost probe(OptionsFor(mServer), false);
  ASSERT_TRUE(probe.Until([&] {
    probe.Transport().Read(1);  // Answered by opening anew as soon as it is forgotten.
    return probe.Until([&] { return probe.mOpened > 1; }, std::chrono::seconds(3));
  }));

  NatsHost late(OptionsFor(mServer));
  ASSERT_TRUE(late.Has(3));
  EXPECT_THAT(late.mEntries, ElementsAre(Pair(4, "4"), Pair(5, "5"), Pair(6, manifest)));
  EXPECT_TRUE(late.Until([&] { return late.mCaughtUp == 1; }));
  EXPECT_EQ(late.mOpened, 1);
}

TEST_F(NatsSnapshotsTest, AnEmptiedLogIsReadWithoutOpeningItAgainAndAgain) {
  for (int i = 1; i <= 5; ++i) mHost.Transport().Publish(std::to_string(i));
  ASSERT_TRUE(mHost.Has(5));
  mHost.Transport().Forget(6);
  NatsHost probe(OptionsFor(mServer), false);
  ASSERT_TRUE(probe.Until([&] {
    probe.Transport().Read(1);
    return probe.Until([&] { return probe.mOpened > 1; }, std::chrono::seconds(3));
  }));

  NatsHost late(OptionsFor(mServer));
  EXPECT_TRUE(late.Until([&] { return late.mCaughtUp == 1; }));
  mHost.Transport().Publish("6");
  ASSERT_TRUE(late.Has(1));
  EXPECT_THAT(late.mEntries, ElementsAre(Pair(6, "6")));
  EXPECT_EQ(late.mOpened, 1);
}

}  // namespace
}  // namespace dorn::site
