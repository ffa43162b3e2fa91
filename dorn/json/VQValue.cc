#include "dorn/json/VQValue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <ostream>
#include <utility>

#include "dorn/json/JsonValue.h"

namespace {

VQJArray Convert(const value::array& elements) { return {elements.begin(), elements.end()}; }

VQJObject Convert(const value::object& members) {
  VQJObject converted;
  // Both maps order their keys by bytes, so each member goes to the end.
  for (const auto& [key, member] : members) {
    converted.emplace_hint(converted.end(), key, member);
  }
  return converted;
}

}  // namespace

VQValue::VQValue(const value& v) {
  switch (v.type_) {
    case value::boolean_type:
      Set(v.get<bool>());
      break;
    case value::int_type:
      Set(v.get<int>());
      break;
    case value::string_type:
      Set(v.get<std::string>());
      break;
    case value::array_type:
      Set(Convert(v.get<value::array>()));
      break;
    case value::object_type:
      Set(Convert(v.get<value::object>()));
      break;
    default:
      break;
  }
}

VQValue& VQValue::operator=(const VQValue& other) { return *this = VQValue(other); }

VQValue& VQValue::operator=(VQValue&& other) noexcept {
  if (this == &other) return *this;
  // Both taken before the old containers go, to which the source may belong.
  std::shared_ptr<VQJObject> object = std::move(other.mObject);
  std::shared_ptr<VQJArray> array = std::move(other.mArray);
  mType = other.mType;
  mInt = other.mInt;
  mString = std::move(other.mString);
  mObject.swap(object);
  mArray.swap(array);
  return *this;
}

VQValue& VQValue::operator=(const char* s) {
  Set(s);
  return *this;
}

VQValue& VQValue::operator=(const std::string& s) {
  Set(s);
  return *this;
}

VQValue& VQValue::operator=(int n) {
  Set(n);
  return *this;
}

VQValue& VQValue::operator=(bool b) {
  Set(b);
  return *this;
}

VQValue& VQValue::operator=(const VQJObject& m) {
  Set(m);
  return *this;
}

VQValue& VQValue::operator=(const VQJArray& a) {
  Set(a);
  return *this;
}

void VQValue::Set(const char* s) {
  const char* text = s != nullptr ? s : "";
  mType = TYPE_STRING;
  mInt = std::atoi(text);
  mString.assign(text);
}

void VQValue::Set(const std::string& s) { Set(s.c_str()); }

void VQValue::Set(int n) {
  std::array<char, 16> text;
  const char* end = std::to_chars(text.data(), text.data() + text.size(), n).ptr;
  mType = TYPE_INT;
  mInt = n;
  mString.assign(text.data(), end - text.data());
}

void VQValue::Set(bool b) {
  mType = TYPE_BOOL;
  mInt = b ? 1 : 0;
  mString.assign(b ? "true" : "false");
}

void VQValue::Set(const VQJObject& m) { Set(VQJObject(m)); }

void VQValue::Set(VQJObject&& m) {
  mType = TYPE_OBJECT;
  mInt = 0;
  mString.assign("{}");
  mObject = std::make_shared<VQJObject>(std::move(m));
  mArray.reset();
}

void VQValue::Set(const VQJArray& a) { Set(VQJArray(a)); }

void VQValue::Set(VQJArray&& a) {
  mType = TYPE_ARRAY;
  mInt = 0;
  mString.assign("[]");
  mArray = std::make_shared<VQJArray>(std::move(a));
  mObject.reset();
}

KZString VQValue::GetString() {
  std::string text;
  AppendText(text);
  if (mType == TYPE_ARRAY && mArray && mArray->size() > 1) mString.append(mArray->size() - 1, ',');
  return KZString(std::move(text));
}

VQJObject VQValue::GetObject() const { return mObject ? *mObject : VQJObject(); }

VQJArray VQValue::GetArray() const { return mArray ? *mArray : VQJArray(); }

bool VQValue::operator==(const char* s) const { return mString == (s != nullptr ? s : ""); }

bool VQValue::operator==(const VQValue& o) const {
  switch (o.mType) {
    case TYPE_INT:
      return mInt == o.mInt;
    case TYPE_STRING:
      return mString == o.mString;
    case TYPE_BOOL:
      return (mInt != 0) == (o.mInt != 0);
    case TYPE_OBJECT:
      return mObject && o.mObject && *mObject == *o.mObject;
    case TYPE_ARRAY:
      return mArray && o.mArray && *mArray == *o.mArray;
    default:
      return false;
  }
}

bool VQValue::operator==(const VQJObject& m) const {
  if (mType != TYPE_OBJECT || !mObject) return false;
  return std::equal(mObject->begin(), mObject->end(), m.begin(), m.end(),
                    [](const auto& left, const auto& right) {
                      return left.first == right.first &&
                             left.second.GetChar() == right.second.GetChar();
                    });
}

bool VQValue::operator==(const VQJArray& a) const {
  if (mType != TYPE_ARRAY || !mArray) return false;
  return std::equal(
      mArray->begin(), mArray->end(), a.begin(), a.end(),
      [](const auto& left, const auto& right) { return left.GetChar() == right.GetChar(); });
}

// Everything is appended to one buffer: composing by value would copy the inner texts once for
// each level around them.
void VQValue::AppendJson(std::string& out) const {
  if (mType == TYPE_STRING) {
    out.append(1, '"').append(mString).append(1, '"');
  } else if (mType == TYPE_ARRAY && mArray) {
    out.push_back('[');
    bool comma = false;
    for (const VQValue& element : *mArray) {
      if (comma) out.push_back(',');
      comma = true;
      element.AppendJson(out);
    }
    out.push_back(']');
  } else {
    AppendText(out);
  }
}

// What GetString() returns, without the mark that it leaves on an array.
void VQValue::AppendText(std::string& out) const {
  if (mType == TYPE_OBJECT && mObject) {
    AppendObject(out);
  } else if (mType == TYPE_ARRAY && mArray) {
    out.push_back('[');
    for (const VQValue& element : *mArray) out.append(element.mString);
    out.push_back(']');
  } else {
    out.append(mString);
  }
}

void VQValue::AppendObject(std::string& out) const {
  out.push_back('{');
  bool comma = false;
  for (const auto& [key, member] : *mObject) {
    if (comma) out.push_back(',');
    comma = true;
    out.append(1, '"').append(key).append("\":\"");
    member.AppendText(out);
    out.push_back('"');
  }
  out.push_back('}');
}

std::ostream& operator<<(std::ostream& out, VQValue& v) {
  return out << static_cast<const VQValue&>(v);
}

std::ostream& operator<<(std::ostream& out, const VQValue& v) {
  std::string text;
  v.AppendJson(text);
  return out.write(text.data(), static_cast<std::streamsize>(text.length()));
}
