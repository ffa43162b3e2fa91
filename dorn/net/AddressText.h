// IPv4 addresses as people write them. Internal: not installed. Any thread.
#ifndef DORN_NET_ADDRESSTEXT_H_
#define DORN_NET_ADDRESSTEXT_H_

#include <netinet/in.h>

namespace dorn {

// What inet_ntop() and inet_ntoa() give, without going through a format: each connection that is
// accepted needs it twice.
class AddressText {
 public:
  explicit AddressText(const in_addr& address) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&address);
    char* at = mText;
    for (int i = 0; i < 4; ++i) {
      if (i > 0) *at++ = '.';
      at = Put(bytes[i], at);
    }
    *at = '\0';
  }

  const char* Get() const { return mText; }

 private:
  static char* Put(unsigned int byte, char* at) {
    if (byte >= 100) *at++ = Digit(byte / 100);
    if (byte >= 10) *at++ = Digit(byte / 10 % 10);
    *at++ = Digit(byte % 10);
    return at;
  }
  static char Digit(unsigned int digit) { return static_cast<char>('0' + digit); }

  char mText[INET_ADDRSTRLEN];
};

}  // namespace dorn

#endif  // DORN_NET_ADDRESSTEXT_H_
