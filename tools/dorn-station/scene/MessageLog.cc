#include "tools/dorn-station/scene/MessageLog.h"

#include <cstdio>
#include <utility>

#include "station/Utf8.h"

namespace dorn::scene {

namespace {

using dorn::station::Json;

constexpr std::size_t kShownBytes = 400;

// How stations find out where they are; nothing that a host's author has to look at.
bool IsFence(const Json& command) {
  const std::string_view word = command.TextOf("Command");
  return (word == "GETFILE" || word == "PUTFILE") && command.TextOf("File").substr(0, 1) == "?";
}

std::string WithoutPassword(const Message& message) {
  if (message.mCommand.Find("Pass") == nullptr) return message.mText;
  Json masked = message.mCommand;
  masked.mMembers["Pass"] = Json::String("***");
  return masked.Written();
}

std::string Shown(const Message& message) {
  std::string text = dorn::station::ValidUtf8(WithoutPassword(message));
  if (text.size() > kShownBytes) {
    const std::string length = std::to_string(text.size());
    std::size_t end = kShownBytes;
    while ((text[end] & 0xC0) == 0x80) --end;  // Not in the middle of a character.
    text = text.substr(0, end) + "... (" + length + " bytes)";
  }
  // Line ends and tabs between the members of a message mean nothing.
  for (char& c : text) {
    if (c == '\n' || c == '\r' || c == '\t') c = ' ';
  }
  return dorn::station::Printable(text);
}

}  // namespace

void MessageLog::StartLine() {
  mSent.Restart();
  mReceived.Restart();
}

void MessageLog::AddSent(std::string_view bytes, Ms at) { mSent.Feed(bytes, at); }

void MessageLog::AddReceived(std::string_view bytes, Ms at) { mReceived.Feed(bytes, at); }

void MessageLog::AddNote(std::string text, Ms at) {
  mMessages.push_back({at, Direction::kNote, std::move(text), {}});
}

const Message* MessageLog::Find(std::size_t since,
                                const std::function<bool(const Message& message)>& holds) const {
  for (std::size_t i = since; i < mMessages.size(); ++i) {
    const Message& each = mMessages[i];
    if (each.mDirection == Direction::kReceived && holds(each)) return &each;
  }
  return nullptr;
}

std::string MessageLog::Last(std::size_t count) const {
  std::string lines;
  const std::size_t first = mMessages.size() > count ? mMessages.size() - count : 0;
  for (std::size_t i = first; i < mMessages.size(); ++i) {
    const Message& each = mMessages[i];
    const char* const arrow = each.mDirection == Direction::kSent       ? "->"
                              : each.mDirection == Direction::kReceived ? "<-"
                                                                        : "  ";
    char start[32];
    static_cast<void>(std::snprintf(start, sizeof start, "    %3lld.%03d %s ",
                                    static_cast<long long>(each.mAt / 1000),
                                    static_cast<int>(each.mAt % 1000), arrow));
    lines += start + Shown(each) + "\n";
  }
  return lines;
}

void MessageLog::AddText(Direction direction, std::string_view text, Json& json, Ms at) {
  const Json* commands = json.Find("Commands");
  if (commands == nullptr || !commands->IsArray()) {
    if (!IsFence(json)) mMessages.push_back({at, direction, std::string(text), std::move(json)});
    return;
  }
  for (const Json& command : commands->mElements) {
    if (!IsFence(command)) mMessages.push_back({at, direction, command.Written(), command});
  }
}

void MessageLog::Tap::Feed(std::string_view bytes, Ms at) {
  mAt = at;
  // What it does not take is the end of the connection for whoever reads beside it.
  static_cast<void>(mFraming->Feed(bytes));
}

void MessageLog::Tap::OnText(std::string_view text) {
  mPayload = 0;
  mLog.AddText(mDirection, text, mFraming->Read().mJson, mAt);
}

void MessageLog::Tap::OnPayload(std::string_view piece, bool last) {
  mPayload += piece.size();
  if (last) mLog.AddNote("[a file of " + std::to_string(mPayload) + " bytes]", mAt);
}

}  // namespace dorn::scene
