#include "tests/site/host/HostTest.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <utility>

#include "site/core/TreeCodec.h"
#include "tests/support/Deadline.h"

using dorn::site::Ms;

std::vector<std::string>& Calls() {
  static std::vector<std::string> calls;
  return calls;
}

void Panel::OnInit() { LoadJsonShare(); }

void Panel::OnChange(VQClientSocket* client, VQJsonCommand*) { SendSnapshot(client); }

void Panel::OnApply(const Change& change) {
  if (apply) return apply(*this, change);
  SharedDialog::OnApply(change);
}

void Panel::OnApplied(VQClientSocket* client, const Change& change) {
  Calls().push_back("OnApplied " + client->GetSessionId());
  if (applied) applied(*this, change);
}

void Panel::OnKeep(timeval) {
  if (keep) keep(*this);
}

void Panel::OnSave(dorn::site::Writer& out) const { out.WriteInt(count); }

void Panel::OnLoad(dorn::site::Reader& in) { count = static_cast<int>(in.ReadInt()); }

namespace {

class HostMaker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    if (name == "plain") return new VQDialog;
    if (!(name == "panel") && !(name == "second")) return nullptr;
    auto* panel = new Panel;
    panel->Init(name, "panel.json");
    return panel;
  }
};

HostMaker maker;

// The station port, opened once for all tests.
class OpenPort : public testing::Environment {
 public:
  void SetUp() override {
    const std::string folder = std::string(app.GetModuleDirectory()) + "/resources";
    mkdir(folder.c_str(), 0777);
    // Tests run side by side, and share the file: it is never seen half written.
    const std::string file = folder + "/panel.json";
    const std::string own = file + std::to_string(getpid());
    std::ofstream(own) << kPanelTree;
    ASSERT_EQ(0, std::rename(own.c_str(), file.c_str()));
    app.SetStationAddress("127.0.0.1", 0);
    app.SetTrace(dorn::Trace::kNone);
    ASSERT_GE(app.Initialize(0, nullptr), 0);
  }
};

[[maybe_unused]] const auto* const kOpenPort = testing::AddGlobalTestEnvironment(new OpenPort);

}  // namespace

HostApp app(maker);

void HostApp::OnAuth(const KZString& id, const KZString&, VQClientSocket*) {
  Calls().push_back("OnAuth " + id);
  const bool isTaken = dorn::site::CreateSession(KZString("S-" + id), sessionMs, sessionData);
  if (!isTaken) Calls().push_back("no session");
}

bool HostApp::OnAuthCheck(const KZString& sid, VQClientSocket* client) {
  return dorn::site::Reattach(sid, client);
}

void HostApp::OnStart(VQClientSocket* client, KZString&, int, int) {
  Calls().push_back("OnStart " + client->GetSessionId());
}

OtherHost::OtherHost(MemoryLog& log, unsigned char number) : mCarrier(log) {
  dorn::site::OriginId origin{};
  origin[0] = number;
  mNode = std::make_unique<dorn::site::Node>(origin, mCarrier, *this, *this);
}

void OtherHost::Tick(Ms now) {
  mCarrier.Deliver(*mNode);
  mNode->Tick(now);
}

void OtherHost::Set(const std::string& name, const std::string& key, const std::string& value) {
  VQJsonCommand command("CONDITION");
  auto child = std::make_unique<VQJsonObject>(&command);
  child->SetValue("Name", VQValue(name.c_str()), 0, "");
  child->SetValue(KZString(key), VQValue(value.c_str()), 0, "");
  if (command.AddObject(child.get(), 0)) static_cast<void>(child.release());
  dorn::site::Change change;
  change.dialog = "panel";
  change.command = dorn::site::EncodeCommand(command);
  EXPECT_TRUE(mNode->Submit(std::move(change)).has_value());
  mNode->Flush();
}

void HostTest::SetUp() {
  Calls().clear();
  mOptions.dialogs = {"panel"};
  mOptions.appliesTwice = false;
  app.sessionData = "data";
}

void HostTest::TearDown() {
  mOthers.clear();
  mSite.reset();
  for (KZFdData* record : *app.GetFdDataList()) {
    if (auto* client = dynamic_cast<VQClientSocket*>(record)) client->Close();
  }
  for (const char* name : {"panel", "second", "plain"}) app.DialogList()->Remove(name);
  app.mStationSocket.SetFDStatus(KZFdData::kStatusActive);
  app.mStationSocket.AddEvent();
  for (int i = 0; i < 3; ++i) {
    app.WakeUp();
    app.RunPass();
  }
  std::vector<KZString> sessions;
  for (const auto& [sid, session] : app.SessionList()->mSessionList) sessions.push_back(sid);
  for (const KZString& sid : sessions) app.SessionList()->Remove(sid);
}

void HostTest::StartSite(bool serves) {
  auto carrier = std::make_unique<LoopCarrier>(mLog);
  mCarrier = carrier.get();
  mSite = std::make_unique<dorn::site::SiteBody>(app, mOptions, std::move(carrier),
                                                 [this] { return mNow; });
  ASSERT_TRUE(mSite->Start());
  if (!serves) return;
  for (int i = 0; i < 100 && !mSite->Status().isKeeper; ++i) Wait(100);
  ASSERT_TRUE(mSite->Status().isServing);
  ASSERT_TRUE(mSite->Status().isKeeper);
}

void HostTest::Pass(int passes) {
  for (int i = 0; i < passes; ++i) {
    app.WakeUp();
    app.RunPass();
  }
}

bool HostTest::RunUntil(const std::function<bool()>& done) {
  const Deadline deadline;
  while (!done()) {
    if (deadline.IsOver()) return false;
    Pass(1);
  }
  return true;
}

void HostTest::Wait(int ms) {
  constexpr int kStepMs = 100;
  for (; ms > 0; ms -= kStepMs) {
    mNow += Ms(ms < kStepMs ? ms : kStepMs);
    if (mSite != nullptr) mSite->Tick();
    for (const auto& other : mOthers) other->Tick(mNow);
    Pass(2);
  }
}

Station HostTest::Connect() {
  Station station;
  EXPECT_TRUE(station.peer.Connect(PortOf(app.mStationSocket.GetFD())));
  return station;
}

Station HostTest::Enter(const std::string& user, const std::string& dialog) {
  Station station = Connect();
  Tell(station,
       R"({"Command":"HELLO","Id":")" + user + R"(","Pass":"p","DialogName":")" + dialog + R"("})");
  const std::string sid = "S-" + user;
  EXPECT_TRUE(RunUntil([&] {
    VQClientSocket* client = Find(sid);
    return client != nullptr && client->mDialogName == KZString(dialog);
  }));
  EXPECT_FALSE(Take(station).empty());
  return station;
}

void HostTest::Tell(Station& station, const std::string& text) {
  const std::uint64_t before = app.Statistics().messagesIn;
  EXPECT_TRUE(station.peer.Send("\x02" + text + "\x03"));
  EXPECT_TRUE(RunUntil([before] { return app.Statistics().messagesIn > before; }));
  Pass();
}

VQClientSocket* HostTest::Find(const Station& station) {
  for (KZFdData* record : *app.GetFdDataList()) {
    auto* client = dynamic_cast<VQClientSocket*>(record);
    if (client == nullptr || client->GetFDStatus() == KZFdData::kStatusRemove) continue;
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (getpeername(client->GetFD(), reinterpret_cast<sockaddr*>(&address), &length) != 0) continue;
    if (ntohs(address.sin_port) == station.peer.LocalPort()) return client;
  }
  return nullptr;
}

std::vector<std::string> HostTest::Take(Station& station) {
  static const std::string marker = "MARKER";
  Pass();
  VQClientSocket* const client = Find(station);
  if (client != nullptr) client->SendData(KZString(marker));
  EXPECT_TRUE(RunUntil([&station, client] {
    station.buffer += station.peer.Take();
    return client == nullptr ? station.peer.IsClosed()
                             : station.buffer.find(marker) != std::string::npos;
  }));
  std::vector<std::string> messages;
  for (;;) {
    const std::size_t end = station.buffer.find('\x03');
    if (end == std::string::npos) break;
    std::string text = station.buffer.substr(0, end);
    station.buffer.erase(0, end + 1);
    text.erase(0, text.find('\x02') + 1);
    if (text != marker) messages.push_back(text);
  }
  return messages;
}

void HostTest::Set(Station& station, const std::string& name, const std::string& value,
                   const std::string& key) {
  Tell(station, R"({"Command":"CONDITION","Objects":[{"Name":")" + name + R"(",")" + key +
                    R"(":")" + value + R"("}]})");
}

VQClientSocket* HostTest::Find(const std::string& sid) {
  VQClientSocket* found = nullptr;
  for (KZFdData* record : *app.GetFdDataList()) {
    auto* client = dynamic_cast<VQClientSocket*>(record);
    if (client == nullptr || client->GetFDStatus() == KZFdData::kStatusRemove) continue;
    if (client->GetSessionId() == KZString(sid)) found = client;
  }
  return found;
}

Panel& HostTest::TheDialog(const std::string& name) {
  return *dynamic_cast<Panel*>(app.DialogList()->Search(KZString(name)));
}

std::string HostTest::Value(const std::string& name, const std::string& key) {
  VQJsonObject* found = TheDialog().GetResourceShare()->SearchName(KZString(name));
  return found != nullptr ? found->GetValue(KZString(key)).GetString() : KZString("none");
}

OtherHost& HostTest::Join() {
  mOthers.push_back(
      std::make_unique<OtherHost>(mLog, static_cast<unsigned char>(mOthers.size() + 1)));
  mOthers.back()->state = [this] { return mSite->Save(); };
  return *mOthers.back();
}
