// A host of a site, compiled against what is installed. It has no broker and need not wait for one:
// it starts, serves nothing, and ends.
#include <dorn/dorn.h>
#include <site/SharedDialog.h>
#include <site/Site.h>

#include <cstdio>

namespace {

class Panel : public dorn::site::SharedDialog {
 public:
  void OnSave(dorn::site::Writer& out) const override { out.WriteInt(mCount); }
  void OnLoad(dorn::site::Reader& in) override { mCount = static_cast<int>(in.ReadInt()); }
  void OnApply(const Change& change) override {
    SharedDialog::OnApply(change);
    ++mCount;
  }

 private:
  int mCount = 0;
};

class Maker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override {
    auto* panel = new Panel;
    panel->Init(name, "panel.json");
    return panel;
  }
};

class App : public VQApplication {
 public:
  using VQApplication::VQApplication;
  int OnInit() override { return 1; }
  void OnAuth(const KZString& id, const KZString&, VQClientSocket*) override {
    dorn::site::CreateSession(id, 0, "");
  }
};

Maker maker;
App app(maker);

}  // namespace

int main(int argc, char** argv) {
  if (app.Initialize(argc, argv) < 0) return 1;
  dorn::site::SiteOptions options = dorn::site::OptionsFromEnvironment();
  options.dialogs = {"panel"};
  dorn::site::Site site(app, options);
  if (!site.Start()) return 2;
  for (int i = 0; i < 3; ++i) app.RunPass();
  const dorn::site::SiteStatus status = site.Status();
  if (status.isServing || status.isKeeper || dorn::site::SessionData("x").has_value()) return 3;
  std::printf("a host of the site \"%s\" has started\n", static_cast<const char*>(options.name));
}
