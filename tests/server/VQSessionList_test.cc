#include "dorn/server/VQSessionList.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include "dorn/server/Connections.h"
#include "dorn/server/Observer.h"
#include "dorn/server/SessionIndex.h"
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

TEST_F(VQSessionListTest, ARenamedSessionEndsWhatBelongsToItsNewName) {
  app.CreateSession("key", 30000);
  mList.Search("key")->SetSessionId("renamed");
  HookedDialog* dialog = Shared("top", kTree);
  dialog->AddSession("key");
  dialog->AddSession("renamed");
  Link a = LoggedIn("key"), b = Connect();
  Find(b)->Authentication("renamed");
  CapturedStdout console;
  mList.Expire(0xD000000);
  EXPECT_EQ("セッションの有効期限が切れました SessionID:renamed\nRemove sessionid=renamed\n",
            console.Text());
  EXPECT_EQ(1U, dialog->mSessionResourceList.count("key"));
  EXPECT_EQ(0U, dialog->mSessionResourceList.count("renamed"));
  EXPECT_NE(nullptr, Find(a));
  EXPECT_EQ(nullptr, Find(b));
}

// The empty name is that of every connection that never logged in.
TEST_F(VQSessionListTest, TheEndOfASessionWithoutANameClosesOneConnectionThatNeverLoggedIn) {
  app.CreateSession("", 30000);
  Link first = Connect(), second = Connect(), loggedIn = LoggedIn("S1");
  mList.Expire(0xD000000);
  EXPECT_EQ(nullptr, Find(first));
  EXPECT_NE(nullptr, Find(second));
  EXPECT_NE(nullptr, Find(loggedIn));
  EXPECT_FALSE(mList.Has(""));
}

TEST_F(VQSessionListTest, ANullEntryIsRemovedLikeAnyOther) {
  mList.mSessionList[KZString("A")] = nullptr;
  mList.Remove("A");
  EXPECT_FALSE(mList.Has("A"));
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

// Many sessions

// What expiries looked at: sessions and connections.
std::uint64_t Steps() { return dorn::SessionIndex::Steps() + dorn::SearchSteps(); }

class ManySessionsTest : public VQSessionListTest {
 protected:
  static constexpr int kCount = 1000;

  static std::string Sid(int i) { return "S" + std::to_string(i * 7919 % kCount); }

  static void Create(int intervalMs) {
    const CapturedStdout console;
    for (int i = 0; i < kCount; ++i) app.CreateSession(Sid(i), intervalMs);
  }
};

TEST_F(ManySessionsTest, ThatAreDueTogetherExpireInTheOrderOfTheirTimersWithOneWalkForAll) {
  Create(1000);
  std::vector<Link> links(20);
  for (Link& link : links) link = LoggedIn("other");
  const std::uint64_t before = Steps();
  CapturedStdout console;
  Wait(1000);
  const std::string lines = console.Text();
  // Of timers that are due together, the last registered one fires first.
  std::string expected;
  for (int i = kCount; i-- > 0;) {
    expected +=
        "セッション有効期限タイマー発生\nセッションの有効期限が切れました SessionID:" + Sid(i) +
        "\nRemove sessionid=" + Sid(i) + "\n";
  }
  EXPECT_EQ(expected, lines);
  EXPECT_EQ(1U, mList.mSessionList.size());
  EXPECT_EQ(20U, Connections());
  EXPECT_LT(Steps() - before, 2U * kCount);
}

TEST_F(ManySessionsTest, ThatComeAndGoNeedNoWalk) {
  Create(100000);
  mList.Expire(mList.Search("S0")->mTimerId);
  const std::uint64_t before = dorn::SessionIndex::Steps();
  const CapturedStdout console;
  for (int i = 0; i < 200; ++i) {
    const std::string sid = "T" + std::to_string(i);
    app.CreateSession(sid, 100000);
    mList.Expire(mList.Search(sid)->mTimerId);
    mList.Expire(mList.Search(Sid(i + 1))->mTimerId);
  }
  EXPECT_EQ(before, dorn::SessionIndex::Steps());
  EXPECT_EQ(static_cast<std::size_t>(kCount - 201), mList.mSessionList.size());
}

// A host may write the id, and ids start again when their range is used up.
TEST_F(ManySessionsTest, OfTwoWithOneTimerTheFirstByNameGoes) {
  Create(100000);
  mList.Expire(mList.Search("S0")->mTimerId);
  auto* later = new VQSession("b", 100000);
  auto* first = new VQSession("a", 100000);
  const unsigned int timer = first->mTimerId = later->mTimerId;
  mList.Add("b", later);
  mList.Add("a", first);
  mList.Expire(timer);
  EXPECT_FALSE(mList.Has("a"));
  EXPECT_TRUE(mList.Has("b"));
  mList.Expire(timer);
  EXPECT_FALSE(mList.Has("b"));
}

// Ids of timers are taken again when their range is used up; nothing is left of the ended sessions.
TEST_F(ManySessionsTest, ThatHadTheSameTimersBeforeNeedNoWalk) {
  Create(100000);
  mList.Expire(mList.Search("S0")->mTimerId);
  const unsigned int first = app.mSessionTimerId;
  for (const char* prefix : {"A", "B"}) {
    app.mSessionTimerId = first;
    const CapturedStdout console;
    for (int i = 0; i < 100; ++i) app.CreateSession(prefix + std::to_string(i), 100000);
    const std::uint64_t before = dorn::SessionIndex::Steps();
    for (int i = 0; i < 100; ++i) {
      mList.Expire(mList.Search(prefix + std::to_string(i))->mTimerId);
    }
    EXPECT_EQ(before, dorn::SessionIndex::Steps()) << prefix;
  }
}

TEST_F(ManySessionsTest, TheTimersOfRemovedOnesNeedNoWalk) {
  Create(1000);
  mList.Expire(mList.Search("S0")->mTimerId);
  // Their timers come first, while the others are still there.
  for (int i = 500; i < kCount; ++i) mList.Remove(Sid(i));
  const std::uint64_t before = Steps();
  CapturedStdout console;
  Wait(1000);
  EXPECT_LT(Steps() - before, 2U * kCount);
  const std::string lines = console.Text();
  std::size_t errors = 0;
  for (std::size_t at = lines.find("エラー"); at != std::string::npos;
       at = lines.find("エラー", at + 1)) {
    ++errors;
  }
  EXPECT_EQ(500U, errors - 1);  // And the one that expired by hand.
  EXPECT_TRUE(mList.mSessionList.empty());
}

TEST_F(ManySessionsTest, AConnectionThatAHookBindsMeanwhileIsClosed) {
  Create(1000);
  Link link = LoggedIn("other");
  app.SetApplicationSingleTimerInterval(1000, 77);
  app.CreateSession("late", 999);
  mList.Search("late")->Extend();
  app.timer = [&](unsigned int) { Find(link)->mSessionId = Sid(0); };
  const CapturedStdout console;
  // Registered last, the host's timer fires before the thousand.
  Wait(1000);
  EXPECT_EQ(nullptr, Find(link));
}

TEST_F(ManySessionsTest, AConnectionThatAnEndingDialogBindsByHandIsClosed) {
  Create(1000);
  Link link = LoggedIn("other");
  Offer("d", "unused", [&](HookedDialog& dialog) {
    dialog.final = [&](HookedDialog&) { Find(link)->mSessionId = Sid(0); };
  });
  app.CreateDialog("d");
  Dialog("d")->AddSession(Sid(500));
  const CapturedStdout console;
  Wait(1000);
  EXPECT_EQ(nullptr, Find(link));
}

// Of a connection that was bound by hand nobody has heard, whatever was found before.

TEST_F(ManySessionsTest, AConnectionThatAHostsTimerHasBoundByHandIsFound) {
  Link link = LoggedIn("other");
  app.timer = [&](unsigned int) {
    app.RemoveSocketBySession("A");
    app.RemoveSocketBySession("B");
    Find(link)->mSessionId = "C";
    app.RemoveSocketBySession("C");
  };
  app.SetApplicationSingleTimerInterval(1, 77);
  Wait(1);
  EXPECT_EQ(nullptr, Find(link));
}

TEST_F(ManySessionsTest, AConnectionThatAnEndingDialogHasBoundByHandIsFoundByIt) {
  Link link = LoggedIn("other");
  Offer("d", "unused", [&](HookedDialog& dialog) {
    dialog.final = [&](HookedDialog&) {
      app.RemoveSocketBySession("A");
      app.RemoveSocketBySession("B");
      Find(link)->mSessionId = "C";
      app.RemoveSocketBySession("C");
    };
  });
  app.CreateDialog("d");
  Dialog("d")->AddSession("S1");
  app.CreateSession("S1", 1);
  Wait(1);
  EXPECT_EQ(nullptr, Find(link));
}

TEST_F(ManySessionsTest, AConnectionThatWasBoundByHandIsFoundByATimerThatAHostFires) {
  Link link = LoggedIn("other");
  for (const char* sid : {"A", "B", "C"}) app.CreateSession(sid, 1000);
  const unsigned int last = mList.Search("C")->mTimerId;
  for (const char* sid : {"A", "B"}) {
    app.ApplicationTimer(timeval{}, mList.Search(sid)->mTimerId);
  }
  Find(link)->mSessionId = "C";
  app.ApplicationTimer(timeval{}, last);
  EXPECT_EQ(nullptr, Find(link));
}

TEST_F(ManySessionsTest, ThatHadConnectionsInAnEarlierRoundNeedOneWalkForAll) {
  std::vector<Link> links(20);
  for (std::size_t i = 0; i < links.size(); ++i) {
    app.CreateSession(Sid(static_cast<int>(i)), 2000);
    links[i] = LoggedIn(Sid(static_cast<int>(i)));
  }
  app.CreateSession("a", 1000);
  app.CreateSession("b", 1000);
  Wait(1000);
  for (const Link& link : links) Find(link)->Authentication("other");
  const std::uint64_t before = dorn::SearchSteps();
  Wait(1000);
  EXPECT_EQ(20U, Connections());
  const std::size_t records = app.GetFdDataList()->size();
  EXPECT_GE(dorn::SearchSteps() - before, records);
  EXPECT_LE(dorn::SearchSteps() - before, 2 * records);
}

// A list that has not done anything yet knows nothing of one that lay in its place, and had as many
// sessions when it ended.
TEST_F(ManySessionsTest, ThatWereRemovedFromAListDoNotCountForTheNextOneInItsPlace) {
  const CapturedStdout console;
  std::vector<std::unique_ptr<VQSession>> sessions;
  for (int i = 0; i < kCount; ++i) {
    sessions.push_back(std::make_unique<VQSession>(KZString(Sid(i)), 1000));
  }
  const unsigned int timer = sessions.back()->mTimerId;
  std::optional<VQSessionList> list;
  list.emplace();
  for (const auto& session : sessions) list->Add(session->GetSessionId(), session.get());
  list->Expire(0xD00ABCD);
  list->Remove(sessions.back().release()->GetSessionId());
  sessions.pop_back();
  list.reset();
  list.emplace();
  sessions.front()->mTimerId = timer;
  for (const auto& session : sessions) list->mSessionList[session->GetSessionId()] = session.get();
  const KZString first = sessions.front().release()->GetSessionId();
  list->Expire(timer);
  EXPECT_FALSE(list->Has(first));
}

// Sessions that end one after another in one pass. After the first two it is known which ones have
// a connection.
class EndingInTurnTest : public VQSessionListTest {
 protected:
  struct EndObserver : dorn::Observer {
    void OnSessionEnd(const KZString& sid) override {
      if (sid == "C") atEnd();
    }
    std::function<void()> atEnd;
  };
  struct CloseSink : KZStream {
    int Output(char* text) override {
      if (std::string(text) == "切断しました\n") std::exchange(atClose, [] {})();
      return 0;
    }
    std::function<void()> atClose = [] {};
  };

  void SetUp() override {
    VQSessionListTest::SetUp();
    int interval = 1000;
    for (const char* sid : {"A", "B", "C", "D"}) app.CreateSession(sid, interval++);
    mLink = LoggedIn("other");
  }
  void TearDown() override {
    dorn::SetObserver(nullptr);
    VQSessionListTest::TearDown();
    app.SetLogStream(&app.mLog);
  }

  Link mLink;
};

// The one that was to be removed lives on then, in nobody's list.
TEST_F(EndingInTurnTest, OneThatTheObserverPutsInThePlaceOfARemovedOneStays) {
  const std::unique_ptr<VQSession> removed(mList.Search("C"));
  auto* const other = new VQSession("C", 50000);
  EndObserver observer;
  observer.atEnd = [this, other] { mList.Add("C", other); };
  dorn::SetObserver(&observer);
  mList.Remove("C");
  EXPECT_EQ(other, mList.Search("C"));
}

TEST_F(EndingInTurnTest, AConnectionThatTheObserverOfAnEarlierOneBoundIsClosed) {
  EndObserver observer;
  observer.atEnd = [this] { Find(mLink)->Authentication("D"); };
  dorn::SetObserver(&observer);
  Wait(2000);
  EXPECT_EQ(nullptr, Find(mLink));
}

TEST_F(EndingInTurnTest, AConnectionThatTheLogOfAnEarlierOnesConnectionBoundIsClosed) {
  CloseSink sink;
  app.SetLogStream(&sink);
  Link link = LoggedIn("C");
  sink.atClose = [this] {
    for (int i = 0; i < 2; ++i) app.RemoveSocketBySession("nobody");
    Find(mLink)->mSessionId = "D";
  };
  Wait(2000);
  EXPECT_EQ(nullptr, Find(link));
  EXPECT_EQ(nullptr, Find(mLink));
}

// Whatever is written into the map, the sessions and the dialogs' trees, the first session of the
// timer goes, and nothing else.
TEST_F(ManySessionsTest, WhatHostsWriteIntoTheMapCounts) {
  std::mt19937 random(20261122);
  const auto below = [&random](int n) { return static_cast<int>(random() % n); };
  const CapturedStdout console;
  unsigned int goneTimer = 0;  // Of the last session that was taken away by hand.
  for (int step = 0; step < 4000; ++step) {
    const std::string sid = "S" + std::to_string(below(120));
    const auto found = mList.mSessionList.find(sid);
    VQSession* session = found != mList.mSessionList.end() ? found->second : nullptr;
    switch (below(8)) {
      case 0:
      case 1:
        app.CreateSession(sid, 1000000);
        break;
      case 2:
        mList.Remove(sid);
        break;
      case 3:  // By hand, perhaps over another one.
        if (session == nullptr) mList.mSessionList[sid] = new VQSession("x", 1000000);
        break;
      case 4:
        if (found != mList.mSessionList.end()) {
          mList.mSessionList.erase(found);
          goneTimer = session != nullptr ? session->mTimerId : 0;
          delete session;
        }
        break;
      case 5:  // Exchanged: the size stays.
        if (session != nullptr) {
          found->second = new VQSession(sid, 1000000);
          goneTimer = session->mTimerId;
          delete session;
        }
        break;
      default: {
        const auto any = static_cast<unsigned int>(
            0xD000000 + below(static_cast<int>(app.mSessionTimerId - 0xD000000) + 1));
        const unsigned int timer = below(3) == 0 ? goneTimer : any;
        std::vector<std::string> keys, left;
        bool isFirst = true;
        for (const auto& [key, each] : mList.mSessionList) {
          const bool goes = isFirst && each != nullptr && each->mTimerId == timer;
          if (goes) isFirst = false;
          if (!goes) keys.push_back(key);
        }
        mList.Expire(timer);
        for (const auto& [key, each] : mList.mSessionList) left.push_back(key);
        ASSERT_EQ(keys, left) << step;
      }
    }
  }
}

}  // namespace
