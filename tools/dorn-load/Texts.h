// What a station of this program looks for in the texts of a host.
#ifndef TOOLS_DORN_LOAD_TEXTS_H_
#define TOOLS_DORN_LOAD_TEXTS_H_

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "station/Framing.h"
#include "tools/dorn-load/Targets.h"

namespace dorn::load {

struct Told {
  std::size_t mTarget;
  std::string mValue;
};

struct Digest {
  bool mIsReadable = false;
  bool mOpens = false;      // OPEN.
  bool mIsRefusal = false;  // ERROR.
  bool mAsks = false;       // KEEPALIVE.
  std::vector<unsigned long> mFences;
  std::vector<Told> mTold;  // Values of targets, by UPDATE.
};

// Whether a text is one UPDATE, by its first letters alone: that of a whole dialog takes a hundred
// times as long to read as all else of an entry.
bool IsUpdate(std::string_view text);

class Texts {
 public:
  explicit Texts(const Targets& targets) : mTargets(targets) {}

  // What is in the text that `framing` is just telling of. Holds until the next call. A text that
  // comes to many stations is read once, also with short ones such as fences in between, and of
  // the answers to fences the first.
  const Digest& Read(std::string_view text, dorn::station::Framing& framing);

 private:
  struct Known {
    std::string mText;
    Digest mDigest;
  };

  Known& PlaceOf(std::string_view text);
  bool IsKnownFence(std::string_view text);
  void LearnFence(std::string_view text, const Digest& digest);
  void Take(const dorn::station::Json& command, Digest& digest) const;
  void TakeObjects(const dorn::station::Json& objects, Digest& digest) const;

  const Targets& mTargets;
  // Hosts answer all fences alike: what stands before and behind the number of one.
  std::string mBeforeFence;
  std::string mBehindFence;
  Digest mFence;                 // Of the last text that was known by these.
  std::array<Known, 16> mKnown;  // By their length.
  Known mLong;                   // Of those that would take much memory the last one alone.
};

}  // namespace dorn::load

#endif  // TOOLS_DORN_LOAD_TEXTS_H_
