#include "dorn/model/VQJsonCommand.h"

#include "dorn/model/ClassTags.h"
#include "dorn/model/WireWords.h"

VQJsonCommand::VQJsonCommand(const KZString& word)
    : VQJsonObjectHasList(dorn::kKeyObjects, nullptr) {
  mDebugFlag = dorn::kTagCommand;
  mName = word;
  VQJsonObject::SetValue(dorn::kKeyCommand, word, -1, "");
}

VQJsonCommand::~VQJsonCommand() = default;

VQJsonCommands::VQJsonCommands() : VQJsonObjectHasList(dorn::kKeyCommands, nullptr) {}

VQJsonCommands::~VQJsonCommands() = default;
