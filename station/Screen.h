// What a renderer draws: the dialog's objects with every default applied, in the order and the
// language of the screen. Nothing behind it needs to know attributes or their defaults.
#ifndef STATION_SCREEN_H_
#define STATION_SCREEN_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "station/Replica.h"
#include "station/Vocabulary.h"

namespace dorn::station {

enum class Condition { kNormal, kInfo, kWarn, kAlarm, kBad, kOff };
enum class Color { kNone, kInk, kAccent, kOk, kWarn, kAlarm };
enum class Format {
  kText,
  kNumber,  // With mDecimals.
  kTime,
  kDatetime,
  kBar,
  kSpark,
  kPassword,
  kLines
};
enum class Keyboard { kText, kNumber, kNone };
enum class Grouping { kPlain, kRadio, kTabs };

struct Place {
  int mX = 0;
  int mY = 0;
  int mW = 1;
  int mH = 1;
};

struct TableRow {
  std::vector<std::string> mCells;
  std::string mText;  // The Text cell of an alarm.
  std::string mKey;   // The cell of the RowKey column: names the row to the host.
  Condition mState = Condition::kNormal;  // Of an alarm.
  bool mNeedsAck = false;                 // An alarm whose Ack cell is empty.
};

struct Table {
  std::vector<std::string> mColumns;  // Titles as displayed, one for each column.
  std::vector<std::string> mWidths;   // As given; may be fewer.
  std::vector<TableRow> mRows;
  bool mIsAlarms = false;
};

// One object of the screen.
struct Item {
  std::string mName;
  std::string mType;  // The host's word.
  Widget mWidget = Widget::kLabel;
  std::string mCaption;
  std::string mHint;
  Condition mState = Condition::kNormal;
  Color mColor = Color::kNone;
  bool mIsVisible = true;  // A group's holds for all in it.
  bool mIsEnabled = true;  // Likewise.
  bool mIsReadOnly = false;
  bool mIsPending = false;  // Sent, and not confirmed by the host.
  std::string mError;

  std::optional<Place> mPlace;  // For all of a group's children or for none.
  bool mIsWide = false;
  bool mBreaks = false;

  std::string mValue;  // Formatted.
  std::string mRaw;    // As the host has it.
  std::string mUnit;
  Format mFormat = Format::kText;
  int mDecimals = 0;
  int mLines = 1;
  long long mScale = 1;
  std::optional<long long> mMin, mMax, mStep, mLow, mHigh, mLowLow, mHighHigh;  // Before mScale.

  bool mIsNumeric = false;  // An EDIT for numbers.
  Keyboard mKeyboard = Keyboard::kText;
  int mMaxLength = 0;
  bool mIsOn = false;                     // A check or radio button.
  std::vector<std::string> mOptions;      // What the host knows.
  std::vector<std::string> mOptionTexts;  // What is displayed.
  std::string mConfirm;
  std::string mGoto;
  std::string mImage;
  std::string mActionType;  // How its touch is told; empty when it cannot be touched.

  Table mTable;
  Grouping mGrouping = Grouping::kPlain;
  std::vector<Item> mChildren;
};

// A card of the page: a group or grid at the top, or the loose objects between them.
struct Card {
  std::string mName;         // Empty for an implied one.
  std::string mTitle;        // Likewise.
  int mColumns = 4;          // Of 12.
  std::vector<Item> mItems;  // The group or grid itself, or the loose objects.
};

struct AlarmLine {
  std::string mGrid;
  std::string mKey;
  std::string mText;
  Condition mState = Condition::kAlarm;
};

struct Screen {
  std::string mDialog;
  std::string mTitle;
  std::vector<Card> mCards;
  std::vector<AlarmLine> mAlarmBar;  // Alarms that nobody has acknowledged.
};

// `language` is as in "Label:ja"; empty: none.
Screen MakeScreen(const Replica& replica, std::string_view language);

// Shows in place what an action has set: the value of one object, whether it is on, its state, and
// that it is pending. All else stays as it was, so that this costs little on a screen of thousands.
// False, and nothing has changed, where the action shows elsewhere too or the object is another one
// by now: the screen has to be made anew.
bool ShowAction(Screen& screen, const Replica& replica, std::string_view language,
                std::string_view name);

// What is sent of something that was typed, or why it is not.
struct Typed {
  std::optional<std::string> mValue;
  enum class Refusal { kNone, kNoNumber, kTooLow, kTooHigh, kTooLong, kNotSendable };
  Refusal mRefusal = Refusal::kNone;
};
Typed CheckTyped(const Item& edit, std::string_view typed);

// The Value of an object as its Format, Scale and decimals ask; `raw` where it is no number.
std::string FormattedValue(const Item& item, std::string_view raw);

}  // namespace dorn::station

#endif  // STATION_SCREEN_H_
