#include "tools/dorn-gateway/ReadOptions.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <string>

#include "dorn/base/Version.h"
#include "tools/dorn-gateway/Addresses.h"
#include "tools/support/Arguments.h"

namespace dorn::gateway {

namespace {

using dorn::tools::NotEmpty;
using dorn::tools::OneWordOf;
using dorn::tools::WholeNumber;

// Requests and handshakes, beside the pages that may be open.
constexpr std::size_t kOtherConnections = 300;

// HOST:PORT, with an IPv6 address in brackets.
std::optional<Endpoint> ReadEndpoint(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0) return std::nullopt;
  Endpoint endpoint;
  endpoint.mHost = text.substr(0, colon);
  if (endpoint.mHost.front() == '[' && endpoint.mHost.back() == ']') {
    endpoint.mHost = endpoint.mHost.substr(1, endpoint.mHost.size() - 2);
  } else if (endpoint.mHost.find(':') != std::string::npos) {
    return std::nullopt;
  }
  if (endpoint.mHost.find_first_of("[] \t\r\n") != std::string::npos) return std::nullopt;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + colon + 1, end, endpoint.mPort);
  if (error != std::errc() || stop != end || endpoint.mHost.empty()) return std::nullopt;
  return endpoint;
}

std::string CheckListen(const std::string& text) {
  const auto endpoint = ReadEndpoint(text);
  if (endpoint && ReadAddress(endpoint->mHost)) return "";
  return "it takes ADDRESS:PORT, such as 127.0.0.1:8080 or [::1]:8080; port 0 is one that is free";
}

std::string CheckHost(const std::string& text) {
  const auto endpoint = ReadEndpoint(text);
  if (endpoint && endpoint->mPort != 0) return "";
  return "it takes HOST:PORT, such as 127.0.0.1:5000";
}

std::string CheckOrigin(const std::string& text) {
  for (const std::string scheme : {"http://", "https://"}) {
    if (text.compare(0, scheme.size(), scheme) != 0) continue;
    const std::string place = text.substr(scheme.size());
    if (place.find_first_of("/?#@ \t\r\n") != std::string::npos) continue;
    const bool hasPort = place.find(':', place.rfind(']') + 1) != std::string::npos;
    const auto endpoint = ReadEndpoint(hasPort ? place : place + ":1");
    if (endpoint && endpoint->mPort != 0) return "";
  }
  return "it takes SCHEME://HOST[:PORT] without a path, such as https://panel.example";
}

std::string CheckNetwork(const std::string& text) {
  if (Network::Read(text)) return "";
  return "it takes an address or a network, such as 192.168.1.7 or 192.168.1.0/24";
}

struct Texts {
  std::string mListen = "127.0.0.1:8080";
  std::string mHost = "127.0.0.1:5000";
  std::string mSource = "derived";
  std::string mQuotes = "escape";
  std::string mReading = "strict-first";
  std::string mLog = "text";
};

CLI::Validator Checked(std::string (*check)(const std::string&)) {
  return {[check](const std::string& text) { return check(text); }, "", "form"};
}

void DescribeConnections(CLI::App& cli, Options& options, Texts& texts) {
  cli.add_option("--listen", texts.mListen, "Where browsers connect, ADDRESS:PORT")
      ->check(Checked(CheckListen))
      ->capture_default_str();
  cli.add_option("--host", texts.mHost, "The dialog server, HOST:PORT")
      ->check(Checked(CheckHost))
      ->capture_default_str();
  auto* const certificate =
      cli.add_option("--cert", options.mCertificate,
                     "TLS: the certificate and its chain, PEM; read anew on SIGHUP")
          ->check(CLI::ExistingFile);
  auto* const key = cli.add_option("--key", options.mKey, "TLS: its key, PEM without a pass phrase")
                        ->check(CLI::ExistingFile)
                        ->needs(certificate);
  certificate->needs(key);
  cli.add_flag("--insecure", options.mIsInsecure,
               "Listen on other addresses than loopback without TLS");
  cli.add_option("--origin", options.mOrigins,
                 "A further origin whose pages may connect, SCHEME://HOST[:PORT]; may be repeated")
      ->check(Checked(CheckOrigin))
      ->expected(1)
      ->take_all();
  cli.add_option("--trusted-proxy", options.mTrustedProxies,
                 "An address or network whose X-Forwarded-For is believed; may be repeated")
      ->check(Checked(CheckNetwork))
      ->expected(1)
      ->take_all();
  cli.add_option("--metrics-from", options.mMetricsFrom,
                 "An address or network, beside loopback, that may read /metrics; may be repeated")
      ->check(Checked(CheckNetwork))
      ->expected(1)
      ->take_all();
  cli.add_option("--source-address", texts.mSource,
                 "Where connections to a host on loopback come from: derived (an address of "
                 "127.0.0.0/8 for each browser) or fixed (127.0.0.1)")
      ->check(OneWordOf({"derived", "fixed"}))
      ->capture_default_str();
}

void DescribeRest(CLI::App& cli, Options& options, Texts& texts) {
  cli.add_option("--max-pages", options.mLimits.mLoggedIn,
                 "Pages that may be logged in at one time; a host takes 999")
      ->check(WholeNumber(1, 999))
      ->capture_default_str();
  cli.add_option("--max-websockets", options.mLimits.mWebSockets,
                 "Pages that may be open at one time")
      ->check(WholeNumber(1, 100'000))
      ->capture_default_str();
  cli.add_option("--max-per-address", options.mLimits.mWebSocketsOfPlace,
                 "Of these, pages of one address (IPv6: of one /64); loopback may have all")
      ->check(WholeNumber(1, 100'000))
      ->capture_default_str();
  cli.add_option("--quotes", texts.mQuotes,
                 "How quotes and backslashes in typed values are stored: escape (with a "
                 "backslash), replace (by typographic ones) or raw")
      ->check(OneWordOf({"escape", "replace", "raw"}))
      ->capture_default_str();
  cli.add_option("--reading", texts.mReading,
                 "How texts of the host are read: strict-first (as JSON where they are JSON) or "
                 "literal (for hosts that store texts unescaped, such as C:\\new)")
      ->check(OneWordOf({"strict-first", "literal"}))
      ->capture_default_str();
  cli.add_option("--local", options.mLocalFolder,
                 "A folder with the dialogs of stations, served below /local/")
      ->check(CLI::ExistingDirectory);
  cli.add_option("--page", options.mPageFolder,
                 "Serve the page from this folder instead of the one that is built in")
      ->check(CLI::ExistingDirectory);
  cli.add_option("--menu", options.mMenu, "The dialogs of the page's menu, such as panel,notes")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("NAME,...")
      ->check(NotEmpty("names of dialogs, such as panel,notes"));
  cli.add_option("--log", texts.mLog, "Lines on standard error: text or json")
      ->check(OneWordOf({"text", "json"}))
      ->capture_default_str();
}

void TakeTexts(const Texts& texts, Options& options) {
  using station::Quotes;
  options.mListen = *ReadEndpoint(texts.mListen);
  options.mHost = *ReadEndpoint(texts.mHost);
  options.mIsSourceDerived = texts.mSource == "derived";
  options.mQuotes = texts.mQuotes == "escape"    ? Quotes::kEscape
                    : texts.mQuotes == "replace" ? Quotes::kReplace
                                                 : Quotes::kRaw;
  options.mReading = texts.mReading == "literal" ? station::Reader::Strings::kLiteral
                                                 : station::Reader::Strings::kStrictFirst;
  options.mLogsJson = texts.mLog == "json";
  options.mLimits.mConnections = options.mLimits.mWebSockets + kOtherConnections;
  options.mLimits.mConnectionsOfPlace = options.mLimits.mWebSocketsOfPlace + kOtherConnections;
}

}  // namespace

std::optional<Options> ReadOptions(int argc, const char* const* argv, int& exitCode) {
  CLI::App cli{
      "Serves the dialogs of a host to browsers: a page at /, its WebSocket at /station, "
      "/healthz, and /metrics for Prometheus."};
  cli.set_version_flag("--version", "dorn-gateway " DORN_VERSION);
  cli.footer(
      "\nExample:\n"
      "  dorn-gateway --listen 127.0.0.1:8080 --host 127.0.0.1:5000 --menu panel,notes\n"
      "\nSIGTERM ends it in order, SIGHUP reads the certificate anew.\n"
      "Exit codes: 0 stopped; 1 cannot listen; 2 wrong usage.\n");
  Options options;
  Texts texts;
  DescribeConnections(cli, options, texts);
  DescribeRest(cli, options, texts);
  if (const auto code = dorn::tools::ReadArguments(cli, "dorn-gateway", argc, argv)) {
    exitCode = *code;
    return std::nullopt;
  }
  TakeTexts(texts, options);
  return options;
}

}  // namespace dorn::gateway
