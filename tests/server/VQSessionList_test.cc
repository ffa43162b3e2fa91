#include "dorn/server/VQSessionList.h"

#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class VQSessionListTest : public ServerTest {
 protected:
  VQSessionList& mList = *app.SessionList();
};

TEST_F(VQSessionListTest, FindsExactlyTheIdThatWasAdded) {
  auto* session = new VQSession("S1", 0);
  mList.Add("S1", session);
  EXPECT_TRUE(mList.Has("S1"));
  EXPECT_EQ(session, mList.Search("S1"));
  EXPECT_FALSE(mList.Has("s1"));
  EXPECT_FALSE(mList.Has("S1 "));
  EXPECT_EQ(nullptr, mList.Search("S"));
}

TEST_F(VQSessionListTest, SearchOfAnUnknownIdInsertsNothing) {
  EXPECT_EQ(nullptr, mList.Search("S1"));
  EXPECT_TRUE(mList.mSessionList.empty());
}

TEST_F(VQSessionListTest, IgnoresANullSession) {
  mList.Add("S1", nullptr);
  EXPECT_FALSE(mList.Has("S1"));
}

TEST_F(VQSessionListTest, ALaterSessionReplacesTheEarlierWithoutDeletingIt) {
  auto* first = new VQSession("S1", 0);
  auto* second = new VQSession("S1", 0);
  mList.Add("S1", first);
  mList.Add("S1", second);
  EXPECT_EQ(second, mList.Search("S1"));
  EXPECT_EQ("S1", Str(first->GetSessionId()));
  delete first;
}

TEST_F(VQSessionListTest, RemoveForgetsTheSessionButNotItsTimer) {
  app.CreateSession("S1", 1000);
  Link link = LoggedIn("S1");
  mList.Remove("S1");
  mList.Remove("S1");
  EXPECT_FALSE(mList.Has("S1"));
  EXPECT_NE(nullptr, Find(link));
  CapturedStdout console;
  Wait(1000);
  EXPECT_EQ(
      "セッション有効期限タイマー発生\n"
      "エラー [セッション有効期限切れ処理] TimerId:d000000\n",
      console.Text());
}

TEST_F(VQSessionListTest, ExpiresAfterTheLastCommandNotAfterCreation) {
  app.CreateSession("S1", 30000);
  Link link = LoggedIn("S1");
  Wait(29999);
  Tell(link, R"({"Command":"ANY"})");
  Wait(29999);
  EXPECT_TRUE(mList.Has("S1"));
  Wait(1);
  EXPECT_FALSE(mList.Has("S1"));
}

TEST_F(VQSessionListTest, ASessionWithoutIntervalNeverExpires) {
  app.CreateSession("S1", 0);
  Link link = LoggedIn("S1");
  app.ResetTimer();
  Find(link)->DoCommand(R"({"Command":"ANY"})");
  EXPECT_TRUE(app.mTimerList.empty());
  Wait(1000000000);
  EXPECT_TRUE(mList.Has("S1"));
}

TEST_F(VQSessionListTest, ExpiryRemovesDialogsThenConnectionsThenTheSession) {
  app.CreateSession("S1", 30000);
  Offer("d", "unused", [&](HookedDialog& dialog) {
    dialog.final = [&](HookedDialog&) {
      Calls().push_back("session " + std::to_string(mList.Has("S1")) + " connections " +
                        std::to_string(Find(0x8000000) != nullptr));
    };
  });
  app.CreateDialog("d");
  Dialog("d")->AddSession("S1");
  Link link = LoggedIn("S1", "d");
  Calls().clear();
  CapturedStdout console;
  mList.Expire(0xD000000);
  EXPECT_EQ("セッションの有効期限が切れました SessionID:S1\nRemove sessionid=S1\n", console.Text());
  EXPECT_THAT(Calls(), ElementsAre("OnFinal d", "session 1 connections 1"));
  EXPECT_FALSE(mList.Has("S1"));
  EXPECT_FALSE(app.DialogList()->Has("d"));
  EXPECT_EQ(nullptr, Find(link));
  EXPECT_EQ(0, HookedDialog::sAlive);
}

TEST_F(VQSessionListTest, ExpiryClosesEveryConnectionOfTheSession) {
  app.CreateSession("S1", 30000);
  Link a = LoggedIn("S1"), other = LoggedIn("S2"), b = LoggedIn("S1"), c = LoggedIn("S1");
  mList.Expire(0xD000000);
  EXPECT_EQ(nullptr, Find(a));
  EXPECT_EQ(nullptr, Find(b));
  EXPECT_EQ(nullptr, Find(c));
  EXPECT_NE(nullptr, Find(other));
}

TEST_F(VQSessionListTest, ASecondExpiryOfTheTimerIsAnError) {
  app.CreateSession("S1", 30000);
  mList.Expire(0xD000000);
  CapturedStdout console;
  mList.Expire(0xD000000);
  EXPECT_EQ("エラー [セッション有効期限切れ処理] TimerId:d000000\n", console.Text());
}

TEST_F(VQSessionListTest, AnUnknownTimerChangesNothing) {
  app.CreateSession("S1", 30000);
  Link link = LoggedIn("S1");
  CapturedStdout console;
  mList.Expire(0xD00ABCD);
  EXPECT_EQ("エラー [セッション有効期限切れ処理] TimerId:d00abcd\n", console.Text());
  EXPECT_TRUE(mList.Has("S1"));
  EXPECT_NE(nullptr, Find(link));
}

TEST_F(VQSessionListTest, OnlyTheFirstSessionOfATimerExpires) {
  for (const char* sid : {"S2", "S1"}) {
    app.CreateSession(sid, 0);
    mList.Search(sid)->mTimerId = 0xD000077;
  }
  CapturedStdout console;
  mList.Expire(0xD000077);
  EXPECT_THAT(console.Text(), HasSubstr("SessionID:S1\n"));
  EXPECT_FALSE(mList.Has("S1"));
  EXPECT_TRUE(mList.Has("S2"));
}

TEST_F(VQSessionListTest, ARenamedSessionExpiresTogetherWithItsEntry) {
  app.CreateSession("key", 30000);
  mList.Search("key")->SetSessionId("renamed");
  mList.Expire(0xD000000);
  EXPECT_TRUE(mList.mSessionList.empty());
}

TEST_F(VQSessionListTest, NullEntriesAreSkipped) {
  mList.mSessionList[KZString("A")] = nullptr;
  app.CreateSession("S1", 30000);
  mList.Expire(0xD000000);
  EXPECT_FALSE(mList.Has("S1"));
  mList.mSessionList.clear();
}

TEST_F(VQSessionListTest, AnIdIsNeverTakenForAFormat) {
  app.CreateSession("%s%n", 30000);
  CapturedStdout console;
  mList.Expire(0xD000000);
  EXPECT_EQ("セッションの有効期限が切れました SessionID:%s%n\nRemove sessionid=%s%n\n",
            console.Text());
}

TEST_F(VQSessionListTest, ASharedDialogSurvivesTheSessionsThatUsedIt) {
  HookedDialog* dialog = Shared("top", kTree);
  app.CreateSession("S1", 30000);
  dialog->LoadJsonUnique("S1");
  mList.Expire(app.SessionList()->Search("S1")->mTimerId);
  EXPECT_EQ(dialog, Dialog("top"));
  EXPECT_EQ(1U, dialog->mSessionResourceList.size());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(VQSessionListTest, TheEndOfTheListDeletesNoSession) {
  auto* session = new VQSession("S1", 0);
  {
    VQSessionList list;
    list.Add("S1", session);
  }
  EXPECT_EQ("S1", Str(session->GetSessionId()));
  delete session;
}

}  // namespace
