#include "dorn/json/VQValue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ostream>
#include <utility>

#include "dorn/json/DialogValue.h"
#include "dorn/json/JsonValue.h"

namespace {

// Converts a JSON value. Containers wait in a list instead of a recursion as deep as the value.
class Conversion {
 public:
  void Convert(const value& from, VQValue& to) {
    ConvertOne(from, to);
    while (!mOpen.empty()) {
      const auto [container, place] = mOpen.back();
      mOpen.pop_back();
      Fill(*container, *place);
    }
  }

 private:
  void ConvertOne(const value& from, VQValue& to) {
    switch (from.type_) {
      case value::boolean_type:
        to.Set(from.get<bool>());
        break;
      case value::int_type:
        to.Set(from.get<int>());
        break;
      case value::string_type:
        to.Set(from.get<std::string>());
        break;
      case value::array_type:
      case value::object_type:
        mOpen.emplace_back(&from, &to);
        break;
      default:
        break;
    }
  }

  // What the container holds stays where it is, since moving a container keeps its elements.
  void Fill(const value& from, VQValue& to) {
    if (from.is<value::array>()) {
      FillArray(from.get<value::array>(), to);
    } else {
      FillObject(from.get<value::object>(), to);
    }
  }

  void FillArray(const value::array& elements, VQValue& to) {
    if (elements.empty()) {
      if (!mEmptyArray.mArray) mEmptyArray.Set(VQJArray());
      to = mEmptyArray;
      return;
    }
    VQJArray made(elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) ConvertOne(elements[i], made[i]);
    to.Set(std::move(made));
  }

  void FillObject(const value::object& members, VQValue& to) {
    if (members.empty()) {
      if (!mEmptyObject.mObject) mEmptyObject.Set(VQJObject());
      to = mEmptyObject;
      return;
    }
    VQJObject made;
    for (const auto& [key, member] : members) {
      // Both maps order their keys by bytes, so each member goes to the end.
      ConvertOne(member, made.emplace_hint(made.end(), key, VQValue())->second);
    }
    to.Set(std::move(made));
  }

  std::vector<std::pair<const value*, VQValue*>> mOpen;
  // The empty containers of one value are one: a text may have one in each three bytes.
  VQValue mEmptyArray;
  VQValue mEmptyObject;
};

// These two are apart, so that a level of the recursions around them takes little of the stack.
[[gnu::noinline]] void AppendQuoted(const std::string& text, std::string& out) {
  out.push_back('"');
  out.append(text).push_back('"');
}

// Up to where the text of the member begins.
[[gnu::noinline]] void AppendKey(char before, const KZString& key, std::string& out) {
  out.push_back(before);
  out.push_back('"');
  out.append(key).append("\":\"");
}

}  // namespace

VQValue::VQValue(const value& v) { Conversion().Convert(v, *this); }

VQValue& VQValue::operator=(const VQValue& other) { return *this = VQValue(other); }

VQValue& VQValue::operator=(VQValue&& other) noexcept {
  if (this == &other) return *this;
  // Both taken before the old containers go, to which the source may belong.
  std::shared_ptr<VQJObject> members = std::move(other.mObject);
  std::shared_ptr<VQJArray> elements = std::move(other.mArray);
  mType = other.mType;
  mInt = other.mInt;
  mString = std::move(other.mString);
  mObject.swap(members);
  mArray.swap(elements);
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
  mInt = dorn::TextToInt(text);
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
  if (mType == TYPE_ARRAY && mArray && !mArray->empty()) mString.append(mArray->size() - 1, ',');
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
    AppendQuoted(mString, out);
  } else if (mType == TYPE_ARRAY && mArray) {
    char before = '[';
    for (const VQValue& element : *mArray) {
      out.push_back(before);
      before = ',';
      element.AppendJson(out);
    }
    out.append(mArray->empty() ? "[]" : "]");
  } else {
    AppendText(out);
  }
}

// What GetString() returns, without the mark that it leaves on an array.
void VQValue::AppendText(std::string& out) const {
  if (mType == TYPE_OBJECT && mObject) {
    char before = '{';
    for (const auto& [key, member] : *mObject) {
      AppendKey(before, key, out);
      before = ',';
      member.AppendText(out);
      out.push_back('"');
    }
    out.append(mObject->empty() ? "{}" : "}");
  } else {
    AppendFlatText(out);
  }
}

void VQValue::AppendFlatText(std::string& out) const {
  if (mType == TYPE_ARRAY && mArray) {
    out.push_back('[');
    for (const VQValue& element : *mArray) out.append(element.mString);
    out.push_back(']');
  } else {
    out.append(mString);
  }
}

std::ostream& operator<<(std::ostream& out, VQValue& v) {
  return out << static_cast<const VQValue&>(v);
}

std::ostream& operator<<(std::ostream& out, const VQValue& v) {
  std::string text;
  v.AppendJson(text);
  return out.write(text.data(), static_cast<std::streamsize>(text.length()));
}
