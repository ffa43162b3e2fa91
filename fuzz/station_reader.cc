// The reader of what hosts send: whatever it makes of a text is strict JSON that reads as the same,
// and the two ways to read strings agree where there is no backslash.
#include <algorithm>
#include <string>

#include "fuzz/FuzzTarget.h"
#include "station/Reader.h"
#include "station/Utf8.h"

namespace {

using dorn::station::Json;
using dorn::station::Reader;
using dorn::station::Reading;
using dorn::station::ReadText;

int Depth(const Json& json) {
  int inner = 0;
  for (const Json& element : json.mElements) inner = std::max(inner, Depth(element));
  for (const auto& [key, member] : json.mMembers) inner = std::max(inner, Depth(member));
  return json.IsArray() || json.IsObject() ? inner + 1 : 0;
}

void Check(const ReadText& read) {
  if (read.mReading == Reading::kUnreadable) {
    FUZZ_CHECK(read.mJson.IsNull());
    return;
  }
  FUZZ_CHECK(Depth(read.mJson) <= Reader::kMaxDepth);
  const std::string written = read.mJson.Written();
  FUZZ_CHECK(dorn::station::IsValidUtf8(written));
  const ReadText again = Reader().Read(written);
  FUZZ_CHECK(again.mReading == Reading::kStrict);
  FUZZ_CHECK(again.mJson == read.mJson);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const ReadText read = Reader().Read(text);
  const ReadText literal = Reader(Reader::Strings::kLiteral).Read(text);
  Check(read);
  Check(literal);
  if (text.find('\\') == std::string::npos) FUZZ_CHECK(read.mJson == literal.mJson);
  const std::string repaired = dorn::station::ValidUtf8(text);
  FUZZ_CHECK(dorn::station::IsValidUtf8(repaired));
  FUZZ_CHECK(Reader().Read(repaired).mJson == read.mJson);
  return 0;
}
