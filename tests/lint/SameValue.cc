#include "tests/lint/SameValue.h"

#include <algorithm>
#include <cstdlib>
#include <map>

namespace {

using dorn::lint::Member;
using dorn::lint::Node;

bool IsSameArray(const Node& node, const value::array& expected) {
  return node.mElements.size() == expected.size() &&
         std::equal(expected.begin(), expected.end(), node.mElements.begin(),
                    [](const value& a, const Node& b) { return IsSame(b, a); });
}

bool IsSameObject(const Node& node, const value::object& expected) {
  std::map<std::string, const Node*> members;
  for (const Member& member : node.mMembers) members[member.mKey] = &member.mValue;
  return members.size() == expected.size() &&
         std::equal(expected.begin(), expected.end(), members.begin(),
                    [](const auto& a, const auto& b) {
                      return a.first == b.first && IsSame(*b.second, a.second);
                    });
}

}  // namespace

bool IsSame(const Node& node, const value& expected) {
  switch (node.mKind) {
    case Node::Kind::kNull:
      return expected.type_ == value::null_type;
    case Node::Kind::kBool:
      return expected.type_ == value::boolean_type && expected.get<bool>() == node.mTruth;
    case Node::Kind::kInteger:
      return expected.type_ == value::int_type && expected.get<int>() == node.Integer();
    case Node::Kind::kDecimal:
      return expected.type_ == value::double_type &&
             expected.get<double>() == std::strtod(node.mText.c_str(), nullptr);
    case Node::Kind::kString:
      return expected.type_ == value::string_type && expected.get<std::string>() == node.mText;
    case Node::Kind::kArray:
      return expected.type_ == value::array_type && IsSameArray(node, expected.get<value::array>());
    case Node::Kind::kObject:
      return expected.type_ == value::object_type &&
             IsSameObject(node, expected.get<value::object>());
  }
  return false;
}

bool AgreeOn(const std::string& text, std::string& why) {
  value expected;
  input in(text.data(), text.data() + text.size());
  const bool isAccepted = value::_parse(expected, in);
  const dorn::lint::Document read = dorn::lint::ReadDocument(text);
  if (read.IsRead() != isAccepted) {
    why = isAccepted ? "refused: " + read.mReason : "accepted";
    return false;
  }
  why = "other position";
  if (read.mEnd > text.size()) return false;
  if (!isAccepted) return true;
  why = "other value";
  if (!IsSame(read.mRoot, expected)) return false;
  // A number ends with the character behind it, which the library has put back.
  const auto end = static_cast<std::size_t>(in.cur() - text.data());
  why = "other end";
  return read.mEnd == end || read.mEnd + 1 == end;
}
