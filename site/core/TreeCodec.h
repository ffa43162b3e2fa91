// The exact bytes of trees, commands and values: what is written here is read back as it was, class
// by class and byte for byte, unlike JSON as stations get it. Change marks are not written.
#ifndef SITE_CORE_TREECODEC_H_
#define SITE_CORE_TREECODEC_H_

#include <memory>
#include <string>
#include <string_view>

#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonResource.h"

namespace dorn::site {

// How deep and how many objects are read at most: bytes from the log are not trusted.
inline constexpr int kMaxTreeDepth = 200;
inline constexpr std::size_t kMaxTreeObjects = 1'000'000;

// Class, name, tag, attributes with every kind of value, a grid's table, a group's list key and
// children, in their order. An object of a host's own class is written as the class of the library
// that it derives from.
std::string EncodeTree(const VQJsonResource& tree);

// Makes `tree` what was written; nothing is marked as changed. False, and the tree stays as it was,
// when the bytes are broken.
bool DecodeTree(std::string_view bytes, VQJsonResource& tree);

std::string EncodeCommand(const VQJsonCommand& command);

// Null when the bytes are broken.
std::unique_ptr<VQJsonCommand> DecodeCommand(std::string_view bytes);

}  // namespace dorn::site

#endif  // SITE_CORE_TREECODEC_H_
