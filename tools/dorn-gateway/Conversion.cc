#include "tools/dorn-gateway/Conversion.h"

#include <algorithm>
#include <utility>

#include "dorn/base/Version.h"
#include "station/Commands.h"
#include "station/Replica.h"

namespace dorn::gateway {

namespace {

using station::Json;
using station::Reading;

// Each command of a text becomes a frame, which costs much more than a short command itself.
constexpr std::size_t kMaxCommands = 10'000;
// What a frame, or a member of a head, costs beside its bytes.
constexpr std::size_t kOverhead = 100;

constexpr std::string_view kCommand = "{\"t\":\"cmd\",\"c\":";

bool IsDialogFile(std::string_view file) {
  constexpr std::string_view kExtension = ".json";
  return file.size() > kExtension.size() &&
         file.substr(file.size() - kExtension.size()) == kExtension;
}

// As the framing sees it: a PUTFILE with the length of what follows.
bool AnnouncesFile(const Json& command) {
  const Json* length = command.Find("Length");
  return command.TextOf("Command") == "PUTFILE" && command.Find("Status") == nullptr &&
         length != nullptr && length->IsNumber();
}

// Gives each object that had a "Data" without a value one that can be written.
void KeepEmptyData(Json& json) {
  for (Json& element : json.mElements) KeepEmptyData(element);
  for (auto& [key, member] : json.mMembers) KeepEmptyData(member);
  if (json.mHadEmptyData) json.mMembers.try_emplace("Data");
}

void Note(const Json& command, Converted& converted) {
  const std::string_view word = command.TextOf("Command");
  if (word == "KEEPALIVE") {
    converted.mAsksAlive = true;
  } else if (word == "OPEN") {
    converted.mOpens = true;
  } else if (word == "ERROR") {
    converted.mRefusesLogIn |= command.TextOf("Status") == "Authentication";
  } else if (word == "PUTFILE") {
    const std::string_view file = command.TextOf("File");
    if (station::FenceOf(file)) converted.mFences.emplace_back(file);
  }
}

void AddCommand(const Json& command, std::string_view written, Converted& converted) {
  Note(command, converted);
  if (command.TextOf("Command") == "KEEPALIVE") return;
  std::string frame;
  frame.reserve(kCommand.size() + written.size() + 1);
  frame += kCommand;
  frame += written;
  frame += '}';
  converted.mFrames.push_back(MakeFrame(std::move(frame)));
}

std::size_t WeightOf(const Frame& frame) { return frame ? frame->size() + kOverhead : 0; }

std::size_t WeightOf(const Json& json) {
  std::size_t weight = sizeof(Json) + kOverhead;
  for (const Json& element : json.mElements) weight += WeightOf(element);
  for (const auto& [key, member] : json.mMembers) weight += key.size() + WeightOf(member);
  return weight;
}

std::size_t WeightOf(const Converted& converted) {
  std::size_t weight = converted.mFile ? WeightOf(*converted.mFile) : 0;
  for (const Frame& frame : converted.mFrames) weight += WeightOf(frame);
  for (const std::string& fence : converted.mFences) weight += fence.size() + kOverhead;
  return weight;
}

std::string FileHead(const Json& head) {
  std::string text = "{\"t\":\"file\",\"head\":";
  head.Write(text);
  text += ",\"live\":";
  text += station::IsLiveDate(head.TextOf("Date")) ? "true" : "false";
  return text;
}

std::string BytesHead(const Json& head, std::size_t bytes) {
  std::string text = "{\"t\":\"file\",\"head\":";
  head.Write(text);
  return text + ",\"live\":false,\"bytes\":" + std::to_string(bytes);
}

}  // namespace

Frame MakeFrame(std::string text) { return std::make_shared<const std::string>(std::move(text)); }

std::shared_ptr<const Converted> Conversion::Text(std::string_view text) {
  if (auto known = mTexts.Find(text)) return known;
  ++mConversions;
  auto converted = std::make_shared<const Converted>(Read(text));
  mTexts.Add(text, converted, WeightOf(*converted));
  return converted;
}

// What was strict is passed on as it came.
Converted Conversion::Read(std::string_view text) const {
  Converted converted;
  station::ReadText read = mReader.Read(text);
  if (!read.mJson.IsObject()) return converted;
  const Json* commands = read.mJson.Find("Commands");
  const bool isList = commands != nullptr && commands->IsArray();
  if (isList && commands->mElements.size() > kMaxCommands) return converted;
  converted.mReading = read.mReading;
  if (AnnouncesFile(read.mJson)) {
    converted.mFile = std::move(read.mJson);
    return converted;
  }
  KeepEmptyData(read.mJson);
  if (!isList) {
    const bool isStrict = read.mReading == Reading::kStrict;
    AddCommand(read.mJson, isStrict ? std::string(text) : read.mJson.Written(), converted);
    return converted;
  }
  for (const Json& command : commands->mElements) {
    if (command.IsObject()) AddCommand(command, command.Written(), converted);
  }
  return converted;
}

std::shared_ptr<const ConvertedFile> Conversion::File(const Json& head, std::string bytes) {
  if (!IsDialogFile(head.TextOf("File"))) {
    ConvertedFile file;
    file.mHead = MakeFrame(BytesHead(head, bytes.size()) + '}');
    file.mBytes = MakeFrame(std::move(bytes));
    return std::make_shared<const ConvertedFile>(std::move(file));
  }
  std::string key = head.Written();
  key += bytes;
  if (auto known = mTrees.Find(key)) return known;
  ++mConversions;
  auto file = std::make_shared<const ConvertedFile>(ReadTree(head, std::move(bytes)));
  mTrees.Add(key, file, WeightOf(file->mHead) + WeightOf(file->mBytes));
  return file;
}

ConvertedFile Conversion::ReadTree(const Json& head, std::string bytes) const {
  station::ReadText read = mReader.Read(bytes);
  ConvertedFile file;
  if (!read.mJson.IsObject()) {
    file.mHead = MakeFrame(BytesHead(head, bytes.size()) + '}');
    file.mBytes = MakeFrame(std::move(bytes));
    file.mIsReadable = false;
    return file;
  }
  std::string text = FileHead(head) + ",\"tree\":";
  if (read.mReading == Reading::kStrict) {
    text += bytes;
  } else {
    KeepEmptyData(read.mJson);
    read.mJson.Write(text);
  }
  file.mHead = MakeFrame(std::move(text) + '}');
  return file;
}

Frame Conversion::Missing(const Json& head) {
  return MakeFrame(BytesHead(head, 0) + ",\"missing\":true}");
}

Frame HelloFrame(const std::vector<std::string>& menu, bool hasLocalFiles) {
  std::string text = "{\"t\":\"hello\",\"menu\":[";
  for (const std::string& dialog : menu) {
    if (text.back() != '[') text += ',';
    station::AppendQuoted(text, dialog);
  }
  text += "],\"version\":\"" DORN_VERSION "\",\"local\":";
  text += hasLocalFiles ? "true}" : "false}";
  return MakeFrame(std::move(text));
}

Frame UpFrame() { return MakeFrame("{\"t\":\"up\"}"); }

Frame DownFrame(std::string_view why) {
  return MakeFrame("{\"t\":\"down\",\"why\":" + station::Quoted(why) + "}");
}

Frame RefusedFrame(std::string_view why, std::size_t n) {
  return MakeFrame("{\"t\":\"refused\",\"why\":" + station::Quoted(why) +
                   ",\"n\":" + std::to_string(n) + "}");
}

Frame BadFrame(std::size_t count) {
  return MakeFrame("{\"t\":\"bad\",\"n\":" + std::to_string(count) + "}");
}

}  // namespace dorn::gateway
