#include "dorn/model/VQJsonCommand.h"

#include "dorn/model/ClassTags.h"
#include "dorn/model/ObjectClass.h"
#include "dorn/model/WireWords.h"

VQJsonCommand::VQJsonCommand(const KZString& word)
    : VQJsonObjectHasList(dorn::kKeyObjects, nullptr) {
  mDebugFlag = dorn::kTagCommand;
  dorn::ObjectClass::SetTag(*this, dorn::kTagCommand);
  mName = word;
  // As SetValue() stores and marks the first value of a key.
  const KZString key(dorn::kKeyCommand);
  mDirty.insert(key);
  mList.try_emplace(key).first->second = word;
}

VQJsonCommand::VQJsonCommand(const VQJsonCommand& other) : VQJsonObjectHasList(other) {
  dorn::ObjectClass::SetTag(*this, dorn::kTagCommand);
}

VQJsonCommand::~VQJsonCommand() = default;

VQJsonCommands::VQJsonCommands() : VQJsonObjectHasList(dorn::kKeyCommands, nullptr) {}

VQJsonCommands::~VQJsonCommands() = default;
