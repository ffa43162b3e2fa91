#include "station/Framing.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

#include "station/Reader.h"

namespace dorn::station {

namespace {

constexpr char kStx = '\x02';
constexpr char kEtx = '\x03';

bool Contains(std::string_view text, std::string_view piece) {
  return text.find(piece) != std::string_view::npos;
}

bool IsHostCommand(const Json& command) {
  for (const std::string_view word :
       {"OPEN", "ERROR", "KEEPALIVE", "UPDATE", "ADD", "DELETE", "PUTFILE"}) {
    if (command.TextOf("Command") == word) return true;
  }
  return false;
}

}  // namespace

std::string Framed(std::string_view text) {
  std::string frame;
  frame.reserve(text.size() + 2);
  frame += kStx;
  frame += text;
  frame += kEtx;
  return frame;
}

bool Framing::Feed(std::string_view bytes) {
  while (!bytes.empty() && mState != State::kBroken) {
    std::size_t taken = 0;
    switch (mState) {
      case State::kOutside:
        taken = TakeOutside(bytes);
        break;
      case State::kText:
        taken = TakeText(bytes);
        break;
      case State::kBefore:
        taken = TakeBefore(bytes);
        break;
      case State::kPayload:
        taken = TakePayload(bytes);
        break;
      case State::kBroken:
        break;
    }
    bytes.remove_prefix(taken);
  }
  return mState != State::kBroken;
}

ReadText& Framing::Read() {
  if (!mRead) mRead = mReader.Read(mText);
  return *mRead;
}

std::size_t Framing::TakeOutside(std::string_view bytes) {
  const std::size_t start = bytes.find(kStx);
  mDropped += std::min(start, bytes.size());
  if (start == std::string_view::npos) return bytes.size();
  mState = State::kText;
  return start + 1;
}

std::size_t Framing::TakeText(std::string_view bytes) {
  const std::size_t end = bytes.find(kEtx);
  const std::string_view piece = bytes.substr(0, end);
  if (end != std::string_view::npos && mHeld.empty() && !mTooLong && piece.size() <= kMaxText) {
    BeginText(piece);
    EndText();
    return end + 1;
  }
  mTooLong = mTooLong || mHeld.size() + piece.size() > kMaxText;
  if (mTooLong) {
    mHeld = {};
  } else {
    mHeld += piece;
  }
  if (end == std::string_view::npos) return bytes.size();
  if (std::exchange(mTooLong, false)) {
    mState = State::kOutside;
    mSink.OnTooLong();
  } else {
    const std::string text = std::exchange(mHeld, {});
    BeginText(text);
    EndText();
  }
  return end + 1;
}

void Framing::BeginText(std::string_view text) {
  mText = text;
  mRead.reset();
}

// Of the text that BeginText() was given. The state is right before the sink hears of anything.
void Framing::EndText() {
  const std::optional<std::size_t> length = AnnouncedLength();
  mState = State::kOutside;
  if (length && *length > kMaxPayload) {
    mState = State::kBroken;
  } else if (length && *length > 0) {
    mState = State::kBefore;
    mPayloadLeft = *length;
  }
  mSink.OnText(mText);
  BeginText({});
  if (length && *length == 0) mSink.OnPayload({}, true);
}

// The bytes that the text announces behind it; none for every text but a PUTFILE that brings a
// file.
std::optional<std::size_t> Framing::AnnouncedLength() {
  if (!Contains(mText, "PUTFILE")) return std::nullopt;
  // Answers to fences, which come the most often, need not be read for it.
  if (!Contains(mText, "Length") && !Contains(mText, "\\")) return std::nullopt;
  const Json& command = Read().mJson;
  const Json* length = command.Find("Length");
  if (command.TextOf("Command") != "PUTFILE" || command.Find("Status") != nullptr ||
      length == nullptr || !length->IsNumber()) {
    return std::nullopt;
  }
  const long long bytes = std::strtoll(length->mText.c_str(), nullptr, 10);
  return static_cast<std::size_t>(std::max(bytes, 0LL));
}

// Whether the text is what a host says, and no piece of a file that looks framed.
bool Framing::IsHostText() {
  const Json& json = Read().mJson;
  const Json* commands = json.Find("Commands");
  if (commands == nullptr || !commands->IsArray()) return IsHostCommand(json);
  return std::any_of(commands->mElements.begin(), commands->mElements.end(), IsHostCommand);
}

// A file may begin with any byte. Behind an STX it may be the next text instead, because the file
// was none; that is known when an ETX comes, as no text holds another STX or a zero byte.
std::size_t Framing::TakeBefore(std::string_view bytes) {
  if (mHeld.empty() && bytes.front() != kStx) {
    mState = State::kPayload;
    return 0;
  }
  const std::size_t skipped = mHeld.empty() ? 1 : 0;
  const std::size_t end = bytes.find_first_of(std::string_view("\x00\x02\x03", 3), skipped);
  mHeld += bytes.substr(0, end);
  if (end == std::string_view::npos) {
    if (mHeld.size() > kMaxText) BeginPayload();
    return bytes.size();
  }
  BeginText(std::string_view(mHeld).substr(1));
  if (bytes[end] == kEtx && IsHostText()) {
    const std::string held = std::exchange(mHeld, {});
    mText = std::string_view(held).substr(1);  // What it says is known.
    mSink.OnNoPayload();
    EndText();
    return end + 1;
  }
  BeginText({});
  BeginPayload();
  return end;
}

// What was held back belongs to the file, and what is longer than it to what follows.
void Framing::BeginPayload() {
  mState = State::kPayload;
  const std::string held = std::exchange(mHeld, {});
  static_cast<void>(Feed(held));  // Broken or not: the caller's Feed() tells.
}

std::size_t Framing::TakePayload(std::string_view bytes) {
  const std::size_t taken = std::min(mPayloadLeft, bytes.size());
  mPayloadLeft -= taken;
  if (mPayloadLeft == 0) mState = State::kOutside;
  mSink.OnPayload(bytes.substr(0, taken), mPayloadLeft == 0);
  return taken;
}

}  // namespace dorn::station
