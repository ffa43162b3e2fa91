// The exact bytes of trees, commands and values: what is written here is read back as it was, class
// by class and byte for byte, unlike JSON as stations get it. Change marks are not written.
#ifndef SITE_CORE_TREECODEC_H_
#define SITE_CORE_TREECODEC_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonResource.h"

namespace dorn::site {

// What is read at most, since bytes from the log are not trusted. What is held in several places
// counts in each. A command that was read from JSON is always within these bounds: JSON nests no
// deeper either.
inline constexpr int kMaxTreeDepth = 1024;  // Of objects, and of values in values.
inline constexpr std::size_t kMaxTreeObjects = 1'000'000;
inline constexpr std::size_t kMaxTreeValues = 10'000'000;

// Class, name, tag, attributes with every kind of value, a grid's table, a group's list key and
// children, in their order; which objects and which containers of values are shared; and of each
// object which other one of the tree is its parent. An object of a host's own class is written as
// the class of the library that it derives from.
//
// The text of an array is written as it was before GetString() appended to it: a host that has
// looked at a value is not to differ from one that has not.
std::string EncodeTree(const VQJsonResource& tree);

// Makes `tree` what was written; nothing is marked as changed, but commands are as new ones are.
// False, and the tree stays as it was, when the bytes are broken. The objects that it had are
// destroyed otherwise.
bool DecodeTree(std::string_view bytes, VQJsonResource& tree);

// As EncodeTree(), but null pointers in lists are left out: dialogs do not expect them in commands.
std::string EncodeCommand(const VQJsonCommand& command);

// Null when the bytes are broken, or a list has a null pointer.
std::unique_ptr<VQJsonCommand> DecodeCommand(std::string_view bytes);

}  // namespace dorn::site

#endif  // SITE_CORE_TREECODEC_H_
