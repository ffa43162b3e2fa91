// Reads an object's attributes by the vocabulary. Internal to the library of stations.
#ifndef STATION_WORDS_H_
#define STATION_WORDS_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "station/Json.h"
#include "station/Vocabulary.h"

namespace dorn::station {

class Words {
 public:
  // Both must outlive it.
  Words(const Json::Object& attributes, std::string_view language)
      : mAttributes(attributes), mLanguage(language) {}

  const Json* Find(Attribute attribute) const;
  // In the language of the screen where the object has it, else the plain one.
  const Json* FindInLanguage(Attribute attribute) const;

  // Texts; a number or boolean is taken as it is written, an empty text is as none.
  std::string Text(Attribute attribute) const;
  std::string TextInLanguage(Attribute attribute) const;
  std::optional<long long> Integer(Attribute attribute) const;
  bool Flag(Attribute attribute) const;
  // One of the attribute's words, or its default.
  std::string_view Word(Attribute attribute) const;

  std::string Caption() const;

 private:
  const Json::Object& mAttributes;
  std::string_view mLanguage;
};

// The texts of an array; none for all else.
std::vector<std::string> TextsOf(const Json* json);

// Whether `word` is one of a blank-separated list.
bool IsOneOf(std::string_view words, std::string_view word);

}  // namespace dorn::station

#endif  // STATION_WORDS_H_
