#include "tools/dorn-load/Texts.h"

#include <algorithm>
#include <charconv>

#include "station/Commands.h"

namespace dorn::load {

using dorn::station::Json;

namespace {

// Behind blanks; false when something else stands there.
bool Take(std::string_view& text, std::string_view word) {
  text.remove_prefix(std::min(text.find_first_not_of(" \n\r\t"), text.size()));
  if (text.substr(0, word.size()) != word) return false;
  text.remove_prefix(word.size());
  return true;
}

}  // namespace

bool IsUpdate(std::string_view text) {
  return Take(text, "{") && Take(text, "\"Command\"") && Take(text, ":") &&
         Take(text, "\"UPDATE\"");
}

const Digest& Texts::Read(std::string_view text, dorn::station::Framing& framing) {
  if (IsKnownFence(text)) return mFence;
  Known& known = PlaceOf(text);
  if (known.mDigest.mIsReadable && text == known.mText) return known.mDigest;
  known.mText = text;
  known.mDigest = Digest();
  const auto& read = framing.Read();
  known.mDigest.mIsReadable = read.mReading != dorn::station::Reading::kUnreadable;
  const Json* const commands = read.mJson.Find("Commands");
  if (commands == nullptr) {
    Take(read.mJson, known.mDigest);
  } else {
    for (const Json& command : commands->mElements) Take(command, known.mDigest);
  }
  LearnFence(text, known.mDigest);
  return known.mDigest;
}

// Other digits within a string do not change what stands around it.
bool Texts::IsKnownFence(std::string_view text) {
  const std::size_t around = mBeforeFence.size() + mBehindFence.size();
  if (around == 0 || text.size() <= around) return false;
  if (text.substr(0, mBeforeFence.size()) != mBeforeFence) return false;
  text.remove_prefix(mBeforeFence.size());
  if (text.substr(text.size() - mBehindFence.size()) != mBehindFence) return false;
  text.remove_suffix(mBehindFence.size());
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, mFence.mFences.front());
  return error == std::errc() && stop == end;
}

// Without a backslash a string of the text is what stands between its quotes.
void Texts::LearnFence(std::string_view text, const Digest& digest) {
  const bool isFence = digest.mFences.size() == 1 && digest.mTold.empty() && !digest.mOpens &&
                       !digest.mIsRefusal && !digest.mAsks;
  if (!isFence || text.find('\\') != std::string_view::npos) return;
  const std::string number = std::to_string(digest.mFences.front());
  const std::string file = '"' + dorn::station::FenceFile(digest.mFences.front()) + '"';
  const std::size_t at = text.find(file);
  if (at == std::string_view::npos || text.find(file, at + 1) != std::string_view::npos) return;
  const std::size_t behind = at + file.size() - 1;
  mBeforeFence = text.substr(0, behind - number.size());
  mBehindFence = text.substr(behind);
  mFence = digest;
}

Texts::Known& Texts::PlaceOf(std::string_view text) {
  constexpr std::size_t kShort = std::size_t{64} * 1024;
  return text.size() <= kShort ? mKnown[text.size() % mKnown.size()] : mLong;
}

void Texts::Take(const Json& command, Digest& digest) const {
  const std::string_view word = command.TextOf("Command");
  if (word == "PUTFILE") {
    const auto fence = dorn::station::FenceOf(command.TextOf("File"));
    if (fence) digest.mFences.push_back(*fence);
  } else if (word == "UPDATE") {
    if (const Json* const objects = command.Find("Objects")) TakeObjects(*objects, digest);
  } else if (word == "OPEN") {
    digest.mOpens = true;
  } else if (word == "ERROR") {
    digest.mIsRefusal = true;
  } else if (word == "KEEPALIVE") {
    digest.mAsks = true;
  }
}

void Texts::TakeObjects(const Json& objects, Digest& digest) const {
  for (const Json& object : objects.mElements) {
    if (const Json* const value = object.Find("Value")) {
      const std::size_t target = mTargets.Find(std::string(object.TextOf("Name")));
      const bool isTarget = target < mTargets.All().size();
      if (isTarget) digest.mTold.push_back({target, std::string(value->Text())});
    }
    if (const Json* const below = object.Find("Objects")) TakeObjects(*below, digest);
  }
}

}  // namespace dorn::load
