#include "dorn/json/JsonValue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "dorn/base/Check.h"

namespace {

// What a missing element or member reads as.
const value& SharedNull() {
  static const value kNull;
  return kNull;
}

// As "%f" prints it into 64 bytes, but with a decimal point in every locale.
std::string Decimals(double number) {
  constexpr std::size_t kLongest = 63;
  std::array<char, 512> text;  // The largest number has 309 digits before the point.
  const char* end =
      std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, 6)
          .ptr;
  return std::string(text.data(), std::min<std::size_t>(end - text.data(), kLongest));
}

}  // namespace

value::value(int tag, bool) : type_(tag), object_(nullptr) {
  switch (tag) {
    case boolean_type:
      boolean_ = true;
      break;
    case int_type:
      int_ = 0;
      break;
    case double_type:
      double_ = 0.0;
      break;
    case string_type:
      string_ = new std::string;
      break;
    case array_type:
      array_ = new array;
      break;
    case object_type:
      object_ = new object;
      break;
    default:
      break;
  }
}

value::value(const std::string& s) : type_(string_type), string_(new std::string(s)) {}

value::value(const array& a) : type_(array_type), array_(new array(a)) {}

value::value(const object& o) : type_(object_type), object_(new object(o)) {}

value::value(const value& other) : type_(other.type_), object_(nullptr) {
  switch (type_) {
    case boolean_type:
      boolean_ = other.boolean_;
      break;
    case int_type:
      int_ = other.int_;
      break;
    case double_type:
      double_ = other.double_;
      break;
    case string_type:
      string_ = new std::string(*other.string_);
      break;
    case array_type:
      array_ = new array(*other.array_);
      break;
    case object_type:
      object_ = new object(*other.object_);
      break;
    default:
      break;
  }
}

value& value::operator=(const value& other) {
  // Copied before the old content goes, to which the source may belong.
  if (this != &other) *this = value(other);
  return *this;
}

value& value::operator=(value&& other) noexcept {
  value taken(std::move(other));
  const value old(std::move(*this));
  type_ = taken.type_;
  CopyPayload(taken);
  taken.type_ = null_type;
  return *this;
}

void value::Destroy() noexcept {
  // NOLINTBEGIN(clang-analyzer-core.CallAndMessage): CopyPayload() has set the pointer.
  switch (type_) {
    case string_type:
      delete string_;
      break;
    case array_type:
      delete array_;
      break;
    case object_type:
      delete object_;
      break;
    default:
      break;
  }
  // NOLINTEND(clang-analyzer-core.CallAndMessage)
}

value::operator bool() const {
  switch (type_) {
    case null_type:
      return false;
    case boolean_type:
      return boolean_;
    case int_type:
      return int_ != 0;
    case double_type:
      return double_ != 0.0;
    case string_type:
      return !string_->empty();
    default:
      return true;
  }
}

const value& value::get(std::size_t index) const {
  DORN_CHECK(is<array>());
  return index < array_->size() ? (*array_)[index] : SharedNull();
}

const value& value::get(const std::string& key) const {
  DORN_CHECK(is<object>());
  const auto found = object_->find(key);
  return found != object_->end() ? found->second : SharedNull();
}

std::string value::to_str() const {
  switch (type_) {
    case null_type:
      return "null";
    case boolean_type:
      return boolean_ ? "true" : "false";
    case int_type:
      return std::to_string(int_);
    case double_type:
      return Decimals(double_);
    case string_type:
      return *string_;
    case array_type:
      return "array";
    case object_type:
      return "object";
    default:
      DORN_CHECK(0);
      return {};
  }
}
