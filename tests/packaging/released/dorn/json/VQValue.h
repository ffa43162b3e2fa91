#ifndef DORN_JSON_VQVALUE_H_
#define DORN_JSON_VQVALUE_H_
#include <cstddef>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <vector>
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
class VQValue;
class value;
using VQJObject = std::map<KZString, VQValue>;
using VQJArray = std::vector<VQValue>;
class DORN_EXPORT VQValue {
 public:
  enum : int {
    TYPE_NONE = 0,
    TYPE_INT = 1,
    TYPE_STRING = 2,
    TYPE_BOOL = 3,
    TYPE_OBJECT = 4,
    TYPE_ARRAY = 5
  };
  using VQJObject = ::VQJObject;
  using VQJArray = ::VQJArray;
  VQValue() = default;
  VQValue(const VQValue& other) = default;
  VQValue(VQValue&& other) noexcept = default;
  VQValue(const char* s) { Set(s); }
  VQValue(const std::string& s) { Set(s); }
  VQValue(int n) { Set(n); }
  VQValue(bool b) { Set(b); }
  VQValue(const VQJObject& m) { Set(m); }
  VQValue(const VQJArray& a) { Set(a); }
  VQValue(const value& v);
  VQValue& operator=(const VQValue& other);
  VQValue& operator=(VQValue&& other) noexcept;
  VQValue& operator=(const char* s);
  VQValue& operator=(const std::string& s);
  VQValue& operator=(int n);
  VQValue& operator=(bool b);
  VQValue& operator=(const VQJObject& m);
  VQValue& operator=(const VQJArray& a);
  void Set(const char* s);
  void Set(const std::string& s);
  void Set(int n);
  void Set(bool b);
  void Set(const VQJObject& m);
  void Set(VQJObject&& m);
  void Set(const VQJArray& a);
  void Set(VQJArray&& a);
  int GetType() const { return mType; }
  int GetInt() const { return mInt; }
  bool GetBool() const { return mInt != 0; }
  const char* GetChar() const { return mString.c_str(); }
  operator const char*() const { return mString.c_str(); }
  KZString GetString();
  VQJObject GetObject() const;
  VQJArray GetArray() const;
  bool operator==(const char* s) const;
  bool operator==(const std::string& s) const { return mString == s; }
  bool operator==(int n) const { return mInt == n; }
  bool operator==(bool b) const { return (mInt != 0) == b; }
  bool operator==(const VQValue& o) const;
  bool operator==(const VQJObject& m) const;
  bool operator==(const VQJArray& a) const;
  bool operator!=(const char* s) const { return !(*this == s); }
  bool operator!=(const std::string& s) const { return !(*this == s); }
  bool operator!=(int n) const { return !(*this == n); }
  bool operator!=(bool b) const { return !(*this == b); }
  bool operator!=(const VQValue& o) const { return !(*this == o); }
  bool operator!=(const VQJObject& m) const { return !(*this == m); }
  bool operator!=(const VQJArray& a) const { return !(*this == a); }
  template <std::size_t N>
  friend bool operator==(const char (&s)[N], const VQValue& v) {
    return v == static_cast<const char*>(s);
  }
  template <std::size_t N>
  friend bool operator!=(const char (&s)[N], const VQValue& v) {
    return v != static_cast<const char*>(s);
  }
  void AppendJson(std::string& out) const;
  int mType = TYPE_NONE;
  int mInt = 0;
  std::string mString;
  std::shared_ptr<VQJObject> mObject;
  std::shared_ptr<VQJArray> mArray;

 private:
  void AppendText(std::string& out) const;
  [[gnu::noinline]] void AppendFlatText(std::string& out) const;
};
DORN_EXPORT std::ostream& operator<<(std::ostream& out, VQValue& v);
DORN_EXPORT std::ostream& operator<<(std::ostream& out, const VQValue& v);
#endif
