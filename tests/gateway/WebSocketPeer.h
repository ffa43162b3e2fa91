// A browser's end of a WebSocket, made of plain bytes, so that it can also send what no browser
// does.
#ifndef TESTS_GATEWAY_WEBSOCKETPEER_H_
#define TESTS_GATEWAY_WEBSOCKETPEER_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TcpPeer.h"

enum Opcode : unsigned char {
  kContinuation = 0,
  kText = 1,
  kBinary = 2,
  kClose = 8,
  kPing = 9,
  kPong = 10
};

struct WebSocketMessage {
  unsigned char mOpcode = 0;
  std::string mPayload;

  // Of a close; 0 without one.
  int CloseCode() const;
};

// A request that asks for a WebSocket; `headers` are whole lines.
std::string WebSocketRequest(const std::string& headers = "Sec-WebSocket-Protocol: dorn.1\r\n",
                             const std::string& host = "localhost");

// One frame as it goes over the wire.
std::string WebSocketFrame(unsigned char opcode, std::string_view payload, bool isLast = true,
                           bool isMasked = true);

// Pings are answered while it waits for messages, unless it was told otherwise.
class WebSocketPeer {
 public:
  // Connects and asks for a WebSocket. False when it did not get one; Head() tells what it got.
  // `receiveBuffer` above 0 asks for a small window.
  bool Open(int port, const std::string& request = WebSocketRequest(), int receiveBuffer = 0);

  // The same with a window so small that soon everything waits for it while it does not read.
  bool OpenSlow(int port) { return Open(port, WebSocketRequest(), 4096); }
  // Opens and logs in.
  bool Enter(int port) { return Open(port) && HasLoggedIn(); }
  bool EnterSlow(int port) { return OpenSlow(port) && HasLoggedIn(); }

  void StopAnsweringPings() { mAnswersPings = false; }

  bool SendText(std::string_view text) { return SendFrame(kText, text); }
  bool SendFrame(unsigned char opcode, std::string_view payload, bool isLast = true) {
    return mPeer.Send(WebSocketFrame(opcode, payload, isLast));
  }
  bool SendBytes(const std::string& bytes) { return mPeer.Send(bytes); }

  // The next message or control frame but a ping, put together of its fragments. Nothing when none
  // comes in time or the connection has ended.
  std::optional<WebSocketMessage> Next();
  // The text of the next message; says what came instead.
  std::string NextText();
  // Takes messages until one is a text with this in it; empty when none is.
  std::string WaitForText(const std::string& part);
  // Takes messages until a close comes; its code, -1 when the connection ended without one.
  int WaitForClose();
  // Takes messages until the connection ends.
  bool WaitForEnd();

  // Logs in with this password; the first frame of the answer behind "up".
  std::string LogIn(const std::string& password = "right");

  const std::string& Head() const { return mHead; }
  int PingsSeen() const { return mPings; }
  TcpPeer& Tcp() { return mPeer; }
  void Close() { mPeer.Close(); }

 private:
  struct Piece {
    unsigned char mOpcode = 0;
    bool mIsLast = true;
    std::string mPayload;
  };

  bool HasLoggedIn() { return LogIn().find("OPEN") != std::string::npos; }
  std::optional<Piece> NextPiece();
  bool Need(std::size_t bytes);

  TcpPeer mPeer;
  std::string mHead;
  std::string mBytes;  // Received and not yet taken.
  bool mAnswersPings = true;
  int mPings = 0;
};

// The answer to one request on a connection of its own, head and body.
std::string HttpAnswer(int port, const std::string& request);
// The same for a plain GET.
std::string HttpGet(int port, const std::string& path, const std::string& headers = "");

#endif  // TESTS_GATEWAY_WEBSOCKETPEER_H_
