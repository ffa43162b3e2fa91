#include "dorn/server/Observer.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "dorn/server/Observed.h"
#include "tests/server/ServerTest.h"
#include "tests/support/NoStandardInput.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Notes in Calls() what it hears.
class NotingObserver : public dorn::Observer {
 public:
  void OnStationGone(VQClientSocket* client, const KZString& sid) override {
    Calls().push_back("gone " + std::to_string(client->GetId()) + " " + sid +
                      (client->GetFD() < 0 ? "" : " open"));
    if (gone) gone(client);
  }
  void OnSessionStart(const KZString& sid, int intervalMs) override {
    Calls().push_back("start " + sid + " " + std::to_string(intervalMs));
  }
  void OnSessionExtend(const KZString& sid) override { Calls().push_back("extend " + sid); }
  void OnSessionEnd(const KZString& sid) override {
    Calls().push_back("end " + sid);
    if (end) end(sid);
  }

  std::function<void(VQClientSocket*)> gone;
  std::function<void(const KZString&)> end;
};

class ObserverTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    dorn::SetObserver(&mObserver);
  }
  void TearDown() override {
    mObserver.gone = nullptr;
    mObserver.end = nullptr;
    ServerTest::TearDown();
    dorn::SetObserver(nullptr);
  }

  NotingObserver mObserver;
};

TEST_F(ObserverTest, HearsOfASessionsLife) {
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","Id":"u1","Pass":"p"})");
  Calls().clear();
  Tell(link, R"({"Command":"ANY"})");
  EXPECT_THAT(Calls(), ElementsAre("extend S-u1"));
  Calls().clear();
  app.CreateSession("S2", 5000);
  app.CreateSession("S2", 6000);
  app.CreateSession("S3", 0);
  app.SessionList()->Search("S3")->Extend();
  app.SessionList()->Remove("S3");
  app.SessionList()->Remove("S3");
  EXPECT_THAT(Calls(), ElementsAre("start S2 5000", "start S3 0", "end S3"));
}

TEST_F(ObserverTest, HearsOfASessionsEndBeforeItsTreesAndConnectionsGo) {
  app.CreateSession("S1", 1000);
  Offer("d", "unused");
  app.CreateDialog("d");
  Dialog("d")->AddSession("S1");
  Link link = LoggedIn("S1", "d");
  bool hadTree = false, wasOpen = false;
  mObserver.end = [&](const KZString& sid) {
    hadTree = Dialog("d")->mSessionResourceList.count(sid) != 0;
    wasOpen = Find(link) != nullptr;
  };
  Calls().clear();
  Wait(1000);
  EXPECT_THAT(Calls(), ElementsAre("end S1", "OnFinal d", "gone 134217728 S1"));
  EXPECT_TRUE(hadTree);
  EXPECT_TRUE(wasOpen);
}

TEST_F(ObserverTest, MayRemoveTheSessionThatEnds) {
  app.CreateSession("S1", 1000);
  mObserver.end = [&](const KZString& sid) { app.SessionList()->Remove(sid); };
  Calls().clear();
  Wait(1000);
  EXPECT_THAT(Calls(), ElementsAre("end S1"));
  app.CreateSession("S2", 1000);
  app.SessionList()->Remove("S2");
  EXPECT_THAT(Calls(), ElementsAre("end S1", "start S2 1000", "end S2"));
  EXPECT_TRUE(app.SessionList()->mSessionList.empty());
}

// Such as all sessions of one user, each of which takes the others along.
TEST_F(ObserverTest, MayRemoveOtherSessionsWhichRemoveTheFirst) {
  app.CreateSession("S1", 1000);
  app.CreateSession("S2", 5000);
  app.CreateSession("S3", 5000);
  mObserver.end = [&](const KZString&) {
    for (const char* sid : {"S1", "S2", "S3"}) app.SessionList()->Remove(sid);
  };
  Calls().clear();
  app.SessionList()->Remove("S3");
  EXPECT_THAT(Calls(), ElementsAre("end S3", "end S1", "end S2"));
  EXPECT_TRUE(app.SessionList()->mSessionList.empty());
}

// A session that lies where the one before it lay.
class PlacedSession : public VQSession {
 public:
  using VQSession::VQSession;
  static void* operator new(size_t) { return sPlace; }
  static void operator delete(void*) {}

 private:
  alignas(VQSession) static unsigned char sPlace[sizeof(VQSession)];
};
alignas(VQSession) unsigned char PlacedSession::sPlace[sizeof(VQSession)];

TEST_F(ObserverTest, HearsOfTheEndOfASessionThatLiesWhereAnEndingOneLay) {
  app.SessionList()->Add("S1", new PlacedSession("S1", 5000));
  mObserver.end = [&](const KZString& sid) {
    if (sid != "S1") return;
    app.SessionList()->Remove("S1");
    app.SessionList()->Add("S2", new PlacedSession("S2", 5000));
    app.SessionList()->Remove("S2");
  };
  Calls().clear();
  app.SessionList()->Remove("S1");
  EXPECT_THAT(Calls(), ElementsAre("end S1", "start S2 5000", "end S2"));
}

TEST_F(ObserverTest, MayReplaceTheSessionThatEndsByOneInItsPlace) {
  app.SessionList()->Add("S1", new PlacedSession("S1", 5000));
  bool isReplaced = false;
  mObserver.end = [&](const KZString&) {
    if (std::exchange(isReplaced, true)) return;
    app.SessionList()->Remove("S1");
    app.SessionList()->Add("S1", new PlacedSession("S1", 6000));
  };
  Calls().clear();
  app.SessionList()->Remove("S1");
  EXPECT_THAT(Calls(), ElementsAre("end S1", "start S1 6000"));
  ASSERT_TRUE(app.SessionList()->Has("S1"));
  app.SessionList()->Remove("S1");
  EXPECT_THAT(Calls(), ElementsAre("end S1", "start S1 6000", "end S1"));
}

TEST_F(ObserverTest, HearsOnceAtTheEndOfThePassThatAStationHasGone) {
  Link a = LoggedIn("S1"), b = LoggedIn("S2");
  Calls().clear();
  Offer("d", "unused", [&](HookedDialog& dialog) {
    dialog.condition = [&](HookedDialog&, VQClientSocket* client, VQJsonCommand*) {
      client->Close();
      client->Close();
      Find(a)->Close();
      EXPECT_THAT(Calls(), ElementsAre("CreateDialog d", "OnInit d", "OnCondition d S2"));
    };
  });
  app.CreateDialog("d");
  Find(b)->mDialogName = "d";
  b.station.Send(R"({"Command":"CONDITION"})");
  ASSERT_TRUE(RunUntil([&] { return Find(b) == nullptr; }));
  Pass(3);
  EXPECT_THAT(Calls(), ElementsAre("CreateDialog d", "OnInit d", "OnCondition d S2",
                                   "gone " + std::to_string(b.id) + " S2",
                                   "gone " + std::to_string(a.id) + " S1"));
}

TEST_F(ObserverTest, HearsNothingOfAStationThatNeverLoggedIn) {
  Link link = Connect();
  Calls().clear();
  Find(link)->Close();
  Pass(3);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ObserverTest, HearsTheLastSessionOfAStationThatHasLostIt) {
  Link link = LoggedIn("S1");
  Find(link)->Authentication("S2");
  Find(link)->Authentication("");
  Calls().clear();
  Find(link)->Close();
  Pass(3);
  EXPECT_THAT(Calls(), ElementsAre("gone 134217728 S2"));
}

TEST_F(ObserverTest, HearsOfAStationWhoseMembersWereWrittenByHand) {
  Link link = Connect();
  Find(link)->mSessionId = "S9";
  Find(link)->mAuth = true;
  Calls().clear();
  link.station.Close();
  ASSERT_TRUE(RunUntil([] { return Connections() == 0; }));
  Pass();
  EXPECT_THAT(Calls(), ElementsAre("gone 134217728 S9"));
}

TEST_F(ObserverTest, HearsNothingOfASessionThatWasWrittenByHandWithoutALogIn) {
  Link link = Connect();
  Find(link)->mSessionId = "S9";
  Calls().clear();
  Find(link)->Close();
  Pass(2);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ObserverTest, HearsTheLastSessionOfAStationFromWhichItWasTakenByHand) {
  Link link = LoggedIn("S1");
  Find(link)->mSessionId.Clear();
  Calls().clear();
  Find(link)->Close();
  Pass(2);
  EXPECT_THAT(Calls(), ElementsAre("gone 134217728 S1"));
}

// Its descriptor is given to another record.
TEST_F(ObserverTest, HearsOfAStationThatIsReplaced) {
  Link link = LoggedIn("S1");
  Calls().clear();
  const int fd = Find(link)->GetFD();
  auto* other = new KZFdData(KZFdData::kTypeEvent, fd, 4711, app.GetFdDataList());
  other->SetAutoDelete(1);
  app.AddEventFd(other);
  Pass();
  ASSERT_EQ(1U, Calls().size());
  EXPECT_EQ("gone 134217728 S1 open", Calls()[0]);
  app.RemoveEventFd(other);
  Pass();
  close(fd);
  EXPECT_EQ(1U, Calls().size());
}

// It is being destroyed then: closing it must leave nothing behind. Its descriptor is the other
// record's, which the loop removes when it finds it closed.
TEST_F(ObserverTest, MayCloseAStationThatIsReplaced) {
  Link link = LoggedIn("S1");
  Calls().clear();
  mObserver.gone = [](VQClientSocket* client) { client->Close(); };
  auto* other = new KZFdData(KZFdData::kTypeEvent, Find(link)->GetFD(), 4711, app.GetFdDataList());
  other->SetAutoDelete(1);
  app.AddEventFd(other);
  Pass(3);
  EXPECT_EQ(1, std::count(Calls().begin(), Calls().end(), "gone 134217728 S1 open"));
}

// A timer's callback comes before the phase in which closed records are destroyed.
TEST_F(ObserverTest, HearsOfAStationThatATimerClosed) {
  Link link = LoggedIn("S1");
  app.SetApplicationSingleTimerInterval(1000, 7);
  app.timer = [&](unsigned int) { Find(link)->Close(); };
  Calls().clear();
  Wait(1000);
  Pass(2);
  EXPECT_EQ(1, std::count(Calls().begin(), Calls().end(), "gone 134217728 S1"));
}

TEST_F(ObserverTest, HearsOfEachLifeOfAConnectionThatIsOpenedAgain) {
  auto* client = new VQClientSocket(&app.mLog, app.GetFdDataList());
  const std::string id = std::to_string(client->GetId());
  Calls().clear();
  for (const char* sid : {"S1", "S2"}) {
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
    const Station station(pair[1]);
    client->Create(pair[0], 1000);
    client->SetAutoDelete(0);
    client->Authentication(sid);
    client->Close();
    Pass(2);
  }
  EXPECT_THAT(Calls(), ElementsAre("gone " + id + " S1", "gone " + id + " S2"));
  delete client;
}

// A host may do by hand what Create() does, and run with standard input closed.
TEST_F(ObserverTest, HearsOfEachLifeOfAConnectionThatGotDescriptor0ByHand) {
  VQClientSocket client(&app.mLog, app.GetFdDataList());
  const std::string id = std::to_string(client.GetId());
  const NoStandardInput closed;
  Calls().clear();
  for (const char* sid : {"S1", "S2"}) {
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
    ASSERT_EQ(0, pair[0]);
    const Station station(pair[1]);
    client.SetFD(pair[0]);
    client.SetFDStatus(KZFdData::kStatusActive);
    client.Authentication(sid);
    client.Close();
    Pass(2);
  }
  EXPECT_THAT(Calls(), ElementsAre("gone " + id + " S1", "gone " + id + " S2"));
}

// A connection that goes on with another station when it is closed.
class ReopeningClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  void OnClose() override {
    if (mCallsBase) VQClientSocket::OnClose();
    if (!mNext.empty()) OpenFor(std::exchange(mNext, {}));
  }
  void OpenFor(const std::string& sid) {
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair));
    mStation = std::make_unique<Station>(pair[1]);
    Create(pair[0], 1000);
    SetAutoDelete(0);
    if (sid != "-") Authentication(KZString(sid));
  }

  bool mCallsBase = true;
  std::string mNext;
  std::unique_ptr<Station> mStation;
};

TEST_F(ObserverTest, HearsTheFormerSessionOfAConnectionThatIsOpenAgain) {
  for (const bool callsBase : {true, false}) {
    ReopeningClient client(&app.mLog, app.GetFdDataList());
    const std::string gone = "gone " + std::to_string(client.GetId()) + " ";
    client.mCallsBase = callsBase;
    client.OpenFor("S1");
    client.mNext = "S2";
    Pass();
    Calls().clear();
    client.Close();
    Pass();
    EXPECT_THAT(Calls(), ElementsAre(gone + "S1 open")) << callsBase;
    client.mCallsBase = true;
    client.Close();
    Pass(2);
    EXPECT_THAT(Calls(), ElementsAre(gone + "S1 open", gone + "S2")) << callsBase;
  }
}

TEST_F(ObserverTest, HearsTheSessionOfEachStationWhenOneConnectionIsOpenedAgain) {
  Link other = LoggedIn("S0");
  ReopeningClient client(&app.mLog, app.GetFdDataList());
  client.OpenFor("S1");
  client.mNext = "S2";
  Pass();
  Calls().clear();
  Find(other)->Close();
  client.Close();
  Pass();
  EXPECT_THAT(Calls(), ElementsAre("gone " + std::to_string(other.id) + " S0",
                                   "gone " + std::to_string(client.GetId()) + " S1 open"));
  client.Close();
  Pass(2);
}

TEST_F(ObserverTest, HearsNothingOfAStationThatCameToAConnectionAndDidNotLogIn) {
  ReopeningClient client(&app.mLog, app.GetFdDataList());
  const std::string gone = "gone " + std::to_string(client.GetId()) + " ";
  client.OpenFor("-");
  client.mNext = "S2";
  Pass();
  Calls().clear();
  client.Close();
  Pass();
  EXPECT_THAT(Calls(), IsEmpty());
  client.mNext = "-";
  client.Close();
  client.Close();
  Pass(2);
  EXPECT_THAT(Calls(), ElementsAre(gone + "S2"));
}

TEST_F(ObserverTest, HearsOfEachStationOfAConnectionThatIsDestroyedInThePass) {
  auto client = std::make_unique<ReopeningClient>(&app.mLog, app.GetFdDataList());
  const std::string gone = "gone " + std::to_string(client->GetId()) + " ";
  client->OpenFor("S1");
  client->mNext = "S2";
  Pass();
  app.SetApplicationSingleTimerInterval(1000, 7);
  app.timer = [&](unsigned int) {
    client->Close();
    client->Close();
    client.reset();
    Calls().push_back("destroyed");
  };
  Calls().clear();
  Wait(1000);
  Pass(2);
  EXPECT_THAT(Calls(), ElementsAre("OnTimer app 7", gone + "S1", gone + "S2", "destroyed"));
}

// It is open when it is destroyed.
TEST_F(ObserverTest, HearsOfTheFormerStationOfAConnectionThatIsDestroyed) {
  for (const bool callsBase : {true, false}) {
    auto client = std::make_unique<ReopeningClient>(&app.mLog, app.GetFdDataList());
    const std::string gone = "gone " + std::to_string(client->GetId()) + " ";
    client->mCallsBase = callsBase;
    client->OpenFor("S1");
    client->mNext = "S2";
    Pass();
    Calls().clear();
    client->Close();
    client.reset();
    Calls().push_back("destroyed");
    Pass(2);
    EXPECT_THAT(Calls(), ElementsAre(gone + "S1 open", gone + "S2 open", "destroyed")) << callsBase;
  }
}

TEST_F(ObserverTest, HearsOfAStationThatCameToAConnectionAndWhoseMembersWereWrittenByHand) {
  ReopeningClient client(&app.mLog, app.GetFdDataList());
  const std::string gone = "gone " + std::to_string(client.GetId()) + " ";
  client.OpenFor("S1");
  Pass();
  client.Close();
  Pass();
  client.OpenFor("-");
  client.mSessionId = "S9";
  client.mAuth = true;
  Pass();
  Calls().clear();
  client.Close();
  Pass(2);
  EXPECT_THAT(Calls(), ElementsAre(gone + "S9"));
}

// Where one connection was destroyed, the next one may be made in the same pass.
TEST_F(ObserverTest, IsNotToldOfAConnectionThatLiesWhereAClosedOneLay) {
  void* const place = operator new(sizeof(VQClientSocket));
  VQClientSocket* second = nullptr;
  std::string first;
  app.SetApplicationSingleTimerInterval(1000, 7);
  app.timer = [&](unsigned int) {
    auto* client = new (place) VQClientSocket(&app.mLog, app.GetFdDataList());
    first = "gone " + std::to_string(client->GetId()) + " S1";
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
    const Station station(pair[1]);
    client->Create(pair[0], 1000);
    client->SetAutoDelete(0);
    client->Authentication("S1");
    client->Close();
    client->~VQClientSocket();
    second = new (place) VQClientSocket(&app.mLog, app.GetFdDataList());
    second->mSessionId = "S2";
    second->mAuth = true;
  };
  Calls().clear();
  Wait(1000);
  Pass(2);
  EXPECT_EQ(1, std::count(Calls().begin(), Calls().end(), first));
  EXPECT_EQ(2U, Calls().size());  // And the timer.
  dorn::SetObserver(nullptr);
  second->~VQClientSocket();
  operator delete(place);
}

TEST_F(ObserverTest, MayCloseOtherStationsWhenOneGoes) {
  Link a = LoggedIn("S1"), b = LoggedIn("S2");
  Calls().clear();
  mObserver.gone = [&](VQClientSocket*) {
    if (Find(b) != nullptr) Find(b)->Close();
  };
  a.station.Close();
  ASSERT_TRUE(RunUntil([] { return Connections() == 0; }));
  EXPECT_THAT(Calls(), ElementsAre("gone 134217728 S1", "gone 134217738 S2"));
}

TEST_F(ObserverTest, MayDieAtAnyTime) {
  {
    NotingObserver brief;
    dorn::SetObserver(&brief);
  }
  EXPECT_EQ(nullptr, dorn::TheObserver());
  Calls().clear();
  app.CreateSession("S1", 5000);
  EXPECT_THAT(Calls(), IsEmpty());
}

}  // namespace
