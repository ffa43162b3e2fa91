#include "dorn/server/DialogIndex.h"

#include <algorithm>

#include "dorn/model/TreeCount.h"
#include "dorn/server/VQDialog.h"
#include "dorn/server/VQDialogList.h"

namespace dorn {

namespace {

// Up to so many dialogs are looked at: that is as cheap, and exact whatever was written by hand.
constexpr std::size_t kFewDialogs = 16;

std::uint64_t gDialogSteps = 0;

// Never destroyed: dialogs may be used until the process ends.
DialogIndex& TheDialogIndex() {
  static auto* const index = new DialogIndex;
  return *index;
}

}  // namespace

DialogIndex& DialogIndex::Of(const VQDialogList& list) {
  DialogIndex& index = TheDialogIndex();
  if (index.mList != &list) {
    const std::uint64_t version = index.mVersion + 1;
    index = DialogIndex();
    index.mList = &list;
    index.mVersion = version;
  }
  return index;
}

std::set<KZString> DialogIndex::NamesFor(const KZString& session, const KZString* behind) {
  const Map& dialogs = mList->mDialogList;
  std::set<KZString> names;
  if (IsFew()) {
    auto it = behind != nullptr ? dialogs.upper_bound(*behind) : dialogs.begin();
    for (; it != dialogs.end(); ++it, ++gDialogSteps) names.insert(it->first);
    return names;
  }
  Synchronise();
  if (!CollectFor(session, behind, names)) {
    Rebuild();
    names.clear();
    static_cast<void>(CollectFor(session, behind, names));
  }
  return names;
}

bool DialogIndex::CollectFor(const KZString& session, const KZString* behind,
                             std::set<KZString>& names) const {
  const auto found = mBySession.find(session);
  const bool isRight = found == mBySession.end() || AddNames(names, found->second, behind);
  return AddNames(names, mBare, behind) && isRight;
}

std::uint64_t DialogIndex::Version() {
  if (IsFew()) return ++mVersion;
  Synchronise();
  return mVersion;
}

std::vector<KZString> DialogIndex::NamesOf(const VQDialog* dialog, const KZString* foundAs) {
  std::vector<KZString> names;
  if (IsFew()) {
    for (const auto& [name, other] : mList->mDialogList) {
      ++gDialogSteps;
      if (other == dialog) names.push_back(name);
    }
    return names;
  }
  Synchronise();
  if (!KnowsNamesOf(dialog, foundAs)) Rebuild();
  const auto found = mNames.find(dialog);
  if (found != mNames.end()) names.assign(found->second.begin(), found->second.end());
  return names;
}

bool DialogIndex::KnowsNamesOf(const VQDialog* dialog, const KZString* foundAs) const {
  const auto known = mNames.find(dialog);
  if (known == mNames.end()) return foundAs == nullptr;
  const std::set<KZString>& names = known->second;
  return (foundAs == nullptr || names.count(*foundAs) != 0) &&
         std::all_of(names.begin(), names.end(),
                     [&](const KZString& name) { return Has(name, dialog); });
}

void DialogIndex::Added(std::size_t size, const KZString& name, const VQDialog* dialog,
                        const VQDialog* previous) {
  if (!IsRightFor(size)) return;
  mSize = mList->mDialogList.size();
  if (previous != nullptr) Leave(name, previous);
  Enter(name, dialog);
  mStrangers.erase(dialog);
  ++mVersion;
}

void DialogIndex::Erased(std::size_t size, const KZString& name, const VQDialog* dialog) {
  if (!IsRightFor(size)) return;
  mSize = mList->mDialogList.size();
  Leave(name, dialog);
}

void DialogIndex::DialogMade(const VQDialog& dialog) {
  DialogIndex& index = TheDialogIndex();
  if (index.mIsBuilt) index.mStrangers.insert(&dialog);
}

void DialogIndex::DialogGone(const VQDialog& dialog) { TheDialogIndex().mStrangers.erase(&dialog); }

void DialogIndex::TreeAdded(const VQDialog& dialog, const KZString& session) {
  DialogIndex& index = TheDialogIndex();
  if (!index.Expects(1)) return;
  ++index.mTreeCount;
  if (index.mNames.count(&dialog) == 0) {
    index.mStrangers.insert(&dialog);
    return;
  }
  index.mBySession[session].insert(&dialog);
  index.mBare.erase(&dialog);
  ++index.mVersion;
}

void DialogIndex::TreeRemoved(const VQDialog& dialog, const KZString& session) {
  DialogIndex& index = TheDialogIndex();
  if (index.Expects(1)) {
    ++index.mTreeCount;
  } else if (!index.Expects(0)) {
    return;
  }
  const auto found = index.mBySession.find(session);
  if (found != index.mBySession.end()) {
    found->second.erase(&dialog);
    if (found->second.empty()) index.mBySession.erase(found);
  }
  const bool isBare = dialog.mSessionResourceList.empty() && index.mNames.count(&dialog) != 0;
  if (isBare && index.mBare.insert(&dialog).second) ++index.mVersion;
}

void DialogIndex::TreeDestroyed() {
  DialogIndex& index = TheDialogIndex();
  if (index.Expects(1)) ++index.mTreeCount;
}

void DialogIndex::Forget(const VQDialogList& list) {
  if (TheDialogIndex().mList == &list) TheDialogIndex() = DialogIndex();
}

std::uint64_t DialogIndex::Steps() { return gDialogSteps; }

bool DialogIndex::IsFew() const { return mList->mDialogList.size() <= kFewDialogs; }

// Whether so many trees have come or gone since the index was right.
bool DialogIndex::Expects(std::uint64_t more) const {
  return mIsBuilt && gTreeCount == mTreeCount + more;
}

// Once the size has shown that the map was written by hand, the index is built anew, even if the
// size fits again.
bool DialogIndex::IsRightFor(std::size_t size) {
  mIsBuilt = mIsBuilt && mSize == size;
  return mIsBuilt;
}

void DialogIndex::Synchronise() {
  if (mSize != mList->mDialogList.size() || !mStrangers.empty() || !Expects(0)) Rebuild();
}

void DialogIndex::Rebuild() {
  mNames.clear();
  mBySession.clear();
  mBare.clear();
  for (const auto& [name, dialog] : mList->mDialogList) {
    if (dialog == nullptr) continue;
    Enter(name, dialog);
    mStrangers.erase(dialog);
  }
  mSize = mList->mDialogList.size();
  mTreeCount = gTreeCount;
  mIsBuilt = true;
  ++mVersion;
}

void DialogIndex::Enter(const KZString& name, const VQDialog* dialog) {
  ++gDialogSteps;
  const bool isKnown = mNames.count(dialog) != 0;
  mNames[dialog].insert(name);
  if (isKnown) return;
  if (dialog->mSessionResourceList.empty()) mBare.insert(dialog);
  for (const auto& [session, tree] : dialog->mSessionResourceList) {
    ++gDialogSteps;
    mBySession[session].insert(dialog);
  }
}

// What is left in mBySession names nobody until the index is built anew.
void DialogIndex::Leave(const KZString& name, const VQDialog* dialog) {
  const auto found = mNames.find(dialog);
  if (found == mNames.end()) return;
  found->second.erase(name);
  if (!found->second.empty()) return;
  mNames.erase(found);
  mBare.erase(dialog);
}

bool DialogIndex::Has(const KZString& name, const VQDialog* dialog) const {
  const auto found = mList->mDialogList.find(name);
  return found != mList->mDialogList.end() && found->second == dialog;
}

bool DialogIndex::AddNames(std::set<KZString>& names, const Dialogs& dialogs,
                           const KZString* behind) const {
  bool isRight = true;
  for (const VQDialog* dialog : dialogs) {
    ++gDialogSteps;
    const auto known = mNames.find(dialog);
    if (known == mNames.end()) continue;
    for (const KZString& name : known->second) {
      isRight = isRight && Has(name, dialog);
      if (behind == nullptr || *behind < name) names.insert(name);
    }
  }
  return isRight;
}

}  // namespace dorn
