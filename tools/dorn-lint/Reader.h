// Reads a resource file as the library does, and remembers where everything stands.
//
// The dialect: JSON whose strings and keys may stand in single quotes too; whatever follows the
// first complete value is not read; a number is what consists of digits, signs, points and e.
// Strings hold no control characters.
#ifndef TOOLS_DORN_LINT_READER_H_
#define TOOLS_DORN_LINT_READER_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/dorn-lint/Node.h"

namespace dorn::lint {

// Arrays and objects within each other: the library reads no more.
constexpr int kMaxDepth = 1024;

struct Document {
  bool IsRead() const { return mReason.empty(); }

  Node mRoot;            // What was read before a failure, too.
  std::size_t mEnd = 0;  // Behind the value, or where reading failed.
  int mDepth = 0;        // The most arrays and objects that were open at a time.
  bool mIsTooDeep = false;
  std::string mReason;  // What cannot be read at mEnd and what to do; empty when all was read.
};

// Time and memory grow with the length alone, whatever the bytes are.
Document ReadDocument(std::string_view text);

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_READER_H_
