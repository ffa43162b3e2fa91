#include "tools/dorn-load/Marks.h"

namespace dorn::load {

Marks::Marks(std::size_t stations, std::size_t targets, Us memory)
    : mMemory(memory), mTargets(targets), mMarks(targets), mSeen(stations * targets) {}

void Marks::Set(std::size_t station, std::size_t target, const std::string& value, Us meant) {
  if (meant - mForgotten > mMemory) Forget(meant - mMemory);
  const auto [found, isNew] = mMarks[target].try_emplace(value, Mark{meant, 0, station});
  Mark& mark = found->second;
  const bool names = isNew || meant - mark.mMeant > mMemory;
  mark = {meant, names ? ++mChanges : 0, station};
}

std::optional<Us> Marks::Told(std::size_t station, std::size_t target, const std::string& value,
                              Us now) {
  const auto found = mMarks[target].find(value);
  if (found == mMarks[target].end()) return std::nullopt;
  const Mark& mark = found->second;
  std::uint32_t& seen = mSeen[station * mTargets + target];
  const bool counts = mark.mNumber > seen && mark.mStation != station;
  if (!counts || now - mark.mMeant > mMemory) return std::nullopt;
  seen = mark.mNumber;
  return mark.mMeant;
}

void Marks::Forget(Us before) {
  mForgotten = before + mMemory;
  for (auto& marks : mMarks) {
    for (auto each = marks.begin(); each != marks.end();) {
      each = each->second.mMeant < before ? marks.erase(each) : std::next(each);
    }
  }
}

}  // namespace dorn::load
