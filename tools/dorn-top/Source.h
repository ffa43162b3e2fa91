// A host's socket of statistics, asked again and again. Never waits.
#ifndef TOOLS_DORN_TOP_SOURCE_H_
#define TOOLS_DORN_TOP_SOURCE_H_

#include <cstdint>
#include <optional>
#include <string>

#include "tools/dorn-top/Sample.h"

namespace dorn::top {

class Source {
 public:
  explicit Source(std::string path) : mPath(std::move(path)) {}
  ~Source() { Close(); }
  Source(Source&& other) noexcept;
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  const std::string& Path() const { return mPath; }

  // Asks, if no answer is awaited: a host whose loop is busy answers late.
  void Ask(std::int64_t nowMs);
  // To wait for with poll(2); negative while no answer is awaited.
  int Descriptor() const { return mFd; }
  // Takes what has come, and gives up on an answer that does not. True if that was the answer, or
  // the end of waiting for it.
  bool Receive(std::int64_t nowMs);

  // The last answer and the one before it; neither when the last question failed.
  const std::optional<Sample>& Last() const { return mLast; }
  const std::optional<Sample>& Before() const { return mBefore; }
  // Why there is no answer.
  const std::string& Why() const { return mWhy; }

  // How often a counter has counted in a second, between the two answers. None without them, or
  // when another process counts anew.
  std::optional<double> Rate(const std::string& name) const;

 private:
  void Take(std::int64_t nowMs);
  void Fail(const std::string& why);
  void Close();

  std::string mPath;
  int mFd = -1;
  std::int64_t mAskedMs = 0;
  std::string mText;
  std::optional<Sample> mLast;
  std::optional<Sample> mBefore;
  std::string mWhy = "not asked yet";
};

}  // namespace dorn::top

#endif  // TOOLS_DORN_TOP_SOURCE_H_
