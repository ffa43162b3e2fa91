#include "site/core/Sender.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "CoreTest.h"

namespace dorn::site {
namespace {

using namespace std::chrono_literals;

class SenderTest : public testing::Test {
 protected:
  Ticket Add(const std::string& command = "x") {
    const auto ticket = mSender.Add(ChangeOf(command), mNow);
    EXPECT_TRUE(ticket);
    return ticket.value_or(0);
  }
  std::vector<Ticket> AddAndFlush(int count) {
    std::vector<Ticket> tickets;
    for (int i = 0; i < count; ++i) tickets.push_back(Add());
    mSender.Flush(mNow);
    return tickets;
  }

  void Pass(Ms time) {
    for (const Ms end = mNow + time; mNow < end;) {
      mNow += 10ms;
      mSender.Tick(mNow);
    }
  }

  // What was published since, each entry as "first number+items".
  std::vector<std::string> Batches() {
    std::vector<std::string> batches;
    for (const Batch& batch : mTransport.TakePublished<Batch>()) {
      batches.push_back(std::to_string(batch.first) + "+" + std::to_string(batch.items.size()));
    }
    return batches;
  }

  using Words = std::vector<std::string>;
  using Tickets = std::vector<Ticket>;

  RecordingTransport mTransport;
  Sender mSender{Origin(1), mTransport, Rules()};
  Ms mNow{1'000'000};
};

TEST_F(SenderTest, WhatAPassHasHandedInGoesInOneEntry) {
  AddAndFlush(3);
  EXPECT_EQ(Batches(), (Words{"1+3"}));
  AddAndFlush(1);
  EXPECT_EQ(Batches(), (Words{"4+1"}));
}

TEST_F(SenderTest, AnEntryHoldsAtMost64ItemsAnd64Kilobytes) {
  AddAndFlush(130);
  EXPECT_EQ(Batches(), (Words{"1+64", "65+64", "129+2"}));
  for (int i = 0; i < 4; ++i) Add(std::string(30'000, 'x'));
  mSender.Flush(mNow);
  for (const Entry& entry : mTransport.published) EXPECT_LE(Encode(entry).size(), kMaxBatchBytes);
  EXPECT_EQ(Batches(), (Words{"131+2", "133+2"}));
}

TEST_F(SenderTest, ALargeChangeGoesAloneAndATooLargeOneNot) {
  Add();
  Add(std::string(200'000, 'x'));
  Add();
  mSender.Flush(mNow);
  EXPECT_EQ(Batches(), (Words{"1+1", "2+1", "3+1"}));
  EXPECT_FALSE(mSender.Add(ChangeOf(std::string(kMaxEntryBytes - 100, 'x')), mNow));
  const std::string largest(kMaxEntryBytes - 128 - 1, 'x');
  Add(largest);
  mSender.Flush(mNow);
  EXPECT_LE(Encode(mTransport.published.at(0)).size(), kMaxEntryBytes);
}

TEST_F(SenderTest, AnEntryHoldsOneSession) {
  mSender.Add(SessionStart{Sid(1), 1, ""}, mNow);
  Add();
  mSender.Add(SessionStart{Sid(2), 1, ""}, mNow);
  mSender.Flush(mNow);
  EXPECT_EQ(Batches(), (Words{"1+2", "3+1"}));
}

TEST_F(SenderTest, TheLowestThatWaitsGoesAgainWithAllBehindIt) {
  const Tickets tickets = AddAndFlush(1);
  AddAndFlush(1);
  AddAndFlush(1);
  EXPECT_EQ(mSender.CameBack(0, 1, mNow), tickets[0]);
  Batches();
  Pass(90ms);
  EXPECT_EQ(Batches(), Words());
  Pass(10ms);
  EXPECT_EQ(Batches(), (Words{"2+2"})) << "and in fewer entries";
}

TEST_F(SenderTest, ThePauseDoublesUpToASecondWhileNothingComes) {
  AddAndFlush(1);
  Batches();
  std::vector<int> times;
  for (int ms = 10; ms <= 4600; ms += 10) {
    Pass(10ms);
    if (!Batches().empty()) times.push_back(ms);
  }
  EXPECT_EQ(times, (std::vector<int>{100, 300, 700, 1500, 2500, 3500, 4500}));
}

TEST_F(SenderTest, WhatComesBackShortensThePauseAgain) {
  AddAndFlush(1);
  AddAndFlush(1);
  Pass(2s);
  mSender.CameBack(0, 1, mNow);
  Batches();
  Pass(100ms);
  EXPECT_EQ(Batches(), (Words{"2+1"}));
}

TEST_F(SenderTest, AGapIsFilledAtOnceButNotForEachEntryBehindIt) {
  AddAndFlush(1);
  AddAndFlush(1);
  Batches();
  mSender.SawGap(mNow);
  mSender.SawGap(mNow);
  EXPECT_EQ(Batches(), (Words{"1+2"}));
}

TEST_F(SenderTest, WhatComesASecondTimeHasNoTicket) {
  AddAndFlush(2);
  mSender.CameBack(0, 1, mNow);
  EXPECT_FALSE(mSender.CameBack(0, 1, mNow));
  EXPECT_FALSE(mSender.CameBack(1, 2, mNow)) << "of another generation";
  EXPECT_TRUE(mSender.CameBack(0, 2, mNow));
  EXPECT_EQ(mSender.Waiting(), 0U);
}

TEST_F(SenderTest, NobodyKnowsAfterTwoSeconds) {
  const Tickets tickets = AddAndFlush(2);
  Pass(1990ms);
  EXPECT_EQ(mSender.TakeUnknown(mNow), Tickets());
  Pass(10ms);
  EXPECT_EQ(mSender.TakeUnknown(mNow), tickets);
  EXPECT_EQ(mSender.TakeUnknown(mNow), Tickets()) << "said once";
}

TEST_F(SenderTest, AThousandMayWait) {
  AddAndFlush(1000);
  EXPECT_FALSE(mSender.Add(ChangeOf("x"), mNow));
  mSender.CameBack(0, 1, mNow);
  EXPECT_TRUE(mSender.Add(ChangeOf("x"), mNow));
}

TEST_F(SenderTest, TakesNothingMoreWhenTheOldestHasWaitedTooLong) {
  AddAndFlush(1);
  Pass(11'990ms);
  EXPECT_TRUE(mSender.IsOpen(mNow));
  mNow += 10ms;
  EXPECT_FALSE(mSender.Add(ChangeOf("x"), mNow));
}

TEST_F(SenderTest, GivesUpByANewGenerationOnly) {
  const Tickets tickets = AddAndFlush(2);
  Pass(12s);
  mTransport.TakePublished();
  Pass(3s);
  EXPECT_EQ(mTransport.TakePublished<NewGeneration>().size(), 3U) << "each second";
  EXPECT_EQ(mSender.TakeRefused(), Tickets()) << "it may still come back";
  EXPECT_FALSE(mSender.Add(ChangeOf("x"), mNow));
  EXPECT_EQ(mSender.CameBack(0, 1, mNow), tickets[0]);

  EXPECT_EQ(mSender.CameBack(NewGeneration{Origin(1), 1}, mNow), (Tickets{tickets[1]}));
  Batches();
  AddAndFlush(1);
  const auto batches = mTransport.TakePublished<Batch>();
  ASSERT_EQ(batches.size(), 1U);
  EXPECT_EQ(batches[0].generation, 1U);
  EXPECT_EQ(batches[0].first, 1U) << "numbers begin anew";
  EXPECT_EQ(mSender.CameBack(NewGeneration{Origin(1), 1}, mNow), Tickets());
}

TEST_F(SenderTest, ANewLogIsAskedForANewGenerationWhoeverWaits) {
  const Tickets tickets = AddAndFlush(2);
  EXPECT_EQ(mSender.CameBack(0, 1, mNow), tickets[0]);
  mTransport.TakePublished();
  mSender.Fence(mNow);
  EXPECT_FALSE(mSender.Add(ChangeOf("x"), mNow));
  Pass(100ms);
  const auto asked = mTransport.TakePublished<NewGeneration>();
  ASSERT_EQ(asked.size(), 1U);
  EXPECT_EQ(mSender.CameBack(asked[0], mNow), (Tickets{tickets[1]}));

  mSender.Fence(mNow);  // With nothing that waits.
  Pass(100ms);
  EXPECT_EQ(mTransport.TakePublished<NewGeneration>().back().generation, 2U);
  EXPECT_EQ(mSender.CameBack(NewGeneration{Origin(1), 2}, mNow), Tickets());
  AddAndFlush(1);
  EXPECT_EQ(Batches(), Words{"1+1"});
}

TEST_F(SenderTest, WhatWasNeverHandedOverIsRefusedWithoutAWordToTheLog) {
  mTransport.takes = false;
  const Tickets tickets = AddAndFlush(2);
  Pass(12s);
  EXPECT_EQ(mSender.TakeRefused(), tickets);
  mTransport.takes = true;
  AddAndFlush(1);
  const auto batches = mTransport.TakePublished<Batch>();
  ASSERT_EQ(batches.size(), 1U);
  EXPECT_EQ(batches[0].first, 1U) << "their numbers were free";
}

TEST_F(SenderTest, WhatMayBeInTheLogIsNotRefusedWithoutIt) {
  AddAndFlush(1);
  mTransport.takes = false;
  const Tickets second = AddAndFlush(1);
  Pass(13s);
  EXPECT_EQ(mSender.TakeRefused(), second);
  EXPECT_EQ(mSender.Waiting(), 1U);
}

TEST_F(SenderTest, ARefusedPublishIsTriedAgain) {
  mTransport.takes = false;
  AddAndFlush(1);
  mTransport.takes = true;
  Pass(100ms);
  EXPECT_EQ(Batches(), (Words{"1+1"}));
}

TEST_F(SenderTest, WhatWaitsIsBoundedInBytesToo) {
  const std::string large(500'000, 'x');
  for (int i = 0; i < 16; ++i) Add(large);
  EXPECT_FALSE(mSender.Add(ChangeOf(large), mNow)) << "more than 8 MB";
  Add("a small one");
  mSender.Flush(mNow);
  EXPECT_TRUE(mSender.CameBack(0, 1, mNow));
  Add(large);
  EXPECT_FALSE(mSender.Add(ChangeOf(large), mNow));
  mSender.CameBack(NewGeneration{Origin(1), 1}, mNow);
  for (int i = 0; i < 16; ++i) Add(large);
}

TEST_F(SenderTest, WhereThereIsNoRoomForOneEntryTheRestIsNotTried) {
  AddAndFlush(640);
  const Words all = Batches();
  ASSERT_EQ(all.size(), 10U);
  mTransport.room = 3;
  Pass(100ms);
  EXPECT_EQ(Batches().size(), 3U);
  EXPECT_EQ(mTransport.refused, 1U);

  mTransport.room = 20;
  Pass(200ms);
  EXPECT_EQ(Batches(), all);
}

TEST_F(SenderTest, WhatWasNotTakenGoesAsSoonAsThereIsRoom) {
  mTransport.room = 1;
  Add();
  AddAndFlush(100);
  EXPECT_EQ(Batches(), Words{"1+64"});
  EXPECT_EQ(mTransport.refused, 1U);
  mTransport.room = 20;
  mSender.Flush(mNow);
  EXPECT_EQ(Batches(), Words{"65+37"});
}

TEST_F(SenderTest, WhatGoesForTheFirstTimeBesideAnOlderOneComesBackAsAnyOther) {
  const Tickets first = AddAndFlush(1);
  mTransport.room = 0;
  const Tickets second = AddAndFlush(1);
  mTransport.room = 1;
  Batches();
  mSender.SawGap(mNow);
  EXPECT_EQ(Batches(), Words{"1+2"});
  EXPECT_EQ(mSender.CameBack(0, 1, mNow), first[0]);
  EXPECT_EQ(mSender.CameBack(0, 2, mNow), second[0]);
  EXPECT_EQ(mSender.Waiting(), 0U);
}

TEST_F(SenderTest, ASnapshotSettlesWhatWasAppliedInIt) {
  const Tickets tickets = AddAndFlush(3);
  const auto settled = mSender.Settle(0, 2, 0, mNow);
  EXPECT_EQ(settled.passed, (Tickets{tickets[0], tickets[1]}));
  EXPECT_EQ(settled.refused, Tickets());
  EXPECT_EQ(mSender.CameBack(0, 3, mNow), tickets[2]);
}

TEST_F(SenderTest, ASnapshotOfANewerGenerationSettlesAll) {
  const Tickets tickets = AddAndFlush(3);
  const auto settled = mSender.Settle(1, 0, 2, mNow);
  EXPECT_EQ(settled.passed, (Tickets{tickets[0], tickets[1]}));
  EXPECT_EQ(settled.refused, (Tickets{tickets[2]}));
}

TEST_F(SenderTest, AnOlderSnapshotSettlesNothing) {
  AddAndFlush(2);
  mSender.CameBack(0, 1, mNow);
  EXPECT_TRUE(mSender.Settle(0, 0, 0, mNow).passed.empty());
  EXPECT_TRUE(mSender.CameBack(0, 2, mNow));
}

TEST_F(SenderTest, NobodyHearsOfExtensions) {
  EXPECT_EQ(mSender.Add(SessionExtend{1}, mNow), Ticket{0});
  mSender.Flush(mNow);
  Pass(13s);
  EXPECT_EQ(mSender.TakeUnknown(mNow), Tickets());
  EXPECT_EQ(mSender.CameBack(NewGeneration{Origin(1), 1}, mNow), Tickets());
}

}  // namespace
}  // namespace dorn::site
