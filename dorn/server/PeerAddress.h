// Where a station connects from, also behind proxies.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_SERVER_PEERADDRESS_H_
#define DORN_SERVER_PEERADDRESS_H_

#include <vector>

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

class VQClientSocket;

namespace dorn {

// The address of the station at the other end, such as "192.168.1.7"; empty if there is none. For a
// connection from a trusted proxy: that of the proxy until the proxy has told the station's, which
// it does before the first command. Also valid after the connection was closed.
DORN_EXPORT KZString PeerAddress(const VQClientSocket& client);

// The IPv4 addresses of proxies that are believed. A connection that is accepted from one of them
// from now on may begin with a line of the PROXY protocol, version 1, such as
//   PROXY TCP4 192.168.1.7 10.0.0.1 51234 5000
// ended by CR LF: its source is then the station's address. From anybody else such a line is
// nothing but bytes before the first message, which are dropped. None by default.
DORN_EXPORT void SetTrustedProxies(const std::vector<KZString>& addresses);

}  // namespace dorn

#endif  // DORN_SERVER_PEERADDRESS_H_
