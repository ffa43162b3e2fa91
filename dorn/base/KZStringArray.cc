#include "dorn/base/KZStringArray.h"

#include <algorithm>

KZStringArray::~KZStringArray() = default;

void KZStringArray::Empty() { clear(); }

int KZStringArray::IsEmpty() const { return empty() ? 1 : 0; }

int KZStringArray::Size() const { return static_cast<int>(size()); }

KZString& KZStringArray::operator[](int i) {
  if (i >= Size()) {
    mZero.Clear();
    return mZero;
  }
  // A negative index becomes a huge one, at which the vector throws.
  return at(static_cast<size_type>(i));
}

KZStringArray& KZStringArray::operator+=(const KZString& str) {
  push_back(str);
  return *this;
}

int KZStringArray::Find(const KZString& str) const {
  const auto found = std::find(begin(), end(), str);
  return found == end() ? -1 : static_cast<int>(found - begin());
}
