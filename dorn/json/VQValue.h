// The value of one attribute of a dialog object. Values belong to the application's thread; nothing
// here takes a lock.
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

// An integer, string, boolean, object or array that always carries a text and an integer form, so
// that it compares with any of these without conversion:
//
//   kind          integer form      text form
//   TYPE_NONE     0                 empty
//   TYPE_INT      the integer       in decimal
//   TYPE_STRING   atoi of the text  the text
//   TYPE_BOOL     1 or 0            "true" or "false"
//   TYPE_OBJECT   0                 "{}"
//   TYPE_ARRAY    0                 "[]", and more after GetString()
//
// Every setter fixes kind, integer and text together. Set() makes a container that is never changed
// afterwards and that all copies of the value share; the last one frees it.
//
// A null pointer given as text counts as the empty text. `unsigned`, `long` and `double` are
// ambiguous on purpose: say which form is meant. Any pointer but `const char*` is taken as a bool.
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

  // Converts a JSON value with all that it holds. Null and floating numbers become TYPE_NONE.
  VQValue(const value& v);

  // The source may be a part of this value.
  VQValue& operator=(const VQValue& other);
  VQValue& operator=(VQValue&& other) noexcept;

  VQValue& operator=(const char* s);
  VQValue& operator=(const std::string& s);
  VQValue& operator=(int n);
  VQValue& operator=(bool b);
  VQValue& operator=(const VQJObject& m);
  VQValue& operator=(const VQJArray& a);

  void Set(const char* s);
  void Set(const std::string& s);  // Up to the first zero byte.
  // Kept: the scalar setters leave the container pointers as they were.
  void Set(int n);
  void Set(bool b);
  // A fresh container, a copy of the argument or made of its contents; the other kind is dropped.
  void Set(const VQJObject& m);
  void Set(VQJObject&& m);
  void Set(const VQJArray& a);
  void Set(VQJArray&& a);

  int GetType() const { return mType; }
  int GetInt() const { return mInt; }
  bool GetBool() const { return mInt != 0; }

  // The stored text, valid until the value is changed.
  const char* GetChar() const { return mString.c_str(); }
  operator const char*() const { return mString.c_str(); }

  // What `if (v)` asks: whether there is a text, which is so for every value, TYPE_NONE and false
  // included. Ask GetBool(), or GetType() for TYPE_NONE.
  [[deprecated("true for every value: ask GetBool() or GetType()")]]  //
  explicit
  operator bool() const {
    return true;
  }

  // The stored text, but composed for containers. An object gives {"a":"1","b":"x"}: every member
  // in quotes, containers as their own GetString(), nothing escaped. An array gives the stored
  // texts of its elements without a separator, [123].
  // Kept: an array appends "," to its own stored text for each element after the first, at every
  // call. Arrays inside an object are composed without that, as containers never change.
  KZString GetString();

  // Copies of the contents; empty without such a container.
  VQJObject GetObject() const;
  VQJArray GetArray() const;

  // Compare the text, the integer or its truth, whatever the kind.
  bool operator==(const char* s) const;
  bool operator==(const std::string& s) const { return mString == s; }
  bool operator==(int n) const { return mInt == n; }
  bool operator==(bool b) const { return (mInt != 0) == b; }

  // Kept: the kind of `o` alone decides what is compared (integer, text, truth, contents), so that
  // the text "5" equals the integer 5. The empty text is equal to 0, but 0 is not equal to the
  // empty text. Nothing is equal to TYPE_NONE, not even TYPE_NONE.
  bool operator==(const VQValue& o) const;

  // Kept: compare the addresses of the elements' texts, not their contents. As no two elements
  // share a text, only the very container that this value holds is equal, or another empty one.
  bool operator==(const VQJObject& m) const;
  bool operator==(const VQJArray& a) const;

  bool operator!=(const char* s) const { return !(*this == s); }
  bool operator!=(const std::string& s) const { return !(*this == s); }
  bool operator!=(int n) const { return !(*this == n); }
  bool operator!=(bool b) const { return !(*this == b); }
  bool operator!=(const VQValue& o) const { return !(*this == o); }
  bool operator!=(const VQJObject& m) const { return !(*this == m); }
  bool operator!=(const VQJArray& a) const { return !(*this == a); }

  // A literal may stand on the left. A `const char*` may not: it would compare addresses.
  template <std::size_t N>
  friend bool operator==(const char (&s)[N], const VQValue& v) {
    return v == static_cast<const char*>(s);
  }
  template <std::size_t N>
  friend bool operator!=(const char (&s)[N], const VQValue& v) {
    return v != static_cast<const char*>(s);
  }

  // Appends the text that operator<< writes.
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

// Writes the value as JSON text for an update command: strings in quotes but not escaped, integers
// and booleans bare, nothing for TYPE_NONE. Members of an object are always quoted, as
// VQValue::GetString() composes them; elements of an array are written by this same rule.
DORN_EXPORT std::ostream& operator<<(std::ostream& out, VQValue& v);
DORN_EXPORT std::ostream& operator<<(std::ostream& out, const VQValue& v);

#endif  // DORN_JSON_VQVALUE_H_
