#include "station/Session.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace dorn::station {
namespace {

using Texts = std::vector<std::string>;

const char kHello[] =
    R"({"Command":"HELLO","Id":"me","Pass":"secret","Type":"STATION","ResolutionH":1024,"ResolutionV":768})";
const char kOpen[] =
    R"({"Command":"OPEN","File":"panel.json","FileSource":"SERVER","SessionId":"s1"})";
const char kKeepalive[] = R"({"Command":"KEEPALIVE"})";
const char kTree[] = R"({"Name":"panel","Objects":[{"Name":"a","Type":"LABEL","Value":"1"}]})";

std::string Fence(int number) {
  return R"({"Command":"GETFILE","File":"?f)" + std::to_string(number) + "\"}";
}
std::string FenceAnswer(int number) {
  return R"({"Command":"PUTFILE","File":"?f)" + std::to_string(number) +
         R"(","Info":"FILE NOT FOUND","Status":"ERROR"})";
}
std::string Entry(int fence, const std::string& dialog, const std::string& file) {
  return "{\"Commands\":[" + Fence(fence) + R"(,{"Command":"CHANGE","DialogName":")" + dialog +
         R"("},{"Command":"GETFILE","File":")" + file + "\"}]}";
}
std::string EntryAgain(const std::string& dialog) {
  return R"({"Commands":[{"Command":"CHANGE","SessionId":"s1","DialogName":")" + dialog +
         R"("},{"Command":"GETFILE","File":")" + dialog + ".json\"}]}";
}

// A session, the host's part played by the test, and a clock that stands until it is moved.
class SessionTest : public testing::Test {
 protected:
  SessionTest() : mSession(MakeOptions()) {}

  virtual Session::Options MakeOptions() { return {}; }

  void Say(const std::string& text) { mSession.Received(mSession.Line(), Framed(text), mNow); }

  void SendFile(const std::string& name, const std::string& bytes, const std::string& date) {
    mSession.Received(mSession.Line(),
                      Framed(R"({"Command":"PUTFILE","Date":")" + date + R"(","File":")" + name +
                             R"(","Length":)" + std::to_string(bytes.size()) + "}") +
                          bytes,
                      mNow);
  }

  // What was sent since the last call.
  Texts Sent() {
    Texts texts;
    const std::string bytes = mSession.TakeOutput();
    for (std::size_t at = 0; at < bytes.size();) {
      const std::size_t end = bytes.find('\x03', at);
      texts.push_back(bytes.substr(at + 1, end - at - 1));
      at = end + 1;
    }
    return texts;
  }

  void Advance(Session::Ms ms) {
    mNow += ms;
    mSession.Tick(mNow);
  }

  // Jumps from one wished tick to the next one.
  void AdvanceByTicks(Session::Ms ms) {
    const Session::Ms end = mNow + ms;
    for (int i = 0; i < 10000; ++i) {
      const auto next = mSession.NextTick();
      if (!next || *next > end) break;
      ASSERT_GE(*next, mNow - 1) << "a tick is wished for that is long past";
      mNow = std::max(mNow, *next);
      mSession.Tick(mNow);
      ASSERT_NE(mSession.NextTick(), next) << "a tick does not help";
    }
    mNow = end;
    mSession.Tick(mNow);
  }

  void LogIn() {
    mSession.LogIn("me", "secret", mNow);
    mSession.Connected(mSession.Line(), mNow);
    Say(kOpen);
  }

  void Show() {
    LogIn();
    Say(FenceAnswer(1));
    SendFile("panel.json", kTree, "26-01-01 00:00:00");
    Say(FenceAnswer(2));
    ASSERT_EQ(mSession.GetState(), Session::State::kShowing);
    Sent();
  }

  std::string ValueOf(const char* name) {
    const Object* object = mSession.Dialog().Confirmed().Find(name);
    if (object == nullptr) return "<none>";
    const auto value = mSession.Dialog().Shown(*object, "Value");
    return value ? std::string(value->Text()) : "<none>";
  }

  Session::Ms mNow = 1000;
  Session mSession;
};

TEST_F(SessionTest, WantsNoLineBeforeTheFirstLogIn) {
  EXPECT_EQ(mSession.Line(), 0u);
  EXPECT_EQ(mSession.NextTick(), std::nullopt);
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggedOut);
}

TEST_F(SessionTest, LogsInAndEntersTheDialogThatIsOpened) {
  mSession.LogIn("me", "secret", mNow);
  EXPECT_NE(mSession.Line(), 0u);
  EXPECT_EQ(Sent(), Texts());
  mSession.Connected(mSession.Line(), mNow);
  EXPECT_EQ(Sent(), Texts{kHello});
  Say(kOpen);
  EXPECT_EQ(Sent(), (Texts{Entry(1, "panel", "panel.json"), Fence(2)}));
  EXPECT_EQ(mSession.GetState(), Session::State::kEntering);
  Say(FenceAnswer(1));
  SendFile("panel.json", kTree, "26-01-01 00:00:00");
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_EQ(ValueOf("a"), "1");
  EXPECT_EQ(mSession.SessionId(), "s1");
}

TEST_F(SessionTest, TakesTheDialogsNameFromOpenBeforeItsFile) {
  mSession.LogIn("me", "secret", mNow);
  mSession.Connected(mSession.Line(), mNow);
  Sent();
  Say(R"({"Command":"OPEN","DialogName":"x@y","File":"z.json","SessionId":"s1","Interval":600,"Language":"ja","Menu":["x@y","z"]})");
  EXPECT_EQ(Sent()[0], Entry(1, "x@y", "x/y.json"));
  EXPECT_EQ(mSession.LastOpened().mIntervalSeconds, 600);
  EXPECT_EQ(mSession.LastOpened().mLanguage, "ja");
  EXPECT_EQ(mSession.LastOpened().mMenu, (Texts{"x@y", "z"}));
}

TEST_F(SessionTest, FollowsAnOpenAtAnyTime) {
  Show();
  Say(R"({"Command":"OPEN","File":"sub/notes.json","SessionId":"s1"})");
  EXPECT_EQ(Sent()[0], Entry(3, "sub@notes", "sub/notes.json"));
}

TEST_F(SessionTest, AWrongPasswordEndsTheLineAndTheNextAttemptTakesANewOne) {
  mSession.LogIn("me", "wrong", mNow);
  const unsigned first = mSession.Line();
  mSession.Connected(first, mNow);
  Say(R"({"Command":"ERROR","Message":"認証失敗","Status":"Authentication"})");
  EXPECT_EQ(mSession.Line(), 0u);
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggedOut);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kWrongPassword);
  EXPECT_EQ(mSession.Message(), "認証失敗");
  mSession.LogIn("me", "secret", mNow);
  EXPECT_GT(mSession.Line(), first);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNone);
}

TEST_F(SessionTest, GivesUpALogInAfterTenSeconds) {
  mSession.LogIn("me", "secret", mNow);
  AdvanceByTicks(9999);
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggingIn);
  AdvanceByTicks(1);
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggedOut);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kCannotConnect);
  EXPECT_EQ(mSession.Line(), 0u);
}

TEST_F(SessionTest, ALogInThatCannotConnectSaysSo) {
  mSession.LogIn("me", "secret", mNow);
  mSession.Closed(mSession.Line(), mNow);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kCannotConnect);
}

TEST_F(SessionTest, AnswersKeepaliveAtOnce) {
  Show();
  Say(kKeepalive);
  EXPECT_EQ(Sent(), Texts{kKeepalive});
}

TEST_F(SessionTest, ActsBetweenTwoFencesAndMeasuresTheHost) {
  Show();
  EXPECT_TRUE(mSession.Act("a", "CHANGE", {{"a", {{"Value", Json::String("5")}}}}, mNow));
  EXPECT_EQ(
      Sent(),
      Texts{
          "{\"Commands\":[" + Fence(3) +
          R"(,{"Command":"CONDITION","ActionName":"a","ActionType":"CHANGE","Objects":[{"Name":"a","Value":"5"}]},)" +
          Fence(4) + "]}"});
  EXPECT_EQ(ValueOf("a"), "5");
  EXPECT_TRUE(mSession.Dialog().IsPending("a"));
  Say(R"({ "Command":"UPDATE", "Objects":[{"Value":"9","Name":"a"}]})");
  EXPECT_EQ(ValueOf("a"), "5");
  mNow += 3;
  Say(FenceAnswer(3));
  mNow += 7;
  Say(FenceAnswer(4));
  EXPECT_EQ(ValueOf("a"), "5");
  EXPECT_FALSE(mSession.Dialog().IsPending("a"));
  EXPECT_EQ(mSession.Quality(), 7);
}

TEST_F(SessionTest, RefusesToSendWhatNoHostMayGet) {
  Show();
  EXPECT_FALSE(mSession.Act("a", "CHANGE", {{"a", {{"Value", Json::String("x\x02")}}}}, mNow));
  EXPECT_FALSE(mSession.Act("a", "CHANGE",
                            {{"a", {{"Value", Json::String(std::string(524286, 'x'))}}}}, mNow));
  EXPECT_EQ(Sent(), Texts());
  EXPECT_FALSE(mSession.Dialog().HasPending());
}

TEST_F(SessionTest, SaysAfterFiveSecondsThatTheHostDoesNotAnswer) {
  Show();
  mSession.Act("a", "CLICK", {{"a", {}}}, mNow);
  AdvanceByTicks(4999);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNone);
  EXPECT_EQ(mSession.StaleSince(), std::nullopt);
  const Session::Ms sent = mNow - 4999;
  AdvanceByTicks(1);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNoAnswer);
  EXPECT_EQ(mSession.StaleSince(), sent);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  Say(FenceAnswer(3));
  Say(FenceAnswer(4));
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNone);
}

TEST_F(SessionTest, WaitsForBothFencesOfAnAction) {
  Show();
  mSession.Act("a", "CLICK", {{"a", {}}}, mNow);
  Say(FenceAnswer(3));
  AdvanceByTicks(5000);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNoAnswer);
}

// The fences around it count.
TEST_F(SessionTest, RefusesAnActionThatIsTooLongWithItsFences) {
  Show();
  const auto act = [this](std::size_t length) {
    return mSession.Act("a", "CHANGE", {{"a", {{"Value", Json::String(std::string(length, 'x'))}}}},
                        mNow);
  };
  ASSERT_TRUE(act(0));
  const std::size_t around = Sent()[0].size();
  EXPECT_FALSE(act(kMaxSentText - around + 1));
  EXPECT_TRUE(act(kMaxSentText - around));
  EXPECT_EQ(Sent()[0].size(), kMaxSentText);
}

TEST_F(SessionTest, LosesALineOnWhichAFileBeyondTheLimitIsAnnounced) {
  Show();
  const unsigned line = mSession.Line();
  Say(R"({"Command":"PUTFILE","Date":"2024-01-02 03:04:05","File":"a.png","Length":67108865})");
  EXPECT_EQ(mSession.GetState(), Session::State::kWaiting);
  Advance(500);
  EXPECT_GT(mSession.Line(), line);
}

TEST_F(SessionTest, NothingBehindTheEndOfASessionIsExecuted) {
  Show();
  Say(R"({"Commands":[{"Command":"ERROR","Message":"over","Status":"InvalidSessionId"},)"
      R"({"Command":"OPEN","File":"panel.json","SessionId":"s2"}]})");
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggedOut);
  EXPECT_EQ(mSession.Message(), "over");
  EXPECT_EQ(mSession.SessionId(), "");
}

TEST_F(SessionTest, SendsAFenceEachTwentySecondsWhileSomebodyLooks) {
  Show();
  AdvanceByTicks(19999);
  EXPECT_EQ(Sent(), Texts());
  AdvanceByTicks(1);
  EXPECT_EQ(Sent(), Texts{Fence(3)});
  AdvanceByTicks(4000);
  Say(FenceAnswer(3));
  AdvanceByTicks(19999);
  EXPECT_EQ(Sent(), Texts());
  mSession.SetLooking(false, mNow);
  AdvanceByTicks(60000);
  EXPECT_EQ(Sent(), Texts());
}

TEST_F(SessionTest, FencesEndWithTheSessionsTimeFromTheLastTouch) {
  Show();
  int fences = 0;
  for (int i = 0; i < 100; ++i) {
    AdvanceByTicks(20000);
    for (const std::string& text : Sent()) {
      if (text == Fence(3 + fences)) Say(FenceAnswer(3 + fences++));
    }
  }
  EXPECT_EQ(fences, 29);  // Ten minutes, as no Interval was told; the last one is not reached.
}

TEST_F(SessionTest, ComesBackWithTheSessionAfterGrowingPauses) {
  Show();
  const unsigned first = mSession.Line();
  mSession.Closed(first, mNow);
  EXPECT_EQ(mSession.GetState(), Session::State::kWaiting);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kLineLost);
  EXPECT_EQ(mSession.StaleSince(), mNow);
  EXPECT_EQ(ValueOf("a"), "1");
  unsigned line = first;
  for (const Session::Ms pause : {500, 1000, 2000, 3000, 3000, 3000}) {
    Advance(pause - 1);
    EXPECT_EQ(mSession.Line(), 0u) << pause;
    Advance(1);
    EXPECT_GT(mSession.Line(), line) << pause;
    line = mSession.Line();
    mSession.Closed(line, mNow);
  }
  Advance(3000);
  mSession.Connected(mSession.Line(), mNow);
  EXPECT_EQ(Sent(), (Texts{EntryAgain("panel"), Fence(3)}));
  Say(R"({ "Command":"UPDATE", "Objects":[{"Value":"7","Name":"a"}]})");
  SendFile("panel.json", kTree, "26-01-01 00:00:00");
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_EQ(ValueOf("a"), "7");
  EXPECT_EQ(mSession.StaleSince(), std::nullopt);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNone);
}

TEST_F(SessionTest, PausesGrowFromTheBeginningAfterEachReturn) {
  Show();
  for (int i = 0; i < 3; ++i) {
    mSession.Closed(mSession.Line(), mNow);
    EXPECT_EQ(mSession.NextTick(), mNow + 500);
    Advance(500);
    mSession.Connected(mSession.Line(), mNow);
    SendFile("panel.json", kTree, "26-01-01 00:00:00");
    ASSERT_EQ(mSession.GetState(), Session::State::kShowing);
  }
}

class JitterTest : public SessionTest {
 protected:
  Session::Options MakeOptions() override {
    Session::Options options;
    options.mRandom = [this] { return mRandom; };
    return options;
  }
  double mRandom = 0;
};

TEST_F(JitterTest, PausesDifferByAFifth) {
  Session session(MakeOptions());
  for (const auto& [random, pause] : {std::pair<double, Session::Ms>{0.0, 400}, {1.0, 600}}) {
    mRandom = random;
    session.LogIn("me", "secret", 0);
    session.Connected(session.Line(), 0);
    session.Received(session.Line(), Framed(kOpen), 0);
    session.Closed(session.Line(), 0);
    EXPECT_EQ(session.NextTick(), pause);
    session.LogOut();
  }
}

TEST_F(SessionTest, AnEndedSessionLeadsToTheLogInFormAndBackToTheDialog) {
  Show();
  mSession.Enter("notes", mNow);
  Say(FenceAnswer(3));
  SendFile("notes.json", kTree, "26-01-01 00:00:00");
  mSession.Closed(mSession.Line(), mNow);
  Advance(500);
  mSession.Connected(mSession.Line(), mNow);
  Sent();
  mSession.Received(
      mSession.Line(),
      Framed(
          R"({"Command":"ERROR","Message":"無効なセッションです。","Status":"InvalidSessionId"})") +
          Framed(R"({"Command":"ERROR","Message":"認証失敗","Status":"Authentication"})"),
      mNow);
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggedOut);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kSessionEnded);
  EXPECT_EQ(mSession.Message(), "無効なセッションです。");
  EXPECT_EQ(mSession.Line(), 0u);
  LogIn();
  EXPECT_EQ(Sent()[1], Entry(6, "notes", "notes.json"));
}

TEST_F(SessionTest, AnotherUserStartsAtHisOwnDialog) {
  Show();
  mSession.Enter("notes", mNow);
  mSession.Closed(mSession.Line(), mNow);
  Advance(500);
  mSession.Connected(mSession.Line(), mNow);
  Say(R"({"Command":"ERROR","Message":"x","Status":"InvalidSessionId"})");
  mSession.LogIn("you", "secret", mNow);
  mSession.Connected(mSession.Line(), mNow);
  Sent();
  Say(kOpen);
  EXPECT_EQ(Sent()[0].find("notes"), std::string::npos);
}

TEST_F(SessionTest, ALogOutForgetsEverything) {
  Show();
  mSession.LogOut();
  EXPECT_EQ(mSession.Line(), 0u);
  EXPECT_EQ(mSession.SessionId(), "");
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kNone);
  EXPECT_EQ(mSession.NextTick(), std::nullopt);
}

TEST_F(SessionTest, IgnoresWhatIsToldOfAnotherLine) {
  Show();
  const unsigned old = mSession.Line();
  mSession.Closed(old, mNow);
  Advance(500);
  mSession.Connected(old, mNow);
  mSession.Closed(old, mNow);
  mSession.Received(old, Framed(R"({ "Command":"UPDATE", "Objects":[{"Value":"9","Name":"a"}]})"),
                    mNow);
  EXPECT_EQ(ValueOf("a"), "1");
  EXPECT_NE(mSession.Line(), 0u);
  EXPECT_EQ(Sent(), Texts());
}

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

TEST_F(SessionTest, EndsAfterTheIntervalWithoutATouch) {
  mSession.LogIn("me", "secret", mNow);
  mSession.Connected(mSession.Line(), mNow);
  Say(R"({"Command":"OPEN","File":"panel.json","SessionId":"s1","Interval":60})");
  Say(FenceAnswer(1));
  SendFile("panel.json", kTree, "26-01-01 00:00:00");
  Say(FenceAnswer(2));
  AdvanceByTicks(59999);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  mSession.Touched(mNow);
  AdvanceByTicks(59999);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  EXPECT_TRUE(mSession.Act("a", "CLICK", {{"a", {}}}, mNow));
  AdvanceByTicks(59999);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  AdvanceByTicks(1);
  EXPECT_EQ(mSession.GetState(), Session::State::kLoggedOut);
  EXPECT_EQ(mSession.GetCause(), Session::Cause::kIdle);
}

TEST_F(SessionTest, StaysLoggedInByKeepaliveAtAThirdOfTheInterval) {
  mSession.LogIn("me", "secret", mNow);
  mSession.Connected(mSession.Line(), mNow);
  Say(R"({"Command":"OPEN","File":"panel.json","SessionId":"s1","Interval":30})");
  Say(FenceAnswer(1));
  SendFile("panel.json", kTree, "26-01-01 00:00:00");
  Say(FenceAnswer(2));
  Sent();
  mSession.SetStayLoggedIn(true, mNow);
  AdvanceByTicks(9999);
  EXPECT_EQ(Sent(), Texts());
  AdvanceByTicks(1);
  EXPECT_EQ(Sent(), Texts{kKeepalive});
  AdvanceByTicks(300000);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
}

TEST_F(SessionTest, SendsNoKeepaliveWhereNoIntervalWasTold) {
  Show();
  mSession.SetStayLoggedIn(true, mNow);
  mSession.SetLooking(false, mNow);
  AdvanceByTicks(590000);
  EXPECT_EQ(Sent(), Texts());
}

TEST_F(SessionTest, FetchesFilesEachWithAFenceBehindItAndKeepsThemByDate) {
  Show();
  EXPECT_TRUE(mSession.GetFile("pump.png", mNow));
  EXPECT_EQ(Sent(), (Texts{R"({"Command":"GETFILE","File":"pump.png"})", Fence(3)}));
  SendFile("pump.png", "\x89PNG\x02\x03", "2024-01-02 03:04:05");
  Say(FenceAnswer(3));
  auto files = mSession.TakeFiles();
  ASSERT_EQ(files.size(), 1u);
  EXPECT_TRUE(files[0].mIsThere);
  EXPECT_EQ(files[0].mBytes, "\x89PNG\x02\x03");
  mSession.GetFile("pump.png", mNow);
  EXPECT_EQ(Sent()[0], R"({"Command":"GETFILE","File":"pump.png","Date":"2024-01-02 03:04:05"})");
  Say(R"({"Command":"PUTFILE","Date":"2024-01-02 03:04:05","File":"pump.png","Status":"LATEST"})");
  files = mSession.TakeFiles();
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files[0].mBytes, "\x89PNG\x02\x03");
}

TEST_F(SessionTest, ALiveTreeThatIsFetchedAsAFileIsNotKept) {
  Show();
  mSession.GetFile("panel.json", mNow);
  SendFile("panel.json", kTree, "26-01-01 00:00:00");
  EXPECT_EQ(mSession.TakeFiles().size(), 1u);
  Sent();
  mSession.GetFile("panel.json", mNow);
  EXPECT_EQ(Sent()[0], R"({"Command":"GETFILE","File":"panel.json"})");
}

TEST_F(SessionTest, AFileThatIsNotThereIsToldAndANameWithoutExtensionNotAskedFor) {
  Show();
  mSession.GetFile("no.png", mNow);
  Say(R"({"Command":"PUTFILE","File":"no.png","Info":"FILE NOT FOUND","Status":"ERROR"})");
  auto files = mSession.TakeFiles();
  ASSERT_EQ(files.size(), 1u);
  EXPECT_FALSE(files[0].mIsThere);
  for (const char* name : {"folder", "folder.d/x", "", "a.", "a.b/"}) {
    EXPECT_FALSE(mSession.GetFile(name, mNow)) << name;
  }
}

TEST_F(SessionTest, ADirectoryWithAnExtensionIsNoFile) {
  Show();
  mSession.GetFile("a.d", mNow);
  Say(R"({"Command":"PUTFILE","Date":"2024-01-02 03:04:05","File":"a.d","Length":4096})");
  Say(FenceAnswer(3));
  auto files = mSession.TakeFiles();
  ASSERT_EQ(files.size(), 1u);
  EXPECT_FALSE(files[0].mIsThere);
}

TEST_F(SessionTest, ComesBackWhenAnAnnouncedFileDoesNotCome) {
  Show();
  mSession.GetFile("a.png", mNow);
  Say(R"({"Command":"PUTFILE","Date":"2024-01-02 03:04:05","File":"a.png","Length":10})");
  AdvanceByTicks(4000);
  mSession.Received(mSession.Line(), "abc", mNow);
  AdvanceByTicks(4999);
  EXPECT_EQ(mSession.GetState(), Session::State::kShowing);
  AdvanceByTicks(1);
  EXPECT_EQ(mSession.GetState(), Session::State::kWaiting);
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

class LocalFileTest : public SessionTest {
 protected:
  Session::Options MakeOptions() override {
    Session::Options options;
    options.mLocalFile = [](const std::string& file) -> std::optional<std::string> {
      if (file != "panel.json") return std::nullopt;
      return R"({"Command":"DIALOG","Name":"panel","Objects":[{"Name":"a","Label":"mine"}]})";
    };
    return options;
  }
};

TEST_F(LocalFileTest, AFileOfTheStationComesFirstWhenTheHostSaysSo) {
  Session session(MakeOptions());
  session.LogIn("me", "secret", mNow);
  session.Connected(session.Line(), mNow);
  session.TakeOutput();
  const auto say = [&](const std::string& text) {
    session.Received(session.Line(), Framed(text), mNow);
  };
  say(R"({"Command":"OPEN","File":"panel.json","FileSource":"STATION","SessionId":"s1"})");
  EXPECT_EQ(session.TakeOutput(), Framed("{\"Commands\":[" + Fence(1) +
                                         R"(,{"Command":"CHANGE","DialogName":"panel"}]})") +
                                      Framed(Fence(2)));
  say(FenceAnswer(1));
  say(R"({ "Command":"UPDATE", "Objects":[{"Value":"5","Name":"a"}]})");
  say(FenceAnswer(2));
  EXPECT_EQ(session.GetState(), Session::State::kShowing);
  const Object* object = session.Dialog().Confirmed().Find("a");
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->TextOf("Label"), "mine");
  EXPECT_EQ(object->TextOf("Value"), "5");
}

// Where the text that goes on with the session asks for the host's file in any case.
TEST_F(LocalFileTest, TheFileOfTheHostIsPassedOverOnReturn) {
  Session session(MakeOptions());
  session.LogIn("me", "secret", mNow);
  session.Connected(session.Line(), mNow);
  const auto say = [&](const std::string& text) {
    session.Received(session.Line(), Framed(text), mNow);
  };
  say(R"({"Command":"OPEN","File":"panel.json","FileSource":"STATION","SessionId":"s1"})");
  say(FenceAnswer(1));
  say(FenceAnswer(2));
  session.Closed(session.Line(), mNow);
  session.Tick(mNow + 500);
  session.Connected(session.Line(), mNow + 500);
  const std::string tree = R"({"Name":"panel","Objects":[{"Name":"a","Label":"theirs"}]})";
  say(R"({"Command":"PUTFILE","Date":"2026-01-01 00:00:00","File":"panel.json","Length":)" +
      std::to_string(tree.size()) + "}");
  session.Received(session.Line(), tree, mNow + 500);
  EXPECT_EQ(session.GetState(), Session::State::kEntering);
  say(FenceAnswer(3));
  EXPECT_EQ(session.GetState(), Session::State::kShowing);
  const Object* object = session.Dialog().Confirmed().Find("a");
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->TextOf("Label"), "mine");
}

TEST_F(SessionTest, CountsTextsByHowTheyWereRead) {
  Show();
  const auto before = mSession.Texts();
  Say("{'Commands':[]}");
  Say("what?");
  Say("what?");
  EXPECT_EQ(mSession.Texts().mTolerant, before.mTolerant + 1);
  EXPECT_EQ(mSession.Texts().mUnreadable, before.mUnreadable + 2);
  EXPECT_GT(before.mStrict, 0u);
}

TEST_F(SessionTest, WhatIsPendingEndsWithTheLine) {
  Show();
  mSession.Act("a", "CHANGE", {{"a", {{"Value", Json::String("5")}}}}, mNow);
  mSession.Closed(mSession.Line(), mNow);
  EXPECT_FALSE(mSession.Dialog().HasPending());
  EXPECT_EQ(ValueOf("a"), "1");
  EXPECT_FALSE(mSession.Act("a", "CLICK", {{"a", {}}}, mNow));
}

}  // namespace
}  // namespace dorn::station
