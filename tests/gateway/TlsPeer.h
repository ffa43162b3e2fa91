// A TLS client, and a certificate to try it with.
#ifndef TESTS_GATEWAY_TLSPEER_H_
#define TESTS_GATEWAY_TLSPEER_H_

#include <openssl/ssl.h>

#include <string>
#include <string_view>

#include "tests/support/TcpPeer.h"

// A certificate that is its own authority, and its key, as two files of a folder.
struct SelfSigned {
  SelfSigned(const std::string& folder, const std::string& name);

  std::string mCertificate;
  std::string mKey;
};

// Believes every certificate, and tells whose it was.
class TlsPeer {
 public:
  TlsPeer() = default;
  ~TlsPeer();
  TlsPeer(const TlsPeer&) = delete;
  TlsPeer& operator=(const TlsPeer&) = delete;

  // `newest` limits the version that is offered, such as TLS1_1_VERSION; 0: none.
  bool Connect(int port, int newest = 0);
  bool Send(std::string_view bytes);
  // Reads until this was received; empty when it does not come.
  std::string ReadUntil(std::string_view part);
  // The common name of the certificate.
  std::string Name() const;
  std::string Version() const { return SSL_get_version(mSsl); }

 private:
  TcpPeer mPeer;
  SSL_CTX* mContext = nullptr;
  SSL* mSsl = nullptr;
};

#endif  // TESTS_GATEWAY_TLSPEER_H_
