// JSON values and the reader that makes them from text. There is no writer: the texts that the
// server sends are composed where they are sent. Values and readers belong to one thread at a time.
#ifndef DORN_JSON_JSONVALUE_H_
#define DORN_JSON_JSONVALUE_H_

#include <cstddef>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "dorn/base/Export.h"

// A cursor over a range of bytes, with one character of push-back and a line count. Bytes come as
// unsigned values, so UTF-8 passes through unchanged. The range is not owned and must outlive the
// reader.
class DORN_EXPORT input {
 public:
  // Arrays and objects may nest this deep; a deeper one is a syntax error at its bracket. The limit
  // bounds every later recursion too (copies, conversion, writing, destruction), so that no text
  // can exhaust a stack of 1 MiB.
  static constexpr int kMaxDepth = 1024;

  input(const char* first, const char* last) : cur_(first), end_(last) {}

  // The next character, or -1 at the end. The line number advances with the character after a line
  // feed, not with the line feed, and not when a pushed-back character comes again.
  int getc();

  // The character that getc() returned last, or -1 before the first one and at the end.
  int lastc() const { return last_ch_; }

  // Makes the next getc() return the last character again; does nothing at the end. A second
  // push-back in a row ends the process.
  void ungetc();

  // The next byte to read; a pushed-back character lies before it.
  const char* cur() const { return cur_; }

  // The current line, from 1 on.
  int line() const { return line_; }

  // Reads past blanks, tabs, line feeds and carriage returns.
  void skip_ws();

  // Skips white space; reads the next character and returns true if it is `ch`, else leaves it.
  bool isget(int ch);

  // Reads the bytes of `pattern`. At the first other character false; that one is left, those
  // before it are gone.
  bool match(const char* pattern);

  const char* cur_;
  const char* end_;
  int last_ch_ = -1;
  bool ungot_ = false;
  int line_ = 1;

 private:
  friend class value;

  int depth_ = 0;  // Arrays and objects that are open.
};

// One JSON datum. Integers and floating numbers are different types, and nothing converts between
// them. A value owns its string, array or object alone: copies are deep.
class DORN_EXPORT value {
 public:
  enum : int {
    null_type = 0,
    boolean_type = 1,
    int_type = 2,
    double_type = 3,
    string_type = 4,
    array_type = 5,
    object_type = 6
  };

  struct null {};
  using array = std::vector<value>;
  using object = std::map<std::string, value>;

  value() : type_(null_type), object_(nullptr) {}

  // An empty value of the type `tag`. Kept: the boolean is true. Of any other tag only the tag is
  // stored.
  value(int tag, bool);

  // There is no form for `const char*`, which would become a boolean: write std::string("...").
  value(bool b) : type_(boolean_type), boolean_(b) {}
  value(double d) : type_(double_type), double_(d) {}
  value(int n) : type_(int_type), int_(n) {}
  value(const std::string& s);
  value(const array& a);
  value(const object& o);

  value(const value& other);
  value(value&& other) noexcept : type_(other.type_) {  // Leaves null behind.
    CopyPayload(other);
    other.type_ = null_type;
  }
  ~value() {
    if (type_ >= string_type) Destroy();
  }

  // The source may be a part of this value.
  value& operator=(const value& other);
  value& operator=(value&& other) noexcept;

  // Whether the type is T, one of null, bool, int, double, std::string, array and object.
  template <typename T>
  bool is() const;

  // The payload of type T, as for is() but without null. The caller has tested with is().
  template <typename T>
  const T& get() const;
  template <typename T>
  T& get();

  // Null, false, 0 and the empty string are false; all else, empty containers included, is true.
  operator bool() const;

  // The element, or a shared null behind the end. Ends the process when this is no array.
  const value& get(std::size_t index) const;

  // The member with exactly this key, or a shared null. Ends the process when this is no object.
  const value& get(const std::string& key) const;

  // Text for display, not JSON: a string comes unquoted, a floating number with six decimals (in
  // every locale), a container as the word "array" or "object".
  std::string to_str() const;

  // Reads one value from the range and returns where reading stopped. What follows the value is
  // not looked at. On failure `*err`, if given, becomes
  // "syntax error at line <n> near: <rest of the line>", and `out` keeps what was built so far.
  static const char* parse(value& out, const char* first, const char* last, std::string* err);

  // The steps of parse(). Each reads from where `in` stands and returns whether it succeeded.
  static bool _parse(value& out, input& in);
  // Behind the opening quote, which is the last character of `in` and the only one that closes.
  [[gnu::noinline]] static bool _parse_string(value& out, input& in);
  static bool _parse_string(std::string& out, input& in);  // Appends.
  // Behind the opening bracket.
  static bool _parse_array(value& out, input& in);
  static bool _parse_object(value& out, input& in);
  static bool _parse_number(value& out, input& in);
  // Behind the backslash and the "u"; appends the character as UTF-8.
  static bool _parse_codepoint(std::string& out, input& in);
  // Four hexadecimal digits, 0 to 65535, or -1.
  static int _parse_quadhex(input& in);

  int type_;
  union {
    bool boolean_;
    int int_;
    double double_;
    std::string* string_;  // Owned, as are the two below.
    array* array_;
    object* object_;
  };

 private:
  // The double is as long as the longest member, so its bytes are those of whichever is in use.
  void CopyPayload(const value& other) noexcept {
    std::memcpy(&double_, &other.double_, sizeof double_);
  }
  void Destroy() noexcept;
  static bool ParseElements(array& elements, input& in);
  static bool ParseMembers(object& members, input& in);
  [[gnu::noinline]] static value* ParseKey(object& members, input& in);
  [[gnu::noinline]] static bool ParseWord(value& out, input& in);
  [[gnu::noinline]] static bool Open(value& out, int tag, input& in);
};

template <>
inline bool value::is<value::null>() const {
  return type_ == null_type;
}
template <>
inline bool value::is<bool>() const {
  return type_ == boolean_type;
}
template <>
inline bool value::is<int>() const {
  return type_ == int_type;
}
template <>
inline bool value::is<double>() const {
  return type_ == double_type;
}
template <>
inline bool value::is<std::string>() const {
  return type_ == string_type;
}
template <>
inline bool value::is<value::array>() const {
  return type_ == array_type;
}
template <>
inline bool value::is<value::object>() const {
  return type_ == object_type;
}

template <>
inline const bool& value::get<bool>() const {
  return boolean_;
}
template <>
inline bool& value::get<bool>() {
  return boolean_;
}
template <>
inline const int& value::get<int>() const {
  return int_;
}
template <>
inline int& value::get<int>() {
  return int_;
}
template <>
inline const double& value::get<double>() const {
  return double_;
}
template <>
inline double& value::get<double>() {
  return double_;
}
template <>
inline const std::string& value::get<std::string>() const {
  return *string_;
}
template <>
inline std::string& value::get<std::string>() {
  return *string_;
}
template <>
inline const value::array& value::get<value::array>() const {
  return *array_;
}
template <>
inline value::array& value::get<value::array>() {
  return *array_;
}
template <>
inline const value::object& value::get<value::object>() const {
  return *object_;
}
template <>
inline value::object& value::get<value::object>() {
  return *object_;
}

#endif  // DORN_JSON_JSONVALUE_H_
