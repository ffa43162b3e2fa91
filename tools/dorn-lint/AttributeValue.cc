#include "tools/dorn-lint/AttributeValue.h"

#include <algorithm>

#include "station/Words.h"

namespace dorn::lint {

namespace {

using station::Values;

bool IsAbsent(const Node& value) {
  return value.mKind == Node::Kind::kNull || value.mKind == Node::Kind::kDecimal ||
         (value.IsString() && value.mText.empty());
}

bool IsPlain(const Node& value) { return !value.IsArray() && !value.IsObject(); }

bool IsDigits(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool IsTexts(const Node& value) {
  return value.IsArray() && std::all_of(value.mElements.begin(), value.mElements.end(), IsPlain);
}

bool IsWord(const station::AttributeWord& word, const std::string& text) {
  const std::vector<std::string_view> words = WordsOf(word);
  return std::any_of(words.begin(), words.end(), [&text](std::string_view known) {
    if (known.back() != ':') return text == known;
    return text.compare(0, known.size(), known) == 0 && IsDigits(text.substr(known.size()));
  });
}

}  // namespace

bool IsInteger(const std::string& text) {
  // The attribute's own reading, which is a screen's.
  const station::Json::Object attributes{{"X", station::Json::String(text)}};
  return station::Words(attributes, "").Integer(station::Attribute::kX).has_value();
}

bool IsRight(const station::AttributeWord& word, const Node& value) {
  if (IsAbsent(value)) return true;
  const std::string text = value.Text();
  switch (word.mValues) {
    case Values::kText:
    case Values::kAny:
      return IsPlain(value);
    case Values::kInteger:
      return IsPlain(value) && IsInteger(text);
    case Values::kOnOff:
      return text == "ON" || text == "OFF" || text == "true" || text == "false";
    case Values::kWord:
      return IsPlain(value) && IsWord(word, text);
    case Values::kTexts:
      return IsTexts(value);
    case Values::kTable:
      return value.IsArray() &&
             std::all_of(value.mElements.begin(), value.mElements.end(), IsTexts);
  }
  return true;
}

std::string ValuesOf(const station::AttributeWord& word) {
  switch (word.mValues) {
    case Values::kText:
      return "a text";
    case Values::kAny:
      return "a text or a number";
    case Values::kInteger:
      return "a whole number";
    case Values::kOnOff:
      return "ON or OFF";
    case Values::kTexts:
      return "an array of texts";
    case Values::kTable:
      return "an array of rows, each an array of texts";
    case Values::kWord:
      break;
  }
  std::string words;
  for (const std::string_view each : WordsOf(word)) {
    words += (words.empty() ? "" : ", ") + std::string(each) + (each.back() == ':' ? "4" : "");
  }
  return WordsOf(word).size() == 1 ? words : "one of " + words;
}

std::vector<std::string_view> WordsOf(const station::AttributeWord& word) {
  std::vector<std::string_view> words;
  for (std::size_t at = 0; at < word.mWords.size();) {
    const std::size_t end = std::min(word.mWords.find(' ', at), word.mWords.size());
    words.push_back(word.mWords.substr(at, end - at));
    at = end + 1;
  }
  return words;
}

}  // namespace dorn::lint
