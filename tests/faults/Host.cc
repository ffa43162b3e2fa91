// A host for trying out faults: one shared dialog that counts what is applied and keeps a digest of
// all of it, so that stations of two hosts which show the same number show the same digest, or one
// of the hosts has applied something else.
#include <dorn/dorn.h>

#include <array>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "site/SharedDialog.h"
#include "site/Site.h"

namespace {

constexpr std::uint64_t kDigestOfNothing = 0xcbf29ce484222325;
constexpr int kSessionMs = 600000;
constexpr int kKeepEach = 2;  // Calls of OnKeep(), of which there are ten a second.

// FNV-1a, of the text and a line feed.
std::uint64_t Chain(std::uint64_t digest, const char* text) {
  const auto add = [&digest](char letter) {
    digest = (digest ^ static_cast<unsigned char>(letter)) * 0x100000001b3;
  };
  for (; *text != '\0'; ++text) add(*text);
  add('\n');
  return digest;
}

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::vector<KZString> Words(const std::string& text) {
  std::vector<KZString> words;
  std::istringstream in(text);
  for (std::string word; in >> word;) words.emplace_back(word.c_str());
  return words;
}

class Counters : public dorn::site::SharedDialog {
 public:
  void OnInit() override { LoadJsonShare(); }
  void OnChange(VQClientSocket* station, VQJsonCommand*) override { SendSnapshot(station); }

  void OnApply(const Change& change) override {
    if (change.isFromKeeper) {
      Count(change.command->GetValue("Value"));
      Show("kept", change.command->GetValue("Value"));
    } else {
      SharedDialog::OnApply(change);
      for (VQJsonObject* object : change.command->mObjectList) Count(object->GetValue("Value"));
    }
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%" PRIi64 ":%016" PRIx64, mCount, mDigest);
    Show("chain", text.data());
  }

  // Counts on from what the site shows, as long as no station has told it to rest.
  void OnKeep(timeval) override {
    if (GetResourceShare()->SearchName("rest")->GetValue("Value") != "") return;
    if (++mCalls % kKeepEach != 0) return;
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "k%d:%d", mNumber, ++mProposed);
    VQJsonCommand command("KEEP");
    command.SetValue("Value", text.data(), -1, "");
    static_cast<void>(Propose(command));  // Then the next one will do.
  }

  void OnSave(dorn::site::Writer& out) const override {
    out.WriteInt(mCount);
    out.WriteInt(static_cast<std::int64_t>(mDigest));
  }
  void OnLoad(dorn::site::Reader& in) override {
    mCount = in.ReadInt();
    mDigest = static_cast<std::uint64_t>(in.ReadInt());
  }

 private:
  void Count(const VQValue& value) {
    ++mCount;
    mDigest = Chain(mDigest, value.GetChar());
  }
  void Show(const char* name, const VQValue& value) {
    GetResourceShare()->SearchName(name)->SetValue("Value", value, -1, "");
  }

  std::int64_t mCount = 0;
  std::uint64_t mDigest = kDigestOfNothing;

  // Of this start of this host alone: a number that no other has.
  int mNumber = static_cast<int>(std::random_device()() & 0xffffff);
  int mProposed = 0;
  int mCalls = 0;
};

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    if (!(name == "counters")) return nullptr;
    auto* dialog = new Counters;
    dialog->Init(name, "counters.json");
    return dialog;
  }
};

class App : public VQApplication {
 public:
  using VQApplication::VQApplication;

  int OnInit() override {
    SetTrace(dorn::Trace::kNone);
    dorn::SetTrustedProxies(Words(Variable("PUMPHOUSE_PROXIES")));
    return 1;
  }
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket*) override {
    if (pass == "counts")
      dorn::site::CreateSession(dorn::MakeSessionId(), kSessionMs, std::string_view(id));
  }
  bool OnAuthCheck(const KZString& sid, VQClientSocket* station) override {
    return dorn::site::Reattach(sid, station);
  }
  void OnStart(VQClientSocket* station, KZString&, int, int) override {
    VQJsonCommand open("OPEN");
    open.SetValue("File", "counters.json", 0, "");
    open.SetValue("FileSource", "SERVER", 0, "");
    open.SetValue("SessionId", station->GetSessionId(), 0, "");
    station->SendData(open.GetJson());
  }
};

Maker maker;
App app(maker);

}  // namespace

int main(int argc, char** argv) {
  if (app.Initialize(argc, argv) < 0 || !app.IsListening()) return 1;
  dorn::site::SiteOptions options = dorn::site::OptionsFromEnvironment();
  options.dialogs = {"counters"};
  dorn::site::Site site(app, options);
  if (!site.Start()) return 1;
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { app.Stop(); });
  app.Run();
}
