// Which values an attribute may have.
#ifndef TOOLS_DORN_LINT_ATTRIBUTEVALUE_H_
#define TOOLS_DORN_LINT_ATTRIBUTEVALUE_H_

#include <string>
#include <string_view>
#include <vector>

#include "station/Vocabulary.h"
#include "tools/dorn-lint/Node.h"

namespace dorn::lint {

// A whole number as stations read it, within the range that they take.
bool IsInteger(const std::string& text);

// Whether stations make of the value what was written. Null and numbers with a point do not get as
// far as that and count as right. An empty text is as no attribute, and right everywhere.
bool IsRight(const station::AttributeWord& word, const Node& value);

// "a whole number", "ON or OFF", "one of ink, accent": what IsRight() asks for.
std::string ValuesOf(const station::AttributeWord& word);

// The words that an attribute may have, each by itself.
std::vector<std::string_view> WordsOf(const station::AttributeWord& word);

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_ATTRIBUTEVALUE_H_
