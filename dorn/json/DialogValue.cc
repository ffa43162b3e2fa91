#include "dorn/json/DialogValue.h"

#include <string>

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

}  // namespace dorn
