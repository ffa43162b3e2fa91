// The line with which a proxy tells its station's address. Internal: not installed. Loop thread
// only.
#ifndef DORN_SERVER_PROXYLINE_H_
#define DORN_SERVER_PROXYLINE_H_

#include <string>

class VQClientSocket;

namespace dorn {

// Whether a connection from this address may begin with such a line.
bool IsTrustedProxy(const std::string& address);

// For a connection that has received something: takes the line from the front of its buffer, if it
// is complete, and notes what it tells. Returns whether the buffer has changed.
bool TakeProxyLine(VQClientSocket& client);

}  // namespace dorn

#endif  // DORN_SERVER_PROXYLINE_H_
