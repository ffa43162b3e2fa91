#include "tools/dorn-lint/Spelling.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdlib>

namespace dorn::lint {

namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string LowerOf(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
  return lower;
}

// Which letters a word has: capital and small ones are the same, and other bytes share places.
Letters LettersOf(std::string_view word) {
  Letters letters;
  for (const char c : word) letters.set(static_cast<unsigned char>(Lower(c)) % letters.size());
  return letters;
}

constexpr int kFar = 1000;

// A row of Distance()'s table near its diagonal, with a cell that is far at each end.
class Band {
 public:
  Band() { mCells.fill(kFar); }
  static Band First(int most, int columns) {
    Band band;
    for (int j = 0; j <= std::min(most, columns); ++j) band.At(j + most) = j;
    return band;
  }
  int& At(int d) { return mCells[static_cast<std::size_t>(d) + 1]; }

 private:
  std::array<int, 2 * kMostMistakes + 3> mCells;
};

}  // namespace

bool EqualsButForCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                            [](char x, char y) { return Lower(x) == Lower(y); });
}

int Distance(std::string_view a, std::string_view b, int most, std::size_t* cells) {
  assert(most <= kMostMistakes);
  const int rows = static_cast<int>(a.size());
  const int columns = static_cast<int>(b.size());
  if (std::abs(columns - rows) > most) return most + 1;
  // Rows of the table of distances between beginnings: two before, one before, this one. Of each
  // only the diagonal and `most` cells to either side of it, as all others are above `most`; so
  // that what is above in the table is one further in the row, and a diagonal keeps its index.
  Band older{};
  Band old{};
  Band now = Band::First(most, columns);
  for (int i = 1; i <= rows; ++i) {
    older = old;
    old = now;
    int least = kFar;
    for (int d = 0; d <= 2 * most; ++d) {
      const int j = i + d - most;
      int& cell = now.At(d) = kFar;
      if (j < 0 || j > columns) continue;
      if (cells != nullptr) ++*cells;
      cell = j == 0 ? i : std::min(old.At(d + 1), now.At(d - 1)) + 1;
      if (j > 0) cell = std::min(cell, old.At(d) + (a[i - 1] == b[j - 1] ? 0 : 1));
      const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (isSwapped) cell = std::min(cell, older.At(d) + 1);
      least = std::min(least, cell);
    }
    // A swap reaches two rows back.
    if (least > most + 1) return most + 1;
  }
  return std::min(now.At(columns - rows + most), most + 1);
}

KnownWords::KnownWords(const std::vector<std::string_view>& words) {
  mWords.reserve(words.size());
  for (const std::string_view word : words)
    mWords.push_back({word, LowerOf(word), LettersOf(word)});
}

std::string_view KnownWords::Nearest(std::string_view word) const {
  constexpr std::size_t kLongest = 32;
  constexpr std::size_t kShortest = 3;
  constexpr std::size_t kLong = 6;
  if (word.size() > kLongest) return {};
  const std::string lower = LowerOf(word);
  const Letters letters = LettersOf(word);
  std::string_view nearest;
  int least = kMostMistakes + 1;
  for (const Known& known : mWords) {
    if (known.mLower == lower) return known.mWord;
    const std::size_t shorter = std::min(word.size(), known.mWord.size());
    if (shorter < kShortest) continue;
    const int most = std::min(shorter >= kLong ? kMostMistakes : 1, least - 1);
    // A mistake takes away one letter and brings another at most.
    const auto different = (letters ^ known.mLetters).count();
    if (different > 2 * static_cast<std::size_t>(most)) continue;
    const int distance = Distance(lower, known.mLower, most, &mCells);
    if (distance > most) continue;
    least = distance;
    nearest = known.mWord;
  }
  return nearest;
}

std::string_view Nearest(std::string_view word, const std::vector<std::string_view>& words) {
  return KnownWords(words).Nearest(word);
}

}  // namespace dorn::lint
