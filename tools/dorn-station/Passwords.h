// What nobody should read over somebody's shoulder, or in a file of messages.
#ifndef TOOLS_DORN_STATION_PASSWORDS_H_
#define TOOLS_DORN_STATION_PASSWORDS_H_

#include "station/Json.h"

// Puts *** in the place of each password of a message's commands.
inline void HidePasswords(dorn::station::Json& message) {
  if (message.Find("Pass") != nullptr)
    message.mMembers["Pass"] = dorn::station::Json::String("***");
  const auto commands = message.mMembers.find("Commands");
  if (commands == message.mMembers.end()) return;
  for (auto& command : commands->second.mElements) HidePasswords(command);
}

#endif  // TOOLS_DORN_STATION_PASSWORDS_H_
