#include "dorn/model/ObjectClass.h"

#include <algorithm>
#include <iterator>

#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonResource.h"

namespace dorn {
namespace {

// Taken from an object of each class when the library is loaded. Until then no object counts as of
// an own class, which only costs time.
const void* const kGridTable = TableOf(VQJsonGrid(nullptr));
const void* const kRadioGroupTable = TableOf(VQJsonRadioButtonGroup(nullptr));
const void* const kOtherTables[] = {TableOf(VQJsonObjectHasList("", nullptr)),
                                    TableOf(VQJsonRadioButtonObject(nullptr)),
                                    TableOf(VQJsonCommands()), TableOf(VQJsonResource())};

}  // namespace

const void* const kPlainObjectTable = TableOf(VQJsonObject(nullptr));
const void* const kPlainCommandTable = TableOf(VQJsonCommand(""));

bool IsOwnClass(const VQJsonObject& object) {
  const void* const table = TableOf(object);
  return table == kPlainObjectTable || table == kPlainCommandTable || table == kGridTable ||
         table == kRadioGroupTable ||
         std::find(std::begin(kOtherTables), std::end(kOtherTables), table) !=
             std::end(kOtherTables);
}

bool IsGrid(const VQJsonObject& object) { return TableOf(object) == kGridTable; }

// By table, too: in a host that was compiled when copies were made inline, they have the tag of
// any group.
VQJsonRadioButtonGroup* AsRadioGroup(VQJsonObject& object) {
  const bool isOne =
      ObjectClass::TagOf(object) == kTagRadioGroup || TableOf(object) == kRadioGroupTable;
  return isOne ? static_cast<VQJsonRadioButtonGroup*>(&object) : nullptr;
}

VQJsonCommand* AsCommand(VQJsonObject& object) {
  const bool isOne =
      ObjectClass::TagOf(object) == kTagCommand || TableOf(object) == kPlainCommandTable;
  return isOne ? static_cast<VQJsonCommand*>(&object) : nullptr;
}

}  // namespace dorn
