// One connection of a browser until it asks for a WebSocket or closes.
#ifndef TOOLS_DORN_GATEWAY_HTTPSESSION_H_
#define TOOLS_DORN_GATEWAY_HTTPSESSION_H_

#include <boost/asio/ssl/context.hpp>
#include <memory>

#include "tools/dorn-gateway/Shared.h"
#include "tools/dorn-gateway/Streams.h"

namespace dorn::gateway {

// Serves an accepted connection, by TLS when there is a context, and keeps itself alive. `slot`
// is held as long as the connection is open, as WebSocket too.
void ServeHttp(Shared& shared, TcpSocket&& socket,
               const std::shared_ptr<boost::asio::ssl::context>& tls, std::shared_ptr<void> slot);

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_HTTPSESSION_H_
