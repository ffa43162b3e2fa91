#include "station/Vocabulary.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "station/Numbers.h"

namespace dorn::station {
namespace {

TEST(VocabularyTest, KnowsEachTypeOnce) {
  std::set<std::string_view> names;
  for (const TypeWord& type : Types()) names.insert(type.mName);
  EXPECT_EQ(names, (std::set<std::string_view>{"LABEL", "BUTTON", "EDIT", "CHECK", "SLIDER", "LIST",
                                               "COMBO", "IMAGE", "RADIOBTN", "GROUP", "GRID"}));
  EXPECT_EQ(Types().size(), names.size());
}

TEST(VocabularyTest, ListsAttributesInTheOrderOfTheirNumbers) {
  std::set<std::string_view> names;
  for (std::size_t i = 0; i < Attributes().size(); ++i) {
    EXPECT_EQ(static_cast<std::size_t>(Attributes()[i].mAttribute), i);
    names.insert(Attributes()[i].mName);
  }
  EXPECT_EQ(names.size(), Attributes().size());
  EXPECT_EQ(Attributes().back().mAttribute, Attribute::kImage);
}

TEST(VocabularyTest, HasEveryWordThatDialogsAreWrittenIn) {
  for (const char* name :
       {"Label",   "Text",       "Title",    "Hint",    "X",        "Y",       "W",      "H",
        "Order",   "Wide",       "Break",    "Unit",    "Format",   "Scale",   "Min",    "Max",
        "Step",    "Low",        "High",     "LowLow",  "HighHigh", "State",   "Color",  "Enabled",
        "Visible", "ReadOnly",   "Confirm",  "Options", "Rows",     "Columns", "Widths", "RowKey",
        "Role",    "MaxLength",  "Keyboard", "Error",   "Goto",     "Image",   "Name",   "Type",
        "Layout",  "NotifyList", "Alias",    "Attr",    "Value",    "Data",    "Command"}) {
    EXPECT_NE(FindAttribute(name), nullptr) << name;
  }
  EXPECT_EQ(Attributes().size(), 47u);
}

TEST(VocabularyTest, AllowsLanguagesOnTextsAlone) {
  std::set<std::string_view> names;
  for (const AttributeWord& word : Attributes()) {
    if (word.mHasLanguages) names.insert(word.mName);
  }
  EXPECT_EQ(names, (std::set<std::string_view>{"Label", "Text", "Title", "Hint", "Unit", "Confirm",
                                               "Error", "Columns", "Options"}));
  EXPECT_EQ(FindAttribute("Label:ja")->mAttribute, Attribute::kLabel);
  EXPECT_EQ(FindAttribute("Value:ja"), nullptr);
  EXPECT_EQ(FindAttribute("Colour"), nullptr);
  EXPECT_EQ(LanguageOf("Label:ja"), "ja");
  EXPECT_EQ(LanguageOf("Label"), "");
}

TEST(VocabularyTest, SaysWhereAnAttributeMeansSomething) {
  EXPECT_TRUE(WordOf(Attribute::kLow).IsOn(Widget::kEdit));
  EXPECT_FALSE(WordOf(Attribute::kLow).IsOn(Widget::kButton));
  EXPECT_TRUE(WordOf(Attribute::kConfirm).IsOn(Widget::kButton));
  EXPECT_FALSE(WordOf(Attribute::kConfirm).IsOn(Widget::kEdit));
  EXPECT_TRUE(WordOf(Attribute::kOptions).IsOn(Widget::kCombo));
  EXPECT_TRUE(WordOf(Attribute::kImage).IsOn(Widget::kLabel));
  for (const TypeWord& type : Types()) {
    EXPECT_TRUE(WordOf(Attribute::kState).IsOn(type.mWidget)) << type.mName;
  }
}

TEST(VocabularyTest, SaysWhatTheLibraryKnows) {
  std::set<std::string_view> names;
  for (const TypeWord& type : Types()) {
    if (type.mIsLibrarys) names.insert(type.mName);
  }
  for (const AttributeWord& word : Attributes()) {
    if (word.mIsLibrarys) names.insert(word.mName);
  }
  EXPECT_EQ(names, (std::set<std::string_view>{"GRID", "RADIOBTN", "GROUP", "Name", "Type",
                                               "Layout", "NotifyList", "Alias", "Attr", "Value",
                                               "Data", "Command"}));
}

TEST(VocabularyTest, KnowsTheMembersThatHoldObjects) {
  std::string words;
  for (const ChildrenWord& word : ChildrenWords()) {
    words += std::string(word.mName) + (word.mIsList ? "[] " : "{} ");
  }
  EXPECT_EQ(words, "Objects[] Commands[] Object{} Dialog{} ");
  EXPECT_EQ(FindChildrenWord("Object")->mName, "Object");
  EXPECT_EQ(FindChildrenWord("Label"), nullptr);
}

TEST(VocabularyTest, SaysWhatHoldsWithoutWhereADefaultDoesNot) {
  EXPECT_EQ(WordOf(Attribute::kState).mDefault, "NORMAL");
  EXPECT_EQ(WordOf(Attribute::kState).mWithout, "by the limits, else NORMAL");
  EXPECT_EQ(WordOf(Attribute::kMaxLength).mDefault, "1000");
  EXPECT_EQ(WordOf(Attribute::kMaxLength).mWithout, "");
}

TEST(NumbersTest, ReadsDecimals) {
  const auto digits = [](const char* text) {
    const auto read = ReadDecimal(text);
    return read ? std::to_string(read->mDigits) + "/" + std::to_string(read->mDecimals) : "none";
  };
  EXPECT_EQ(digits("12"), "12/0");
  EXPECT_EQ(digits(" -1.50 "), "-150/2");
  EXPECT_EQ(digits("+0.05"), "5/2");
  EXPECT_EQ(digits("１２．３"), "123/1");
  EXPECT_EQ(digits("123456789012345"), "123456789012345/0");
  for (const char* text : {"", " ", "-", ".", "1.", ".5", "1..2", "1 2", "0x1", "1e3", "--1", "１a",
                           "1234567890123456"}) {
    EXPECT_EQ(digits(text), "none") << text;
  }
}

TEST(NumbersTest, RoundsHalfAwayFromZero) {
  const struct {
    const char* number;
    long long scale;
    int decimals;
    const char* text;
  } cases[] = {{"5", 10, 0, "1"},         {"-5", 10, 0, "-1"},     {"4", 10, 0, "0"},
               {"-4", 10, 0, "0"},        {"1.005", 1, 2, "1.01"}, {"2", 3, 2, "0.67"},
               {"-1", 3, 1, "-0.3"},      {"0", 10, 2, "0.00"},    {"999", 10, 0, "100"},
               {"1000", 1000, 3, "1.000"}};
  for (const auto& each : cases) {
    EXPECT_EQ(WrittenDecimal(*ReadDecimal(each.number), each.scale, each.decimals), each.text)
        << each.number << " / " << each.scale;
  }
  EXPECT_EQ(MultipliedDecimal(*ReadDecimal("12.345"), 100, 0), "1235");
  EXPECT_EQ(MultipliedDecimal(*ReadDecimal("-0.004"), 100, 0), "0");
}

}  // namespace
}  // namespace dorn::station
