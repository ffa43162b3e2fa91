// The vocabulary as a page of the manual: docs/vocabulary.md.
#ifndef TOOLS_DORN_LINT_VOCABULARYPAGE_H_
#define TOOLS_DORN_LINT_VOCABULARYPAGE_H_

#include <string>

namespace dorn::lint {

std::string VocabularyPage();

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_VOCABULARYPAGE_H_
