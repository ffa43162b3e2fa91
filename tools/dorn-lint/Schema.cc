#include "tools/dorn-lint/Schema.h"

#include <string_view>

#include "station/Json.h"
#include "station/Vocabulary.h"
#include "tools/dorn-lint/AttributeValue.h"

namespace dorn::lint {

namespace {

using station::Quoted;
using station::Values;

constexpr std::string_view kPlain = "\"type\": [\"string\", \"integer\", \"boolean\"]";

std::string Enum(const std::string& words) { return "\"enum\": [" + words + "]"; }

// The words of an attribute and, where one takes a number, a pattern.
std::string OneOf(const station::AttributeWord& word) {
  std::string words = "\"\"";
  std::string patterns;
  for (const std::string_view each : WordsOf(word)) {
    if (each.back() == ':') {
      patterns += ", {\"type\": \"string\", \"pattern\": \"^" + std::string(each) + "[0-9]+$\"}";
    } else {
      words += ", " + Quoted(each);
    }
  }
  const bool takesNumbers = word.mWords.front() == '0';
  // A Format of 0 may be written as a number.
  if (takesNumbers) words += ", 0";
  return patterns.empty() ? Enum(words) : "\"anyOf\": [{" + Enum(words) + "}" + patterns + "]";
}

// What IsRight() accepts, in the words of the schema.
std::string Restriction(const station::AttributeWord& word) {
  std::string plain(kPlain);
  switch (word.mValues) {
    case Values::kText:
    case Values::kAny:
      return plain;
    case Values::kInteger:
      return "\"type\": [\"integer\", \"string\"], \"pattern\": \"^(-?[0-9]+)?$\"";
    case Values::kOnOff:
      return Enum("\"ON\", \"OFF\", \"true\", \"false\", true, false, \"\"");
    case Values::kWord:
      return OneOf(word);
    case Values::kTexts:
      return "\"type\": [\"array\", \"string\"], \"maxLength\": 0, \"items\": {" + plain + "}";
    case Values::kTable:
      return "\"type\": [\"array\", \"string\"], \"maxLength\": 0, \"items\": {\"type\": \"array\", "
             "\"items\": {" +
             plain + "}}";
  }
  return plain;
}

std::string Described(const std::string& restriction, const std::string& description) {
  return "{" + restriction + ", \"description\": " + Quoted(description) + "}";
}

std::string TypesOn(const station::AttributeWord& word) {
  std::string types;
  bool isOnAll = true;
  for (const station::TypeWord& type : station::Types()) {
    if (!word.IsOn(type.mWidget)) {
      isOnAll = false;
    } else {
      types += (types.empty() ? "" : ", ") + std::string(type.mName);
    }
  }
  return isOnAll ? "" : " (" + types + ")";
}

std::string TypeProperty() {
  std::string words;
  std::string meanings;
  for (const station::TypeWord& type : station::Types()) {
    words += (words.empty() ? "" : ", ") + Quoted(type.mName);
    meanings += "; " + std::string(type.mName) + ": " + std::string(type.mMeaning);
  }
  // Others are allowed, as hosts may have types of their own.
  return Described("\"type\": \"string\", \"anyOf\": [{" + Enum(words) + "}, {}]",
                   "what the object is" + meanings);
}

std::string NameProperty(const station::AttributeWord& word) {
  return Described("\"type\": \"string\", \"minLength\": 1", std::string(word.mMeaning));
}

std::string Property(const station::AttributeWord& word) {
  if (word.mAttribute == station::Attribute::kType) return TypeProperty();
  if (word.mAttribute == station::Attribute::kName) return NameProperty(word);
  std::string described = std::string(word.mMeaning) + TypesOn(word);
  if (!word.mDefault.empty()) described += "; default " + std::string(word.mDefault);
  // A table of the library's own may be anything.
  const bool isFree = word.mAttribute == station::Attribute::kData;
  return isFree ? "{\"description\": " + Quoted(described) + "}"
                : Described(Restriction(word), described);
}

std::string Children(const station::ChildrenWord& word) {
  const std::string object = "{\"$ref\": \"#/definitions/object\"}";
  return Described(
      word.mIsList ? "\"type\": \"array\", \"items\": " + object : "\"allOf\": [" + object + "]",
      std::string(word.mMeaning));
}

std::string Properties() {
  std::string properties;
  const auto add = [&properties](std::string_view name, const std::string& property) {
    properties +=
        (properties.empty() ? "        " : ",\n        ") + Quoted(name) + ": " + property;
  };
  for (const station::AttributeWord& word : station::Attributes()) add(word.mName, Property(word));
  for (const station::ChildrenWord& word : station::ChildrenWords()) {
    add(word.mName, Children(word));
  }
  return properties;
}

std::string LanguageProperties() {
  std::string patterns;
  for (const station::AttributeWord& word : station::Attributes()) {
    if (!word.mHasLanguages) continue;
    patterns +=
        (patterns.empty() ? "        " : ",\n        ") +
        Quoted("^" + std::string(word.mName) + ":.+$") + ": " +
        Described(Restriction(word), std::string(word.mName) + " in the language behind the colon");
  }
  return patterns;
}

}  // namespace

std::string Schema() {
  return R"({
  "$schema": "http://json-schema.org/draft-07/schema#",
  "title": "A resource file: one dialog",
  "type": "object",
  "if": {"required": ["Commands"], "properties": {"Commands": {"minItems": 1}}},
  "then": {
    "properties": {
      "Commands": {"type": "array", "contains": {"$ref": "#/definitions/dialog"}}
    }
  },
  "else": {"$ref": "#/definitions/dialog"},
  "properties": {"Commands": {"type": "array"}},
  "definitions": {
    "dialog": {
      "allOf": [{"$ref": "#/definitions/object"}],
      "required": ["Command", "Name"],
      "properties": {"Command": {"const": "DIALOG"}}
    },
    "object": {
      "type": "object",
      "required": ["Name"],
      "properties": {
)" + Properties() +
         R"(
      },
      "patternProperties": {
)" + LanguageProperties() +
         R"(
      },
      "additionalProperties": {"type": ["string", "integer", "boolean", "array", "object"]}
    }
  }
}
)";
}

}  // namespace dorn::lint
