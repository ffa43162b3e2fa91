#include "dorn/model/VQJsonRadioButton.h"

#include <cstddef>
#include <utility>

#include "dorn/model/ClassTags.h"
#include "dorn/model/ObjectClass.h"
#include "dorn/model/WireWords.h"

VQJsonRadioButtonObject::VQJsonRadioButtonObject(VQJsonObject* parent) : VQJsonObject(parent) {
  mDebugFlag = dorn::kTagRadioButton;
}

VQJsonRadioButtonObject::~VQJsonRadioButtonObject() = default;

VQJsonObject* VQJsonRadioButtonObject::SetValue(const KZString& key, VQValue value, int dirty,
                                                const KZString& sessionid) {
  const bool switches = key == dorn::kKeyAttr || key == dorn::kKeyValue;
  if (switches && value == dorn::kOn && mParent != nullptr && mParent->HasGroup()) {
    VQJsonRadioButtonGroup* group = dorn::AsRadioGroup(*mParent);
    if (group != nullptr) group->SwitchOff();
  }
  return VQJsonObject::SetValue(key, std::move(value), dirty, sessionid);
}

VQJsonRadioButtonGroup::VQJsonRadioButtonGroup(VQJsonObject* parent)
    : VQJsonObjectHasList(dorn::kKeyObjects, parent) {
  mDebugFlag = dorn::kTagRadioGroup;
  dorn::ObjectClass::SetTag(*this, dorn::kTagRadioGroup);
}

VQJsonRadioButtonGroup::VQJsonRadioButtonGroup(const VQJsonRadioButtonGroup& other)
    : VQJsonObjectHasList(other) {
  dorn::ObjectClass::SetTag(*this, dorn::kTagRadioGroup);
}

VQJsonRadioButtonGroup::~VQJsonRadioButtonGroup() = default;

void VQJsonRadioButtonGroup::SwitchOff() {
  for (std::size_t i = 0; i < mObjectList.size(); ++i) {
    VQJsonObject* child = mObjectList[i];
    if (child == nullptr || child->GetValue(dorn::kKeyType) != dorn::kTypeRadioButton) continue;
    if (child->GetValue(dorn::kKeyAttr) != dorn::kOn) continue;
    child->VQJsonObject::SetValue(dorn::kKeyAttr, dorn::kOff, -1, "");
  }
}
