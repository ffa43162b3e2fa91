#include "site/core/Sha256.h"

#include <openssl/evp.h>

#include <cstdlib>

namespace dorn::site {

Digest Sha256(std::string_view bytes) {
  Digest digest{};
  if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1) {
    std::abort();
  }
  return digest;
}

}  // namespace dorn::site
