// What a host sends, in pieces, against a plain cutter that has all of it at once.
#include <string>
#include <vector>

#include "fuzz/FuzzTarget.h"
#include "station/Framing.h"
#include "station/Reader.h"

namespace {

using dorn::station::Framing;
using dorn::station::Json;
using dorn::station::Reader;

using Events = std::vector<std::string>;

class Record : public Framing::Sink {
 public:
  void OnText(std::string_view text) override { mEvents.push_back("T" + std::string(text)); }
  void OnPayload(std::string_view piece, bool last) override {
    mFile += piece;
    if (last) mEvents.push_back("F" + mFile);
    if (last) mFile.clear();
  }
  void OnNoPayload() override { mEvents.emplace_back("N"); }
  void OnTooLong() override { mEvents.emplace_back("L"); }

  Events mEvents;
  std::string mFile;  // As far as it has come.
};

long long LengthOf(const std::string& text) {
  const Json json = Reader().Read(text).mJson;
  const Json* length = json.Find("Length");
  if (json.TextOf("Command") != "PUTFILE" || json.Find("Status") != nullptr || length == nullptr ||
      !length->IsNumber()) {
    return -1;
  }
  return std::max(0LL, std::strtoll(length->mText.c_str(), nullptr, 10));
}

bool IsHosts(const std::string& text) {
  const Json json = Reader().Read(text).mJson;
  const Json* list = json.Find("Commands");
  const Json::Array commands =
      list != nullptr && list->IsArray() ? list->mElements : Json::Array{json};
  for (const Json& command : commands) {
    for (const char* word : {"OPEN", "ERROR", "KEEPALIVE", "UPDATE", "ADD", "DELETE", "PUTFILE"}) {
      if (command.TextOf("Command") == word) return true;
    }
  }
  return false;
}

// The rule for a whole stream. False when a file is too long.
bool CutAll(const std::string& bytes, Events& events, std::string& file) {
  for (size_t at = 0; (at = bytes.find('\x02', at)) != std::string::npos;) {
    const size_t end = bytes.find('\x03', at);
    if (end == std::string::npos) return true;
    const std::string text = bytes.substr(at + 1, end - at - 1);
    events.push_back("T" + text);
    at = end + 1;
    const long long length = LengthOf(text);
    if (length < 0) continue;
    if (length > static_cast<long long>(Framing::kMaxPayload)) return false;
    if (length > 0 && at < bytes.size() && bytes[at] == '\x02') {
      const size_t stop = bytes.find_first_of(std::string("\x00\x02\x03", 3), at + 1);
      if (stop == std::string::npos) return true;
      if (bytes[stop] == '\x03' && IsHosts(bytes.substr(at + 1, stop - at - 1))) {
        events.emplace_back("N");
        continue;
      }
    }
    file = bytes.substr(at, static_cast<size_t>(length));
    at += file.size();
    if (file.size() < static_cast<size_t>(length)) return true;
    events.push_back("F" + file);
    file.clear();
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // The first byte says how the rest is cut into pieces.
  unsigned step = data[0];
  const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  Record record;
  Framing framing(record);
  bool whole = true;
  for (size_t at = 0; at < bytes.size();) {
    step = step * 5 + 3;
    const size_t length = 1 + step % 17;
    whole = framing.Feed(std::string_view(bytes).substr(at, length)) && whole;
    at += length;
  }
  Events expected;
  std::string file;
  FUZZ_CHECK(CutAll(bytes, expected, file) == whole);
  FUZZ_CHECK(record.mEvents == expected);
  FUZZ_CHECK(record.mFile == file);
  return 0;
}
