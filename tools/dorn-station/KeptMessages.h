// The messages that expectations look back at: those that came last, as a host may send for days.
#ifndef TOOLS_DORN_STATION_KEPTMESSAGES_H_
#define TOOLS_DORN_STATION_KEPTMESSAGES_H_

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

class KeptMessages {
 public:
  // Where they become more than this many bytes together, the oldest go.
  static constexpr std::size_t kMostBytes = std::size_t{32} << 20;

  void Add(std::string message);

  // Forgets what was passed over.
  void ForgetPassed();
  // Passes over the others up to the first that contains `text`; all of them where none does.
  bool PassUntil(std::string_view text);

  // Passed over or not.
  bool Contain(std::string_view text) const;

 private:
  void ForgetFirst();

  std::deque<std::string> mMessages;
  std::size_t mPassed = 0;  // The first so many.
  std::size_t mBytes = 0;
};

#endif  // TOOLS_DORN_STATION_KEPTMESSAGES_H_
