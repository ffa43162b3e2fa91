// Which known word somebody may have meant.
#ifndef TOOLS_DORN_LINT_SPELLING_H_
#define TOOLS_DORN_LINT_SPELLING_H_

#include <string>
#include <string_view>
#include <vector>

namespace dorn::lint {

// Whether one is the other but for the case of its letters.
bool EqualsButForCase(std::string_view a, std::string_view b);

// Letters to insert, take out, replace or swap with the next one; anything above `most` is
// most + 1.
int Distance(std::string_view a, std::string_view b, int most);

// The nearest of `words`, or empty when `word` is like none of them: in other letters alone, or one
// mistake away, or two in a word of at least six.
std::string_view Nearest(std::string_view word, const std::vector<std::string_view>& words);

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_SPELLING_H_
