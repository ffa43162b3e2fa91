#include "station/Words.h"

#include <algorithm>
#include <charconv>

namespace dorn::station {

const Json* Words::Find(Attribute attribute) const {
  const auto found = mAttributes.find(NameOf(attribute));
  return found == mAttributes.end() ? nullptr : &found->second;
}

const Json* Words::FindInLanguage(Attribute attribute) const {
  if (!mLanguage.empty()) {
    std::string key(NameOf(attribute));
    key += ':';
    key += mLanguage;
    const auto found = mAttributes.find(key);
    const bool isEmpty =
        found != mAttributes.end() && found->second.IsString() && found->second.mText.empty();
    if (found != mAttributes.end() && !isEmpty) return &found->second;
  }
  return Find(attribute);
}

std::string Words::Text(Attribute attribute) const {
  const Json* found = Find(attribute);
  return found == nullptr ? std::string() : std::string(found->Text());
}

std::string Words::TextInLanguage(Attribute attribute) const {
  const Json* found = FindInLanguage(attribute);
  return found == nullptr ? std::string() : std::string(found->Text());
}

std::optional<long long> Words::Integer(Attribute attribute) const {
  const std::string text = Text(attribute);
  long long number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  constexpr long long kLargest = 1'000'000'000'000;
  if (text.empty() || error != std::errc() || stop != end || number > kLargest ||
      number < -kLargest) {
    return std::nullopt;
  }
  return number;
}

bool Words::Flag(Attribute attribute) const {
  const std::string text = Text(attribute);
  if (text == "ON" || text == "true") return true;
  if (text == "OFF" || text == "false") return false;
  return WordOf(attribute).mDefault == "ON";
}

std::string_view Words::Word(Attribute attribute) const {
  const AttributeWord& word = WordOf(attribute);
  const Json* found = Find(attribute);
  return found != nullptr && IsOneOf(word.mWords, found->Text()) ? found->Text() : word.mDefault;
}

std::string Words::Caption() const {
  for (const Attribute attribute : {Attribute::kLabel, Attribute::kTitle, Attribute::kText}) {
    if (std::string text = TextInLanguage(attribute); !text.empty()) return text;
  }
  std::string name = Text(Attribute::kName);
  std::replace(name.begin(), name.end(), '_', ' ');
  return name;
}

std::vector<std::string> TextsOf(const Json* json) {
  std::vector<std::string> texts;
  if (json == nullptr || !json->IsArray()) return texts;
  for (const Json& element : json->mElements) texts.emplace_back(element.Text());
  return texts;
}

bool IsOneOf(std::string_view words, std::string_view word) {
  if (word.empty() || word.find(' ') != std::string_view::npos) return false;
  const std::size_t at = (" " + std::string(words) + " ").find(" " + std::string(word) + " ");
  return at != std::string::npos;
}

}  // namespace dorn::station
