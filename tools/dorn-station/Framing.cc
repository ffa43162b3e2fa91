#include "tools/dorn-station/Framing.h"

#include <algorithm>
#include <utility>

#include "dorn/json/JsonParser.h"

namespace {

constexpr char kStx = '\x02';
constexpr char kEtx = '\x03';

// The number of raw bytes that follow a message: those of a PUTFILE that is no error and not
// "LATEST", which carry a "Length".
size_t PayloadLength(const std::string& text) {
  if (text.find("PUTFILE") == std::string::npos) return 0;
  JsonParser parser;
  KZString command;
  int length = 0;
  if (!parser.Parse(text.c_str()) || !parser.mValueCurrent->is<value::object>()) return 0;
  if (!parser.GetString("Command", command) || !(command == "PUTFILE")) return 0;
  if (!parser.GetInteger("Length", length) || length < 0) return 0;
  return static_cast<size_t>(length);
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

Framing::Framing(OnMessage onMessage, OnPayload onPayload)
    : mOnMessage(std::move(onMessage)), mOnPayload(std::move(onPayload)) {}

void Framing::Feed(std::string_view bytes) {
  while (!bytes.empty()) {
    bytes.remove_prefix(mPayloadLeft > 0 ? TakePayload(bytes) : TakeText(bytes));
  }
}

size_t Framing::TakePayload(std::string_view bytes) {
  const size_t taken = std::min(mPayloadLeft, bytes.size());
  mPayloadLeft -= taken;
  mOnPayload(bytes.substr(0, taken), mPayloadLeft == 0);
  return taken;
}

size_t Framing::TakeText(std::string_view bytes) {
  if (!mInMessage) {
    const size_t start = bytes.find(kStx);
    if (start == std::string_view::npos) return bytes.size();
    mInMessage = true;
    return start + 1;
  }
  const size_t end = bytes.find(kEtx);
  mText += bytes.substr(0, end);
  if (end == std::string_view::npos) return bytes.size();
  EndMessage();
  return end + 1;
}

void Framing::EndMessage() {
  const std::string text = std::exchange(mText, {});
  mInMessage = false;
  mPayloadLeft = PayloadLength(text);
  mOnMessage(text);
}
