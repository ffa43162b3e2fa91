// What the user sees and does: draws a session's screen with its frame into cells, and turns keys
// into what the session is told. Knows neither a terminal nor a clock.
//
//   line 0        title, line and session
//   line 1        alarms that nobody has acknowledged, where the dialog has a list of them
//   ...           the sheet with the dialog, scrolled
//   last but one  what is wrong and since when, else a word about what has the focus
//   last          function keys
#ifndef TOOLS_DORN_TERMINAL_VIEW_H_
#define TOOLS_DORN_TERMINAL_VIEW_H_

#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "station/Screen.h"
#include "station/Session.h"
#include "tools/dorn-terminal/Keys.h"
#include "tools/dorn-terminal/Objects.h"
#include "tools/dorn-terminal/Popup.h"

namespace dorn::terminal {

class View {
 public:
  using Ms = station::Session::Ms;

  struct Setup {
    std::string mHost;      // As the user named it.
    std::string mDialog;    // To be entered after the log-in; empty: the host's choice.
    std::string mLanguage;  // The user's choice; empty: the host's, else mSystemLanguage.
    std::string mSystemLanguage;
  };

  // The session must outlive it.
  View(station::Session& session, Setup setup, int width, int height);

  // Logs in with what was given on the command line.
  void LogIn(std::string id, std::string pass, Ms now);

  void OnKey(const Key& key, Ms now);
  void Resize(int width, int height);
  // The session has received something, or time has passed. What the host has changed is seen after
  // TakeHost(), which costs more the more objects there are, so that keys need not wait for it.
  void OnHost(Ms now);
  bool HasHostChange() const { return mIsHostChanged; }
  void TakeHost(Ms now);

  Grid Draw(Ms now);
  // When it looks different without anything that happens; nothing: never.
  std::optional<Ms> NextDraw(Ms now) const;

  bool WantsQuit() const { return mWantsQuit; }
  // An alarm is new, and the user wants to hear it. Asking forgets.
  bool TakeBeep();

 private:
  enum class Mode { kLogIn, kDialog };

  // View.cc
  void Rebuild(Ms now);
  void RebuildLogIn();
  void RebuildDialog(Ms now);
  void Arrange();
  void SettleDrafts();
  void NoteAlarms();
  void EnterDialog(const std::string& dialog, Ms now);
  void SwitchDialog(const std::string& dialog);
  std::string Language() const;
  const Texts& Words() const { return TextsIn(Language()); }
  bool IsOperable() const;
  bool MustHoldKeys() const;
  const Spot* FocusSpot() const;
  const Spot* SpotOf(const std::string& focus) const;
  const station::Item* FocusItem() const;
  bool HasAlarmList() const { return mHasAlarmList; }
  int BodyTop() const { return HasAlarmList() && mMode == Mode::kDialog ? 2 : 1; }
  int BodyHeight() const { return std::max(1, mHeight - BodyTop() - 2); }
  void ShowSpot(const Spot& spot);
  void ScrollBy(int lines);

  // ViewKeys.cc
  void HandleKey(const Key& key, Ms now);
  bool OnFrameKey(const Key& key, Ms now);
  void OnPopupKey(const Key& key, Ms now);
  void OnPopupChoice(const Popup& popup, Ms now);
  void OnMoveKey(const Key& key, Ms now);
  void OnClick(const Key& key, Ms now);
  bool OnObjectKey(const Spot& spot, const Key& key, Ms now);
  bool OnEditKey(const station::Item& item, const Key& key, Ms now);
  bool OnSliderKey(const station::Item& item, const Key& key, Ms now);
  bool OnListKey(const station::Item& item, const Key& key, Ms now);
  bool OnTableKey(const station::Item& item, const Key& key, Ms now);
  void StepNumber(const station::Item& item, bool isUp);
  void MoveFocus(const Key& key, Ms now);
  void SetFocus(const std::string& focus, Ms now);
  void StepFocus(int by, Ms now);

  // ViewActs.cc
  void Touch(const Spot& spot, Ms now);
  void TouchButton(const station::Item& item, bool isConfirmed, Ms now);
  bool Set(const station::Item& item, const char* key, const std::string& value, Ms now);
  void Commit(const std::string& name, Ms now);
  void CommitLogIn(const std::string& name, Ms now);
  void Acknowledge(const std::string& grid, const std::string& key, Ms now);
  void OpenMenu();
  void OpenAlarms();
  void OpenFind();
  void OpenHelp();
  void OpenOptions(const station::Item& item);
  void RefreshPopup();
  void GoTo(const std::string& name, Ms now);

  // ViewDraw.cc
  void DrawTitle(Painter& painter, Ms now) const;
  void DrawAlarmBar(Painter& painter) const;
  void DrawStatus(Painter& painter, Ms now) const;
  void DrawKeys(Painter& painter);
  void DrawBody(Grid& grid);
  std::string FocusWords() const;
  std::optional<Ms> EndsIn(Ms now) const;

  station::Session& mSession;
  Setup mSetup;
  int mWidth;
  int mHeight;
  Mode mMode = Mode::kLogIn;
  bool mIsHostChanged = true;
  bool mHasActed = false;    // The user has changed what is shown of the host.
  bool mIsArranged = false;  // The sheet fits to screen, choices and size.
  station::Screen mScreen;
  Sheet mSheet;
  bool mHasAlarmList = false;
  int mScroll = 0;

  ObjectStates mStates;
  std::string mDialog;                                        // To which mStates belongs.
  std::map<std::string, std::map<std::string, Draft>> mKept;  // Drafts of other dialogs.
  std::map<std::string, Draft> mSent;                         // Typed, sent, and not confirmed.
  std::string mUser;                                          // Who typed them.
  std::string mId;
  std::string mPass;
  std::string mNote;  // About the last key; until the next one.

  std::optional<Popup> mPopup;
  std::deque<Key> mHeldKeys;  // Typed while a dialog was being entered.
  Ms mEnteringSince = 0;
  Ms mTouchedAt = 0;
  bool mHasSound = true;
  bool mWantsBeep = false;
  std::set<std::string> mHeardAlarms;
  bool mWantsQuit = false;
  std::vector<std::pair<Rect, int>> mKeySpots;  // Where the function keys can be clicked.
};

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_VIEW_H_
