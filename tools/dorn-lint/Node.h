// One JSON datum of a resource file, with the places at which its parts stand.
#ifndef TOOLS_DORN_LINT_NODE_H_
#define TOOLS_DORN_LINT_NODE_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace dorn::lint {

struct Member;

struct Node {
  enum class Kind : unsigned char { kNull, kBool, kInteger, kDecimal, kString, kArray, kObject };

  bool IsString() const { return mKind == Kind::kString; }
  bool IsArray() const { return mKind == Kind::kArray; }
  bool IsObject() const { return mKind == Kind::kObject; }

  // Of an integer: what the library makes of it, which is some other number beyond the range.
  int Integer() const;
  // What an attribute of this value says to stations: a string's bytes, the integer in decimal,
  // "true" or "false"; empty for all else.
  std::string Text() const;
  // The member that counts: the last one with this key. Null where there is none or this is no
  // object.
  const Member* Find(std::string_view key) const;

  Kind mKind = Kind::kNull;
  bool mTruth = false;
  std::size_t mAt = 0;           // Its first byte in the file.
  std::string mText;             // A string without its escapes, a number as it is written.
  std::vector<Node> mElements;   // Of an array.
  std::vector<Member> mMembers;  // Of an object, in the order of the file, equal keys included.
};

struct Member {
  std::string mKey;
  std::size_t mAt = 0;  // The key's opening quote.
  Node mValue;
};

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_NODE_H_
