// One WebSocket: what is sent waits in a queue, and one operation is in flight each way.
#ifndef TOOLS_DORN_GATEWAY_WEBSOCKETLINE_H_
#define TOOLS_DORN_GATEWAY_WEBSOCKETLINE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tools/dorn-gateway/Routes.h"
#include "tools/dorn-gateway/Shared.h"
#include "tools/dorn-gateway/Streams.h"

namespace dorn::gateway {

// Why a WebSocket is closed, as the protocol numbers it.
enum class CloseCode : std::uint16_t {
  kGoingAway = 1001,
  kUnsupported = 1003,
  kPolicy = 1008,
  kTryAgainLater = 1013
};

class WebSocketLine {
 public:
  class Owner {
   public:
    virtual ~Owner() = default;
    // The WebSocket is open.
    virtual void OnPageOpen() = 0;
    // The view holds during the call.
    virtual void OnPageText(std::string_view text) = 0;
    // The last call.
    virtual void OnPageGone() = 0;
  };

  enum class Kind {
    kText,   // Counts against the limit of texts.
    kFile,   // A text with a file in it: counts against the limit of files.
    kBinary  // A file.
  };

  virtual ~WebSocketLine() = default;
  // Too much waiting closes the WebSocket with 1013. What waits counts with what it costs to hold.
  virtual void Send(const Frame& frame, Kind kind) = 0;
  // Whether a host has let the page in: then as much may wait as for any, and come in one message.
  // Otherwise little may, since anybody can make the gateway hold it; what waited before does not
  // count.
  virtual void SetServed(bool isServed) = 0;
  // `drains`: what waits is sent first, as far as the page takes it in time. Nothing that the page
  // sends is looked at any more.
  virtual void Close(CloseCode code, std::string_view why, bool drains) = 0;
  // Drops it without a word.
  virtual void Abort() = 0;
  // What waits here, with what it costs to hold.
  virtual std::size_t Waiting() const = 0;
  // Too much waits for all pages: closes it with 1013; cuts it off when that is under way already.
  virtual void GiveWay() = 0;
  // Pings, and ends what takes too long. Called again and again.
  virtual void Tick(Ms now) = 0;
};

// Answers the request, which RefuseWebSocket() has let through, and keeps itself and
// `slot` alive until the connection is closed. The owner must outlive the line, or rather its
// OnPageGone(), which comes in every case.
std::shared_ptr<WebSocketLine> OpenWebSocket(Shared& shared, TcpStream&& stream,
                                             const Request& request, std::shared_ptr<void> slot,
                                             WebSocketLine::Owner& owner);
std::shared_ptr<WebSocketLine> OpenWebSocket(Shared& shared, TlsStream&& stream,
                                             const Request& request, std::shared_ptr<void> slot,
                                             WebSocketLine::Owner& owner);

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_WEBSOCKETLINE_H_
