// Files: the host's, and those of the station itself.
#include <gtest/gtest.h>

#include <string>

#include "tests/station/SessionTest.h"

namespace dorn::station {
namespace {

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

// Others that were asked for before take its place meanwhile.
TEST_F(SessionTest, ACopyIsThereUntilTheHostHasAnswered) {
  constexpr char kDate[] = "2024-01-02 03:04:05";
  Show();
  mSession.GetFile("pump.png", mNow);
  SendFile("pump.png", "bytes", kDate);
  const auto nameOf = [](std::size_t number) { return std::to_string(number) + ".png"; };
  for (std::size_t i = 0; i < FileCache::kMostFiles; ++i) mSession.GetFile(nameOf(i), mNow);
  mSession.GetFile("pump.png", mNow);
  for (std::size_t i = 0; i < FileCache::kMostFiles; ++i) SendFile(nameOf(i), "x", kDate);
  Say(R"({"Command":"PUTFILE","Date":"2024-01-02 03:04:05","File":"pump.png","Status":"LATEST"})");
  EXPECT_EQ(mSession.TakeFiles().back().mBytes, "bytes");
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

}  // namespace
}  // namespace dorn::station
