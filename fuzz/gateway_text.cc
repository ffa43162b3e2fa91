// What a page may send: whatever it is, what goes to the host is one framed text that the host
// takes, holds no command that stations do not send, and what is typed ends no value at other
// stations.
#include <algorithm>
#include <string>

#include "fuzz/FuzzTarget.h"
#include "station/Framing.h"
#include "station/Reader.h"
#include "tools/dorn-gateway/PageText.h"

namespace {

using dorn::gateway::PageText;
using dorn::station::Framing;
using dorn::station::Json;
using dorn::station::Quotes;
using dorn::station::Reader;
using dorn::station::Reading;
using dorn::station::ReadText;

struct OneText : Framing::Sink {
  void OnText(std::string_view text) override {
    ++mCount;
    mText = text;
  }
  void OnPayload(std::string_view, bool) override { FUZZ_CHECK(false); }

  int mCount = 0;
  std::string mText;
};

void CheckCommand(const Json& command) {
  const std::string_view word = command.TextOf("Command");
  FUZZ_CHECK(word == "HELLO" || word == "CHANGE" || word == "KEEPALIVE" || word == "GETFILE" ||
             word == "CONDITION");
}

// The host stores what stands between the quotes as it is and writes it so.
void CheckStored(const Json& object) {
  for (const auto& [key, value] : object.mMembers) {
    if (!value.IsString() || key == "Name") continue;
    const std::string update = "{ \"Command\":\"UPDATE\", \"Objects\":[{\"" + key + "\":\"" +
                               value.mText + "\",\"Name\":\"n\"}]}";
    const ReadText read = Reader().Read(update);
    FUZZ_CHECK(read.mReading == Reading::kStrict);
    FUZZ_CHECK(read.mJson.Find("Objects")->mElements.size() == 1);
    FUZZ_CHECK(read.mJson.Find("Objects")->mElements[0].mMembers.size() == 2);
  }
}

void Check(const PageText& text) {
  if (text.mText.empty()) {
    FUZZ_CHECK(!text.mReason.empty());
    return;
  }
  FUZZ_CHECK(text.mReason.empty());
  FUZZ_CHECK(text.mText.size() <= dorn::station::kMaxSentText);
  OneText sink;
  Framing framing(sink);
  FUZZ_CHECK(framing.Feed(dorn::station::Framed(text.mText)));
  FUZZ_CHECK(sink.mCount == 1 && sink.mText == text.mText && framing.IsAtRest());
  const ReadText read = Reader().Read(text.mText);
  FUZZ_CHECK(read.mReading == Reading::kStrict);
  const Json* commands = read.mJson.Find("Commands");
  if (commands == nullptr) return CheckCommand(read.mJson);
  for (const Json& command : commands->mElements) CheckCommand(command);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const PageText escaped = dorn::gateway::ReadPageText(bytes, Quotes::kEscape);
  Check(escaped);
  Check(dorn::gateway::ReadPageText(bytes, Quotes::kReplace));
  Check(dorn::gateway::ReadPageText(bytes, Quotes::kRaw));
  const Json sent = Reader().Read(escaped.mText).mJson;
  const Json* objects = sent.Find("Objects");
  if (objects != nullptr) {
    for (const Json& object : objects->mElements) CheckStored(object);
  }
  // What has gone through once may go through again, as long as nothing in it is stored.
  if (!escaped.mText.empty() && escaped.mText.find("Objects") == std::string::npos) {
    FUZZ_CHECK(dorn::gateway::ReadPageText(escaped.mText, Quotes::kEscape).mText == escaped.mText);
  }
  return 0;
}
