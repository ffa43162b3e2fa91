// Stations that are broken or malicious: whatever they send, the server goes on serving the others.
#include <random>

#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HostileStationTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    mShared = Shared("top", kTree);
    mGood = LoggedIn("good", "top");
  }

  // Another station still gets its answer.
  void ExpectThatOthersAreServed(const std::string& after) {
    mGood.station.Messages();
    Tell(mGood, R"({"Command":"HELLO","Type":"T"})");
    EXPECT_THAT(mGood.station.Messages(),
                ElementsAre(R"({"Command":"OPEN","File":"Top.json","FileSource":"STATION",)"
                            R"("SessionId":"good"})"))
        << after.substr(0, 100);
  }

  HookedDialog* mShared = nullptr;
  Link mGood;
};

const char* const kOddTexts[] = {
    "",
    " ",
    "[1]",
    "[]",
    "5",
    "-",
    "\"x\"",
    "'x'",
    "true",
    "null",
    "nul",
    "{",
    "}",
    "{]",
    "{}",
    "{}{}",
    "{\"a\"",
    "{\"a\":",
    "{\"a\":1",
    "{\"a\":1,",
    "\"",
    "\"\\",
    "\"\\u12",
    "\"\\ud83d\"",
    "1e",
    "1e999999999",
    "99999999999999999999",
    "{\"Commands\":1}",
    "{\"Commands\":{}}",
    "{\"Commands\":[1]}",
    "{\"Commands\":[[]]}",
    "{\"Commands\":[null,true,\"x\",{}]}",
    "{\"Commands\":[{\"Commands\":[{\"Command\":\"HELLO\"}]}]}",
    "{\"Command\":1}",
    "{\"Command\":null}",
    "{\"Command\":[\"HELLO\"]}",
    "{\"Command\":{\"a\":\"HELLO\"}}",
    "{\"Command\":\"A\",\"Objects\":1}",
    "{\"Command\":\"A\",\"Objects\":[[]]}",
    "{\"Command\":\"A\",\"Objects\":[1,null,\"x\"]}",
    "{\"Command\":\"A\",\"Objects\":[{\"Command\":\"B\"}]}",
    "{\"Command\":\"A\",\"Object\":[]}",
    "{\"Command\":\"A\",\"Object\":{\"Object\":{\"Object\":{}}}}",
    "{\"Command\":\"A\",\"NotifyList\":\",,,,\"}",
    "{\"Command\":\"A\",\"NotifyList\":1}",
    "{\"Command\":\"DIALOG\",\"Objects\":[{\"Name\":\"b1\"}]}",
    "{\"Commands\":[{\"Type\":\"GRID\"},{\"Type\":\"GROUP\",\"Layout\":\"RADIO\"},{\"Type\":1}]}",
    "{\"Command\":\"HELLO\",\"Id\":{},\"Pass\":[]}",
    "{\"Command\":\"HELLO\",\"Id\":null}",
    "{\"Command\":\"HELLO\",\"SessionId\":{}}",
    "{\"Command\":\"HELLO\",\"SessionId\":\"\"}",
    "{\"Command\":\"CHANGE\",\"DialogName\":[]}",
    "{\"Command\":\"CHANGE\",\"DialogName\":\"\"}",
    "{\"Command\":\"CHANGE\",\"DialogName\":\"../../etc\"}",
    "{\"Command\":\"GETFILE\",\"File\":[],\"Date\":{},\"ObjectName\":1}",
    "{\"Command\":\"GETFILE\",\"File\":\".json\"}",
    "{\"Command\":\"GETFILE\",\"File\":\"top.json\",\"Date\":\"99999999999-1-1 0:0:0\"}",
    "{\"Command\":\"CONDITION\",\"ActionName\":{},\"ActionType\":[]}",
    "{\"Command\":\"CONDITION\",\"Objects\":[{\"Name\":\"b1\",\"Value\":{\"a\":[{}]}}]}",
    "{\"Command\":\"\xff\xfe\x80\"}",
    "\xef\xbb\xbf{\"Command\":\"A\"}",
};

TEST_F(HostileStationTest, OddTextsHarmNobody) {
  mShared->condition = [](HookedDialog& dialog, VQClientSocket* client, VQJsonCommand* command) {
    dialog.UpdateResourceShare(command, client->GetSessionId());
    dialog.SendUpdateShare(false);
  };
  for (const char* text : kOddTexts) {
    Link stranger = Connect();
    Tell(stranger, text);
    Link known = LoggedIn("S1", "top");
    Tell(known, text);
    ExpectThatOthersAreServed(text);
  }
}

TEST_F(HostileStationTest, RootsThatAreNoObjectsDoNothingAtAll) {
  std::vector<Link> links;  // They live on: one that ends prints a line.
  for (const char* text :
       {"[1]", "5", "\"x\"", "true", "null", "[]", "[{\"Command\":\"HELLO\"}]"}) {
    links.push_back(LoggedIn("S1"));
    Link& link = links.back();
    CapturedStdout console;
    Tell(link, text);
    EXPECT_EQ("", console.Text()) << text;
    EXPECT_NE(nullptr, Find(link)) << text;
  }
}

TEST_F(HostileStationTest, ElementsThatAreNoObjectsAreSkipped) {
  Link link = LoggedIn("S1");
  CapturedStdout console;
  Tell(link, R"({"Commands":[1,{"Command":"A"},[],null,"x",{"Command":"B"}]})");
  EXPECT_EQ(
      "Command=A json={\"Command\":\"A\"}\n"
      "Command=B json={\"Command\":\"B\"}\n",
      console.Text());
}

TEST_F(HostileStationTest, ElementsThatAreNoCommandsTakeTheWayOfUnknownOnes) {
  app.CreateSession("S1", 30000);
  Link link = LoggedIn("S1", "top");
  mClock.AdvanceMs(1000);
  CapturedStdout console;
  Tell(link, R"({"Commands":[{"Name":"x"},{"Command":"DIALOG"},{"Type":"GRID","Name":"g"},)"
             R"({"Command":"CONDITION"}]})");
  EXPECT_EQ(
      "GRID!\n"
      "Command= json={\"Name\":\"x\"}\n"
      "Command=DIALOG json={\"Command\":\"DIALOG\"}\n"
      "Command= json={\"Name\":\"g\",\"Type\":\"GRID\",\n\"Data\":[]}\n"
      "Command=CONDITION json={\"Command\":\"CONDITION\"}\n",
      console.Text());
  EXPECT_THAT(Calls(), ElementsAre("OnCondition top S1"));
  EXPECT_THAT(DueIn(app.SessionList()->Search("S1")->mTimerId), ElementsAre(30000));
}

TEST_F(HostileStationTest, NestingToTheEndOfTheBufferHarmsNobody) {
  for (const char* unit : {"[", "{\"\":", "{\"Objects\":[", "{\"a\":[", "{\"Commands\":["}) {
    Link link = LoggedIn("S1", "top");
    std::string text = R"({"Command":"CONDITION","x":)";
    while (text.size() < 0x80000 - 100) text += unit;
    {
      const CapturedStdout console;
      Tell(link, text);
    }
    ExpectThatOthersAreServed(unit);
  }
}

TEST_F(HostileStationTest, DeepButClosedNestingHarmsNobody) {
  mShared->condition = [](HookedDialog& dialog, VQClientSocket* client, VQJsonCommand* command) {
    dialog.UpdateResourceShare(command, client->GetSessionId());
    dialog.SendUpdateShare(false);
  };
  for (const int depth : {100, 1000, 1024, 5000, 100000}) {
    Link link = LoggedIn("S1", "top");
    const auto levels = static_cast<size_t>(depth);
    std::string open, close;
    for (size_t i = 0; i < levels; ++i) open += "[", close += "]";
    const CapturedStdout console;
    Tell(link, R"({"Command":"CONDITION","Objects":[{"Name":"b1","Value":)" + open + close + "}]}");
    ExpectThatOthersAreServed(std::to_string(depth));
  }
}

// Each level is a child and an attribute that holds all levels below it.
TEST_F(HostileStationTest, DialogsInDialogsArePrintedFewTimesTheirLength) {
  for (const size_t levels : {50U, 1000U}) {
    std::string text = R"({"Command":"A")";
    for (size_t i = 0; i < levels; ++i) text += R"(,"Dialog":{"Type":"GROUP")";
    text += R"(,"x":[0)";
    while (text.size() < levels * 480) text += ",0";
    text += "]" + std::string(levels, '}') + "}";
    Link stranger = Connect();
    CapturedStdout console;
    Tell(stranger, text);
    const std::string lines = console.Text();
    ASSERT_LE(lines.size(), 20 * text.size()) << levels;
    EXPECT_GE(lines.size(), text.size()) << levels;
    ExpectThatOthersAreServed("Dialog");
  }
}

TEST_F(HostileStationTest, TruncatedAndMutatedCommandsHarmNobody) {
  const std::string valid =
      R"({"Commands":[{"Command":"HELLO","Id":"u1","Pass":"p","DialogName":"top"},)"
      R"({"Command":"CONDITION","ActionName":"b1","ActionType":"T","Objects":[)"
      R"({"Name":"b1","Value":"ON"},{"Name":"g","Type":"GROUP","Objects":[{"Name":"x"}]}]},)"
      R"({"Command":"GETFILE","File":"a/b.json","Date":"2020-01-02 03:04:05"}]})";
  Link link = Connect();
  const CapturedStdout console;
  for (size_t length = 0; length < valid.size(); ++length) {
    Tell(link, valid.substr(0, length));
    if (Find(link) == nullptr) link = Connect();
  }
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    std::string text = valid;
    for (int edits = 1 + static_cast<int>(random() % 4); edits > 0; --edits) {
      text[random() % text.size()] = static_cast<char>(random());
    }
    link.station.SendRaw("\x02" + text + "\x03");
    Pass(3);
    if (Find(link) == nullptr) link = Connect();
  }
  ExpectThatOthersAreServed("mutations");
}

TEST_F(HostileStationTest, RandomBytesHarmNobody) {
  std::mt19937 random(2);
  Link link = Connect();
  const CapturedStdout console;
  for (int round = 0; round < 500; ++round) {
    std::string bytes(random() % 200 + 1, '\0');
    for (char& byte : bytes)
      byte = static_cast<char>(random() % 4 == 0 ? 2 + random() % 2 : random());
    link.station.SendRaw(bytes);
    Pass();
  }
  ExpectThatOthersAreServed("random bytes");
}

TEST_F(HostileStationTest, ThousandsOfGuessedSessionIdsAreOneGuessPerConnection) {
  app.CreateSession("secret", 0);
  std::string guesses;
  for (int i = 0; i < 5000; ++i) {
    guesses += R"({"Command":"A","SessionId":"g)" + std::to_string(i) + R"("},)";
  }
  Link link = Connect();
  Tell(link, "{\"Commands\":[" + guesses + R"({"Command":"B","SessionId":"secret"}]})");
  EXPECT_THAT(Calls(), ElementsAre("OnAuthCheck g0"));
  EXPECT_EQ(nullptr, Find(link));
}

// 34951 commands extend the session, each with a wake-up byte, in one pass.
TEST_F(HostileStationTest, AMessageOfEmptyCommandsDoesNotBlockTheLoopOnItsOwnPipe) {
  app.CreateSession("S1", 60000);
  Link a = LoggedIn("S1"), b = LoggedIn("S1");
  std::string commands = R"({"Commands":[{"Command":""})";
  while (commands.size() < 0x80000 - 30) commands += R"(,{"Command":""})";
  commands += "]}";
  const CapturedStdout console;
  Tell(a, commands);
  Tell(b, commands);
  ExpectThatOthersAreServed("a full pipe");
}

TEST_F(HostileStationTest, AReplyWithFrameBytesReachesTheStationAsOneMessage) {
  Link link = LoggedIn("S1");
  Tell(link, R"({"Command":"GETFILE","File":"a\u0003\u0002{}b"})");
  EXPECT_THAT(link.station.Messages(),
              ElementsAre(R"({"Command":"PUTFILE","File":"a  {}b","Info":"FILE NOT FOUND",)"
                          R"("Status":"ERROR"})"));
}

TEST_F(HostileStationTest, AnUpdateWithFrameBytesForgesNoMessage) {
  Link attacker = LoggedIn("S1", "top");
  mShared->condition = [](HookedDialog& dialog, VQClientSocket* client, VQJsonCommand* command) {
    dialog.UpdateResourceShare(command, client->GetSessionId());
    dialog.SendUpdateShare(false);
  };
  Tell(attacker,
       R"({"Command":"CONDITION","Objects":[{"Name":"b1","Value":"x\u0003\u0002forged"}]})");
  EXPECT_THAT(mGood.station.Messages(),
              ElementsAre("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"x  forged\","
                          "\"Name\":\"b1\"}]}\n"));
}

TEST_F(HostileStationTest, ASessionThatExpiresBetweenTwoCommandsHarmsNobody) {
  app.CreateSession("S1", 1000);
  Link a = LoggedIn("S1", "top"), b = LoggedIn("S1", "top");
  a.station.Send(R"({"Command":"CONDITION"})");
  b.station.Send(R"({"Command":"CONDITION"})");
  Wait(1000);
  EXPECT_EQ(nullptr, Find(a));
  EXPECT_EQ(nullptr, Find(b));
  ExpectThatOthersAreServed("expiry");
}

TEST_F(HostileStationTest, AHalfClosedStationIsClosed) {
  Link link = ConnectTcp();
  link.station.ShutdownWrite();
  EXPECT_TRUE(RunUntil([&] { return Find(link) == nullptr; }));
}

TEST_F(HostileStationTest, AResetInTheMiddleOfAMessageIsClosed) {
  Link link = ConnectTcp();
  link.station.SendRaw("\x02{\"Comm");
  Pass(2);
  link.station.Reset();
  EXPECT_TRUE(RunUntil([&] { return Find(link) == nullptr; }));
  ExpectThatOthersAreServed("reset");
}

TEST_F(HostileStationTest, ASilentStationInMidMessageIsStillAskedAndClosed) {
  Link link = LoggedIn("S1");
  link.station.SendRaw("\x02{");
  Pass(5);
  for (int second = 0; second < 180; ++second) Wait(1000);
  EXPECT_THAT(link.station.Messages(), ElementsAre(R"({"Command":"KEEPALIVE"})"));
  Wait(10000);
  EXPECT_EQ(nullptr, Find(link));
}

TEST_F(HostileStationTest, HundredsOfBusyStationsDoNotBlockTheLoop) {
  std::vector<Link> many;
  for (int i = 0; i < 300; ++i) many.push_back(Connect());
  for (int round = 0; round < 300; ++round) {
    for (Link& link : many) link.station.SendSome("x");
    app.RunPass();
  }
  ExpectThatOthersAreServed("300 busy stations");
}

}  // namespace
