// Conversion of a JSON value that was read into the value of a dialog object's attribute.
// Internal: not installed.
#ifndef DORN_JSON_DIALOGVALUE_H_
#define DORN_JSON_DIALOGVALUE_H_

#include <string_view>

#include "dorn/json/JsonValue.h"
#include "dorn/json/VQValue.h"

namespace dorn {

// Whether dialogs know such a value: false for null and floating numbers.
inline bool IsDialogValue(const value& v) {
  return v.type_ != value::null_type && v.type_ != value::double_type;
}

// Stores `from`, containers with all they hold, and returns true. False and `to` untouched for null
// and floating numbers, which dialogs do not know.
bool StoreDialogValue(const value& from, VQValue& to);

// Does what VQValue::Set() does, for a text without a zero byte. The value has no container.
void StoreText(std::string_view text, VQValue& to);

// As atoi(), which takes long for what most texts are: words and short numbers.
int TextToInt(const char* text);

}  // namespace dorn

#endif  // DORN_JSON_DIALOGVALUE_H_
