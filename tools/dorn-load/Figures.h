// What a run counts.
#ifndef TOOLS_DORN_LOAD_FIGURES_H_
#define TOOLS_DORN_LOAD_FIGURES_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>

#include "tools/dorn-load/Histogram.h"

namespace dorn::load {

enum class Error {
  kRefusedConnect,  // Nobody listens, or nobody answers.
  kRefusedLogIn,    // Wrong user or password.
  kClosedByHost,    // A connection that was open.
  kUnreadable,      // A text or file that nothing can be made of.
  kTimeOut,         // No answer to a log-in, an action or a heartbeat.
  kNotTaken,        // A connection of which the host took nothing any more.
  kUnanswered,      // An action whose connection ended before its answer.
  kNotSent          // An action that was due while no station was in, or more than could be sent.
};
constexpr std::size_t kErrors = 8;
// "refused connects", for people.
const char* NameOf(Error error);
// "refused_connects", for programs.
const char* KeyOf(Error error);

struct Traffic {
  std::uint64_t mMessagesIn = 0;
  std::uint64_t mMessagesOut = 0;
  std::uint64_t mBytesIn = 0;
  std::uint64_t mBytesOut = 0;
};

struct Figures {
  Histogram mConfirm;  // From the time that an action was meant for to its confirmation.
  Histogram mUpdate;   // From there until another station is told.
  Histogram mLogIn;    // From the time that a station was meant to come until its dialog is there.
  Histogram mLate;     // How late this program itself was with its actions.
  std::array<std::uint64_t, kErrors> mErrors{};
  Traffic mTraffic;
  std::uint64_t mActions = 0;

  std::uint64_t Errors() const {
    return std::accumulate(mErrors.begin(), mErrors.end(), std::uint64_t{0});
  }
  bool IsEmpty() const {
    return mActions == 0 && mTraffic.mBytesIn == 0 && mTraffic.mMessagesOut == 0 && Errors() == 0;
  }
  std::uint64_t Of(Error error) const { return mErrors[static_cast<std::size_t>(error)]; }
};

// The figures of the present second, and of all of a run or trial.
class Record {
 public:
  template <typename Do>
  void Count(Do count) {
    count(mSecond);
    count(mAll);
  }
  void Count(Error error, std::uint64_t times = 1) {
    Count([=](Figures& figures) { figures.mErrors[static_cast<std::size_t>(error)] += times; });
  }

  const Figures& Second() const { return mSecond; }
  const Figures& All() const { return mAll; }
  void BeginSecond() { mSecond = Figures(); }
  void Begin() { mSecond = mAll = Figures(); }

 private:
  Figures mSecond;
  Figures mAll;
};

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_FIGURES_H_
