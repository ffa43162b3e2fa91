// Slows down whoever guesses passwords. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_LOGINGUARD_H_
#define DORN_SERVER_LOGINGUARD_H_

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>

namespace dorn {

// How often something went wrong, by name. Remembers the last kMost names that it did.
class FailureCounts {
 public:
  static constexpr std::size_t kMost = 1024;

  void Count(std::string_view name);
  void Forget(std::string_view name);
  std::int64_t Of(std::string_view name) const;
  std::size_t Size() const { return mIndex.size(); }

 private:
  struct Entry {
    std::string name;
    std::int64_t count;  // Nobody fails so often that it ends.
  };
  std::list<Entry> mEntries;  // The latest failure first.
  std::unordered_map<std::string_view, std::list<Entry>::iterator> mIndex;  // Views of the entries.
};

// Counts wrong passwords by the id that they were tried for and by the connection that they came
// from; addresses do not count, since a whole site may be behind one. Only the beginning of an id
// counts: a station's longest message must not stay in memory for each.
class LoginGuard {
 public:
  static constexpr int kFreeAttempts = 5;
  static constexpr unsigned long kFirstDelayMs = 1000;
  static constexpr unsigned long kLongestDelayMs = 8000;
  static constexpr std::size_t kCountedIdBytes = 256;

  // How long the next attempt has to wait for its answer: not at all for the first kFreeAttempts,
  // then a second, doubling up to 8 s.
  unsigned long DelayMs(std::string_view id, unsigned int connection) const;

  void CountWrong(std::string_view id, unsigned int connection);

  // The right password came: both start anew.
  void CountRight(std::string_view id, unsigned int connection);

  void ForgetConnection(unsigned int connection);

 private:
  FailureCounts mByConnection;
  FailureCounts mById;
};

}  // namespace dorn

#endif  // DORN_SERVER_LOGINGUARD_H_
