#include "tools/dorn-lint/Spelling.h"

#include <algorithm>
#include <cstdlib>

namespace dorn::lint {

namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string LowerOf(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
  return lower;
}

}  // namespace

bool EqualsButForCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                            [](char x, char y) { return Lower(x) == Lower(y); });
}

int Distance(std::string_view a, std::string_view b, int most) {
  const auto far = static_cast<std::size_t>(most);
  if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) > far) return most + 1;
  // Rows of the table of distances between beginnings: two before, one before, this one.
  std::vector<int> older(b.size() + 1);
  std::vector<int> old(b.size() + 1);
  std::vector<int> now(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) now[j] = static_cast<int>(j);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    older.swap(old);
    old.swap(now);
    now[0] = static_cast<int>(i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const int replaced = old[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      now[j] = std::min({old[j] + 1, now[j - 1] + 1, replaced});
      const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (isSwapped) now[j] = std::min(now[j], older[j - 2] + 1);
    }
    if (*std::min_element(now.begin(), now.end()) > most + 1) return most + 1;
  }
  return std::min(now[b.size()], most + 1);
}

std::string_view Nearest(std::string_view word, const std::vector<std::string_view>& words) {
  constexpr std::size_t kLongest = 32;
  constexpr std::size_t kShortest = 3;
  constexpr std::size_t kLong = 6;
  if (word.size() > kLongest) return {};
  const std::string lower = LowerOf(word);
  std::string_view nearest;
  int least = 3;
  for (const std::string_view known : words) {
    if (EqualsButForCase(word, known)) return known;
    const std::size_t shorter = std::min(word.size(), known.size());
    if (shorter < kShortest) continue;
    const int most = shorter >= kLong ? 2 : 1;
    const int distance = Distance(lower, LowerOf(known), most);
    if (distance <= most && distance < least) {
      least = distance;
      nearest = known;
    }
  }
  return nearest;
}

}  // namespace dorn::lint
