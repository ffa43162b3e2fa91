// What a user asks dorn-load for.
#ifndef TOOLS_DORN_LOAD_OPTIONS_H_
#define TOOLS_DORN_LOAD_OPTIONS_H_

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "station/Commands.h"
#include "tools/dorn-load/Times.h"
#include "tools/line/Line.h"

namespace dorn::load {

// What a station may do.
enum class Deed { kClick, kEdit, kEnter };
constexpr std::size_t kDeeds = 3;

// How often, in proportion.
struct Mix {
  std::array<int, kDeeds> mShares = {70, 20, 10};
  bool mIsGiven = false;  // By the user, so that nothing may be left out of it.

  int& operator[](Deed deed) { return mShares[static_cast<std::size_t>(deed)]; }
  int operator[](Deed deed) const { return mShares[static_cast<std::size_t>(deed)]; }
  int Sum() const;
  // The deed of the number `n` of a sequence in which each has its share.
  Deed At(unsigned n) const;
};

// "click:70,edit:20,enter:10"; nothing when it is no such thing.
std::optional<Mix> ReadMix(std::string_view text);

// A limit of the time until changes are confirmed.
struct Goal {
  double mPart = 0;  // 1: of the worst.
  Us mLimit = 0;
  std::string mName;  // "p99".
};

// "p99=50ms", with p50, p90, p99 or worst; nothing when it is no such thing.
std::optional<Goal> ReadGoal(std::string_view text);

struct Options {
  dorn::tools::HostAndPort mAt{"", 0};
  int mStations = 20;
  double mRate = 10;
  Mix mMix;
  Us mFor = 10 * kSecond;
  std::optional<Us> mRamp;  // Nothing: 10 ms for each station.
  Us mTimeout = 5 * kSecond;
  std::optional<Goal> mUntil;
  std::string mId = "load";
  std::string mPass = "load";
  std::string mType = "STATION";
  std::string mDialog;  // Empty: the one that the host opens.
  std::vector<std::string> mOnly;
  unsigned mSeed = 1;
  int mPid = 0;
  bool mIsJson = false;

  Us Ramp() const { return mRamp.value_or(Us{10} * mStations * kMillisecond); }
  // The log-in of a station; "{n}" in it is its number.
  dorn::station::LogIn LogInOf(int number) const;
};

// The arguments of the program. Nothing when it is to end at once, with this code.
std::optional<Options> ReadOptions(int argc, char** argv, int& exitCode);

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_OPTIONS_H_
