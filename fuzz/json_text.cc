// The reader of JSON text against the plain one of the tests, and what is done with its values.
#include <algorithm>
#include <string>

#include "dorn/json/JsonParser.h"
#include "dorn/json/VQValue.h"
#include "fuzz/FuzzTarget.h"
#include "tests/json/ReferenceReader.h"

namespace {

bool Same(const value& a, const value& b);

bool SameElements(const value::array& a, const value::array& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (!Same(a[i], b[i])) return false;
  }
  return true;
}

bool SameMembers(const value::object& a, const value::object& b) {
  if (a.size() != b.size()) return false;
  for (auto ia = a.begin(), ib = b.begin(); ia != a.end(); ++ia, ++ib) {
    if (ia->first != ib->first || !Same(ia->second, ib->second)) return false;
  }
  return true;
}

bool Same(const value& a, const value& b) {
  if (a.type_ != b.type_) return false;
  switch (a.type_) {
    case value::null_type:
      return true;
    case value::boolean_type:
      return a.get<bool>() == b.get<bool>();
    case value::int_type:
      return a.get<int>() == b.get<int>();
    case value::double_type:
      return a.get<double>() == b.get<double>();
    case value::string_type:
      return a.get<std::string>() == b.get<std::string>();
    case value::array_type:
      return SameElements(a.get<value::array>(), b.get<value::array>());
    case value::object_type:
      return SameMembers(a.get<value::object>(), b.get<value::object>());
    default:
      return false;
  }
}

// The reader limits the depth, the plain one does not.
bool MayBeTooDeep(const std::string& text) {
  int brackets = 0;
  for (const char ch : text) brackets += ch == '[' || ch == '{' ? 1 : 0;
  return brackets > input::kMaxDepth;
}

int Depth(const value& v) {
  int inner = 0;
  if (v.is<value::array>()) {
    for (const value& element : v.get<value::array>()) inner = std::max(inner, Depth(element));
  } else if (v.is<value::object>()) {
    for (const auto& [key, member] : v.get<value::object>()) inner = std::max(inner, Depth(member));
  } else {
    return 0;
  }
  return inner + 1;
}

// A copy, a conversion and all that can be written of it.
void Use(const value& v) {
  value copy(v);
  FUZZ_CHECK(Same(copy, v));
  copy = value(1);
  copy = v;
  FUZZ_CHECK(Same(copy, v));
  static_cast<void>(copy.to_str());
  VQValue converted(v);
  VQValue same(converted);
  std::string json;
  converted.AppendJson(json);
  static_cast<void>(converted.GetString());
  static_cast<void>(converted == same);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  // Exactly as long as the text, so that a byte read behind it is found.
  value read;
  std::string error;
  const char* begin = reinterpret_cast<const char*>(data);
  const char* stop = value::parse(read, begin, begin + size, &error);
  FUZZ_CHECK(stop >= begin && stop <= begin + size);
  FUZZ_CHECK(Depth(read) <= input::kMaxDepth);
  if (!MayBeTooDeep(text)) {
    value expected;
    std::string expectedError;
    ReferenceReader reference(text);
    const size_t expectedStop = reference.Parse(expected, expectedError);
    FUZZ_CHECK(reference.PushBacks() <= 1);
    FUZZ_CHECK(Same(read, expected));
    FUZZ_CHECK(static_cast<size_t>(stop - begin) == expectedStop);
    FUZZ_CHECK(error == expectedError);
  }
  Use(read);
  // What was read into is replaced. Without a place for the error text its line is not read.
  value again(std::string("before"));
  const char* stopAgain = value::parse(again, begin, begin + size, nullptr);
  FUZZ_CHECK(stopAgain <= stop);
  if (error.empty()) FUZZ_CHECK(stopAgain == stop && Same(again, read));
  return 0;
}
