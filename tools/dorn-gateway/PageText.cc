#include "tools/dorn-gateway/PageText.h"

#include "station/StrictText.h"
#include "station/Utf8.h"

namespace dorn::gateway {

namespace {

using station::Json;

// Both words make a host ask for the password.
bool IsLogIn(const Json& command) {
  const std::string_view word = command.TextOf("Command");
  return (word == "HELLO" || word == "CHANGE") && command.Find("Id") != nullptr;
}

void Note(const Json& command, PageText& text) {
  const std::string_view word = command.TextOf("Command");
  text.mLogsIn |= IsLogIn(command);
  text.mAttaches |= !command.TextOf("SessionId").empty();
  const std::string_view file = command.TextOf("File");
  if (word == "GETFILE" && station::FenceOf(file)) text.mFences.emplace_back(file);
}

}  // namespace

PageText ReadPageText(std::string_view bytes, station::Quotes quotes) {
  PageText text;
  Json command;
  if (!station::IsValidUtf8(bytes) || !station::ReadStrictly(bytes, command)) {
    text.mReason = "the text is no JSON";
    return text;
  }
  station::CheckedText checked = station::CheckedCommand(command, quotes);
  text.mText = std::move(checked.mText);
  text.mReason = std::move(checked.mReason);
  if (text.mText.empty()) return text;
  if (const Json* commands = command.Find("Commands"); commands != nullptr) {
    for (const Json& each : commands->mElements) Note(each, text);
    if (text.mLogsIn && commands->mElements.size() > 1) {
      text.mText.clear();
      text.mReason = "a log-in is sent by itself";
    }
  } else {
    Note(command, text);
  }
  return text;
}

}  // namespace dorn::gateway
