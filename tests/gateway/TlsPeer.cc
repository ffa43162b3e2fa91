#include "tests/gateway/TlsPeer.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cstdio>
#include <memory>

#include "tests/support/Deadline.h"

namespace {

template <class Type>
using Owned = std::unique_ptr<Type, void (*)(Type*)>;

}  // namespace

SelfSigned::SelfSigned(const std::string& folder, const std::string& name)
    : mCertificate(folder + "/" + name + ".crt"), mKey(folder + "/" + name + ".key") {
  const Owned<EVP_PKEY> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
  const Owned<X509> certificate(X509_new(), X509_free);
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -60);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
  X509_set_pubkey(certificate.get(), key.get());
  X509_NAME* const subject = X509_get_subject_name(certificate.get());
  X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
  X509_set_issuer_name(certificate.get(), subject);
  X509_sign(certificate.get(), key.get(), EVP_sha256());
  std::FILE* file = std::fopen(mCertificate.c_str(), "w");
  PEM_write_X509(file, certificate.get());
  std::fclose(file);
  file = std::fopen(mKey.c_str(), "w");
  PEM_write_PrivateKey(file, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  std::fclose(file);
}

TlsPeer::~TlsPeer() {
  SSL_free(mSsl);
  SSL_CTX_free(mContext);
}

bool TlsPeer::Connect(int port, int newest) {
  mContext = SSL_CTX_new(TLS_client_method());
  // What is offered here is for the other side to refuse.
  SSL_CTX_set_security_level(mContext, 0);
  SSL_CTX_set_min_proto_version(mContext, TLS1_VERSION);
  SSL_CTX_set_max_proto_version(mContext, newest);
  mSsl = SSL_new(mContext);
  if (!mPeer.Connect(port)) return false;
  timeval limit{};
  limit.tv_sec = TestTimeout().count() / 1000;
  setsockopt(mPeer.Fd(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  SSL_set_fd(mSsl, mPeer.Fd());
  return SSL_connect(mSsl) == 1;
}

bool TlsPeer::Send(std::string_view bytes) {
  return SSL_write(mSsl, bytes.data(), static_cast<int>(bytes.size())) ==
         static_cast<int>(bytes.size());
}

std::string TlsPeer::ReadUntil(std::string_view part) {
  std::string received;
  char bytes[16384];
  while (received.find(part) == std::string::npos) {
    const int got = SSL_read(mSsl, bytes, sizeof bytes);
    if (got <= 0) return "";
    received.append(bytes, static_cast<std::size_t>(got));
  }
  return received;
}

std::string TlsPeer::Name() const {
  const Owned<X509> certificate(SSL_get1_peer_certificate(mSsl), X509_free);
  char name[100] = "";
  X509_NAME_get_text_by_NID(X509_get_subject_name(certificate.get()), NID_commonName, name,
                            sizeof name);
  return name;
}
