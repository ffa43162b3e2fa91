// The certificate and what is spoken with it.
#ifndef TOOLS_DORN_GATEWAY_TLS_H_
#define TOOLS_DORN_GATEWAY_TLS_H_

#include <boost/asio/ssl/context.hpp>
#include <memory>
#include <string>

namespace dorn::gateway {

// TLS 1.2 and newer, with the certificate (its chain behind it) and the key of two PEM files. Null,
// with the reason in `why`, when they cannot be used.
std::shared_ptr<boost::asio::ssl::context> LoadTls(const std::string& certificate,
                                                   const std::string& key, std::string& why);

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_TLS_H_
