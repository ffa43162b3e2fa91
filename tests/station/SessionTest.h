// What the tests of sessions share: the texts of a station and of a host, and a session whose host
// the test plays.
#ifndef TESTS_STATION_SESSIONTEST_H_
#define TESTS_STATION_SESSIONTEST_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "station/Framing.h"
#include "station/Session.h"

namespace dorn::station {

using Texts = std::vector<std::string>;

inline constexpr char kHello[] =
    R"({"Command":"HELLO","Id":"me","Pass":"secret","Type":"STATION","ResolutionH":1024,"ResolutionV":768})";
inline constexpr char kOpen[] =
    R"({"Command":"OPEN","File":"panel.json","FileSource":"SERVER","SessionId":"s1"})";
inline constexpr char kKeepalive[] = R"({"Command":"KEEPALIVE"})";
inline constexpr char kTree[] =
    R"({"Name":"panel","Objects":[{"Name":"a","Type":"LABEL","Value":"1"}]})";

inline std::string Fence(int number) {
  return R"({"Command":"GETFILE","File":"?f)" + std::to_string(number) + "\"}";
}
inline std::string FenceAnswer(int number) {
  return R"({"Command":"PUTFILE","File":"?f)" + std::to_string(number) +
         R"(","Info":"FILE NOT FOUND","Status":"ERROR"})";
}
inline std::string Entry(int fence, const std::string& dialog, const std::string& file) {
  return "{\"Commands\":[" + Fence(fence) + R"(,{"Command":"CHANGE","DialogName":")" + dialog +
         R"("},{"Command":"GETFILE","File":")" + file + "\"}]}";
}
inline std::string EntryAgain(const std::string& dialog) {
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

}  // namespace dorn::station

#endif  // TESTS_STATION_SESSIONTEST_H_
