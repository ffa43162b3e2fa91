#include "tools/dorn-terminal/View.h"

#include <algorithm>
#include <utility>

#include "tools/dorn-terminal/Focus.h"
#include "tools/dorn-terminal/LogInForm.h"

namespace dorn::terminal {

namespace {

using station::Item;
using station::Session;

constexpr std::size_t kMostHeldKeys = 200;

const Item* FindItem(const std::vector<Item>& items, const std::string& name) {
  for (const Item& item : items) {
    if (item.mName == name) return &item;
    if (const Item* child = FindItem(item.mChildren, name)) return child;
  }
  return nullptr;
}

const Item* FindItem(const station::Screen& screen, const std::string& name) {
  for (const station::Card& card : screen.mCards) {
    if (const Item* item = FindItem(card.mItems, name)) return item;
  }
  return nullptr;
}

bool HasAlarms(const std::vector<Item>& items) {
  return std::any_of(items.begin(), items.end(), [](const Item& item) {
    return item.mTable.mIsAlarms || HasAlarms(item.mChildren);
  });
}

}  // namespace

View::View(Session& session, Setup setup, int width, int height)
    : mSession(session), mSetup(std::move(setup)), mWidth(width), mHeight(height) {
  RebuildLogIn();
  Arrange();
}

void View::LogIn(std::string id, std::string pass, Ms now) {
  if (id != mUser) mKept.clear();
  mUser = mId = std::move(id);
  const std::string password = std::move(pass);
  mPass.clear();  // Kept no longer than it takes.
  mStates.mDrafts.clear();
  mTouchedAt = now;
  mSession.LogIn(mId, password, now);
  mHasActed = true;
}

void View::Resize(int width, int height) {
  mWidth = std::max(width, 1);
  mHeight = std::max(height, 1);
  mIsArranged = false;
}

std::string View::Language() const {
  if (!mSetup.mLanguage.empty()) return mSetup.mLanguage;
  const std::string& hosts = mSession.LastOpened().mLanguage;
  return hosts.empty() ? mSetup.mSystemLanguage : hosts;
}

bool View::IsOperable() const {
  return mSession.GetState() == Session::State::kShowing && !mSession.StaleSince();
}

// What is typed before the dialog is there is meant for it.
bool View::MustHoldKeys() const {
  const Session::State state = mSession.GetState();
  const bool isEntering = state == Session::State::kEntering || state == Session::State::kLoggingIn;
  return isEntering && !mSession.StaleSince() && !mPopup;
}

void View::OnHost(Ms now) {
  const Session::State state = mSession.GetState();
  mIsHostChanged = true;
  const bool isIn = state != Session::State::kLoggedOut && state != Session::State::kLoggingIn;
  if (isIn && !mSetup.mDialog.empty() && state != Session::State::kWaiting) {
    mSession.Enter(std::exchange(mSetup.mDialog, {}), now);
  }
  const Mode mode = isIn ? Mode::kDialog : Mode::kLogIn;
  const bool isOther = mode != mMode || (state == Session::State::kShowing &&
                                         mSession.Dialog().DialogName() != mDialog);
  if (isOther || !mHeldKeys.empty()) Rebuild(now);
  if (MustHoldKeys()) return;
  if (!isIn) mHeldKeys.clear();
  while (!mHeldKeys.empty() && !MustHoldKeys()) {
    const Key key = std::move(mHeldKeys.front());
    mHeldKeys.pop_front();
    HandleKey(key, now);
  }
}

void View::OnKey(const Key& key, Ms now) {
  if (!MustHoldKeys() || key.Is(KeyCode::kFunction)) return HandleKey(key, now);
  if (mHeldKeys.size() < kMostHeldKeys) mHeldKeys.push_back(key);
}

void View::TakeHost(Ms now) {
  mIsHostChanged = false;
  Rebuild(now);
}

void View::Rebuild(Ms now) {
  mHasActed = false;
  const Session::State state = mSession.GetState();
  const bool isIn = state != Session::State::kLoggedOut && state != Session::State::kLoggingIn;
  if (!isIn) {
    if (mMode == Mode::kDialog) {
      mPopup.reset();
      SwitchDialog("");
      mPass.clear();
    }
    mMode = Mode::kLogIn;
    RebuildLogIn();
  } else {
    if (mMode == Mode::kLogIn) mStates = {};
    mMode = Mode::kDialog;
    RebuildDialog(now);
  }
  Arrange();
  RefreshPopup();
}

void View::RebuildLogIn() {
  mStates.mIsStale = mSession.GetState() == Session::State::kLoggingIn;
  mHasAlarmList = false;
  mScreen = MakeLogInForm(mSession, {mSetup.mHost, mId, mPass}, Words());
  if (mStates.mFocus.empty()) {
    mStates.mFocus = mId.empty() ? kUserField : kPasswordField;
  }
}

// While a dialog is entered, the one before stays.
void View::RebuildDialog(Ms now) {
  const Session::State state = mSession.GetState();
  mStates.mIsStale = mSession.StaleSince().has_value();
  if (state == Session::State::kEntering) {
    if (mDialog.empty()) mScreen = {};
    return;
  }
  const std::string& dialog = mSession.Dialog().DialogName();
  if (state == Session::State::kShowing && dialog != mDialog) SwitchDialog(dialog);
  mScreen = station::MakeScreen(mSession.Dialog(), Language());
  mHasAlarmList = std::any_of(mScreen.mCards.begin(), mScreen.mCards.end(),
                              [](const station::Card& card) { return HasAlarms(card.mItems); });
  if (!mStates.mIsStale) mStates.mTrends.AddAll(mScreen, now);
  SettleDrafts();
  NoteAlarms();
}

void View::SwitchDialog(const std::string& dialog) {
  for (auto& [name, draft] : mSent) {
    draft.mWasSent = true;
    mStates.mDrafts.emplace(name, std::move(draft));
  }
  mSent.clear();
  if (!mDialog.empty()) mKept[mDialog] = std::move(mStates.mDrafts);
  mStates = {};
  mDialog = dialog;
  mScroll = 0;
  mHeardAlarms.clear();
  if (const auto kept = mKept.find(dialog); kept != mKept.end()) {
    mStates.mDrafts = std::move(kept->second);
    mKept.erase(kept);
  }
}

// Nobody knows whether a line that was lost has taken along what was sent: it becomes a draft
// again, and is dropped when the host turns out to have it.
void View::SettleDrafts() {
  for (auto sent = mSent.begin(); sent != mSent.end();) {
    const Item* item = FindItem(mScreen, sent->first);
    if (item != nullptr && item->mIsPending) {
      ++sent;
      continue;
    }
    if (!IsOperable() && mStates.mDrafts.count(sent->first) == 0) {
      sent->second.mWasSent = true;
      mStates.mDrafts.emplace(sent->first, std::move(sent->second));
    }
    sent = mSent.erase(sent);
  }
  if (!IsOperable()) return;
  for (auto draft = mStates.mDrafts.begin(); draft != mStates.mDrafts.end();) {
    const Item* item = FindItem(mScreen, draft->first);
    const bool mayDrop = draft->second.mWasSent || mStates.mFocus != draft->first;
    const bool isKnown =
        item != nullptr && mayDrop &&
        station::CheckTyped(*item, draft->second.mEditor.Text()).mValue == item->mRaw;
    draft = isKnown ? mStates.mDrafts.erase(draft) : std::next(draft);
  }
}

void View::NoteAlarms() {
  if (mStates.mIsStale) return;
  std::set<std::string> open;
  for (const station::AlarmLine& alarm : mScreen.mAlarmBar) {
    const std::string key = alarm.mGrid + '\0' + alarm.mKey + '\0' + alarm.mText;
    if (mHeardAlarms.count(key) == 0) mWantsBeep = mHasSound;
    open.insert(key);
  }
  mHeardAlarms = std::move(open);
}

bool View::TakeBeep() { return std::exchange(mWantsBeep, false); }

void View::Arrange() {
  mIsArranged = true;
  mSheet = MakeSheet(mScreen, mStates.mChoices,
                     mMode == Mode::kLogIn ? std::min(mWidth, kFormWidth) : mWidth);
  ScrollBy(0);
}

const Spot* View::SpotOf(const std::string& focus) const {
  if (focus.empty()) return nullptr;
  for (const Spot& spot : mSheet.mSpots) {
    const bool isSpot = spot.mPart == Part::kItem || spot.mPart == Part::kTab;
    if (isSpot && FocusOf(spot) == focus) return &spot;
  }
  return nullptr;
}

const Spot* View::FocusSpot() const { return SpotOf(mStates.mFocus); }

const Item* View::FocusItem() const {
  const Spot* spot = FocusSpot();
  return spot != nullptr && spot->mPart == Part::kItem ? spot->mItem : nullptr;
}

// With the line above it, which is the frame of the first object of a box.
void View::ShowSpot(const Spot& spot) {
  const int height = BodyHeight();
  const int top = std::max(0, spot.mRect.mY - 1);
  const int bottom = std::min(spot.mRect.Bottom() + 1, top + height);
  mScroll = ScrolledTo(mScroll, height, top, bottom);
  ScrollBy(0);
}

void View::ScrollBy(int lines) {
  mScroll = std::clamp(mScroll + lines, 0, std::max(0, mSheet.mHeight - BodyHeight()));
}

void View::EnterDialog(const std::string& dialog, Ms now) {
  mSession.Enter(dialog, now);
  mHasActed = true;
}

std::optional<View::Ms> View::EndsIn(Ms now) const {
  constexpr Ms kWarnBefore = 60'000;
  const Ms interval = mSession.LastOpened().mIntervalSeconds * 1000;
  if (interval <= 0 || mSession.StaysLoggedIn() || mMode == Mode::kLogIn) return std::nullopt;
  const Ms left = mTouchedAt + interval - now;
  if (left > std::min(kWarnBefore, interval / 4)) return std::nullopt;
  return std::max<Ms>(left, 0);
}

// Ages and times that run are shown in seconds.
std::optional<View::Ms> View::NextDraw(Ms now) const {
  if (mSession.StaleSince() || EndsIn(now)) return now + 1000;
  const Ms interval = mSession.LastOpened().mIntervalSeconds * 1000;
  if (interval <= 0 || mSession.StaysLoggedIn() || mMode == Mode::kLogIn) return std::nullopt;
  return mTouchedAt + interval - std::min<Ms>(60'000, interval / 4);
}

}  // namespace dorn::terminal
