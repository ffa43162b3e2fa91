// Looks at, and replaces, getaddrinfo(): the test program defines it itself, and freeaddrinfo(),
// which is only looked at. Without a spy it is the real one, to which "localhost" is 127.0.0.1
// whatever the machine's files say.
#ifndef TESTS_NET_RESOLVERSPY_H_
#define TESTS_NET_RESOLVERSPY_H_

#include <netdb.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

// While one lives, every call is noted. At most one at a time.
class ResolverSpy {
 public:
  struct Call {
    std::optional<std::string> mHost;
    std::string mPort;
    addrinfo mHints;
  };

  ResolverSpy();
  ~ResolverSpy();
  ResolverSpy(const ResolverSpy&) = delete;
  ResolverSpy& operator=(const ResolverSpy&) = delete;

  // Makes each call with AI_ADDRCONFIG fail as on a machine that has no address but the loopback's.
  void PretendLoopbackOnly();

  std::vector<Call> mCalls;
  std::vector<const addrinfo*> mFreed;
  // The result of a call; 0 makes the real one.
  std::function<int(const Call& call)> mFailure;
};

#endif  // TESTS_NET_RESOLVERSPY_H_
