// A list of strings that answers an index past its end with an empty string. A plain value type
// without locks; each object belongs to one thread at a time.
#ifndef DORN_BASE_KZSTRINGARRAY_H_
#define DORN_BASE_KZSTRINGARRAY_H_

#include <vector>

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

class DORN_EXPORT KZStringArray : public std::vector<KZString> {
 public:
  KZStringArray() = default;
  KZStringArray(const KZStringArray& other) = default;
  KZStringArray(KZStringArray&& other) noexcept = default;
  virtual ~KZStringArray();
  KZStringArray& operator=(const KZStringArray& other) = default;
  KZStringArray& operator=(KZStringArray&& other) noexcept = default;

  // Removes all elements.
  void Empty();

  // 1 without elements, else 0.
  int IsEmpty() const;

  // Number of elements.
  int Size() const;

  // Element `i`, or an empty string for an index past the end; what is written to that one is
  // forgotten at the next such call. A negative index throws std::out_of_range.
  KZString& operator[](int i);

  // Appends a copy.
  KZStringArray& operator+=(const KZString& str);

  // Index of the first element with these bytes, or -1.
  int Find(const KZString& str) const;

  KZString mZero;  // Handed out for indexes past the end; empty whenever it is handed out.
};

#endif  // DORN_BASE_KZSTRINGARRAY_H_
