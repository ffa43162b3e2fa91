// Bytes that arrive in pieces, against the plain rule for cutting them into messages: one station
// sends the bytes over a socket, another one's connection is given the messages directly, and both
// must receive the same.
#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/FuzzHost.h"
#include "fuzz/FuzzTarget.h"

namespace {

constexpr char kStx = 2;
constexpr char kEtx = 3;

// What is left of the bytes, and the messages that they made.
class PlainFraming {
 public:
  explicit PlainFraming(size_t room) : mRoom(room) {}

  // One call for each time that a connection is served.
  std::vector<std::string> Take(const std::string& bytes) {
    mHeld += bytes.substr(0, mRoom - mHeld.size());
    std::vector<std::string> messages;
    const size_t start = mHeld.find(kStx);
    if (start != std::string::npos) mHeld.erase(0, start);
    for (size_t end = mHeld.find(kEtx); end != std::string::npos; end = mHeld.find(kEtx)) {
      // A text ends with the first zero byte, and the first byte is none of it.
      const std::string text = end > 0 ? mHeld.substr(1, end - 1) : "";
      messages.emplace_back(text.c_str());
      mHeld.erase(0, end + 1);
    }
    return messages;
  }

  bool IsFull() const { return mHeld.size() >= mRoom; }

 private:
  size_t mRoom;
  std::string mHeld;
};

class Comparison {
 public:
  explicit Comparison(size_t room) : mFraming(room) {
    // Dialogs would tell one station what the other one did.
    maker.mHasDialogs = false;
    mSender.Client()->CreateBuffer(static_cast<int>(room));
  }

  // `passes` in a row, of which the first one finds the bytes. True as long as both are open.
  bool Feed(const std::string& bytes, unsigned passes) {
    if (!bytes.empty()) mSender.Send(bytes);
    for (unsigned i = 0; i < passes; ++i) {
      const std::vector<std::string> expected = GiveToTwin(i == 0 ? bytes : "");
      app.mAttempts.clear();
      FuzzServer::Pass();
      FUZZ_CHECK(app.mAttempts == expected);
      Read();
      FUZZ_CHECK((mSender.Client() == nullptr) == (mTwin.Client() == nullptr));
      if (mSender.Client() == nullptr) return false;
    }
    return true;
  }

  void Finish() {
    for (int i = 0; i < 8; ++i) {
      FuzzServer::Pass();
      Read();
    }
    FUZZ_CHECK(mToSender == mToTwin);
  }

 private:
  // The log-ins that it tried.
  std::vector<std::string> GiveToTwin(const std::string& bytes) {
    app.mAttempts.clear();
    for (const std::string& message : mFraming.Take(bytes)) {
      VQClientSocket* client = mTwin.Client();
      if (client == nullptr) break;
      client->DoCommand(message);
    }
    VQClientSocket* client = mTwin.Client();
    if (mFraming.IsFull() && client != nullptr) client->Close();
    return app.mAttempts;
  }

  // A long answer may reach one of them earlier.
  void Read() {
    mToSender += mSender.Read();
    mToTwin += mTwin.Read();
    const size_t both = std::min(mToSender.size(), mToTwin.size());
    FUZZ_CHECK(mToSender.compare(0, both, mToTwin, 0, both) == 0);
  }

  FuzzServer mServer;
  FuzzStation mSender;
  FuzzStation mTwin;
  PlainFraming mFraming;
  std::string mToSender;
  std::string mToTwin;
};

}  // namespace

// The first byte chooses the size of the buffer. A piece is a length byte, of which the upper two
// bits are the number of passes, and its bytes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  Comparison comparison(64 + size_t{in.Byte()} * 16);
  while (!in.IsEmpty()) {
    const unsigned head = in.Byte();
    const std::string piece = in.Take(head & 63);
    if (!comparison.Feed(piece, head / 64 + 1)) return 0;
  }
  comparison.Finish();
  return 0;
}
