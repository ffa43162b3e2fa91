#include "dorn/json/JsonParser.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "dorn/base/Check.h"
#include "dorn/base/TraceFilter.h"
#include "dorn/json/DialogValue.h"
#include "dorn/json/MemberSearch.h"
#include "dorn/json/VQValue.h"

namespace {

// What a description quotes behind this may be a password.
constexpr char kNear[] = " near: ";

}  // namespace

JsonParser::~JsonParser() = default;

bool JsonParser::Parse(const char* json) {
  const char* text = json != nullptr ? json : "";
  // Read aside, so that a failure leaves the document alone that the cursor may point into.
  value document;
  std::string error;
  value::parse(document, text, text + std::strlen(text), &error);
  if (!error.empty()) {
    if (!dorn::ShowsSecrets()) error.resize(std::min(error.size(), error.find(kNear)));
    std::printf("Parse error:%s\n", error.c_str());
    return false;
  }
  mValue = std::move(document);
  mValueCurrent = &mValue;
  return true;
}

KZString JsonParser::Serialize() const { return {}; }

bool JsonParser::IsObject() const {
  return mValueCurrent != nullptr && mValueCurrent->is<object>();
}

// The member, or null if there is none or no document.
const value* JsonParser::Find(const char* key) const {
  if (mValueCurrent == nullptr) return nullptr;
  const char* name = key != nullptr ? key : "";
  if (!IsObject()) return &mValueCurrent->get(std::string(name));  // Ends the process.
  return dorn::FindMember(mValueCurrent->get<object>(), name);
}

bool JsonParser::IsArray(const char* key) const {
  const value* member = Find(key);
  return member != nullptr && member->is<array>();
}

bool JsonParser::IsString(const char* key) const {
  const value* member = Find(key);
  return member != nullptr && member->is<std::string>();
}

const std::vector<value>& JsonParser::GetArray(const char* key) const {
  static const std::vector<value> kEmpty;
  const value* member = Find(key);
  return member != nullptr && member->is<array>() ? member->get<array>() : kEmpty;
}

value::array::const_iterator JsonParser::Begin(const value::array& list) const {
  return list.begin();
}

bool JsonParser::Next(const value::array& list, value::array::const_iterator& it) {
  // Before the test, so that in the loop's body the cursor is on the element; computed, because
  // the end must not be dereferenced.
  mValueCurrent = list.data() + (it - list.begin());
  const bool found = it != list.end();
  ++it;
  return found;
}

value::object::const_iterator JsonParser::MapBegin() const {
  DORN_CHECK(IsObject());
  return mValueCurrent->get<object>().begin();
}

bool JsonParser::MapNext(value::object::const_iterator& it, KZString& key) const {
  DORN_CHECK(IsObject());
  if (it == mValueCurrent->get<object>().end()) return false;
  key = it->first;
  ++it;
  return true;
}

bool JsonParser::GetObject(const char* key) {
  const value* member = Find(key);
  if (member == nullptr || !member->is<object>()) return false;
  mValueCurrent = member;
  return true;
}

bool JsonParser::GetString(const char* key, KZString& str) const {
  const value* member = Find(key);
  if (member == nullptr || !member->is<std::string>()) return false;
  str.assign(member->get<std::string>());
  return true;
}

bool JsonParser::GetInteger(const char* key, int& dat) const {
  const value* member = Find(key);
  if (member == nullptr || !member->is<int>()) return false;
  dat = member->get<int>();
  return true;
}

bool JsonParser::GetBoolean(const char* key, bool& dat) const {
  const value* member = Find(key);
  if (member == nullptr || !member->is<bool>()) return false;
  dat = member->get<bool>();
  return true;
}

bool JsonParser::GetValue(const char* key, VQValue& dat) const {
  const value* member = Find(key);
  return member != nullptr && dorn::StoreDialogValue(*member, dat);
}
