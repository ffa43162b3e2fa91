#include "Inputs.h"

#include <algorithm>
#include <initializer_list>

namespace {

bool IsOneOf(const VQValue& type, std::initializer_list<const char*> types) {
  return std::any_of(types.begin(), types.end(), [&](const char* each) { return type == each; });
}

// What is disabled is so with all that is in it.
bool IsEnabled(VQJsonObject* each) {
  for (; each != nullptr; each = each->GetParent()) {
    if (each->GetValue("Enabled") == "OFF") return false;
  }
  return true;
}

bool MayChange(VQJsonObject* target, const KZString& key) {
  const VQValue type = target->GetValue("Type");
  if (!IsEnabled(target) || target->GetValue("ReadOnly") == "ON") return false;
  if (key == "Attr") return type == "RADIOBTN";
  return key == "Value" && IsOneOf(type, {"EDIT", "CHECK", "SLIDER", "LIST", "COMBO"});
}

}  // namespace

void TakeOver(VQJsonObject* target, const VQJsonObject& source, const KZString& sessionId) {
  for (const auto& [key, value] : source.GetObject()) {
    if (key == "Name") continue;
    if (!MayChange(target, key)) {
      if (target->HasKey(key)) target->SetDirty(key);
      continue;
    }
    const KZString typed(static_cast<const char*>(value));
    const KZString stored = Stored(typed);
    // Who sent it hears of it only where it is not what was sent.
    target->SetValue(key, stored, -1, stored == typed ? sessionId : KZString());
  }
}

KZString Stored(const KZString& text) { return dorn::EscapeText(dorn::UnescapeText(text)); }
