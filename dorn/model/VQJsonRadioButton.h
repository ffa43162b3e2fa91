// Radio buttons: in a radio group, switching one button on switches the others off.
// Loop thread only: nothing in this file takes a lock.

// Before the guard: the object's header includes this one at its end, so that either may be
// included first.
#include "dorn/model/VQJsonObject.h"

#ifndef DORN_MODEL_VQJSONRADIOBUTTON_H_
#define DORN_MODEL_VQJSONRADIOBUTTON_H_

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/json/VQValue.h"

// A radio button. Without a radio group as its parent it is a plain object.
class DORN_EXPORT VQJsonRadioButtonObject : public VQJsonObject {
 public:
  explicit VQJsonRadioButtonObject(VQJsonObject* parent);
  VQJsonRadioButtonObject(const VQJsonRadioButtonObject& other) = default;
  VQJsonRadioButtonObject& operator=(const VQJsonRadioButtonObject& other) = default;
  ~VQJsonRadioButtonObject() override;

  // Stores an attribute as VQJsonObject does. "ON" for "Attr" or "Value" first switches off all
  // buttons of the radio group that is the parent, this one included: setting "Attr" to "ON" again
  // therefore counts as a change.
  VQJsonObject* SetValue(const KZString& key, VQValue value, int dirty,
                         const KZString& sessionid) override;
};

// A group of which at most one radio button is on.
class DORN_EXPORT VQJsonRadioButtonGroup : public VQJsonObjectHasList {
 public:
  explicit VQJsonRadioButtonGroup(VQJsonObject* parent);
  VQJsonRadioButtonGroup(const VQJsonRadioButtonGroup& other);
  VQJsonRadioButtonGroup& operator=(const VQJsonRadioButtonGroup& other) = default;
  ~VQJsonRadioButtonGroup() override;

  // Sets "Attr" to "OFF" on every child of "Type" "RADIOBTN" whose "Attr" is "ON". The changes are
  // marked without a session, so that every station hears of them.
  // Kept: a button that is on by its "Value" alone is not switched off.
  void SwitchOff();
};

#endif  // DORN_MODEL_VQJSONRADIOBUTTON_H_
