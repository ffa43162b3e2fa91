#include "tools/dorn-load/Options.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <vector>

namespace dorn::load {

namespace {

constexpr int kMostShare = 1'000'000;

std::optional<Deed> DeedOf(std::string_view word) {
  if (word == "click") return Deed::kClick;
  if (word == "edit") return Deed::kEdit;
  if (word == "enter") return Deed::kEnter;
  return std::nullopt;
}

std::optional<int> ShareOf(std::string_view text) {
  int share = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, share);
  if (read.ec != std::errc() || read.ptr != end || share < 0 || share > kMostShare) {
    return std::nullopt;
  }
  return share;
}

// Of what is not in `seen` yet.
bool ReadShare(std::string_view part, Mix& mix, std::vector<Deed>& seen) {
  const std::size_t colon = part.find(':');
  if (colon == std::string_view::npos) return false;
  const auto deed = DeedOf(part.substr(0, colon));
  const auto share = ShareOf(part.substr(colon + 1));
  if (!deed || !share || std::find(seen.begin(), seen.end(), *deed) != seen.end()) return false;
  seen.push_back(*deed);
  mix[*deed] = *share;
  return true;
}

// `text` with the number in place of each "{n}".
std::string Numbered(std::string text, int number) {
  constexpr std::string_view kPlace = "{n}";
  const std::string digits = std::to_string(number);
  for (std::size_t at = text.find(kPlace); at != std::string::npos;
       at = text.find(kPlace, at + digits.size())) {
    text.replace(at, kPlace.size(), digits);
  }
  return text;
}

}  // namespace

int Mix::Sum() const { return std::accumulate(mShares.begin(), mShares.end(), 0); }

Deed Mix::At(unsigned n) const {
  int left = static_cast<int>(n % static_cast<unsigned>(Sum()));
  for (const Deed deed : {Deed::kClick, Deed::kEdit}) {
    if (left < (*this)[deed]) return deed;
    left -= (*this)[deed];
  }
  return Deed::kEnter;
}

std::optional<Mix> ReadMix(std::string_view text) {
  Mix mix{{0, 0, 0}, true};
  std::vector<Deed> seen;
  for (;;) {
    const std::size_t comma = text.find(',');
    if (!ReadShare(text.substr(0, comma), mix, seen)) return std::nullopt;
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
  if (mix.Sum() == 0) return std::nullopt;
  return mix;
}

std::optional<Goal> ReadGoal(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  const std::string_view name = text.substr(0, equals);
  Goal goal;
  goal.mName = std::string(name);
  if (name == "p50") goal.mPart = 0.5;
  if (name == "p90") goal.mPart = 0.9;
  if (name == "p99") goal.mPart = 0.99;
  if (name == "worst") goal.mPart = 1;
  const auto limit = ReadDuration(text.substr(equals + 1));
  if (goal.mPart == 0 || !limit) return std::nullopt;
  goal.mLimit = *limit;
  return goal;
}

dorn::station::LogIn Options::LogInOf(int number) const {
  dorn::station::LogIn logIn;
  logIn.mId = Numbered(mId, number);
  logIn.mPass = Numbered(mPass, number);
  logIn.mType = mType;
  return logIn;
}

}  // namespace dorn::load
