#include "dorn/server/VQDialogList.h"

#include <utility>
#include <vector>

#include "dorn/server/RunningHooks.h"
#include "dorn/server/VQDialog.h"

VQDialogList::VQDialogList() = default;

// The dialogs stay where a leak checker finds them.
VQDialogList::~VQDialogList() {
  // NOLINTNEXTLINE(bugprone-unhandled-exception-at-new): without memory the process ends.
  static auto* const kept = new std::vector<std::map<KZString, VQDialog*>>;
  if (!mDialogList.empty()) kept->push_back(std::move(mDialogList));
}

bool VQDialogList::Has(const KZString& name) const { return mDialogList.count(name) != 0; }

VQDialog* VQDialogList::Search(const KZString& name) const {
  const auto found = mDialogList.find(name);
  return found != mDialogList.end() ? found->second : nullptr;
}

void VQDialogList::Add(const KZString& name, VQDialog* dialog) {
  if (dialog != nullptr) mDialogList[name] = dialog;
}

void VQDialogList::Remove(const KZString& name) {
  const auto found = mDialogList.find(name);
  if (found == mDialogList.end()) return;
  VQDialog* dialog = found->second;
  mDialogList.erase(found);
  dorn::RunningHooks::Retire(dialog);
}

// OnFinal() may add and remove dialogs, so the walk goes on by name.
void VQDialogList::RemoveBySession(const KZString& sid) {
  // A hook may change the text that `sid` refers to: NOLINTNEXTLINE(performance-*)
  const KZString session = sid;
  for (auto it = mDialogList.begin(); it != mDialogList.end();) {
    const KZString name = it->first;
    VQDialog* dialog = it->second;
    if (dialog->RemoveSession(session) < 1) {
      mDialogList.erase(it);
      dorn::RunningHooks::Retire(dialog);
    }
    it = mDialogList.upper_bound(name);
  }
}
