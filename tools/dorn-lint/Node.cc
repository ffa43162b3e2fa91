#include "tools/dorn-lint/Node.h"

#include <algorithm>
#include <cstdlib>

namespace dorn::lint {

int Node::Integer() const { return std::atoi(mText.c_str()); }

std::string Node::Text() const {
  switch (mKind) {
    case Kind::kString:
      return mText;
    case Kind::kInteger:
      return std::to_string(Integer());
    case Kind::kBool:
      return mTruth ? "true" : "false";
    default:
      return {};
  }
}

const Member* Node::Find(std::string_view key) const {
  const auto found = std::find_if(mMembers.rbegin(), mMembers.rend(),
                                  [key](const Member& member) { return member.mKey == key; });
  return found == mMembers.rend() ? nullptr : &*found;
}

}  // namespace dorn::lint
