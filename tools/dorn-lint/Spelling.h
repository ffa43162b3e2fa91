// Which known word somebody may have meant.
#ifndef TOOLS_DORN_LINT_SPELLING_H_
#define TOOLS_DORN_LINT_SPELLING_H_

#include <bitset>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace dorn::lint {

// Whether one is the other but for the case of its letters.
bool EqualsButForCase(std::string_view a, std::string_view b);

constexpr int kMostMistakes = 2;

// Letters to insert, take out, replace or swap with the next one; anything above `most`, which is
// kMostMistakes at most, is most + 1. Adds to `cells` how many pairs of beginnings it looked at: no
// more than 2 * most + 1 for each letter.
int Distance(std::string_view a, std::string_view b, int most, std::size_t* cells = nullptr);

using Letters = std::bitset<64>;

// Words to choose from, which must outlive it: made once where many words are looked up.
class KnownWords {
 public:
  explicit KnownWords(const std::vector<std::string_view>& words);

  // The nearest one, or empty when `word` is like none of them: in other letters alone, or one
  // mistake away, or two in a word of at least six.
  std::string_view Nearest(std::string_view word) const;

  // What all answers have cost: cells of Distance().
  std::size_t Cells() const { return mCells; }

 private:
  struct Known {
    std::string_view mWord;
    std::string mLower;
    Letters mLetters;
  };
  std::vector<Known> mWords;
  mutable std::size_t mCells = 0;
};

// The same for one word.
std::string_view Nearest(std::string_view word, const std::vector<std::string_view>& words);

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_SPELLING_H_
