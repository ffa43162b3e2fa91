// Gauges: instruments send datagrams, each new one becomes an object on the panel, and a thread
// that reads something slow hands its results to the loop.
#include <dorn/dorn.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

namespace {

constexpr unsigned int kSlowValue = 1;

class Panel : public VQDialog {
 public:
  void OnInit() override { LoadJsonShare(); }

  void OnChange(VQClientSocket* station, VQJsonCommand*) override {
    SendUpdateShareToAll(false);  // What is new is to be known before the snapshot names it.
    SendSnapshot(station);
  }

  // A station that touches "forget" takes all gauges off.
  void OnCondition(VQClientSocket*, VQJsonCommand*) override {}
  void OnTouch(VQClientSocket*, VQJsonObject* touched, KZString) override {
    if (!(touched->mName == "forget")) return;
    if (VQJsonObject* group = GetResourceShare()->SearchName("gauges")) group->Delete("CHILD");
    SendUpdateShareToAll(false);
  }

  void Measured(const std::string& gauge, const std::string& value) {
    VQJsonObject* group = GetResourceShare()->SearchName("gauges");
    if (group == nullptr) return;
    if (group->SearchName(gauge) == nullptr) Add(*group, gauge);
    GetResourceShare()->SetValueByName("Value", dorn::EscapeText(value), gauge, -1, "");
    SendUpdateShareToAll(false);
  }

 private:
  static void Add(VQJsonObject& group, const std::string& gauge) {
    auto label = std::make_unique<VQJsonObject>(&group);
    label->SetValue("Name", gauge, 0, "");
    label->SetValue("Type", "LABEL", 0, "");
    label->SetValue("Value", "", 0, "");
    if (group.AddObject(label.get(), 1)) static_cast<void>(label.release());  // The group's now.
  }
};

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    if (!(name == "panel")) return nullptr;
    auto* panel = new Panel;
    panel->Init(name, "panel.json");
    return panel;
  }
};

// Datagrams such as "boiler=17", at a port that the system chooses.
class Instruments : public KZSocketUdp {
 public:
  explicit Instruments(VQApplication& app) : KZSocketUdp(1024, &mStream, app.GetFdDataList()) {}
  int OnReceive(sockaddr* from, unsigned int length) override;
  using KZSocketUdp::OnReceive;

 private:
  KZStream mStream;  // Drops the log.
};

class App : public VQApplication {
 public:
  explicit App(VQDialogMaker& maker) : VQApplication(maker), mInstruments(*this) {}

  int OnInit() override {
    mInstruments.Open("127.0.0.1", 0, 0);
    return mInstruments.GetFD() < 0 ? -1 : 1;
  }

  void OnAuth(const KZString&, const KZString& pass, VQClientSocket* station) override {
    if (!(pass == "brass")) return;
    const KZString session = dorn::MakeSessionId();
    CreateSession(session, 0);  // Never ends.
    station->Authentication(session);
  }

  // On the loop's thread, a millisecond after the other thread had something.
  void OnTimer(timeval, unsigned int id) override {
    if (id == kSlowValue) Measured("slow", std::to_string(mSlow.load()));
  }

  void Measured(const std::string& gauge, const std::string& value) {
    if (auto* panel = dynamic_cast<Panel*>(DialogList()->Search("panel"))) {
      panel->Measured(gauge, value);
    }
  }

  int InstrumentPort() {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(mInstruments.GetFD(), reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
  }

  void StartReading() {
    mReader = std::thread([this] { ReadSlowly(); });
  }

  // Threads end before main returns, and so does what the loop watches of this host.
  void End() {
    mIsEnding = true;
    if (mReader.joinable()) mReader.join();
    mInstruments.Close();
  }

 private:
  // Another thread: no tree, no dialog, no connection may be touched here. A timer is all it takes
  // to be called on the loop.
  void ReadSlowly() {
    for (int value = 1; !mIsEnding; ++value) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      mSlow = value;
      SetApplicationSingleTimerInterval(1, kSlowValue);
    }
  }

  Instruments mInstruments;
  std::atomic<int> mSlow{0};
  std::atomic<bool> mIsEnding{false};
  std::thread mReader;
};

Maker maker;
App app(maker);

int Instruments::OnReceive(sockaddr*, unsigned int) {
  char text[1500];
  const int length = GetData(text, sizeof text);
  const std::string datagram(text, length > 0 ? static_cast<std::size_t>(length) : 0);
  const std::size_t sign = datagram.find('=');
  if (sign == std::string::npos) return 0;
  const std::string gauge = datagram.substr(0, sign);
  if (gauge == "boiler" || gauge == "pump") app.Measured(gauge, datagram.substr(sign + 1));
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const bool isReady = app.Initialize(argc, argv) >= 0 && app.IsListening();
  if (isReady) {
    std::printf("gauges: instruments at %d\n", app.InstrumentPort());
    for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { app.Stop(); });
    app.StartReading();
    app.Run();
  }
  app.End();
  return isReady ? 0 : 1;
}
