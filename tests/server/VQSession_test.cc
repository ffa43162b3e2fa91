#include "dorn/server/VQSession.h"

#include <type_traits>

#include "tests/server/ServerTest.h"
#include "tests/support/MemberOrder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class VQSessionTest : public ServerTest {};

TEST_F(VQSessionTest, KeepsItsMembersInOrderBehindTheTable) {
  static_assert(std::has_virtual_destructor_v<VQSession>);
  VQSession session;
  EXPECT_EQ(MemberAddress(session) + sizeof(void*), MemberAddress(session.mTimerId));
  EXPECT_TRUE(AreInOrder({MemberAddress(session.mTimerId), MemberAddress(session.mSessionId),
                          MemberAddress(session.mInterval)}));
}

TEST_F(VQSessionTest, WithoutArgumentsItIsEmptyAndTakesNoTimer) {
  CapturedStdout console;
  VQSession session;
  EXPECT_EQ("", Str(session.GetSessionId()));
  EXPECT_EQ("", console.Text());
  EXPECT_EQ(0xD000000U, app.mSessionTimerId);
  EXPECT_TRUE(app.mTimerList.empty());
}

TEST_F(VQSessionTest, TakesTheNextTimerIdAndStartsTheTimer) {
  CapturedStdout console;
  VQSession first("S1", 30000), second("S2", 40000);
  EXPECT_EQ(
      "VQApplication::MakeSessionTimerId = d000000\n"
      "VQApplication::MakeSessionTimerId = d000001\n",
      console.Text());
  EXPECT_EQ(0xD000000U, first.mTimerId);
  EXPECT_EQ(0xD000001U, second.mTimerId);
  EXPECT_EQ("S1", Str(first.GetSessionId()));
  EXPECT_EQ(30000, first.mInterval);
  EXPECT_THAT(DueIn(0xD000000), ElementsAre(30000));
  EXPECT_THAT(DueIn(0xD000001), ElementsAre(40000));
}

TEST_F(VQSessionTest, ItsTimerIsAOneShotApplicationTimer) {
  VQSession session("S1", 30000);
  ASSERT_EQ(1U, app.mTimerList.size());
  EXPECT_EQ(0U, app.mTimerList.front().mInterval);
  EXPECT_EQ("", Str(app.mTimerList.front().mName));
}

TEST_F(VQSessionTest, WithoutAnIntervalAnIdIsTakenButNoTimerStarted) {
  VQSession never("S1", 0), negative("S2", -5);
  EXPECT_EQ(0xD000002U, app.mSessionTimerId);
  never.Extend();
  negative.Extend();
  EXPECT_TRUE(app.mTimerList.empty());
}

TEST_F(VQSessionTest, TheShortestIntervalIsAMillisecond) {
  VQSession session("S1", 1);
  EXPECT_THAT(DueIn(0xD000000), ElementsAre(1));
  app.ResetTimer();
  session.Extend();
  EXPECT_THAT(DueIn(0xD000000), ElementsAre(1));
}

TEST_F(VQSessionTest, ExtendCountsTheIntervalAnew) {
  VQSession session("S1", 30000);
  mClock.AdvanceMs(20000);
  EXPECT_THAT(DueIn(0xD000000), ElementsAre(10000));
  session.Extend();
  EXPECT_THAT(DueIn(0xD000000), ElementsAre(30000));
}

TEST_F(VQSessionTest, AnIntervalMadeZeroIsNotExtended) {
  VQSession session("S1", 30000);
  session.mInterval = 0;
  mClock.AdvanceMs(20000);
  session.Extend();
  EXPECT_THAT(DueIn(0xD000000), ElementsAre(10000));
}

TEST_F(VQSessionTest, LeavesItsTimerArmedWhenItIsDestroyed) {
  { VQSession session("S1", 30000); }
  EXPECT_THAT(DueIn(0xD000000), ElementsAre(30000));
}

TEST_F(VQSessionTest, CanBeRenamed) {
  VQSession session("S1", 0);
  session.SetSessionId("S2");
  EXPECT_EQ("S2", Str(session.GetSessionId()));
  EXPECT_EQ(&session.mSessionId, &session.GetSessionId());
}

}  // namespace
