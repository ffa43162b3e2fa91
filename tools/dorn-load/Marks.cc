#include "tools/dorn-load/Marks.h"

namespace dorn::load {

void Marks::Set(std::size_t station, std::size_t target, const std::string& value, Us meant) {
  if (meant - mForgotten > mMemory) Forget(meant - mMemory);
  const auto [found, isNew] = mChanged[target].mMarks.try_emplace(value, Mark{meant, 0, station});
  Mark& mark = found->second;
  const bool names = isNew || meant - mark.mMeant > mMemory;
  mark = {meant, names ? ++mCount : 0, station};
}

std::optional<Us> Marks::Told(std::size_t station, std::size_t target, const std::string& value,
                              Us now) {
  const auto changed = mChanged.find(target);
  if (changed == mChanged.end()) return std::nullopt;
  const auto found = changed->second.mMarks.find(value);
  if (found == changed->second.mMarks.end()) return std::nullopt;
  const Mark& mark = found->second;
  changed->second.mSeen.resize(mStations);
  std::uint32_t& seen = changed->second.mSeen[station];
  const bool counts = mark.mNumber > seen && mark.mStation != station;
  if (!counts || now - mark.mMeant > mMemory) return std::nullopt;
  seen = mark.mNumber;
  return mark.mMeant;
}

// Numbers only grow, so that whoever forgets which was seen last of an object without changes takes
// no later one for an earlier.
void Marks::Forget(Us before) {
  mForgotten = before + mMemory;
  for (auto changed = mChanged.begin(); changed != mChanged.end();) {
    auto& marks = changed->second.mMarks;
    for (auto each = marks.begin(); each != marks.end();) {
      each = each->second.mMeant < before ? marks.erase(each) : std::next(each);
    }
    changed = marks.empty() ? mChanged.erase(changed) : std::next(changed);
  }
}

}  // namespace dorn::load
