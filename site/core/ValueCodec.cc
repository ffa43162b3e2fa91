#include "site/core/ValueCodec.h"

#include <algorithm>
#include <string>

#include "site/core/TreeCodec.h"

namespace dorn::site {
namespace {

constexpr unsigned kKindBits = 7;
constexpr unsigned kHasObject = 8;
constexpr unsigned kHasArray = 16;
constexpr unsigned kAllBits = kKindBits | kHasObject | kHasArray;

constexpr std::size_t kLeastValue = 1;
constexpr std::size_t kLeastMember = sizeof(std::uint32_t) + kLeastValue;

bool IsKind(int kind) { return kind >= VQValue::TYPE_NONE && kind <= VQValue::TYPE_ARRAY; }

bool IsContainer(int kind) { return kind == VQValue::TYPE_OBJECT || kind == VQValue::TYPE_ARRAY; }

// A host can write any number there; none of the library's says what that would be.
int KindOf(const VQValue& value) { return IsKind(value.mType) ? value.mType : VQValue::TYPE_NONE; }

}  // namespace

void ValueWriter::Put(const VQValue& value) {
  const int kind = KindOf(value);
  const unsigned bits = static_cast<unsigned>(kind) | (value.mObject ? kHasObject : 0) |
                        (value.mArray ? kHasArray : 0);
  mOut.Put(static_cast<unsigned char>(bits));
  if (!IsContainer(kind)) {
    mOut.Put(value.mInt);
    mOut.Put(value.mString);
  }
  // A scalar may have one, too: from before it was set.
  if (value.mObject) PutContents(value.mObject, mObjects);
  if (value.mArray) PutContents(value.mArray, mArrays);
}

void ValueWriter::Put(const VQJObject& members) {
  mOut.Put(static_cast<std::uint32_t>(members.size()));
  for (const auto& [key, value] : members) {
    mOut.Put(key);
    Put(value);
  }
}

void ValueWriter::Put(const VQJArray& elements) {
  mOut.Put(static_cast<std::uint32_t>(elements.size()));
  for (const VQValue& element : elements) Put(element);
}

template <typename Container>
void ValueWriter::PutContents(const std::shared_ptr<Container>& contents, Written& written) {
  const bool isShared = contents.use_count() > 1;
  if (isShared) {
    const auto known = written.shared.find(contents.get());
    if (known != written.shared.end()) return mOut.Put(known->second);
  }
  mOut.Put(std::uint32_t{0});
  Put(*contents);
  ++written.count;
  if (isShared) written.shared.emplace(contents.get(), written.count);
}

void ValueReader::Extent::Include(const Extent& inside) {
  height = std::max(height, inside.height);
  values += inside.values;
}

ValueReader::Extent ValueReader::GetValue(VQValue& value, int depth) {
  const unsigned bits = mIn.Number<unsigned char>();
  const int kind = static_cast<int>(bits & kKindBits);
  if (!IsKind(kind) || (bits & ~kAllBits) != 0) mIn.Fail();
  value.mType = kind;
  if (IsContainer(kind)) {
    value.mString = kind == VQValue::TYPE_OBJECT ? "{}" : "[]";
  } else {
    mIn.Get(value.mInt);
    mIn.Get(value.mString);
  }
  Account(1);
  Extent extent{0, 1};
  if ((bits & kHasObject) != 0) extent.Include(GetContents(value.mObject, mObjects, depth));
  if ((bits & kHasArray) != 0) extent.Include(GetContents(value.mArray, mArrays, depth));
  return extent;
}

ValueReader::Extent ValueReader::GetInside(VQJObject& members, int depth) {
  Extent extent;
  const std::size_t count = mIn.Count(kLeastMember);
  std::string key;
  for (std::size_t i = 0; i < count && mIn.IsSound(); ++i) {
    mIn.Get(key);
    // Each key once and in its place: there is one way to write an object.
    if (!members.empty() && !(std::prev(members.end())->first.compare(key) < 0)) mIn.Fail();
    extent.Include(GetValue(members.emplace_hint(members.end(), key, VQValue())->second, depth));
  }
  return extent;
}

ValueReader::Extent ValueReader::GetInside(VQJArray& elements, int depth) {
  Extent extent;
  const std::size_t count = mIn.Count(kLeastValue);
  for (std::size_t i = 0; i < count && mIn.IsSound(); ++i) {
    extent.Include(GetValue(elements.emplace_back(), depth));
  }
  return extent;
}

template <typename Container>
ValueReader::Extent ValueReader::GetContents(std::shared_ptr<Container>& contents,
                                             std::vector<Read<Container>>& complete, int depth) {
  const auto number = mIn.Number<std::uint32_t>();
  if (!mIn.IsSound() || number > complete.size()) {
    mIn.Fail();
    return {};
  }
  if (number == 0) {
    if (depth >= kMaxTreeDepth) {
      mIn.Fail();
      return {};
    }
    contents = std::make_shared<Container>();
    Extent inside = GetInside(*contents, depth + 1);
    ++inside.height;
    complete.push_back({contents, inside});
    return inside;
  }
  const Read<Container>& known = complete[number - 1];
  if (depth + known.extent.height > kMaxTreeDepth) mIn.Fail();
  Account(known.extent.values);
  contents = known.contents;
  return known.extent;
}

// Shared containers multiply: a few bytes could stand for more than any text could hold.
void ValueReader::Account(std::size_t values) {
  mValues += values;
  if (mValues > kMaxTreeValues) mIn.Fail();
}

}  // namespace dorn::site
