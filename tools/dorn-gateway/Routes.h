// What a request is answered with, once it is read. No sockets.
#ifndef TOOLS_DORN_GATEWAY_ROUTES_H_
#define TOOLS_DORN_GATEWAY_ROUTES_H_

#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <optional>
#include <string_view>

#include "tools/dorn-gateway/Shared.h"
#include "tools/dorn-gateway/SharedBody.h"

namespace dorn::gateway {

using Request = boost::beast::http::request<boost::beast::http::string_body>;
using Response = boost::beast::http::response<SharedBody>;

// The browser's address: that of the connection, or behind a trusted proxy what it forwards.
Address BrowserOf(const Shared& shared, const Request& request, const Address& peer);

// Why nothing is made of this request, whatever it asks for; no answer when something is.
std::optional<Response> RefuseRequest(const Request& request);
// Whether the request asks for a WebSocket, wherever.
bool AsksForWebSocket(const Request& request);
// Why this browser gets none; a WebSocket when there is no answer.
std::optional<Response> RefuseWebSocket(const Shared& shared, const Request& request,
                                        const Address& browser);
// The subprotocol that the browser offers and the gateway speaks.
constexpr std::string_view kSubprotocol = "dorn.1";
bool OffersSubprotocol(const Request& request);

// For all other requests.
Response Answer(Shared& shared, const Request& request, const Address& peer);
// For what is no request at all.
Response AnswerError(boost::beast::http::status status, std::string_view why);

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_ROUTES_H_
