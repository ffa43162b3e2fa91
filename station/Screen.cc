#include "station/Screen.h"

#include <algorithm>

#include "station/ScreenTable.h"
#include "station/Words.h"

namespace dorn::station {

namespace {

constexpr int kCardColumns = 4;
constexpr int kWideCardColumns = 8;
constexpr int kPageColumns = 12;

// What a group says for all in it.
struct Inherited {
  bool mIsVisible = true;
  bool mIsEnabled = true;
};

class ScreenMaker {
 public:
  ScreenMaker(const Replica& replica, std::string_view language)
      : mReplica(replica), mLanguage(language) {}

  Screen Make() {
    const Object& root = mReplica.Confirmed().Root();
    const Json::Object attributes = mReplica.ShownAttributes(root);
    Screen screen;
    screen.mDialog = mReplica.DialogName();
    screen.mTitle = Words(attributes, mLanguage).Caption();
    const Words words(attributes, mLanguage);
    const Inherited all{words.Flag(Attribute::kVisible), words.Flag(Attribute::kEnabled)};
    bool isLoose = false;
    for (Item& item : MakeChildren(root, all)) {
      const bool isCard = item.mWidget == Widget::kGroup || item.mWidget == Widget::kGrid;
      if (isCard || !isLoose) screen.mCards.push_back(isCard ? CardOf(item) : Card());
      screen.mCards.back().mItems.push_back(std::move(item));
      isLoose = !isCard;
    }
    for (const Card& card : screen.mCards) CollectAlarms(card.mItems, screen.mAlarmBar);
    return screen;
  }

  // Without a place, and as visible and enabled as it is by itself.
  Item MakeAlone(const Object& object) {
    const Json::Object attributes = mReplica.ShownAttributes(object);
    return MakeItem(object, Words(attributes, mLanguage), {});
  }

 private:
  static Card CardOf(const Item& item) {
    Card card;
    card.mName = item.mName;
    card.mTitle = item.mCaption;
    const bool holdsGroups =
        std::any_of(item.mChildren.begin(), item.mChildren.end(),
                    [](const Item& child) { return child.mWidget == Widget::kGroup; });
    card.mColumns = item.mIsWide                                   ? kPageColumns
                    : holdsGroups || item.mWidget == Widget::kGrid ? kWideCardColumns
                                                                   : kCardColumns;
    return card;
  }

  std::vector<Item> MakeChildren(const Object& group, const Inherited& inherited) {
    std::vector<std::pair<long long, Item>> ordered;
    ordered.reserve(group.mChildren.size());
    for (const auto& child : group.mChildren) {
      const Json::Object attributes = mReplica.ShownAttributes(*child);
      const Words words(attributes, mLanguage);
      ordered.emplace_back(words.Integer(Attribute::kOrder).value_or(0),
                           MakeItem(*child, words, inherited));
    }
    const auto isBefore = [](const auto& a, const auto& b) { return a.first < b.first; };
    // Most need no order, and sorting moves all of them.
    if (!std::is_sorted(ordered.begin(), ordered.end(), isBefore)) {
      std::stable_sort(ordered.begin(), ordered.end(), isBefore);
    }
    std::vector<Item> items;
    items.reserve(ordered.size());
    for (auto& [order, item] : ordered) items.push_back(std::move(item));
    const bool allPlaced = std::all_of(items.begin(), items.end(),
                                       [](const Item& item) { return item.mPlace.has_value(); });
    if (!allPlaced) {
      for (Item& item : items) item.mPlace.reset();
    }
    return items;
  }

  Item MakeItem(const Object& object, const Words& words, const Inherited& inherited) {
    Item item;
    item.mName = object.mName;
    item.mType = object.TextOf("Type");
    item.mWidget = WidgetOf(item.mType, !object.mChildren.empty());
    item.mCaption = words.Caption();
    item.mHint = words.TextInLanguage(Attribute::kHint);
    item.mError = words.TextInLanguage(Attribute::kError);
    item.mColor = ColorOf(words.Word(Attribute::kColor));
    item.mIsVisible = inherited.mIsVisible && words.Flag(Attribute::kVisible);
    item.mIsEnabled = inherited.mIsEnabled && words.Flag(Attribute::kEnabled);
    item.mIsReadOnly = words.Flag(Attribute::kReadOnly);
    item.mIsPending = mReplica.IsPending(object.mName);
    SetPlace(item, words);
    if (const TypeWord* type = FindType(item.mType)) item.mActionType = type->mActionType;
    SetWidget(item, object, words);
    item.mState = StateOf(item, words);
    return item;
  }

  static Color ColorOf(std::string_view word) {
    if (word == "ink") return Color::kInk;
    if (word == "accent") return Color::kAccent;
    if (word == "ok") return Color::kOk;
    if (word == "warn") return Color::kWarn;
    return word == "alarm" ? Color::kAlarm : Color::kNone;
  }

  static void SetPlace(Item& item, const Words& words) {
    const auto x = words.Integer(Attribute::kX);
    const auto y = words.Integer(Attribute::kY);
    const auto w = words.Integer(Attribute::kW);
    const auto h = words.Integer(Attribute::kH);
    if (x && y && w && h) {
      item.mPlace = Place{static_cast<int>(std::clamp(*x, 0LL, 11LL)),
                          static_cast<int>(std::clamp(*y, 0LL, 999LL)),
                          static_cast<int>(std::clamp(*w, 1LL, 12LL)),
                          static_cast<int>(std::clamp(*h, 1LL, 999LL))};
    }
    item.mIsWide = words.Flag(Attribute::kWide);
    item.mBreaks = words.Flag(Attribute::kBreak);
  }

  void SetWidget(Item& item, const Object& object, const Words& words) {
    switch (item.mWidget) {
      case Widget::kGroup:
        item.mGrouping = GroupingOf(words);
        item.mChildren = MakeChildren(object, {item.mIsVisible, item.mIsEnabled});
        break;
      case Widget::kGrid:
        item.mTable = MakeTable(words);
        if (!item.mTable.mIsAlarms) item.mActionType = {};
        break;
      case Widget::kButton:
        item.mConfirm = words.TextInLanguage(Attribute::kConfirm);
        item.mGoto = words.Text(Attribute::kGoto);
        break;
      case Widget::kRadio:
        item.mIsOn =
            words.Text(words.Find(Attribute::kAttr) != nullptr ? Attribute::kAttr
                                                               : Attribute::kValue) == "ON";
        break;
      default:
        SetValue(item, words);
        break;
    }
  }

  static Grouping GroupingOf(const Words& words) {
    const std::string_view layout = words.Word(Attribute::kLayout);
    if (layout == "RADIO") return Grouping::kRadio;
    return layout == "TABS" ? Grouping::kTabs : Grouping::kPlain;
  }

  static void SetValue(Item& item, const Words& words) {
    SetFormat(item, words);
    item.mRaw = words.Text(Attribute::kValue);
    item.mValue = FormattedValue(item, item.mRaw);
    item.mUnit = words.TextInLanguage(Attribute::kUnit);
    item.mImage = words.Text(Attribute::kImage);
    if (item.mWidget == Widget::kCheck) item.mIsOn = item.mRaw == "ON" || item.mRaw == "true";
    if (item.mWidget == Widget::kList || item.mWidget == Widget::kCombo) {
      item.mOptions = TextsOf(words.Find(Attribute::kOptions));
      item.mOptionTexts = TextsOf(words.FindInLanguage(Attribute::kOptions));
      // A translation may lack the last ones.
      for (std::size_t i = item.mOptionTexts.size(); i < item.mOptions.size(); ++i) {
        item.mOptionTexts.push_back(item.mOptions[i]);
      }
      item.mOptionTexts.resize(item.mOptions.size());
    }
  }

  static void SetFormat(Item& item, const Words& words) {
    item.mMin = words.Integer(Attribute::kMin);
    item.mMax = words.Integer(Attribute::kMax);
    item.mStep = words.Integer(Attribute::kStep);
    item.mLow = words.Integer(Attribute::kLow);
    item.mHigh = words.Integer(Attribute::kHigh);
    item.mLowLow = words.Integer(Attribute::kLowLow);
    item.mHighHigh = words.Integer(Attribute::kHighHigh);
    const auto scale = words.Integer(Attribute::kScale);
    if (scale && *scale > 0) item.mScale = *scale;
    item.mDecimals = DecimalsOfScale(item.mScale);
    SetFormatWord(item, words.Text(Attribute::kFormat));
    if (item.mWidget == Widget::kEdit) SetTyping(item, words, scale.has_value());
    if (item.mWidget == Widget::kSlider) {
      item.mMin = item.mMin.value_or(0);
      item.mMax = item.mMax.value_or(100);
      item.mStep = item.mStep.value_or(1);
    }
  }

  static void SetFormatWord(Item& item, const std::string& word) {
    constexpr std::string_view kLines = "lines:";
    if (word == "0" || word == "0.0" || word == "0.00") {
      item.mFormat = Format::kNumber;
      item.mDecimals = word == "0" ? 0 : static_cast<int>(word.size()) - 2;
    } else if (word == "time") {
      item.mFormat = Format::kTime;
    } else if (word == "datetime") {
      item.mFormat = Format::kDatetime;
    } else if (word == "bar") {
      item.mFormat = Format::kBar;
    } else if (word == "spark") {
      item.mFormat = Format::kSpark;
    } else if (word == "password") {
      item.mFormat = Format::kPassword;
    } else if (word.compare(0, kLines.size(), kLines) == 0) {
      const auto lines = ReadDecimal(std::string_view(word).substr(kLines.size()));
      item.mFormat = Format::kLines;
      item.mLines = lines && lines->mDecimals == 0
                        ? static_cast<int>(std::clamp(lines->mDigits, 1LL, 100LL))
                        : 1;
    } else if (word != "text" && item.mScale > 1) {
      item.mFormat = Format::kNumber;
    }
  }

  static void SetTyping(Item& item, const Words& words, bool hasScale) {
    const std::string format = words.Text(Attribute::kFormat);
    const std::string_view keyboard = words.Word(Attribute::kKeyboard);
    item.mIsNumeric = format == "0" || format == "0.0" || format == "0.00" ||
                      keyboard == "NUMBER" || item.mMin || item.mMax || item.mStep || hasScale;
    item.mKeyboard = keyboard == "NONE"   ? Keyboard::kNone
                     : keyboard == "TEXT" ? Keyboard::kText
                     : item.mIsNumeric    ? Keyboard::kNumber
                                          : Keyboard::kText;
    const auto length = words.Integer(Attribute::kMaxLength);
    item.mMaxLength =
        length && *length > 0 && *length <= 1000000 ? static_cast<int>(*length) : 1000;
  }

  static Condition StateOf(const Item& item, const Words& words) {
    const std::string given = words.Text(Attribute::kState);
    if (IsOneOf(WordOf(Attribute::kState).mWords, given)) return ConditionOf(given);
    const bool hasLimits = WordOf(Attribute::kLow).IsOn(item.mWidget);
    const auto value = hasLimits ? ReadDecimal(item.mRaw) : std::nullopt;
    if (!value) return Condition::kNormal;
    const auto isBelow = [&value](const auto& limit) {
      return limit && Compare(*value, *limit) < 0;
    };
    const auto isAbove = [&value](const auto& limit) {
      return limit && Compare(*value, *limit) > 0;
    };
    if (isBelow(item.mLowLow) || isAbove(item.mHighHigh)) return Condition::kAlarm;
    return isBelow(item.mLow) || isAbove(item.mHigh) ? Condition::kWarn : Condition::kNormal;
  }

  // In the order in which the grids are drawn.
  static void CollectAlarms(const std::vector<Item>& items, std::vector<AlarmLine>& bar) {
    for (const Item& item : items) {
      if (item.mTable.mIsAlarms) CollectAlarms(item, bar);
      CollectAlarms(item.mChildren, bar);
    }
  }

  static void CollectAlarms(const Item& grid, std::vector<AlarmLine>& bar) {
    for (const TableRow& row : grid.mTable.mRows) {
      const bool isAlarm = row.mState == Condition::kAlarm || row.mState == Condition::kBad;
      if (isAlarm && row.mNeedsAck) bar.push_back({grid.mName, row.mKey, row.mText, row.mState});
    }
  }

  const Replica& mReplica;
  std::string_view mLanguage;
};

Item* FindItem(std::vector<Item>& items, std::string_view name) {
  for (Item& item : items) {
    if (item.mName == name) return &item;
    if (Item* child = FindItem(item.mChildren, name)) return child;
  }
  return nullptr;
}

Item* FindItem(Screen& screen, std::string_view name) {
  for (Card& card : screen.mCards) {
    if (Item* item = FindItem(card.mItems, name)) return item;
  }
  return nullptr;
}

// Where a value neither moves nor switches anything else.
bool ShowsItsValueAlone(Widget widget) {
  return widget == Widget::kEdit || widget == Widget::kCheck || widget == Widget::kSlider ||
         widget == Widget::kList || widget == Widget::kCombo;
}

}  // namespace

Screen MakeScreen(const Replica& replica, std::string_view language) {
  return ScreenMaker(replica, language).Make();
}

bool ShowAction(Screen& screen, const Replica& replica, std::string_view language,
                std::string_view name) {
  Item* item = FindItem(screen, name);
  const Object* object = replica.Confirmed().Find(name);
  if (item == nullptr || object == nullptr || !ShowsItsValueAlone(item->mWidget)) return false;
  Item now = ScreenMaker(replica, language).MakeAlone(*object);
  if (now.mWidget != item->mWidget) return false;
  item->mRaw = std::move(now.mRaw);
  item->mValue = std::move(now.mValue);
  item->mIsOn = now.mIsOn;
  item->mState = now.mState;
  item->mIsPending = now.mIsPending;
  return true;
}

}  // namespace dorn::station
