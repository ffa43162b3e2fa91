// The tolerant way through a text, by the rules of Reader.h. Internal to the library of stations.
#ifndef STATION_TOLERANTTEXT_H_
#define STATION_TOLERANTTEXT_H_

#include <string>
#include <string_view>

#include "station/Json.h"

namespace dorn::station {

// Reads one text of valid UTF-8, once.
class TolerantText {
 public:
  TolerantText(std::string_view text, bool literally) : mText(text), mLiterally(literally) {}

  bool ReadAll(Json& out);

 private:
  // Reading, from mAt on.
  bool ReadValue(Json& out);
  bool ReadObject(Json& out);
  bool ReadMember(Json& object);
  bool ReadArray(Json& out);
  bool ReadWord(Json& out);
  bool ReadNumber(Json& out);
  bool ReadKey(std::string& key);
  bool ReadString(std::string& out);
  bool ReadEscapedString(std::string& out, char quote);
  bool ReadLiteralString(std::string& out, char quote);
  bool Open(char bracket);
  void SkipSpace() { mAt = SpaceEnd(mAt); }

  // Looking ahead; `open` counts the brackets of mOpen that are still open there.
  char At(std::size_t at) const { return at < mText.size() ? mText[at] : '\0'; }
  std::size_t SpaceEnd(std::size_t at) const;
  bool GoesOnAt(std::size_t at, std::size_t open) const;
  bool BracketGoesOnAt(std::size_t at, std::size_t open) const;
  bool IsOpeningAt(std::size_t at) const;
  bool IsMemberAt(std::size_t at) const;
  bool IsElementAt(std::size_t at, std::size_t open) const;
  bool IsScalarAt(std::size_t at) const;
  std::size_t NumberEnd(std::size_t at) const;

  std::string_view mText;
  const bool mLiterally;
  std::size_t mAt = 0;
  std::string mOpen;  // The brackets around mAt, outermost first.
};

}  // namespace dorn::station

#endif  // STATION_TOLERANTTEXT_H_
