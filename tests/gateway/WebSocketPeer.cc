#include "tests/gateway/WebSocketPeer.h"

#include "tests/support/Deadline.h"

int WebSocketMessage::CloseCode() const {
  if (mOpcode != kClose || mPayload.size() < 2) return 0;
  return static_cast<unsigned char>(mPayload[0]) << 8 | static_cast<unsigned char>(mPayload[1]);
}

std::string WebSocketRequest(const std::string& headers, const std::string& host) {
  return "GET /station HTTP/1.1\r\nHost: " + host +
         "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
         "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n" +
         headers + "\r\n";
}

std::string WebSocketFrame(unsigned char opcode, std::string_view payload, bool isLast,
                           bool isMasked) {
  constexpr std::string_view kMask = "\x12\x34\x56\x78";
  const unsigned mask = isMasked ? 0x80 : 0;
  std::string frame(1, static_cast<char>((isLast ? 0x80 : 0) | opcode));
  const std::size_t size = payload.size();
  int lengthBytes = 0;
  if (size < 126) {
    frame += static_cast<char>(mask | size);
  } else {
    lengthBytes = size < 65536 ? 2 : 8;
    frame += static_cast<char>(mask | (size < 65536 ? 126 : 127));
  }
  for (int i = lengthBytes; i-- > 0;) frame += static_cast<char>(size >> (8 * i) & 0xFF);
  if (!isMasked) return frame += payload;
  frame += kMask;
  for (std::size_t i = 0; i < size; ++i) frame += static_cast<char>(payload[i] ^ kMask[i % 4]);
  return frame;
}

bool WebSocketPeer::Open(int port, const std::string& request, int receiveBuffer) {
  if (!mPeer.Connect(port, receiveBuffer) || !mPeer.Send(request)) return false;
  mBytes.clear();
  std::size_t end = std::string::npos;
  const Deadline deadline;
  while ((end = mBytes.find("\r\n\r\n")) == std::string::npos) {
    if (deadline.IsOver() || !Need(mBytes.size() + 1)) break;
  }
  mHead = mBytes.substr(0, end);
  mBytes.erase(0, end == std::string::npos ? end : end + 4);
  return mHead.rfind("HTTP/1.1 101 ", 0) == 0;
}

bool WebSocketPeer::Need(std::size_t bytes) {
  while (mBytes.size() < bytes) {
    mBytes += mPeer.Take();
    if (mBytes.size() >= bytes) return true;
    if (!mPeer.WaitFor(1)) {
      mBytes += mPeer.Take();
      return mBytes.size() >= bytes;
    }
  }
  return true;
}

std::optional<WebSocketPeer::Piece> WebSocketPeer::NextPiece() {
  if (!Need(2)) return std::nullopt;
  Piece piece;
  piece.mOpcode = mBytes[0] & 0x0F;
  piece.mIsLast = (mBytes[0] & 0x80) != 0;
  std::size_t length = static_cast<unsigned char>(mBytes[1]) & 0x7F;
  const std::size_t lengthBytes = length == 126 ? 2 : length == 127 ? 8 : 0;
  if (!Need(2 + lengthBytes)) return std::nullopt;
  if (lengthBytes > 0) length = 0;
  for (std::size_t i = 0; i < lengthBytes; ++i) {
    length = length << 8 | static_cast<unsigned char>(mBytes[2 + i]);
  }
  if (!Need(2 + lengthBytes + length)) return std::nullopt;
  piece.mPayload = mBytes.substr(2 + lengthBytes, length);
  mBytes.erase(0, 2 + lengthBytes + length);
  return piece;
}

std::optional<WebSocketMessage> WebSocketPeer::Next() {
  WebSocketMessage message;
  while (auto piece = NextPiece()) {
    if (piece->mOpcode == kPing) {
      ++mPings;
      if (mAnswersPings) SendFrame(kPong, piece->mPayload);
      continue;
    }
    if (piece->mOpcode > kBinary) return WebSocketMessage{piece->mOpcode, piece->mPayload};
    if (piece->mOpcode != kContinuation) message.mOpcode = piece->mOpcode;
    message.mPayload += piece->mPayload;
    if (piece->mIsLast) return message;
  }
  return std::nullopt;
}

std::string WebSocketPeer::NextText() {
  const auto message = Next();
  if (!message) return "nothing";
  if (message->mOpcode == kText) return message->mPayload;
  return message->mOpcode == kClose ? "close " + std::to_string(message->CloseCode())
                                    : "opcode " + std::to_string(message->mOpcode);
}

std::string WebSocketPeer::WaitForText(const std::string& part) {
  while (auto message = Next()) {
    if (message->mOpcode == kText && message->mPayload.find(part) != std::string::npos) {
      return message->mPayload;
    }
    if (message->mOpcode == kClose) break;
  }
  return "";
}

int WebSocketPeer::WaitForClose() {
  while (auto message = Next()) {
    if (message->mOpcode == kClose) return message->CloseCode();
  }
  return -1;
}

bool WebSocketPeer::WaitForEnd() {
  while (Next()) {
  }
  return mPeer.WaitForClose();
}

std::string WebSocketPeer::LogIn(const std::string& password) {
  SendText(R"({"Command":"HELLO","Id":"u","Pass":")" + password + "\"}");
  if (WaitForText("\"t\":\"up\"").empty()) return "no connection";
  return NextText();
}

std::string HttpAnswer(int port, const std::string& request) {
  TcpPeer peer;
  if (!peer.Connect(port) || !peer.Send(request)) return "";
  peer.WaitForClose();
  return peer.Take();
}

std::string HttpGet(int port, const std::string& path, const std::string& headers) {
  return HttpAnswer(port, "GET " + path + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n" +
                              headers + "\r\n");
}
