#include "site/SharedDialog.h"

#include <utility>

#include "site/SiteBody.h"

namespace dorn::site {

namespace {

// Null as long as there is no site, or it has not started.
SiteBody* TheSite() {
  SiteBody* site = SiteBody::Current();
  return site != nullptr && site->IsStarted() ? site : nullptr;
}

}  // namespace

SharedDialog::SharedDialog() = default;

SharedDialog::~SharedDialog() {
  if (SiteBody* site = SiteBody::Current()) site->Forget(*this);
}

void SharedDialog::OnApply(const Change& change) {
  UpdateResource(change.command, GetResourceShare(), change.mark);
}

void SharedDialog::OnApplied(VQClientSocket*, const Change&) {}

void SharedDialog::OnKeep(timeval) {}

void SharedDialog::OnSave(Writer&) const {}

void SharedDialog::OnLoad(Reader&) {}

bool SharedDialog::Propose(const VQJsonCommand& command) {
  SiteBody* site = TheSite();
  return site != nullptr && site->Propose(*this, command);
}

bool SharedDialog::SendSnapshot(VQClientSocket* client) {
  SiteBody* site = TheSite();
  if (site != nullptr) site->BeforeSnapshot(*this);
  const bool isSent = VQDialog::SendSnapshot(client);
  if (site != nullptr && isSent) site->AfterSnapshot(*this, *client);
  return isSent;
}

void SharedDialog::OnCondition(VQClientSocket* client, VQJsonCommand* command) {
  if (SiteBody* site = TheSite()) site->Submit(*this, *client, *command);
}

// By value, as every override takes it: NOLINTNEXTLINE(performance-unnecessary-value-param)
void SharedDialog::OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) {
  VQDialog::OnUpdate(target, source, std::move(sid));
}

// By value, as every override takes it: NOLINTNEXTLINE(performance-unnecessary-value-param)
void SharedDialog::OnTouch(VQClientSocket*, VQJsonObject*, KZString) {}

// By value, as every override takes it: NOLINTNEXTLINE(performance-unnecessary-value-param)
int SharedDialog::OnGetfile(VQClientSocket* client, KZString file, KZString date,
                            KZString objectName) {
  SiteBody* site = TheSite();
  if (site != nullptr) site->BeforeSnapshot(*this);
  const int isAnswered =
      VQDialog::OnGetfile(client, std::move(file), std::move(date), std::move(objectName));
  if (site != nullptr && isAnswered != 0) site->AfterSnapshot(*this, *client);
  return isAnswered;
}

void SharedDialog::SpareOfSite1() {}
void SharedDialog::SpareOfSite2() {}
void SharedDialog::SpareOfSite3() {}
void SharedDialog::SpareOfSite4() {}

}  // namespace dorn::site
