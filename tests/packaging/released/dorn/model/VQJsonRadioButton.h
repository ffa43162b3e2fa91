#include "dorn/model/VQJsonObject.h"
#ifndef DORN_MODEL_VQJSONRADIOBUTTON_H_
#define DORN_MODEL_VQJSONRADIOBUTTON_H_
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/json/VQValue.h"
class DORN_EXPORT VQJsonRadioButtonObject : public VQJsonObject {
 public:
  explicit VQJsonRadioButtonObject(VQJsonObject* parent);
  VQJsonRadioButtonObject(const VQJsonRadioButtonObject& other) = default;
  VQJsonRadioButtonObject& operator=(const VQJsonRadioButtonObject& other) = default;
  ~VQJsonRadioButtonObject() override;
  VQJsonObject* SetValue(const KZString& key, VQValue value, int dirty,
                         const KZString& sessionid) override;
};
class DORN_EXPORT VQJsonRadioButtonGroup : public VQJsonObjectHasList {
 public:
  explicit VQJsonRadioButtonGroup(VQJsonObject* parent);
  VQJsonRadioButtonGroup(const VQJsonRadioButtonGroup& other) = default;
  VQJsonRadioButtonGroup& operator=(const VQJsonRadioButtonGroup& other) = default;
  ~VQJsonRadioButtonGroup() override;
  void SwitchOff();
};
#endif
