#include "dorn/model/UpdateComposer.h"

#include <cstddef>
#include <utility>

#include "dorn/base/ShortCopy.h"
#include "dorn/model/TreeWalk.h"
#include "dorn/model/UpdateText.h"
#include "dorn/model/WireWords.h"

namespace dorn {

UpdateComposer::UpdateComposer(VQJsonResource* tree, bool allflag, SideCommands sideCommands)
    : mTree(tree), mAllflag(allflag), mSideCommands(sideCommands) {}

const UpdateComposer::Text& UpdateComposer::Compose(const KZString& sessionid) {
  if (!mSurveyed) Survey();
  if (!mOwnClasses || mSurvey.HasSideRecords()) ComposeSide();
  if (!mOwnClasses) {
    mShared = ComposeByWalking(sessionid);
    return Deliver(mShared);
  }
  Update& update = SlotOf(sessionid);
  if (update.alone == nullptr) update = ComposeFromEntries(sessionid);
  return Deliver(update);
}

void UpdateComposer::HostCodeRan() { mSurveyed = false; }

void UpdateComposer::ResetDirty() {
  if (mSurveyed && mOwnClasses) {
    mSurvey.ResetDirty();
  } else {
    mTree->ResetDirty();
  }
}

void UpdateComposer::Survey() {
  mSurveyed = true;
  mBySession.clear();
  mShared = Update();
  mOwnClasses = mSurvey.Take(*mTree, mAllflag);
  if (!mOwnClasses || mAllflag) return;
  for (const VQJsonObject* entry : mSurvey.Entries()) SurveyTags(*entry);
}

void UpdateComposer::SurveyTags(const VQJsonObject& object) {
  for (const KZString& entry : object.mDirty) {
    const std::size_t mark = entry.find(kSessionMark);
    if (mark == KZString::npos) continue;
    mBySession.try_emplace(entry.substr(mark + sizeof(kSessionMark) - 1));
  }
}

void UpdateComposer::ComposeSide() {
  if (mOwnClasses) {
    mSurvey.AppendSideCommands(mSide, mSideCount);
  } else {
    AppendSideCommands(mSide, *mTree, mSideCount);
  }
}

UpdateComposer::Update& UpdateComposer::SlotOf(const KZString& sessionid) {
  if (mAllflag) return mShared;
  if (sessionid.empty()) return mBySession[sessionid];
  // Usually the one session that has made the change.
  if (mBySession.size() == 1) {
    auto& [session, update] = *mBySession.begin();
    return IsSame(session, sessionid) ? update : mShared;
  }
  const auto tagged = mBySession.find(sessionid);
  return tagged != mBySession.end() ? tagged->second : mShared;
}

UpdateComposer::Update UpdateComposer::ComposeFromEntries(const KZString& sessionid) {
  KZString update;
  const int objects = AppendUpdateFrame(update, [&](int& entries) {
    for (VQJsonObject* entry : mSurvey.Entries()) {
      AppendUpdateEntry(update, *entry, entries, mAllflag, sessionid);
    }
  });
  return {std::make_shared<KZString>(std::move(update)), nullptr, objects > 0};
}

UpdateComposer::Update UpdateComposer::ComposeByWalking(const KZString& sessionid) {
  KZString update;
  const int objects = AppendUpdateCommand(update, *mTree, mAllflag, sessionid);
  return {std::make_shared<KZString>(std::move(update)), nullptr, objects > 0};
}

const UpdateComposer::Text& UpdateComposer::Deliver(Update& update) {
  if (mSide.empty() && update.hasObjects) return update.alone;
  mSingle = nullptr;
  if (mSide.empty()) return mSingle;
  if (update.joined == nullptr) {
    update.joined = std::make_shared<KZString>(JoinCommands(*update.alone, mSide));
  }
  if (mSideCommands == SideCommands::kEveryone) return update.joined;
  mSingle = std::move(update.joined);
  mSide.clear();
  mSideCount = 0;
  return mSingle;
}

}  // namespace dorn
