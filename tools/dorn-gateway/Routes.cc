#include "tools/dorn-gateway/Routes.h"

#include <boost/beast/http/rfc7230.hpp>
#include <boost/beast/http/verb.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <string>
#include <utility>

#include "tools/dorn-gateway/PageFiles.h"
#include "tools/dorn-gateway/PageSession.h"

namespace dorn::gateway {

namespace http = boost::beast::http;

namespace {

constexpr std::string_view kWebSocketPath = "/station";

std::string_view View(boost::beast::string_view text) { return {text.data(), text.size()}; }

std::string_view PathOf(const Request& request) {
  const std::string_view target = View(request.target());
  return target.substr(0, target.find('?'));
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

// The headers that every answer has.
Response MakeResponse(http::status status, unsigned version, std::string_view type,
                      std::shared_ptr<const std::string> bytes) {
  Response response(status, version);
  response.set(http::field::content_type, boost::beast::string_view(type.data(), type.size()));
  response.set(http::field::cache_control, "no-cache");
  response.set("Content-Security-Policy",
               "default-src 'self'; img-src 'self' blob:; frame-ancestors 'self'");
  response.set("X-Content-Type-Options", "nosniff");
  response.set("Referrer-Policy", "no-referrer");
  response.body() = std::move(bytes);
  response.prepare_payload();
  return response;
}

Response MakeResponse(http::status status, unsigned version, std::string_view type,
                      std::string bytes) {
  return MakeResponse(status, version, type, std::make_shared<const std::string>(std::move(bytes)));
}

Response MakeText(const Request& request, http::status status, std::string text) {
  Response response =
      MakeResponse(status, request.version(), "text/plain; charset=utf-8", std::move(text) + "\n");
  response.keep_alive(request.keep_alive());
  return response;
}

Response MakeBusy(const Request& request, std::string why) {
  Response response = MakeText(request, http::status::service_unavailable, std::move(why));
  response.set(http::field::retry_after, "5");
  return response;
}

// "http://panel:8080" is "panel:8080"; the default port of the scheme is left out.
std::string HostOfOrigin(std::string_view origin) {
  const std::size_t scheme = origin.find("://");
  if (scheme == std::string_view::npos) return "";
  std::string host = Lower(origin.substr(scheme + 3));
  const std::string_view port = Lower(origin.substr(0, scheme)) == "https" ? ":443" : ":80";
  if (host.size() > port.size() &&
      host.compare(host.size() - port.size(), port.size(), port) == 0) {
    host.erase(host.size() - port.size());
  }
  return host;
}

bool IsSameHost(std::string_view origin, std::string_view host) {
  const std::string of = HostOfOrigin(origin);
  if (of.empty()) return false;
  const std::size_t scheme = origin.find("://");
  return of == HostOfOrigin(std::string(origin.substr(0, scheme)) + "://" + std::string(host));
}

bool MayComeFrom(const Shared& shared, const Request& request) {
  if (request.count(http::field::origin) == 0) return true;
  const std::string_view origin = View(request[http::field::origin]);
  for (const std::string& allowed : shared.mOptions.mOrigins) {
    if (Lower(allowed) == Lower(origin)) return true;
  }
  return request.count(http::field::origin) == 1 &&
         IsSameHost(origin, View(request[http::field::host]));
}

// What a proxy forwards comes from somewhere else, even if the proxy itself is on loopback.
bool MayReadMetrics(const Shared& shared, const Request& request, const Address& peer) {
  const Address browser = BrowserOf(shared, request, peer);
  if (IsIn(shared.mMetricsFrom, browser)) return true;
  const bool isForwarded = request.count("X-Forwarded-For") != 0 || request.count("Forwarded") != 0;
  const bool isKnown = !isForwarded || IsIn(shared.mTrustedProxies, peer);
  return isKnown && browser.is_loopback();
}

Response AnswerMetrics(const Shared& shared, const Request& request, const Address& peer) {
  if (!MayReadMetrics(shared, request, peer)) {
    return MakeText(request, http::status::forbidden,
                    "metrics are for loopback and --metrics-from");
  }
  Response response =
      MakeResponse(http::status::ok, request.version(), "text/plain; version=0.0.4; charset=utf-8",
                   shared.mMetrics.Text());
  response.keep_alive(request.keep_alive());
  return response;
}

Response AnswerHealth(const Shared& shared, const Request& request) {
  Response response =
      MakeResponse(http::status::ok, request.version(), "application/json",
                   shared.mMetrics.mIsHostUp ? "{\"host\":\"up\"}\n" : "{\"host\":\"down\"}\n");
  response.keep_alive(request.keep_alive());
  return response;
}

Response AnswerFile(Shared& shared, const Request& request) {
  const auto file = shared.mFiles.Find(PathOf(request));
  if (!file) return MakeText(request, http::status::not_found, "no such file");
  const bool isKnown = View(request[http::field::if_none_match]) == file->mTag;
  std::shared_ptr<const std::string> bytes;
  if (!isKnown) bytes = {file, &file->mBytes};
  Response response = MakeResponse(isKnown ? http::status::not_modified : http::status::ok,
                                   request.version(), file->mType, std::move(bytes));
  response.set(http::field::etag, file->mTag);
  response.keep_alive(request.keep_alive());
  return response;
}

Response AnswerGet(Shared& shared, const Request& request, const Address& peer) {
  const std::string_view path = PathOf(request);
  if (path == "/healthz") return AnswerHealth(shared, request);
  if (path == "/metrics") return AnswerMetrics(shared, request, peer);
  if (path == kWebSocketPath) {
    Response response = MakeText(request, http::status::upgrade_required, "this is a WebSocket");
    response.set(http::field::upgrade, "websocket");
    return response;
  }
  return AnswerFile(shared, request);
}

}  // namespace

Address BrowserOf(const Shared& shared, const Request& request, const Address& peer) {
  if (!IsIn(shared.mTrustedProxies, peer)) return peer;
  std::string_view last;
  for (const auto& field : request) {
    if (boost::beast::iequals(field.name_string(), "X-Forwarded-For")) last = View(field.value());
  }
  if (const std::size_t comma = last.rfind(','); comma != std::string_view::npos) {
    last.remove_prefix(comma + 1);
  }
  while (!last.empty() && last.front() == ' ') last.remove_prefix(1);
  while (!last.empty() && last.back() == ' ') last.remove_suffix(1);
  return ReadAddress(last).value_or(peer);
}

// A proxy before the gateway could see another end, or another host, in such a request.
std::optional<Response> RefuseRequest(const Request& request) {
  if (request.count(http::field::transfer_encoding) != 0) {
    return AnswerError(http::status::payload_too_large, "requests have no body");
  }
  const std::size_t hosts = request.count(http::field::host);
  constexpr unsigned kNamesNoHost = 10;  // HTTP/1.0
  if (hosts > 1 || (hosts == 0 && request.version() > kNamesNoHost)) {
    return AnswerError(http::status::bad_request, "a request names one host");
  }
  return std::nullopt;
}

bool AsksForWebSocket(const Request& request) {
  return boost::beast::websocket::is_upgrade(request);
}

bool OffersSubprotocol(const Request& request) {
  return http::token_list(request[http::field::sec_websocket_protocol])
      .exists(boost::beast::string_view(kSubprotocol.data(), kSubprotocol.size()));
}

std::optional<Response> RefuseWebSocket(const Shared& shared, const Request& request,
                                        const Address& browser) {
  if (PathOf(request) != kWebSocketPath) {
    return MakeText(request, http::status::not_found, "the WebSocket is at /station");
  }
  if (!MayComeFrom(shared, request)) {
    return MakeText(request, http::status::forbidden, "this origin is not served; see --origin");
  }
  if (request.count(http::field::sec_websocket_protocol) != 0 && !OffersSubprotocol(request)) {
    return MakeText(request, http::status::bad_request, "the subprotocol is dorn.1");
  }
  const Limits& limits = shared.mOptions.mLimits;
  if (shared.mIsStopping || shared.mPages.size() >= limits.mWebSockets) {
    return MakeBusy(request, "no more pages are served");
  }
  const bool isSpared = limits.mIsLoopbackSpared && browser.is_loopback();
  if (!isSpared && PagesOf(shared, browser) >= limits.mWebSocketsOfPlace) {
    return MakeBusy(request, "no more pages of this address are served; see --max-per-address");
  }
  return std::nullopt;
}

Response Answer(Shared& shared, const Request& request, const Address& peer) {
  if (request.method() != http::verb::get && request.method() != http::verb::head) {
    Response response =
        MakeText(request, http::status::method_not_allowed, "GET and HEAD are served");
    response.set(http::field::allow, "GET, HEAD");
    response.keep_alive(false);
    return response;
  }
  return AnswerGet(shared, request, peer);
}

Response AnswerError(http::status status, std::string_view why) {
  Response response =
      MakeResponse(status, 11, "text/plain; charset=utf-8", std::string(why) + "\n");
  response.keep_alive(false);
  return response;
}

}  // namespace dorn::gateway
