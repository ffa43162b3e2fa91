#include "dorn/server/VQDialogList.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <set>
#include <utility>
#include <vector>

#include "dorn/server/DialogIndex.h"
#include "dorn/server/RunningHooks.h"
#include "dorn/server/VQDialog.h"

namespace {

void RefuseRetired(const char* name) {
  std::fprintf(stderr, "dorn: a dialog that is being removed cannot be added again (%s)\n", name);
}

// Takes the dialog out of the list under each of its names. The last of them, if there was any.
KZString TakeOut(VQDialogList& list, const VQDialog* dialog, const KZString* foundAs) {
  dorn::DialogIndex& index = dorn::DialogIndex::Of(list);
  KZString last;
  for (const KZString& name : index.NamesOf(dialog, foundAs)) {
    const auto found = list.mDialogList.find(name);
    if (found == list.mDialogList.end() || found->second != dialog) continue;
    const std::size_t size = list.mDialogList.size();
    list.mDialogList.erase(found);
    index.Erased(size, name, dialog);
    last = name;
  }
  return last;
}

// Removes a dialog of the list. It is deleted at the end, or when its running hooks have returned.
void End(VQDialogList& list, VQDialog* dialog, const KZString& foundAs) {
  const dorn::RunningHooks running(dialog);
  TakeOut(list, dialog, &foundAs);
  dorn::RunningHooks::Retire(dialog);
  // OnFinal() may have written it into the map by hand.
  const KZString name = TakeOut(list, dialog, nullptr);
  if (!name.empty()) RefuseRetired(name);
}

}  // namespace

VQDialogList::VQDialogList() = default;

// The dialogs stay where a leak checker finds them.
VQDialogList::~VQDialogList() {
  dorn::DialogIndex::Forget(*this);
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
  if (dialog == nullptr) return;
  if (dorn::RunningHooks::IsRetired(dialog)) {
    RefuseRetired(name);
    return;
  }
  const std::size_t size = mDialogList.size();
  const VQDialog* const previous = std::exchange(mDialogList[name], dialog);
  dorn::DialogIndex::Of(*this).Added(size, name, dialog, previous);
}

void VQDialogList::Remove(const KZString& name) {
  const auto found = mDialogList.find(name);
  if (found == mDialogList.end()) return;
  VQDialog* dialog = found->second;
  if (dialog != nullptr) {
    End(*this, dialog, KZString(found->first));
  } else {
    mDialogList.erase(found);
  }
}

// OnFinal() may add and remove dialogs, so the walk goes on by name.
void VQDialogList::RemoveBySession(const KZString& sid) {
  // A hook may change the text that `sid` refers to: NOLINTNEXTLINE(performance-*)
  const KZString session = sid;
  std::uint64_t version = dorn::DialogIndex::Of(*this).Version();
  std::set<KZString> names = dorn::DialogIndex::Of(*this).NamesFor(session, nullptr);
  while (!names.empty()) {
    const KZString name = std::move(names.extract(names.begin()).value());
    const auto found = mDialogList.find(name);
    if (found == mDialogList.end() || found->second == nullptr) continue;
    VQDialog* dialog = found->second;
    if (dialog->RemoveSession(session) >= 1) continue;
    End(*this, dialog, name);
    const std::uint64_t now = dorn::DialogIndex::Of(*this).Version();
    if (std::exchange(version, now) == now) continue;
    names = dorn::DialogIndex::Of(*this).NamesFor(session, &name);
  }
}
