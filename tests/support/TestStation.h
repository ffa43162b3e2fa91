// A station of the tests: a TCP peer that frames what it sends and cuts what it receives.
#ifndef TESTS_SUPPORT_TESTSTATION_H_
#define TESTS_SUPPORT_TESTSTATION_H_

#include <string>
#include <vector>

#include "tests/support/TcpPeer.h"

// A message on the wire is the byte 0x02, its text, and the byte 0x03.
class TestStation : public TcpPeer {
 public:
  // `text` between the two framing bytes.
  static std::string Frame(const std::string& text) { return '\x02' + text + '\x03'; }

  bool SendText(const std::string& text) { return Send(Frame(text)); }

  // The texts of all complete messages received so far. Bytes outside messages and a message that
  // has not ended yet are left out. Does not wait.
  std::vector<std::string> Messages() {
    const std::string& bytes = Received();
    std::vector<std::string> messages;
    for (size_t start = bytes.find('\x02'); start != std::string::npos;) {
      const size_t end = bytes.find('\x03', start);
      if (end == std::string::npos) break;
      messages.push_back(bytes.substr(start + 1, end - start - 1));
      start = bytes.find('\x02', end);
    }
    return messages;
  }

  // Some message contains `part`.
  bool HasMessage(const std::string& part) {
    for (const std::string& message : Messages()) {
      if (message.find(part) != std::string::npos) return true;
    }
    return false;
  }
};

#endif  // TESTS_SUPPORT_TESTSTATION_H_
