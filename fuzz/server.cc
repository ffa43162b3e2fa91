// A whole server in one process: up to four stations, a clock that is moved, host calls, and hooks
// that misbehave, all by the bytes of the input.
#include <memory>
#include <string>
#include <vector>

#include "fuzz/FuzzHost.h"
#include "fuzz/FuzzTarget.h"

namespace {

constexpr int kMaxSteps = 300;
constexpr size_t kStations = 4;

const char* const kTexts[] = {
    R"({"Command":"HELLO","Id":"u1","Pass":"p"})",
    R"({"Command":"HELLO","Id":"u2","Pass":"p","DialogName":"top"})",
    R"({"Command":"HELLO","Id":"u3","Pass":"wrong"})",
    R"({"Command":"HELLO","SessionId":"S-u1","DialogName":"top"})",
    R"({"Command":"HELLO","SessionId":"SessionIdShared"})",
    R"({"Command":"CHANGE","DialogName":"notes"})",
    R"({"Command":"CHANGE","DialogName":"bare"})",
    R"({"Command":"CHANGE","DialogName":"grid"})",
    R"({"Command":"CHANGE","DialogName":"top"})",
    R"({"Command":"CONDITION","ActionName":"a","ActionType":"T","Objects":[{"Name":"a","Value":7},)"
    R"({"Name":"d","Attr":"ON"},{"Name":"nobody"}]})",
    R"({"Commands":[{"Command":"CONDITION","Objects":[{"Name":"a","Value":"x"}]},)"
    R"({"Command":"CHANGE","DialogName":"top"},{"Command":"KEEPALIVE"}]})",
    R"({"Command":"KEEPALIVE"})",
    R"({"Command":"GETFILE","File":"large.bin"})",
    R"({"Command":"GETFILE","File":"top.json","Date":"2020-09-13 12:26:40"})",
    R"({"Command":"GETFILE","File":"../outside.txt"})",
    "[1]",
};
constexpr unsigned kTextCount = sizeof kTexts / sizeof kTexts[0];

class Driver {
 public:
  explicit Driver(FuzzInput& in) : mIn(in), mStations(kStations) { mServer.Misbehave(&in); }

  void Run() {
    for (int i = 0; i < kMaxSteps && !mIn.IsEmpty(); ++i) Step();
    mServer.Misbehave(nullptr);
    CheckThatANewStationIsServed();
  }

 private:
  void Step() {
    const unsigned choice = mIn.Below(16);
    std::unique_ptr<FuzzStation>& station = mStations[mIn.Below(kStations)];
    if (station == nullptr) {
      station = std::make_unique<FuzzStation>(mIn.Flag() ? 4096 : 0);
    } else if (choice < 5) {
      station->Send('\2' + std::string(kTexts[mIn.Below(kTextCount)]) + '\3');
    } else if (choice == 5) {
      station->Send(mIn.Text());
    } else if (choice == 6) {
      station->Send('\2' + mIn.Text() + '\3');
    } else if (choice == 7) {
      station.reset();
    } else if (choice == 8) {
      station->ShutdownWrite();
    } else if (choice == 9) {
      static_cast<void>(station->Read());
    } else if (choice == 10) {
      mServer.mClock.AdvanceMs(static_cast<int64_t>(mIn.Number(2)) * 16);
    } else if (choice == 11) {
      FuzzServer::MisbehaveNow(mIn, nullptr, station->Client());
    }
    FuzzServer::Pass();
  }

  void CheckThatANewStationIsServed() {
    const FuzzStation station;
    FUZZ_CHECK(station.Client() != nullptr);
    station.Send("\2{\"Command\":\"HELLO\",\"Id\":\"u1\",\"Pass\":\"p\"}\3");
    std::string received;
    for (int passes = 0; received.find('\3') == std::string::npos; ++passes) {
      FUZZ_CHECK(passes < 20);
      FuzzServer::Pass();
      received += station.Read();
    }
    FUZZ_CHECK(received.find("\"Command\":\"OPEN\"") != std::string::npos);
  }

  FuzzInput& mIn;
  FuzzServer mServer;
  std::vector<std::unique_ptr<FuzzStation>> mStations;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  Driver(in).Run();
  return 0;
}
