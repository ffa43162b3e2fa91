#include "tools/dorn-gateway/PageText.h"

#include "station/Reader.h"

namespace dorn::gateway {

namespace {

using station::Json;

void Note(const Json& command, PageText& text) {
  const std::string_view word = command.TextOf("Command");
  text.mLogsIn |= word == "HELLO" && command.Find("Id") != nullptr;
  text.mAttaches |= !command.TextOf("SessionId").empty();
  const std::string_view file = command.TextOf("File");
  if (word == "GETFILE" && station::FenceOf(file)) text.mFences.emplace_back(file);
}

}  // namespace

PageText ReadPageText(std::string_view bytes, station::Quotes quotes) {
  PageText text;
  const station::ReadText read = station::Reader().Read(bytes);
  if (read.mReading != station::Reading::kStrict) {
    text.mReason = "the text is no JSON";
    return text;
  }
  station::CheckedText checked = station::CheckedCommand(read.mJson, quotes);
  text.mText = std::move(checked.mText);
  text.mReason = std::move(checked.mReason);
  if (text.mText.empty()) return text;
  if (const Json* commands = read.mJson.Find("Commands"); commands != nullptr) {
    for (const Json& command : commands->mElements) Note(command, text);
  } else {
    Note(read.mJson, text);
  }
  return text;
}

}  // namespace dorn::gateway
