#include "tools/dorn-lint/VocabularyPage.h"

#include <string_view>

#include "station/Vocabulary.h"
#include "tools/dorn-lint/AttributeValue.h"

namespace dorn::lint {

namespace {

using station::AttributeWord;
using station::TypeWord;
using station::Values;

std::string Code(std::string_view text) { return "`" + std::string(text) + "`"; }

std::string TypesOn(const AttributeWord& word) {
  std::string types;
  bool isOnAll = true;
  for (const TypeWord& type : station::Types()) {
    isOnAll = isOnAll && word.IsOn(type.mWidget);
    if (word.IsOn(type.mWidget)) types += (types.empty() ? "" : " ") + std::string(type.mName);
  }
  return isOnAll ? "all" : types;
}

std::string ValuesCell(const AttributeWord& word) {
  if (word.mValues != Values::kWord) return ValuesOf(word);
  std::string words;
  for (const std::string_view each : WordsOf(word)) {
    words += (words.empty() ? "" : " ") + Code(std::string(each) + (each.back() == ':' ? "4" : ""));
  }
  return words;
}

std::string DefaultCell(const AttributeWord& word) {
  return std::string(word.mWithout.empty() ? word.mDefault : word.mWithout);
}

std::string AttributeRow(const AttributeWord& word) {
  return "| " + Code(word.mName) + (word.mHasLanguages ? " `:ja`" : "") + " | " + TypesOn(word) +
         " | " + ValuesCell(word) + " | " + DefaultCell(word) + " | " + std::string(word.mMeaning) +
         " |\n";
}

std::string TypeRows() {
  std::string rows;
  for (const TypeWord& type : station::Types()) {
    rows += "| " + Code(type.mName) + " | " + std::string(type.mMeaning) + " | " +
            std::string(type.mActionType) + " | " + (type.mIsLibrarys ? "yes" : "") + " |\n";
  }
  return rows;
}

std::string AttributeRows(bool areLibrarys) {
  std::string rows;
  for (const AttributeWord& word : station::Attributes()) {
    if (word.mIsLibrarys == areLibrarys) rows += AttributeRow(word);
  }
  return rows;
}

std::string ChildrenRows() {
  std::string rows;
  for (const station::ChildrenWord& word : station::ChildrenWords()) {
    rows += "| " + Code(word.mName) + " | " + (word.mIsList ? "array of objects" : "object") +
            " | " + std::string(word.mMeaning) + " |\n";
  }
  return rows;
}

}  // namespace

std::string VocabularyPage() {
  return R"(# The vocabulary

Every type and attribute that stations and the library know. Written by `dorn-lint --vocabulary`; a test fails when
this page is older than the table it is made from. The [screen author's guide](manual/guides/screen-author.md) says how
the words work together, and `dorn-lint` checks a resource file by them.

## Types

A type that is not here is shown as a GROUP when it has children, else as a LABEL. "Touch" is the `ActionType` of
what the station sends. What the library does with its types stands in the guide.

| type | is | touch | known to the library |
|---|---|---|---|
)" + TypeRows() +
         R"(
## Attributes for stations

All of them are optional, and an empty text is as none. `:ja` says that the attribute may stand once more for each
language, as `Label:ja`. A whole number may be written in quotes, and a text as a number. ON and OFF may be written as
true and false.

| attribute | on | values | without it | meaning |
|---|---|---|---|---|
)" + AttributeRows(false) +
         R"(
## Attributes of the library

| attribute | on | values | without it | meaning |
|---|---|---|---|---|
)" + AttributeRows(true) +
         R"(
## Objects within objects

| member | value | meaning |
|---|---|---|
)" + ChildrenRows();
}

}  // namespace dorn::lint
