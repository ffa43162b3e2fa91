// Stations that race with each other and with the host, over lines that delay and cut what they
// carry. Whatever the order, in the end everybody shows what the host has.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <random>
#include <sstream>

#include "station/Session.h"
#include "tests/station/SimulatedHost.h"

namespace {

using dorn::station::Json;
using dorn::station::Object;
using dorn::station::Reader;
using dorn::station::Session;

// The longer run of script/soak asks for 10,000.
constexpr unsigned kUsualScenes = 400;
constexpr int kSteps = 60;
constexpr int kStations = 2;

const char kResource[] = R"({"Command":"DIALOG","Name":"d","Title":"Race","Objects":[
  {"Name":"a","Type":"EDIT","Value":"0"},
  {"Name":"b","Type":"EDIT","Value":"0"},
  {"Name":"limited","Type":"EDIT","Value":"0"},
  {"Name":"fixed","Type":"EDIT","Value":"0"},
  {"Name":"radio","Type":"GROUP","Layout":"RADIO","Objects":[
    {"Name":"r1","Type":"RADIOBTN","Attr":"ON"},
    {"Name":"r2","Type":"RADIOBTN","Attr":"OFF"},
    {"Name":"r3","Type":"RADIOBTN","Attr":"OFF"}]},
  {"Name":"g","Type":"GROUP","Objects":[{"Name":"x","Type":"LABEL","Value":"0"}]},
  {"Name":"grid","Type":"GRID","Rows":[["1","2"]]}]})";

// The console of the library's parser is none of this test's business.
class Silence {
 public:
  Silence() : mBefore(std::cout.rdbuf(mDropped.rdbuf())) { testing::internal::CaptureStdout(); }
  ~Silence() {
    testing::internal::GetCapturedStdout();
    std::cout.rdbuf(mBefore);
  }

 private:
  std::ostringstream mDropped;
  std::streambuf* mBefore;
};

class Scene {
 public:
  explicit Scene(unsigned seed) : mRandom(seed), mHost(kResource, kStations) {
    for (int i = 0; i < kStations; ++i) {
      mStations.push_back(std::make_unique<Session>(Session::Options{}));
      mStations.back()->LogIn("user", "pass", mNow);
    }
    mToHost.resize(kStations);
    mToStation.resize(kStations);
    mLines.resize(kStations);
    Settle();
  }

  // Random steps, then peace. Returns the first difference, or nothing.
  std::string Play() {
    for (int i = 0; i < kSteps; ++i) Step();
    mHost.Flush();
    Settle();
    for (int i = 0; i < kStations; ++i) {
      const auto& replica = mStations[Index(i)]->Dialog();
      const std::string host = Reader().Read(mHost.Tree()).mJson.Written();
      const std::string station = replica.Confirmed().Written().Written();
      if (replica.HasPending()) return "something is pending for ever";
      if (host != station) {
        return "station " + std::to_string(i) + "\n  host    " + host + "\n  station " + station;
      }
    }
    return "";
  }

 private:
  static std::size_t Index(int i) { return static_cast<std::size_t>(i); }
  int Below(int bound) { return static_cast<int>(mRandom() % static_cast<unsigned>(bound)); }

  template <std::size_t N>
  const char* OneOf(const char* const (&words)[N]) {
    return words[Below(static_cast<int>(N))];
  }

  void Step() {
    switch (Below(12)) {
      case 0:
      case 1:
      case 2:
        return StationActs(Below(kStations));
      case 3:
        return HostActs();
      case 4:
        return Below(12) == 0 ? CutLine(Below(kStations)) : Deliver(Below(kStations), false);
      case 5:
        if (Below(8) == 0) mStations[Index(Below(kStations))]->Refresh(mNow);
        return;
      case 6:
        return Advance(Below(150));
      default:
        return Deliver(Below(kStations), Below(2) == 0);
    }
  }

  std::string Typed() {
    static const char* const kTyped[] = {
        "1", "22", "a\"b", "x\"},{\"Value\":\"999", "C:\\new", "l1\nl2", "日本", "", "12345", "0"};
    return OneOf(kTyped);
  }

  void StationActs(int i) {
    static const char* const kNames[] = {"a", "b", "limited", "x", "n1", "n2"};
    static const char* const kRadios[] = {"r1", "r2", "r3"};
    Session& session = *mStations[Index(i)];
    if (Below(3) == 0) {
      const char* name = OneOf(kRadios);
      session.Act(name, "CLICK", {{name, {{"Attr", Json::String("ON")}}}}, mNow);
    } else {
      const char* name = OneOf(kNames);
      session.Act(name, "CHANGE", {{name, {{"Value", Json::String(Typed())}}}}, mNow);
    }
  }

  void HostActs() {
    static const char* const kGroups[] = {"d", "g", "g2"};
    static const char* const kAdded[] = {"n1", "n2", "n3"};
    static const char* const kNames[] = {"a", "b", "limited", "x", "n1", "n2", "n3"};
    static const char* const kRadios[] = {"r1", "r2", "r3"};
    static const char* const kKeys[] = {"Value", "State", "Unit"};
    static const char* const kTexts[] = {"h1", "h2", "say \\\"so\\\"", "h3"};
    switch (Below(9)) {
      case 0:
        mHost.Add(OneOf(kGroups), OneOf(kAdded), "LABEL");
        break;
      case 1:
        mHost.Add("d", "g2", "GROUP");
        mHost.Add("g2", OneOf(kAdded), "LABEL");
        break;
      case 2:
        mHost.AddFilledGroup(OneOf(kGroups), "g3", "inner");
        break;
      case 3:
        mHost.Delete(OneOf(kAdded));
        break;
      case 4:
        mHost.Delete(Below(2) == 0 ? "g2" : "g3");
        break;
      case 5:
        mHost.Set(OneOf(kRadios), "Attr", "ON");
        break;
      case 6:
        mHost.SetRows("grid", {Typed().size() > 2 ? "p" : "q", OneOf(kTexts)});
        break;
      case 7:
        return mHost.Flush(Below(4) == 0);
      default:
        mHost.Set(OneOf(kNames), OneOf(kKeys), OneOf(kTexts));
        break;
    }
    mHost.Flush();
  }

  void CutLine(int i) {
    mHost.Disconnect(i);
    mToHost[Index(i)].clear();
    mToStation[Index(i)].clear();
    mStations[Index(i)]->Closed(mStations[Index(i)]->Line(), mNow);
  }

  // A new line is connected at once when the session wants one.
  void Collect(int i) {
    Session& session = *mStations[Index(i)];
    if (session.Line() != mLines[Index(i)]) {
      mLines[Index(i)] = session.Line();
      mToHost[Index(i)].clear();
      mToStation[Index(i)].clear();
      if (session.Line() != 0) mHost.Connect(i);
      session.Connected(session.Line(), mNow);
    }
    mToHost[Index(i)] += session.TakeOutput();
    mToStation[Index(i)] += std::exchange(mHost.ToStation(i), {});
  }

  // A piece of what is on its way, from a single byte to all of it.
  void Deliver(int i, bool toHost) {
    Collect(i);
    std::string& line = toHost ? mToHost[Index(i)] : mToStation[Index(i)];
    if (line.empty()) return;
    const int most = static_cast<int>(std::min<std::size_t>(line.size(), 1500));
    const std::size_t count = Below(3) == 0 ? line.size() : Index(1 + Below(most));
    const std::string piece = line.substr(0, count);
    line.erase(0, count);
    if (toHost) {
      mHost.Receive(i, piece);
    } else {
      mStations[Index(i)]->Received(mLines[Index(i)], piece, mNow);
    }
    for (int each = 0; each < kStations; ++each) Collect(each);
  }

  void Advance(int ms) {
    mNow += ms;
    for (const auto& session : mStations) session->Tick(mNow);
  }

  bool IsQuiet() {
    for (int i = 0; i < kStations; ++i) {
      Collect(i);
      if (!mToHost[Index(i)].empty() || !mToStation[Index(i)].empty()) return false;
    }
    return true;
  }

  void Settle() {
    for (int round = 0; round < 40; ++round) {
      while (!IsQuiet()) {
        for (int i = 0; i < kStations; ++i) {
          Deliver(i, true);
          Deliver(i, false);
        }
      }
      // Time enough to come back and to fetch again what was not sent, in steps.
      Advance(150);
    }
    while (!IsQuiet()) {
      for (int i = 0; i < kStations; ++i) {
        Deliver(i, true);
        Deliver(i, false);
      }
    }
  }

  std::mt19937 mRandom;
  SimulatedHost mHost;
  std::vector<std::unique_ptr<Session>> mStations;
  std::vector<std::string> mToHost;
  std::vector<std::string> mToStation;
  std::vector<unsigned> mLines;
  Session::Ms mNow = 0;
};

TEST(RaceTest, StationsEndWithTheTreeOfTheHost) {
  const char* asked = std::getenv("DORN_STATION_SCENES");
  const unsigned scenes =
      asked == nullptr ? kUsualScenes : static_cast<unsigned>(std::strtoul(asked, nullptr, 10));
  for (unsigned seed = 1; seed <= scenes; ++seed) {
    std::string difference;
    {
      const Silence silence;
      difference = Scene(seed).Play();
    }
    ASSERT_EQ(difference, "") << "scene " << seed;
  }
}

}  // namespace
