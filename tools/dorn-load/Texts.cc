#include "tools/dorn-load/Texts.h"

#include "station/Commands.h"

namespace dorn::load {

using dorn::station::Json;

const Digest& Texts::Read(std::string_view text) {
  if (mDigest.mIsReadable && text == mText) return mDigest;
  mText = text;
  mDigest = Digest();
  const auto read = mReader.Read(text);
  mDigest.mIsReadable = read.mReading != dorn::station::Reading::kUnreadable;
  const Json* const commands = read.mJson.Find("Commands");
  if (commands == nullptr) {
    Take(read.mJson);
  } else {
    for (const Json& command : commands->mElements) Take(command);
  }
  return mDigest;
}

void Texts::Take(const Json& command) {
  const std::string_view word = command.TextOf("Command");
  if (word == "PUTFILE") {
    const auto fence = dorn::station::FenceOf(command.TextOf("File"));
    if (fence) mDigest.mFences.push_back(*fence);
  } else if (word == "UPDATE") {
    if (const Json* const objects = command.Find("Objects")) TakeObjects(*objects);
  } else if (word == "OPEN") {
    mDigest.mOpens = true;
  } else if (word == "ERROR") {
    mDigest.mIsRefusal = true;
  } else if (word == "KEEPALIVE") {
    mDigest.mAsks = true;
  }
}

void Texts::TakeObjects(const Json& objects) {
  for (const Json& object : objects.mElements) {
    if (const Json* const value = object.Find("Value")) {
      const std::size_t target = mTargets.Find(std::string(object.TextOf("Name")));
      const bool isTarget = target < mTargets.All().size();
      if (isTarget) mDigest.mTold.push_back({target, std::string(value->Text())});
    }
    if (const Json* const below = object.Find("Objects")) TakeObjects(*below);
  }
}

}  // namespace dorn::load
