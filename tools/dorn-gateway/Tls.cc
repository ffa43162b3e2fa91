#include "tools/dorn-gateway/Tls.h"

#include <openssl/ssl.h>

#include <boost/system/error_code.hpp>

namespace dorn::gateway {

namespace ssl = boost::asio::ssl;

std::shared_ptr<ssl::context> LoadTls(const std::string& certificate, const std::string& key,
                                      std::string& why) {
  auto context = std::make_shared<ssl::context>(ssl::context::tls_server);
  boost::system::error_code error;
  // OpenSSL would ask for a pass phrase on the terminal.
  context->set_password_callback([](auto, auto) { return std::string(); }, error);
  SSL_CTX_set_min_proto_version(context->native_handle(), TLS1_2_VERSION);
  SSL_CTX_set_options(context->native_handle(), SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION |
                                                    SSL_OP_CIPHER_SERVER_PREFERENCE);
  SSL_CTX_set_mode(context->native_handle(), SSL_MODE_RELEASE_BUFFERS);
  context->use_certificate_chain_file(certificate, error);
  if (error) {
    why = "the certificate " + certificate + " cannot be used: " + error.message();
    return nullptr;
  }
  context->use_private_key_file(key, ssl::context::pem, error);
  if (!error && SSL_CTX_check_private_key(context->native_handle()) != 1) {
    error = boost::system::errc::make_error_code(boost::system::errc::invalid_argument);
  }
  if (error) {
    why = "the key " + key + " cannot be used with " + certificate + ": " + error.message();
    return nullptr;
  }
  return context;
}

}  // namespace dorn::gateway
