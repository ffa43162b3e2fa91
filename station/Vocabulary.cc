#include "station/Vocabulary.h"

#include <algorithm>

namespace dorn::station {

namespace {

using A = Attribute;
using W = Widget;

template <typename... Widgets>
constexpr unsigned On(Widgets... widgets) {
  return ((1U << static_cast<unsigned>(widgets)) | ...);
}

constexpr unsigned kAll = 0x7FF;
constexpr unsigned kNumbers = On(W::kLabel, W::kEdit, W::kSlider);
constexpr unsigned kChoices = On(W::kList, W::kCombo);
constexpr unsigned kValues = kNumbers | kChoices | On(W::kCheck, W::kRadio, W::kImage);

}  // namespace

const std::vector<TypeWord>& Types() {
  static const std::vector<TypeWord> types{
      {"LABEL", W::kLabel, false, "", "a name and a value"},
      {"BUTTON", W::kButton, false, "CLICK", "a touch, told by name alone"},
      {"EDIT", W::kEdit, false, "CHANGE", "a text or number to type"},
      {"CHECK", W::kCheck, false, "CHANGE", "Value ON or OFF"},
      {"SLIDER", W::kSlider, false, "CHANGE", "a number between Min and Max"},
      {"LIST", W::kList, false, "CHANGE", "one of Options, all in view"},
      {"COMBO", W::kCombo, false, "CHANGE", "one of Options, unfolded to choose"},
      {"IMAGE", W::kImage, false, "", "a picture of the host"},
      {"RADIOBTN", W::kRadio, true, "CLICK", "one choice of a RADIO group; Attr ON is chosen"},
      {"GROUP", W::kGroup, true, "", "objects that belong together"},
      {"GRID", W::kGrid, true, "ACK", "a table, or the list of alarms"},
  };
  return types;
}

const std::vector<AttributeWord>& Attributes() {
  static const std::vector<AttributeWord> attributes{
      {A::kName, "Name", kAll, Values::kText, "", "", false, true, "what updates call the object"},
      {A::kType, "Type", kAll, Values::kText, "", "", false, true, "what the object is"},
      {A::kLayout, "Layout", On(W::kGroup), Values::kWord, "RADIO TABS", "", false, true,
       "RADIO: one of its buttons is on; TABS: one of its groups is in view"},
      {A::kNotifyList, "NotifyList", kAll, Values::kText, "", "", false, true,
       "the attributes that trees of one session keep, with commas"},
      {A::kAlias, "Alias", kAll, Values::kText, "", "", false, true, "a name for the host alone"},
      {A::kAttr, "Attr", kAll, Values::kText, "", "", false, true, "ON: the radio button is on"},
      {A::kValue, "Value", kValues, Values::kAny, "", "", false, true, "what the object shows"},
      {A::kData, "Data", On(W::kGrid), Values::kTable, "", "", false, true,
       "a grid's table, in full output alone"},
      {A::kCommand, "Command", On(W::kGroup), Values::kText, "", "", false, true,
       "DIALOG on the root of a resource"},
      {A::kLabel, "Label", kAll, Values::kText, "", "", true, false, "the caption",
       "Title, then Text, then Name with \"_\" as blank"},
      {A::kText, "Text", kAll, Values::kText, "", "", true, false, "the caption, third choice"},
      {A::kTitle, "Title", kAll, Values::kText, "", "", true, false, "the caption, second choice"},
      {A::kHint, "Hint", kAll, Values::kText, "", "", true, false, "a word of help"},
      {A::kX, "X", kAll, Values::kInteger, "", "", false, false, "column of 12, from 0", "flow"},
      {A::kY, "Y", kAll, Values::kInteger, "", "", false, false, "row, from 0", "flow"},
      {A::kW, "W", kAll, Values::kInteger, "", "", false, false, "columns that it takes", "flow"},
      {A::kH, "H", kAll, Values::kInteger, "", "", false, false, "rows that it takes", "flow"},
      {A::kOrder, "Order", kAll, Values::kInteger, "", "0", false, false,
       "its place among its siblings; equal ones stay in file order", "file order"},
      {A::kWide, "Wide", kAll, Values::kOnOff, "", "OFF", false, false, "takes the whole width"},
      {A::kBreak, "Break", kAll, Values::kOnOff, "", "OFF", false, false, "begins a new row"},
      {A::kUnit, "Unit", kNumbers, Values::kText, "", "", true, false, "behind the value"},
      {A::kFormat, "Format", kNumbers, Values::kWord,
       "0 0.0 0.00 text time datetime bar spark password lines:", "text", false, false,
       "how the value is written"},
      {A::kScale, "Scale", kNumbers, Values::kInteger, "", "1", false, false,
       "10 shows 120 as 12.0"},
      {A::kMin, "Min", kNumbers, Values::kInteger, "", "", false, false, "before Scale"},
      {A::kMax, "Max", kNumbers, Values::kInteger, "", "", false, false, "before Scale"},
      {A::kStep, "Step", kNumbers, Values::kInteger, "", "", false, false, "before Scale"},
      {A::kLow, "Low", kNumbers, Values::kInteger, "", "", false, false, "below: WARN"},
      {A::kHigh, "High", kNumbers, Values::kInteger, "", "", false, false, "above: WARN"},
      {A::kLowLow, "LowLow", kNumbers, Values::kInteger, "", "", false, false, "below: ALARM"},
      {A::kHighHigh, "HighHigh", kNumbers, Values::kInteger, "", "", false, false, "above: ALARM"},
      {A::kState, "State", kAll, Values::kWord, "NORMAL INFO WARN ALARM BAD OFF", "NORMAL", false,
       false, "how it stands", "by the limits, else NORMAL"},
      {A::kColor, "Color", On(W::kLabel, W::kGroup), Values::kWord, "ink accent ok warn alarm", "",
       false, false, "a token of the theme"},
      {A::kEnabled, "Enabled", kAll, Values::kOnOff, "", "ON", false, false, "may be touched"},
      {A::kVisible, "Visible", kAll, Values::kOnOff, "", "ON", false, false, "is shown"},
      {A::kReadOnly, "ReadOnly", kAll, Values::kOnOff, "", "OFF", false, false,
       "is shown and not changed"},
      {A::kConfirm, "Confirm", On(W::kButton), Values::kText, "", "", true, false,
       "the question before it is sent"},
      {A::kOptions, "Options", kChoices, Values::kTexts, "", "", true, false,
       "the choices; Value is one of them", "[]"},
      {A::kRows, "Rows", On(W::kGrid), Values::kTable, "", "", false, false,
       "the table, wherever it is present"},
      {A::kColumns, "Columns", On(W::kGrid), Values::kTexts, "", "", true, false,
       "the titles of the columns", "A, B, C"},
      {A::kWidths, "Widths", On(W::kGrid), Values::kTexts, "", "", false, false,
       "the widths of the columns"},
      {A::kRowKey, "RowKey", On(W::kGrid), Values::kText, "", "", false, false,
       "the title of the column that names a row", "the first column"},
      {A::kRole, "Role", On(W::kGrid), Values::kWord, "ALARMS", "", false, false,
       "ALARMS: the list of alarms", "a table"},
      {A::kMaxLength, "MaxLength", On(W::kEdit), Values::kInteger, "", "1000", false, false,
       "characters that may be typed"},
      {A::kKeyboard, "Keyboard", On(W::kEdit), Values::kWord, "TEXT NUMBER NONE", "", false, false,
       "what is shown to type with", "by Format"},
      {A::kError, "Error", kAll, Values::kText, "", "", true, false,
       "why the host refused, beside the object"},
      {A::kGoto, "Goto", On(W::kButton), Values::kText, "", "", false, false,
       "the dialog that is entered in place of a touch"},
      {A::kImage, "Image", On(W::kImage, W::kLabel), Values::kText, "", "", false, false,
       "the file with the picture"},
  };
  return attributes;
}

const std::vector<ChildrenWord>& ChildrenWords() {
  static const std::vector<ChildrenWord> words{
      {"Objects", true, "the objects of a GROUP or of the dialog"},
      {"Commands", true, "the same, when there is no Objects; in a file, what holds the dialog"},
      {"Object", false, "one object, when there is neither of these"},
      {"Dialog", false, "one object, when there is none of these"},
  };
  return words;
}

const TypeWord* FindType(std::string_view name) {
  const auto& types = Types();
  const auto found = std::find_if(types.begin(), types.end(),
                                  [name](const TypeWord& type) { return type.mName == name; });
  return found == types.end() ? nullptr : &*found;
}

const AttributeWord* FindAttribute(std::string_view key) {
  const std::string_view name = key.substr(0, key.find(':'));
  for (const AttributeWord& word : Attributes()) {
    if (word.mName == name) return name == key || word.mHasLanguages ? &word : nullptr;
  }
  return nullptr;
}

const ChildrenWord* FindChildrenWord(std::string_view key) {
  const auto& words = ChildrenWords();
  const auto found = std::find_if(words.begin(), words.end(),
                                  [key](const ChildrenWord& word) { return word.mName == key; });
  return found == words.end() ? nullptr : &*found;
}

const AttributeWord& WordOf(Attribute attribute) {
  return Attributes()[static_cast<std::size_t>(attribute)];
}

std::string_view LanguageOf(std::string_view key) {
  const std::size_t colon = key.find(':');
  return colon == std::string_view::npos ? std::string_view() : key.substr(colon + 1);
}

Widget WidgetOf(std::string_view type, bool hasChildren) {
  if (const TypeWord* known = FindType(type); known != nullptr) return known->mWidget;
  return hasChildren ? Widget::kGroup : Widget::kLabel;
}

const std::vector<std::string_view>& OpenWords() {
  static const std::vector<std::string_view> words{"DialogName", "Interval", "Language", "Menu"};
  return words;
}

}  // namespace dorn::station
