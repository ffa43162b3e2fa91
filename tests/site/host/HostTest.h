// One host of a site, complete but for its log, which lies in memory, and its clock, which the test
// moves; stations on real sockets; and another host of the same site that has no stations.
#ifndef TESTS_SITE_HOST_HOSTTEST_H_
#define TESTS_SITE_HOST_HOSTTEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dorn/dorn.h"
#include "site/SharedDialog.h"
#include "site/Site.h"
#include "site/SiteBody.h"
#include "site/core/Node.h"
#include "tests/site/host/LoopCarrier.h"
#include "tests/support/TcpPeer.h"

// What the hooks of the dialogs and the application were called with, in order.
std::vector<std::string>& Calls();

// A shared dialog whose hooks a test may replace.
class Panel : public dorn::site::SharedDialog {
 public:
  void OnInit() override;
  void OnChange(VQClientSocket* client, VQJsonCommand* command) override;
  void OnApply(const Change& change) override;
  void OnApplied(VQClientSocket* client, const Change& change) override;
  void OnKeep(timeval now) override;
  void OnSave(dorn::site::Writer& out) const override;
  void OnLoad(dorn::site::Reader& in) override;

  std::function<void(Panel&, const Change&)> apply, applied;
  std::function<void(Panel&)> keep;
  int count = 0;    // Saved.
  int unsaved = 0;  // Not saved.
};

class HostApp : public VQApplication {
 public:
  using VQApplication::VQApplication;
  int OnInit() override { return 1; }
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) override;
  bool OnAuthCheck(const KZString& sid, VQClientSocket* client) override;
  void OnStart(VQClientSocket* client, KZString& type, int v, int h) override;

  std::string sessionData = "data";
  int sessionMs = 60000;
};
extern HostApp app;

// The tree of every shared dialog.
inline constexpr char kPanelTree[] =
    R"({"Command":"DIALOG","Name":"panel","Objects":[)"
    R"({"Name":"a","Type":"EDIT","Value":"1"},{"Name":"b","Type":"EDIT","Value":"1"},)"
    R"({"Name":"site","Type":"LABEL"},)"
    R"({"Name":"g","Type":"GROUP","Layout":"RADIO","Objects":[)"
    R"({"Name":"r1","Type":"RADIOBTN","Attr":"ON"},{"Name":"r2","Type":"RADIOBTN","Attr":"OFF"}]}]})";

// A station that is at work on this host.
struct Station {
  TcpPeer peer;
  std::string buffer;  // What has arrived and was not taken.
};

// Another host's node: it has no dialogs, and keeps for its snapshots what it is given.
class OtherHost final : public dorn::site::SharedState, public dorn::site::NodeListener {
 public:
  OtherHost(MemoryLog& log, unsigned char number);
  void Tick(dorn::site::Ms now);
  // A change as a station there would make it: one object, one attribute.
  void Set(const std::string& name, const std::string& key, const std::string& value);
  dorn::site::Node& Node() { return *mNode; }
  LoopCarrier& Carrier() { return mCarrier; }

  void Apply(dorn::site::Sequence, const dorn::site::Change&,
             std::optional<dorn::site::Ticket>) override {}
  std::string Save() override { return state ? state() : std::string(); }
  bool Load(std::string_view) override { return true; }
  dorn::site::Digest Resources() override { return {}; }
  void OnServing(bool) override {}
  void OnLogAway(bool) override {}
  void OnUnknown(dorn::site::Ticket) override {}
  void OnRefused(dorn::site::Ticket) override {}
  void OnSessionStart(dorn::site::Sequence, const dorn::site::SessionStart&,
                      std::optional<dorn::site::Ticket>) override {}
  void OnSessionEnd(dorn::site::Sequence) override {}
  void OnKeep() override {}
  void OnDiverged(dorn::site::Sequence, bool) override {}
  void OnWord(const std::string&) override {}

  std::function<std::string()> state;

 private:
  LoopCarrier mCarrier;
  std::unique_ptr<dorn::site::Node> mNode;
};

class HostTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // The host, serving and its site's keeper unless `serves` is false.
  void StartSite(bool serves = true);
  void Arrange(const std::function<void(dorn::site::SiteOptions&)>& change) { change(mOptions); }

  // Passes of the loop, until nothing more happens at once.
  void Pass(int passes = 5);
  bool RunUntil(const std::function<bool()>& done);
  // Moves the clock, in steps of a tenth of a second.
  void Wait(int ms);

  Station Connect();
  // Logged in as `user` and in the dialog, with everything so far taken.
  Station Enter(const std::string& user, const std::string& dialog = "panel");
  // Sends a message and waits until the host has taken it.
  void Tell(Station& station, const std::string& text);
  // The messages since the last call. Waits for a marker that is sent behind them, or for the end
  // of the connection.
  std::vector<std::string> Take(Station& station);
  void Set(Station& station, const std::string& name, const std::string& value,
           const std::string& key = "Value");
  VQClientSocket* Find(const std::string& sid);
  // The connection that is the other end of the station's.
  VQClientSocket* Find(const Station& station);

  Panel& TheDialog(const std::string& name = "panel");
  std::string Value(const std::string& name, const std::string& key = "Value");

  // Joins the site beside this host; it is known to the log from the next Wait() on.
  OtherHost& Join();

  MemoryLog mLog;
  dorn::site::Ms mNow{1000000};
  dorn::site::SiteOptions mOptions;
  LoopCarrier* mCarrier = nullptr;
  std::unique_ptr<dorn::site::SiteBody> mSite;
  std::vector<std::unique_ptr<OtherHost>> mOthers;
};

#endif  // TESTS_SITE_HOST_HOSTTEST_H_
