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
  void Empty();
  int IsEmpty() const;
  int Size() const;
  KZString& operator[](int i);
  KZStringArray& operator+=(const KZString& str);
  int Find(const KZString& str) const;
  KZString mZero;
};
#endif
