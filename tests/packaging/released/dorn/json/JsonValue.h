#ifndef DORN_JSON_JSONVALUE_H_
#define DORN_JSON_JSONVALUE_H_
#include <cstddef>
#include <cstring>
#include <map>
#include <string>
#include <vector>
#include "dorn/base/Export.h"
class DORN_EXPORT input {
 public:
  static constexpr int kMaxDepth = 1024;
  input(const char* first, const char* last) : cur_(first), end_(last) {}
  int getc();
  int lastc() const { return last_ch_; }
  void ungetc();
  const char* cur() const { return cur_; }
  int line() const { return line_; }
  void skip_ws();
  bool isget(int ch);
  bool match(const char* pattern);
  const char* cur_;
  const char* end_;
  int last_ch_ = -1;
  bool ungot_ = false;
  int line_ = 1;

 private:
  friend class value;
  int depth_ = 0;
};
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
  value(int tag, bool);
  value(bool b) : type_(boolean_type), boolean_(b) {}
  value(double d) : type_(double_type), double_(d) {}
  value(int n) : type_(int_type), int_(n) {}
  value(const std::string& s);
  value(const array& a);
  value(const object& o);
  value(const value& other);
  value(value&& other) noexcept : type_(other.type_) {
    CopyPayload(other);
    other.type_ = null_type;
  }
  ~value() {
    if (type_ >= string_type) Destroy();
  }
  value& operator=(const value& other);
  value& operator=(value&& other) noexcept;
  template <typename T>
  bool is() const;
  template <typename T>
  const T& get() const;
  template <typename T>
  T& get();
  operator bool() const;
  const value& get(std::size_t index) const;
  const value& get(const std::string& key) const;
  std::string to_str() const;
  static const char* parse(value& out, const char* first, const char* last, std::string* err);
  static bool _parse(value& out, input& in);
  [[gnu::noinline]] static bool _parse_string(value& out, input& in);
  static bool _parse_string(std::string& out, input& in);
  static bool _parse_array(value& out, input& in);
  static bool _parse_object(value& out, input& in);
  static bool _parse_number(value& out, input& in);
  static bool _parse_codepoint(std::string& out, input& in);
  static int _parse_quadhex(input& in);
  int type_;
  union {
    bool boolean_;
    int int_;
    double double_;
    std::string* string_;
    array* array_;
    object* object_;
  };

 private:
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
#endif
