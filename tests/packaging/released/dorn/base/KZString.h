#ifndef DORN_BASE_KZSTRING_H_
#define DORN_BASE_KZSTRING_H_
#include <cstddef>
#include <functional>
#include <string>
#include "dorn/base/Export.h"
class KZStringArray;
class DORN_EXPORT KZString : public std::string {
 public:
  KZString() = default;
  KZString(const char* text);
  KZString(std::string text) noexcept;
  KZString(const KZString& other) = default;
  KZString(KZString&& other) noexcept = default;
  virtual ~KZString();
  KZString& operator=(const char* text);
  KZString& operator=(std::string text) noexcept;
  KZString& operator=(KZString text) noexcept;
  void Clear();
  int GetLength() const;
  int GetCharLength() const;
  KZString GetChar(int st, int len) const;
  operator const char*() const { return c_str(); }
  bool operator==(const char* text) const;
  bool operator==(const KZString& other) const;
  bool operator==(const std::string& other) const;
  bool operator!=(const char* text) const { return !(*this == text); }
  bool operator!=(const KZString& other) const { return !(*this == other); }
  bool operator!=(const std::string& other) const { return !(*this == other); }
  KZString& Format(const char* f, ...) __attribute__((format(printf, 2, 3)));
  void Separate(char sep, KZStringArray& array) const;
  void Trim(const char* str);
  KZString MakeUpper() const;
  int ToInt() const;
  double ToDouble() const;
  KZString GetFileExtension() const;
  KZString GetFileNameWithoutExtension() const;
  KZString Replace(KZString strold, KZString strnew);
  int GetUTF8Code(const unsigned char* text, int nn, unsigned int* code) const;
};
namespace std {
template <>
struct hash<KZString> {
  size_t operator()(const KZString& text) const noexcept { return hash<string>()(text); }
};
}  // namespace std
#include "dorn/base/KZStringArray.h"
#endif
