// What touches do, and the lists that lie over the screen.
#include <algorithm>
#include <cctype>
#include <utility>

#include "tools/dorn-terminal/LogInForm.h"
#include "tools/dorn-terminal/View.h"

namespace dorn::terminal {

namespace {

using station::Item;
using station::Json;
using station::Widget;

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// Objects of which name or caption holds the filter.
void Find(const std::vector<Item>& items, const std::string& filter,
          std::vector<Popup::Entry>& found) {
  for (const Item& item : items) {
    if (!item.mIsVisible) continue;
    const bool isWanted = Lower(item.mCaption).find(filter) != std::string::npos ||
                          Lower(item.mName).find(filter) != std::string::npos;
    if (isWanted) {
      const std::string also = item.mCaption == item.mName ? "" : "  (" + item.mName + ")";
      found.push_back({item.mCaption + also, item.mName, Tone::kPlain});
    }
    Find(item.mChildren, filter, found);
  }
}

// Turns to the tabs in which an object stands. False when it does not stand in this one.
bool ShowTabs(const Item& item, const std::string& name, Choices& choices) {
  if (item.mName == name) return true;
  for (const Item& child : item.mChildren) {
    if (!ShowTabs(child, name, choices)) continue;
    if (item.mGrouping == station::Grouping::kTabs) choices.mTabs[item.mName] = child.mName;
    return true;
  }
  return false;
}

}  // namespace

void View::Touch(const Spot& spot, Ms now) {
  const Item& item = *spot.mItem;
  if (spot.mPart == Part::kTab) {
    mStates.mChoices.mTabs[spot.mOwner] = item.mName;
    mIsArranged = false;
    return;
  }
  if (!item.mIsEnabled || (item.mIsReadOnly && item.mWidget != Widget::kGrid)) return;
  switch (item.mWidget) {
    case Widget::kButton:
      return TouchButton(item, false, now);
    case Widget::kCheck:
      Set(item, "Value", item.mIsOn ? "OFF" : "ON", now);
      return;
    case Widget::kRadio:
      Set(item, "Attr", "ON", now);
      return;
    case Widget::kCombo:
      return OpenOptions(item);
    default:
      return;
  }
}

void View::TouchButton(const Item& item, bool isConfirmed, Ms now) {
  if (mMode == Mode::kLogIn) {
    CommitLogIn(mStates.mFocus, now);
    LogIn(mId, mPass, now);
    return;
  }
  if (!item.mConfirm.empty() && !isConfirmed) {
    mPopup.emplace(Popup::Kind::kConfirm, item.mCaption, item.mName);
    mPopup->SetLines({item.mConfirm, ""});
    mPopup->SetEntries({{Words().yes, "yes", Tone::kPlain}, {Words().no, "no", Tone::kPlain}});
    mPopup->SetCursor(1);
    return;
  }
  const bool isOperable = IsOperable();
  if (isOperable && !item.mGoto.empty()) {
    EnterDialog(item.mGoto, now);
  } else if (!isOperable || !mSession.Act(item.mName, item.mActionType, {{item.mName, {}}}, now)) {
    mNote = Words().notSent;
  }
  mHasActed = true;
}

bool View::Set(const Item& item, const char* key, const std::string& value, Ms now) {
  const std::string name = item.mName;
  const bool isSent =
      IsOperable() &&
      mSession.Act(item.mName, item.mActionType, {{item.mName, {{key, Json::String(value)}}}}, now);
  if (!isSent) mNote = Words().notSent;
  if (!station::ShowAction(mScreen, mSession.Dialog(), Language(), name)) mHasActed = true;
  return isSent;
}

void View::Acknowledge(const std::string& grid, const std::string& key, Ms now) {
  const bool isSent =
      IsOperable() && mSession.Act(grid, "ACK", {{grid, {{"Row", Json::String(key)}}}}, now);
  if (!isSent) mNote = Words().notSent;
  mHasActed = true;
}

// Sends what was typed. What is refused, or cannot be sent now, stays.
void View::Commit(const std::string& name, Ms now) {
  const auto draft = mStates.mDrafts.find(name);
  const Spot* spot = SpotOf(name);
  if (draft == mStates.mDrafts.end() || spot == nullptr) return;
  if (mMode == Mode::kLogIn) return CommitLogIn(name, now);
  const Item& item = *spot->mItem;
  const station::Typed typed = station::CheckTyped(item, draft->second.mEditor.Text());
  mIsArranged = false;
  if (!typed.mValue) {
    mStates.mChoices.mRefusals[name] = RefusalText(typed.mRefusal, item, Words());
    return;
  }
  mStates.mChoices.mRefusals.erase(name);
  if (draft->second.mEditor.Text() == TypedForm(item) || *typed.mValue == item.mRaw) {
    mStates.mDrafts.erase(draft);
    return;
  }
  if (!Set(item, "Value", *typed.mValue, now)) return;
  mSent[name] = std::move(draft->second);
  mStates.mDrafts.erase(draft);
}

void View::CommitLogIn(const std::string& name, Ms) {
  const auto draft = mStates.mDrafts.find(name);
  if (draft == mStates.mDrafts.end()) return;
  (name == kUserField ? mId : mPass) = draft->second.mEditor.Text();
  mStates.mDrafts.erase(draft);
  mHasActed = true;
}

void View::OpenMenu() {
  mPopup.emplace(Popup::Kind::kMenu, Words().menu, "");
  std::vector<Popup::Entry> entries;
  std::size_t cursor = 0;
  for (const std::string& name : mSession.LastOpened().mMenu) {
    std::string caption = name;
    std::replace(caption.begin(), caption.end(), '_', ' ');
    if (name == mDialog) cursor = entries.size();
    const std::string digit = entries.size() < 9 ? std::to_string(entries.size() + 1) + " " : "  ";
    entries.push_back({digit + caption, name, Tone::kPlain});
  }
  mPopup->SetEntries(std::move(entries));
  mPopup->SetCursor(cursor);
}

void View::OpenAlarms() {
  mPopup.emplace(Popup::Kind::kAlarms, Words().alarms, "");
  RefreshPopup();
}

void View::OpenFind() {
  mPopup.emplace(Popup::Kind::kFind, Words().find, "");
  mPopup->SetHasFilter();
  RefreshPopup();
}

void View::OpenHelp() {
  mPopup.emplace(Popup::Kind::kHelp, Words().help, "");
  std::vector<std::string> lines;
  for (const std::string_view line : Words().helpLines) lines.emplace_back(line);
  mPopup->SetLines(std::move(lines));
}

void View::OpenOptions(const Item& item) {
  mPopup.emplace(Popup::Kind::kOptions, item.mCaption, item.mName);
  std::vector<Popup::Entry> entries;
  std::size_t cursor = 0;
  for (std::size_t i = 0; i < item.mOptions.size(); ++i) {
    if (item.mOptions[i] == item.mRaw) cursor = i;
    entries.push_back({item.mOptionTexts[i], item.mOptions[i], Tone::kPlain});
  }
  mPopup->SetEntries(std::move(entries));
  mPopup->SetCursor(cursor);
}

// What a list over the screen is made of has changed.
void View::RefreshPopup() {
  if (!mPopup) return;
  std::vector<Popup::Entry> entries;
  if (mPopup->GetKind() == Popup::Kind::kAlarms) {
    for (const station::AlarmLine& alarm : mScreen.mAlarmBar) {
      entries.push_back({alarm.mText.empty() ? alarm.mKey : alarm.mText,
                         alarm.mGrid + '\0' + alarm.mKey, ToneOf(alarm.mState)});
    }
    mPopup->SetLines({entries.empty() ? Words().noAlarms
                                      : Filled(Words().moreAlarms, std::to_string(entries.size())),
                      std::string("s ") + Words().sound + (mHasSound ? " [x]" : " [ ]"), ""});
    mPopup->SetEntries(std::move(entries));
  } else if (mPopup->GetKind() == Popup::Kind::kFind) {
    for (const station::Card& card : mScreen.mCards) {
      Find(card.mItems, Lower(mPopup->Filter()), entries);
    }
    mPopup->SetLines({Filled(Words().found, std::to_string(entries.size()))});
    mPopup->SetEntries(std::move(entries));
  }
}

// Wherever an object stands, also on a tab that is not shown.
void View::GoTo(const std::string& name, Ms now) {
  for (const station::Card& card : mScreen.mCards) {
    const bool isIn = std::any_of(card.mItems.begin(), card.mItems.end(), [&](const Item& item) {
      return ShowTabs(item, name, mStates.mChoices);
    });
    if (isIn) break;
  }
  Arrange();
  for (const Spot& spot : mSheet.mSpots) {
    if (spot.mItem == nullptr || spot.mItem->mName != name) continue;
    ShowSpot(spot);
    if (spot.mPart == Part::kItem) SetFocus(name, now);
    return;
  }
}

}  // namespace dorn::terminal
