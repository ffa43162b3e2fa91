#include "station/Reader.h"

#include <string>

#include "station/StrictText.h"
#include "station/TolerantText.h"
#include "station/Utf8.h"

namespace dorn::station {

ReadText Reader::Read(std::string_view bytes) const {
  ReadText read;
  if (bytes.size() > kMaxLength) return read;
  const bool isValid = IsValidUtf8(bytes);
  const std::string repaired = isValid ? std::string() : ValidUtf8(bytes);
  const std::string_view text = isValid ? bytes : std::string_view(repaired);
  const bool isLiteral = mStrings == Strings::kLiteral && text.find('\\') != std::string_view::npos;
  if (!isLiteral && ReadStrictly(text, read.mJson)) {
    read.mReading = isValid ? Reading::kStrict : Reading::kTolerant;
    return read;
  }
  read.mJson = Json();
  if (TolerantText(text, mStrings == Strings::kLiteral).ReadAll(read.mJson)) {
    read.mReading = Reading::kTolerant;
  } else {
    read.mJson = Json();
  }
  return read;
}

}  // namespace dorn::station
