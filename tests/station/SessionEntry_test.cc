// Which dialog is entered, and when it is entered again.
#include <gtest/gtest.h>

#include <string>

#include "tests/station/SessionTest.h"

namespace dorn::station {
namespace {

TEST_F(SessionTest, EntersAgainOnceWhenAGridTellsWithoutItsTable) {
  Show();
  Say(R"({"Command":"ADD","Name":"panel","Objects":[{"Name":"g","Type":"GRID","Data":[["x"]]}]})");
  Say("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Data\":,\"Label\":\"L\",\"Name\":\"g\"}]}\n");
  Say("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Data\":,\"Name\":\"g\"}]}\n");
  AdvanceByTicks(199);
  EXPECT_EQ(Sent(), Texts());
  AdvanceByTicks(1);
  EXPECT_EQ(Sent(), (Texts{Entry(3, "panel", "panel.json"), Fence(4)}));
  AdvanceByTicks(3000);
  EXPECT_EQ(Sent(), Texts());
}

TEST_F(SessionTest, DoesNotEnterAgainAndAgainAtOnce) {
  Show();
  for (int i = 0; i < 2; ++i) {
    Say(R"({"Command":"ADD","Name":"panel","Objects":[{"Name":"g)" + std::to_string(i) +
        R"(","Type":"GROUP","Objects":[]}]})");
    AdvanceByTicks(200);
    EXPECT_EQ(Sent().size(), i == 0 ? 2u : 0u);
    if (i == 0) {
      Say(FenceAnswer(3));
      SendFile("panel.json", kTree, "26-01-01 00:00:00");
      Say(FenceAnswer(4));
    }
  }
  AdvanceByTicks(1500);
  EXPECT_EQ(Sent().size(), 2u);
}

TEST_F(SessionTest, EntersAgainEachTenMinutesWhenAskedAndWhenLookedAtAgain) {
  Show();
  mSession.Refresh(mNow);
  EXPECT_EQ(Sent()[0], Entry(3, "panel", "panel.json"));
  Say(FenceAnswer(3));
  SendFile("panel.json", kTree, "26-01-01 00:00:00");
  Say(FenceAnswer(4));
  mSession.SetLooking(false, mNow);
  EXPECT_EQ(Sent(), Texts());
  mSession.SetLooking(true, mNow);
  EXPECT_EQ(Sent()[0], Entry(5, "panel", "panel.json"));
  Say(FenceAnswer(5));
  SendFile("panel.json", kTree, "26-01-01 00:00:00");
  Say(FenceAnswer(6));
  Advance(599999);
  Sent();
  mSession.Touched(mNow);
  Advance(1);
  Texts sent = Sent();
  ASSERT_FALSE(sent.empty());
  EXPECT_NE(sent[0].find("CHANGE"), std::string::npos);
}

TEST_F(SessionTest, AnUnknownDialogShowsNothingAndTheMenuStillWorks) {
  Show();
  mSession.Enter("nope", mNow);
  Say(FenceAnswer(3));
  Say(R"({"Command":"PUTFILE","File":"nope.json","Info":"FILE NOT FOUND","Status":"ERROR"})");
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_EQ(mSession.Dialog().GetState(), Replica::State::kNothing);
  Sent();
  mSession.Enter("panel", mNow);
  EXPECT_EQ(Sent()[0], Entry(5, "panel", "panel.json"));
  Say(FenceAnswer(4));
  Say(FenceAnswer(5));
  SendFile("panel.json", kTree, "26-01-01 00:00:00");
  EXPECT_EQ(ValueOf("a"), "1");
}

TEST_F(SessionTest, AnOpenWithoutADialogLeavesTheMenuAndDoesNotWaitForEver) {
  mSession.LogIn("me", "secret", mNow);
  mSession.Connected(mSession.Line(), mNow);
  Say(R"({"Command":"OPEN","FileSource":"SERVER","Menu":["panel"],"SessionId":"s1"})");
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_EQ(mSession.Dialog().GetState(), Replica::State::kNothing);
  EXPECT_EQ(mSession.LastOpened().mMenu, std::vector<std::string>{"panel"});
  Sent();
  AdvanceByTicks(20000);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_EQ(Sent(), Texts{Fence(1)}) << "a heartbeat, and no entry into a dialog without a name";
  mSession.Enter("panel", mNow);
  EXPECT_EQ(Sent(), (Texts{Entry(2, "panel", "panel.json"), Fence(3)}));
  EXPECT_EQ(mSession.GetState(), Session::State::kEntering);
}

TEST_F(SessionTest, WithoutADialogNothingIsEnteredAgain) {
  mSession.LogIn("me", "secret", mNow);
  mSession.Connected(mSession.Line(), mNow);
  Say(R"({"Command":"OPEN","SessionId":"s1"})");
  Say(FenceAnswer(1));
  Sent();
  mSession.Refresh(mNow);
  mSession.SetLooking(false, mNow);
  mSession.SetLooking(true, mNow);
  mSession.SetStayLoggedIn(true, mNow);
  EXPECT_EQ(Sent(), Texts());
  AdvanceByTicks(1'300'000);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  for (const std::string& text : Sent()) EXPECT_EQ(text.find("CHANGE"), std::string::npos) << text;
}

TEST_F(SessionTest, AnOpenWithoutADialogLeavesWhatIsShown) {
  Show();
  Say(R"({"Command":"OPEN","Menu":["panel","notes"],"SessionId":"s1"})");
  EXPECT_EQ(Sent(), Texts());
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_EQ(mSession.LastOpened().mMenu, (std::vector<std::string>{"panel", "notes"}));
  EXPECT_EQ(ValueOf("a"), "1");
}

TEST_F(SessionTest, ComesBackWithoutADialog) {
  mSession.LogIn("me", "secret", mNow);
  mSession.Connected(mSession.Line(), mNow);
  Say(R"({"Command":"OPEN","SessionId":"s1"})");
  mSession.Closed(mSession.Line(), mNow);
  EXPECT_EQ(mSession.GetState(), Session::State::kWaiting);
  Advance(1000);
  mSession.Connected(mSession.Line(), mNow);
  Say(R"({"Command":"OPEN","SessionId":"s1"})");
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNone);
}

TEST_F(SessionTest, AFenceIsAwaitedUntilItsAnswerOrTheEndOfTheLine) {
  EXPECT_EQ(mSession.Fence(mNow), std::nullopt);
  Show();
  EXPECT_EQ(mSession.Fence(mNow), 3ul);
  EXPECT_EQ(mSession.Fence(mNow), 4ul);
  EXPECT_EQ(Sent(), (Texts{Fence(3), Fence(4)}));
  EXPECT_TRUE(mSession.IsAwaited(3));
  Say(FenceAnswer(3));
  EXPECT_FALSE(mSession.IsAwaited(3));
  EXPECT_TRUE(mSession.IsAwaited(4));
  mSession.Closed(mSession.Line(), mNow);
  EXPECT_FALSE(mSession.IsAwaited(4));
  EXPECT_EQ(mSession.Fence(mNow), std::nullopt);
}

TEST_F(SessionTest, OfTwoEntriesInARowTheLastCounts) {
  Show();
  mSession.Enter("one", mNow);
  mSession.Enter("two", mNow);
  Say(FenceAnswer(3));
  SendFile("one.json", R"({"Name":"one","Objects":[{"Name":"x","Value":"1"}]})",
           "26-01-01 00:00:00");
  Say(FenceAnswer(4));
  EXPECT_EQ(mSession.GetState(), Session::State::kEntering);
  Say(FenceAnswer(5));
  SendFile("two.json", R"({"Name":"two","Objects":[{"Name":"x","Value":"2"}]})",
           "26-01-01 00:00:00");
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_EQ(ValueOf("x"), "2");
}

}  // namespace
}  // namespace dorn::station
