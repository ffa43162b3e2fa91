// How much of the ordinary work is printed, and what of it.
#include "dorn/server/ResourceReport.h"
#include "tests/server/ServerTest.h"

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr char kPassword[] = "verysecret";
constexpr char kSession[] = "0123456789abcdef";

class TraceTest : public ServerTest {
 protected:
  void TearDown() override {
    app.SetTrace(dorn::Trace::kAll);
    app.auth = nullptr;
    ServerTest::TearDown();
  }

  // What a log-in, a command, a broken message, a list and an expiry print.
  std::string Everything() {
    app.auth = [](const KZString&, const KZString& pass, VQClientSocket* client) {
      if (!(pass == kPassword)) return;
      app.CreateSession(kSession, 1000);
      client->Authentication(kSession);
    };
    Shared("top", kTree);
    CapturedStdout console;
    Link link = Connect();
    Tell(link, R"({"Command":"HELLO","Id":"a","Pass":"verysecret","DialogName":"top"})");
    Dialog("top")->SendSnapshot(Find(link));
    Tell(link, R"({"Command":"HELLO","Type":"T"})");
    Tell(link,
         R"({"Command":"CONDITION","Pass":{"x":["verysecret"]},"SessionId":"0123456789abcdef"})");
    Tell(link, R"({"Command":"CONDITION","Objects":[{"Name":"o","Pass":"verysecret"}]})");
    Tell(link, R"({"Command":!,"Pass":"verysecret"})");
    app.SendDataList("SessionIdShared", "", R"({"SessionId":"0123456789abcdef"})");
    Wait(2000);
    return console.Text();
  }
};

TEST_F(TraceTest, PrintsEverythingByDefault) {
  const std::string text = Everything();
  EXPECT_THAT(text, HasSubstr(R"("Pass":"verysecret")"));
  EXPECT_THAT(text, HasSubstr(" sid=0123456789abcdef dname="));
  EXPECT_THAT(text, HasSubstr("SendDataList loop 0123456789abcdef,"));
  EXPECT_THAT(text, HasSubstr("Remove sessionid=0123456789abcdef\n"));
  EXPECT_THAT(text, HasSubstr("near: "));
}

TEST_F(TraceTest, PrintsTheSameLinesWithoutSecrets) {
  const std::string whole = Everything();
  TearDown();
  SetUp();
  app.SetTrace(dorn::Trace::kNoSecrets);
  const std::string text = Everything();
  EXPECT_THAT(text, Not(HasSubstr(kPassword)));
  EXPECT_THAT(text, Not(HasSubstr("012345678")));
  EXPECT_THAT(text, HasSubstr(R"("Pass":"***")"));
  EXPECT_THAT(text, HasSubstr(" sid=01234567 dname="));
  EXPECT_THAT(text, HasSubstr(R"("SessionId":"01234567")"));
  EXPECT_THAT(text, HasSubstr("SendDataList loop 01234567,"));
  EXPECT_THAT(text, HasSubstr("SessionID:01234567\n"));
  EXPECT_THAT(text, HasSubstr("Remove sessionid=01234567\n"));
  EXPECT_THAT(text, HasSubstr("Parse error:syntax error at line 1\n"));
  EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'),
            std::count(text.begin(), text.end(), '\n'));
}

TEST_F(TraceTest, LeavesTheCommandItselfAlone) {
  app.SetTrace(dorn::Trace::kNoSecrets);
  std::string seen;
  app.auth = [&seen](const KZString&, const KZString& pass, VQClientSocket*) { seen = pass; };
  Link link = Connect();
  Tell(link, R"({"Command":"HELLO","Id":"a","Pass":"verysecret"})");
  EXPECT_EQ(kPassword, seen);
  Tell(link, R"({"Command":"HELLO","SessionId":"0123456789abcdef"})");
  EXPECT_THAT(Calls().back(), HasSubstr("OnAuthCheck 0123456789abcdef"));
}

TEST_F(TraceTest, NoneLeavesFailuresAlone) {
  app.SetTrace(dorn::Trace::kNone);
  EXPECT_EQ("Parse error:syntax error at line 1\n", Everything());
}

TEST_F(TraceTest, NoneStillSaysWhatIsWrong) {
  app.SetTrace(dorn::Trace::kNone);
  CapturedStdout console;
  Link link = Connect();
  Wait(10000);
  HookedDialog dialog;
  dialog.Init("d", "none.json");
  dialog.LoadJsonShare();
  EXPECT_EQ("コネクションタイムアウト\n" + Str(dialog.mFileName) + " is non\n", console.Text());
}

}  // namespace
