// The words that dialogs are written in: the one place that knows the types of objects and their
// attributes. Screens, the linter and its schema are made from these tables.
#ifndef STATION_VOCABULARY_H_
#define STATION_VOCABULARY_H_

#include <optional>
#include <string_view>
#include <vector>

namespace dorn::station {

// What an object is on a screen.
enum class Widget {
  kLabel,
  kButton,
  kEdit,
  kCheck,
  kSlider,
  kList,
  kCombo,
  kImage,
  kRadio,  // One button of a RADIO group.
  kGroup,
  kGrid
};

struct TypeWord {
  std::string_view mName;
  Widget mWidget;
  bool mIsLibrarys;              // The library gives it a meaning; all others are stations' alone.
  std::string_view mActionType;  // What a touch of it is called; empty when it cannot be touched.
  std::string_view mMeaning;
};

enum class Attribute {
  kName,
  kType,
  kLayout,
  kNotifyList,
  kAlias,
  kAttr,
  kValue,
  kData,
  kCommand,
  kLabel,
  kText,
  kTitle,
  kHint,
  kX,
  kY,
  kW,
  kH,
  kOrder,
  kWide,
  kBreak,
  kUnit,
  kFormat,
  kScale,
  kMin,
  kMax,
  kStep,
  kLow,
  kHigh,
  kLowLow,
  kHighHigh,
  kState,
  kColor,
  kEnabled,
  kVisible,
  kReadOnly,
  kConfirm,
  kOptions,
  kRows,
  kColumns,
  kWidths,
  kRowKey,
  kRole,
  kMaxLength,
  kKeyboard,
  kError,
  kGoto,
  kImage
};

enum class Values {
  kText,
  kInteger,
  kOnOff,
  kWord,   // One of mWords.
  kTexts,  // A flat array of strings.
  kTable,  // An array of arrays of strings.
  kAny     // Of any kind, as the object's type asks.
};

struct AttributeWord {
  Attribute mAttribute;
  std::string_view mName;
  unsigned mWidgets;  // On which it means something: a bit for each Widget.
  Values mValues;
  std::string_view mWords;    // Separated by blanks; a word that ends with ":" takes a number.
  std::string_view mDefault;  // As a text; empty: none.
  bool mHasLanguages;         // "Label:ja" may stand beside "Label".
  bool mIsLibrarys;           // The library itself reads it.
  std::string_view mMeaning;
  std::string_view mWithout = {};  // What holds without it, where mDefault does not say.

  bool IsOn(Widget widget) const { return (mWidgets >> static_cast<unsigned>(widget) & 1) != 0; }
};

// A member that holds objects and is no attribute. The library takes the first that is there, in
// this order.
struct ChildrenWord {
  std::string_view mName;
  bool mIsList;  // An array of objects; otherwise one object.
  std::string_view mMeaning;
};

// All words, each once. Those of the attributes are in the order of the enumeration.
const std::vector<TypeWord>& Types();
const std::vector<AttributeWord>& Attributes();
const std::vector<ChildrenWord>& ChildrenWords();

// Null for words that nobody knows.
const TypeWord* FindType(std::string_view name);
// With the language cut off, where the attribute may have one.
const AttributeWord* FindAttribute(std::string_view key);
const ChildrenWord* FindChildrenWord(std::string_view key);

const AttributeWord& WordOf(Attribute attribute);
inline std::string_view NameOf(Attribute attribute) { return WordOf(attribute).mName; }

// "ja" of "Label:ja"; empty without one.
std::string_view LanguageOf(std::string_view key);

// The widget of an object: an unknown type is a group when it has children, else a label.
Widget WidgetOf(std::string_view type, bool hasChildren);

// Members of an OPEN command beyond the library's own, for hosts that compose it themselves.
const std::vector<std::string_view>& OpenWords();

}  // namespace dorn::station

#endif  // STATION_VOCABULARY_H_
