#include "tests/site/Credentials.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

namespace dorn::site {
namespace {

// What a key is for, as the first letter of its text: O, A or U.
constexpr unsigned char kOperator = 14 << 3;
constexpr unsigned char kAccount = 0;
constexpr unsigned char kUser = 20 << 3;
constexpr unsigned char kSeed = 18 << 3;

// Digits of so many bits each, without anything at the end.
std::string InDigits(const std::string& bytes, std::string_view digits, int bits) {
  std::string text;
  std::uint32_t waiting = 0;
  int count = 0;
  const std::uint32_t mask = (1U << bits) - 1;
  for (const unsigned char byte : bytes) {
    waiting = (waiting << 8) | byte;
    for (count += 8; count >= bits; count -= bits) {
      text += digits[(waiting >> (count - bits)) & mask];
    }
  }
  if (count > 0) text += digits[(waiting << (bits - count)) & mask];
  return text;
}

std::string InBase64(const std::string& bytes) {
  return InDigits(bytes, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_", 6);
}

// With two bytes behind it, by which mistakes in copying are found.
std::string InBase32(std::string bytes) {
  std::uint16_t check = 0;
  for (const unsigned char byte : bytes) {
    check = static_cast<std::uint16_t>(check ^ (byte << 8));
    for (int i = 0; i < 8; ++i) {
      const bool isHigh = (check & 0x8000) != 0;
      check = static_cast<std::uint16_t>((check << 1) ^ (isHigh ? 0x1021 : 0));
    }
  }
  bytes += static_cast<char>(check & 0xff);
  bytes += static_cast<char>(check >> 8);
  return InDigits(bytes, "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567", 5);
}

class Key {
 public:
  explicit Key(unsigned char kind) : mKind(kind) {
    EXPECT_EQ(RAND_bytes(mSecret.data(), static_cast<int>(mSecret.size())), 1);
    mKey.reset(
        EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr, mSecret.data(), mSecret.size()));
  }

  std::string Name() const {
    std::array<unsigned char, 32> known{};
    std::size_t size = known.size();
    EXPECT_EQ(EVP_PKEY_get_raw_public_key(mKey.get(), known.data(), &size), 1);
    return InBase32(static_cast<char>(mKind) + std::string(known.begin(), known.end()));
  }

  std::string Seed() const {
    std::string bytes;
    bytes += static_cast<char>(kSeed | (mKind >> 5));
    bytes += static_cast<char>((mKind & 31) << 3);
    return InBase32(bytes + std::string(mSecret.begin(), mSecret.end()));
  }

  // That it says so of the subject: a token, signed.
  std::string Says(const std::string& subject, const std::string& what) const {
    const std::string text =
        InBase64(R"({"typ":"JWT","alg":"ed25519-nkey"})") + '.' +
        InBase64(R"({"jti":"x","iat":1,"name":"x","iss":")" + Name() + R"(","sub":")" + subject +
                 R"(","nats":{)" + what + R"("version":2}})");
    return text + '.' + InBase64(Signature(text));
  }

 private:
  struct Free {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
  };

  std::string Signature(const std::string& text) const {
    const std::unique_ptr<EVP_MD_CTX, Free> context(EVP_MD_CTX_new());
    std::array<unsigned char, 64> signature{};
    std::size_t size = signature.size();
    EXPECT_EQ(EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, mKey.get()), 1);
    EXPECT_EQ(EVP_DigestSign(context.get(), signature.data(), &size,
                             reinterpret_cast<const unsigned char*>(text.data()), text.size()),
              1);
    return {signature.begin(), signature.end()};
  }

  const unsigned char mKind;
  std::array<unsigned char, 32> mSecret{};
  std::unique_ptr<EVP_PKEY, Free> mKey;
};

std::string Account(bool hasStreams) {
  const std::string most = hasStreams ? "-1" : "0";
  return R"("limits":{"subs":-1,"data":-1,"payload":-1,"imports":-1,"exports":-1,)"
         R"("wildcards":true,"conn":-1,"leaf":-1,"mem_storage":0,"disk_storage":)" +
         most + R"(,"streams":)" + most + R"(,"consumer":)" + most + R"(},"type":"account",)";
}

}  // namespace

Credentials::Credentials() : mFile(testing::TempDir() + "dorn-creds-XXXXXX") {
  const Key operators(kOperator), system(kAccount), account(kAccount), user(kUser);
  mSettings = "operator: \"" + operators.Says(operators.Name(), R"("type":"operator",)") +
              "\"\nsystem_account: " + system.Name() + "\nresolver: MEMORY\nresolver_preload {\n" +
              system.Name() + ": \"" + operators.Says(system.Name(), Account(false)) + "\"\n" +
              account.Name() + ": \"" + operators.Says(account.Name(), Account(true)) + "\"\n}\n";
  const int file = mkstemp(mFile.data());
  EXPECT_GE(file, 0);
  close(file);
  std::ofstream(mFile) << "-----BEGIN NATS USER JWT-----\n"
                       << account.Says(user.Name(),
                                       R"("subs":-1,"data":-1,"payload":-1,"type":"user",)")
                       << "\n------END NATS USER JWT------\n\n-----BEGIN USER NKEY SEED-----\n"
                       << user.Seed() << "\n------END USER NKEY SEED------\n";
}

Credentials::~Credentials() { unlink(mFile.c_str()); }

}  // namespace dorn::site
