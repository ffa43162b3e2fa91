#include "dorn/json/DialogValue.h"

#include <cstdlib>
#include <string>

#include "dorn/base/ShortCopy.h"
#include "dorn/json/PlainText.h"

namespace dorn {

bool StoreDialogValue(const value& from, VQValue& to) {
  switch (from.type_) {
    case value::boolean_type:
      to = from.get<bool>();
      return true;
    case value::int_type:
      to = from.get<int>();
      return true;
    case value::string_type:
      to = from.get<std::string>();
      return true;
    case value::array_type:
    case value::object_type:
      to = VQValue(from);
      return true;
    default:
      return false;
  }
}

void StoreText(std::string_view text, VQValue& to) {
  to.mType = VQValue::TYPE_STRING;
  Assign(to.mString, text);
  to.mInt = TextToInt(to.mString.c_str());
}

int TextToInt(const char* text) {
  constexpr int kSafeDigits = 9;
  const char* at = text;
  int number = 0;
  for (; IsJsonDigit(*at); ++at) {
    if (at - text == kSafeDigits) return std::atoi(text);
    number = number * 10 + (*at - '0');
  }
  const bool isWord = *text > '9' && *text < '\x7f';
  return at != text || isWord || *text == '\0' ? number : std::atoi(text);
}

}  // namespace dorn
