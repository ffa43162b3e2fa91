#include "tests/net/ResolverSpy.h"

#include <dlfcn.h>

#include <string_view>

namespace {

ResolverSpy* gSpy = nullptr;

using Resolve = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
using Free = void (*)(addrinfo*);

}  // namespace

ResolverSpy::ResolverSpy() { gSpy = this; }
ResolverSpy::~ResolverSpy() { gSpy = nullptr; }

void ResolverSpy::PretendLoopbackOnly() {
  mFailure = [](const Call& call) {
    return (call.mHints.ai_flags & AI_ADDRCONFIG) != 0 ? EAI_NONAME : 0;
  };
}

extern "C" int getaddrinfo(const char* host, const char* port, const addrinfo* hints,
                           addrinfo** result) {
  static const auto real = reinterpret_cast<Resolve>(dlsym(RTLD_NEXT, "getaddrinfo"));
  if (gSpy != nullptr) {
    gSpy->mCalls.push_back({host != nullptr ? std::optional<std::string>(host) : std::nullopt,
                            port != nullptr ? port : "", *hints});
    const int failure = gSpy->mFailure ? gSpy->mFailure(gSpy->mCalls.back()) : 0;
    if (failure != 0) return failure;
  }
  // A bare machine has no file that says what localhost is.
  if (host != nullptr && std::string_view(host) == "localhost") host = "127.0.0.1";
  return real(host, port, hints, result);
}

extern "C" void freeaddrinfo(addrinfo* found) {
  static const auto real = reinterpret_cast<Free>(dlsym(RTLD_NEXT, "freeaddrinfo"));
  if (gSpy != nullptr) gSpy->mFreed.push_back(found);
  real(found);
}
