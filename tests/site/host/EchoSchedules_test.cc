// Schedules of stations that change the same objects at once, two of them of one session, while the
// host's line to the log comes and goes: afterwards each shows what the tree has.
#include <cstddef>
#include <map>
#include <random>
#include <regex>

#include "tests/site/host/HostTest.h"

namespace {

// A station with the values that it shows: what it was told or has set itself, whichever was later.
struct Screen {
  Station station;
  std::map<std::string, std::string> shown;
};

class EchoSchedulesTest : public HostTest, public testing::WithParamInterface<unsigned> {
 protected:
  int Of(int least, int most) {
    return least + static_cast<int>(mRandom() % static_cast<unsigned>(most - least + 1));
  }
  std::string AnObject() { return Of(0, 1) == 0 ? "a" : "b"; }
  std::string AValue() { return std::to_string(++mLastValue); }

  void Enter(const std::string& user) { mScreens.push_back({HostTest::Enter(user), {}}); }
  // One more connection of a session.
  void Join(const std::string& session) {
    mScreens.push_back({Connect(), {}});
    Station& station = mScreens.back().station;
    Tell(station, R"({"Command":"CHANGE","SessionId":")" + session + R"(","DialogName":"panel"})");
    Take(station);
  }

  // The station has shown all that was sent before it sends something itself.
  void Read(Screen& screen) {
    static const std::regex object(R"re(\{[^{}]*"Name":"(a|b)"[^{}]*\})re");
    static const std::regex value(R"re("Value":"([^"]*)")re");
    for (const std::string& message : Take(screen.station)) {
      const std::sregex_iterator end;
      for (std::sregex_iterator each(message.begin(), message.end(), object); each != end; ++each) {
        const std::string members = each->str();
        std::smatch found;
        if (std::regex_search(members, found, value)) screen.shown[each->str(1)] = found[1];
      }
    }
  }

  void Step() {
    Screen& screen =
        mScreens[static_cast<std::size_t>(Of(0, static_cast<int>(mScreens.size()) - 1))];
    const std::string name = AnObject();
    switch (Of(0, 9)) {
      case 0:
        return mCarrier->SetCut(true);
      case 1:
        return mCarrier->SetCut(false);
      case 2:
        return mCarrier->LetFirstThrough();
      case 3:
        return Tell(screen.station, R"({"Command":"CHANGE","DialogName":"panel"})");
      case 4:
        return Wait(Of(1, 25) * 100);
      case 5:
      case 6:
        return mOther->Set(name, "Value", AValue());
      default:
        Read(screen);
        screen.shown[name] = AValue();
        return Set(screen.station, name, screen.shown[name]);
    }
  }

  void CheckAll(int step) {
    mCarrier->SetCut(false);
    Wait(3000);
    for (std::size_t i = 0; i < mScreens.size(); ++i) {
      Read(mScreens[i]);
      for (const auto& [name, value] : mScreens[i].shown) {
        EXPECT_EQ(Value(name), value) << name << " of station " << i << " behind step " << step;
      }
    }
  }

  std::minstd_rand mRandom{GetParam()};
  int mLastValue = 1;
  OtherHost* mOther = nullptr;
  std::vector<Screen> mScreens;
};

TEST_P(EchoSchedulesTest, EachStationShowsTheTreeInTheEnd) {
  Arrange([](dorn::site::SiteOptions& options) { options.appliesTwice = GetParam() % 2 == 0; });
  StartSite();
  mOther = &HostTest::Join();
  Wait(300);
  Enter("u1");
  Join("S-u1");
  Enter("u2");
  for (int step = 1; step <= 60 && !HasFailure(); ++step) {
    Step();
    if (step % 15 == 0) CheckAll(step);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, EchoSchedulesTest, testing::Range(1U, 21U));

}  // namespace
