// A station of the tests: a TCP peer that frames what it sends and cuts what it receives.
#ifndef TESTS_SUPPORT_TESTSTATION_H_
#define TESTS_SUPPORT_TESTSTATION_H_

#include <string>
#include <string_view>
#include <vector>

#include "station/Framing.h"
#include "tests/support/TcpPeer.h"

// A message on the wire is the byte 0x02, its text, and the byte 0x03.
class TestStation : public TcpPeer {
 public:
  // `text` between the two framing bytes.
  static std::string Frame(const std::string& text) { return dorn::station::Framed(text); }

  bool SendText(const std::string& text) { return Send(Frame(text)); }

  // The texts of all complete messages received so far. Files, bytes outside messages and a message
  // that has not ended yet are left out. Does not wait.
  std::vector<std::string> Messages() {
    struct Texts : dorn::station::Framing::Sink {
      void OnText(std::string_view text) override { mTexts.emplace_back(text); }
      void OnPayload(std::string_view, bool) override {}
      std::vector<std::string> mTexts;
    } texts;
    dorn::station::Framing framing(texts);
    static_cast<void>(framing.Feed(Received()));  // What was cut before it broke is good.
    return texts.mTexts;
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
