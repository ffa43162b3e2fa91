// Everything that a gateway can be told.
#ifndef TOOLS_DORN_GATEWAY_OPTIONS_H_
#define TOOLS_DORN_GATEWAY_OPTIONS_H_

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "station/Commands.h"
#include "station/Reader.h"

namespace dorn::gateway {

using Ms = std::chrono::milliseconds;

struct Endpoint {
  std::string mHost;  // A name or an address; IPv6 without brackets.
  unsigned short mPort = 0;
};

// How long things take; tests shorten them.
struct Times {
  Ms mTick{1'000};         // Between two looks at what is overdue.
  Ms mPing{20'000};        // Between two pings of a page; the third finds it dead.
  Ms mRequest{10'000};     // For a request's header, and for the handshakes of TLS and WebSocket.
  Ms mIdle{30'000};        // Between two requests on one connection.
  Ms mConnect{10'000};     // To the host.
  Ms mPayload{5'000};      // For an announced file to begin, and between two pieces of it.
  Ms mFence{5'000};        // Without an answer to a fence the host counts as down.
  Ms mProbe{2'000};        // Between two questions to a host that nobody uses; 0: none.
  Ms mClose{5'000};        // For a page to take what it has to be told before it is cut off.
  Ms mLogInDelay{1'000};   // The first delay; it doubles up to eight times as much.
  Ms mLogInQueue{60'000};  // A log-in that would have to wait longer is refused.
  Ms mLogInTurn{10'000};   // For the answer to a log-in before others of its address are made.
  Ms mStranger{120'000};   // For a host to let a page in, and again when it was lost.
};

struct Limits {
  std::size_t mLoggedIn = 900;  // Connections to the host, which takes 999.
  std::size_t mWebSockets = 1'000;
  std::size_t mWebSocketsOfPlace = 250;   // Of one address; loopback, where proxies are, takes all.
  std::size_t mConnections = 1'300;       // WebSockets, requests and handshakes together.
  std::size_t mConnectionsOfPlace = 550;  // Of one address; loopback and trusted proxies take all.
  bool mIsLoopbackSpared = true;          // Proxies that nobody told about come from there.
  std::size_t mQueuedTexts = std::size_t{8} * 1024 * 1024;   // Bytes that wait for one page.
  std::size_t mQueuedFiles = std::size_t{64} * 1024 * 1024;  // The same, of files and trees.
  std::size_t mQueuedUnserved = std::size_t{64} * 1024;  // Texts, before a host serves the page.
  std::size_t mQueuedOfAll = std::size_t{512} * 1024 * 1024;  // For all pages together.
  std::size_t mPageText = std::size_t{1024} * 1024;  // One message of a page, escapes and all.
  std::size_t mPageTextUnserved = std::size_t{64} * 1024;  // The same, before a host serves it.
  std::size_t mHostQueue = std::size_t{1024} * 1024;  // Bytes of one page that wait for the host.
  std::size_t mRequestHeader = 8'192;
  int mSendBuffer = 0;  // Bytes that the system takes for a page before any wait; 0: as it likes.
  int mPings = 100;     // Control frames of one page between two looks.
};

struct Options {
  Endpoint mListen{"127.0.0.1", 8080};
  Endpoint mHost{"127.0.0.1", 5000};
  std::string mCertificate;  // Files in PEM; empty: no TLS.
  std::string mKey;
  bool mIsInsecure = false;
  std::vector<std::string> mOrigins;         // Beside the host of the request.
  std::vector<std::string> mTrustedProxies;  // Addresses or networks.
  std::vector<std::string> mMetricsFrom;     // Beside loopback.
  bool mIsSourceDerived = true;
  station::Quotes mQuotes = station::Quotes::kEscape;
  station::Reader::Strings mReading = station::Reader::Strings::kStrictFirst;
  std::string mLocalFolder;
  std::string mPageFolder;
  std::vector<std::string> mMenu;
  bool mLogsJson = false;
  Limits mLimits;
  Times mTimes;
};

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_OPTIONS_H_
