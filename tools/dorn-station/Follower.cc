#include "tools/dorn-station/Follower.h"

#include <functional>
#include <utility>

#include "station/Reader.h"

namespace {

using dorn::station::Json;
using dorn::station::Object;
using dorn::station::Replica;

// Hosts answer an entry with updates to everybody: stations must not call each other in turn.
constexpr std::int64_t kEnterAgainRestMs = 1500;
constexpr std::size_t kMostDialogs = 1000;

std::string TextOf(const Json& json) {
  return json.IsArray() || json.IsObject() ? json.Written() : std::string(json.Text());
}

void ForEach(const Object& object, const std::function<void(const Object&)>& call) {
  call(object);
  for (const auto& child : object.mChildren) ForEach(*child, call);
}

}  // namespace

void Follower::Sent(const Json& command) {
  if (command.TextOf("Command") == "HELLO") mHasChosen = false;
  if (command.TextOf("Command") != "CHANGE") return;
  mHasChosen = true;
  Want(std::string(command.TextOf("DialogName")));
}

void Follower::Received(const Json& command) {
  const std::string_view word = command.TextOf("Command");
  if (word == "OPEN") {
    OnOpen(command);
  } else if (word == "PUTFILE") {
    OnPutfile(command);
  } else {
    mReplica.Receive(command);
    if (mReplica.TakeWantsEntry()) Want(mReplica.DialogName());
  }
}

// The first one answers the log-in; later ones are followed.
void Follower::OnOpen(const Json& command) {
  const std::string dialog = command.Find("DialogName") != nullptr
                                 ? std::string(command.TextOf("DialogName"))
                                 : dorn::station::DialogOfFile(command.TextOf("File"));
  Know(dialog);
  if (const Json* menu = command.Find("Menu"); menu != nullptr) {
    for (const Json& entry : menu->mElements) Know(std::string(entry.Text()));
  }
  if (!std::exchange(mHasChosen, false)) Want(dialog);
}

// A host may name any number of them.
void Follower::Know(const std::string& dialog) {
  if (!dialog.empty() && mDialogs.size() < kMostDialogs) mDialogs.insert(dialog);
}

void Follower::Want(const std::string& dialog) {
  if (dialog.empty()) return;
  Know(dialog);
  mWanted = dialog;
}

void Follower::OnPutfile(const Json& command) {
  const auto file = command.TextOf("File");
  if (const auto fence = dorn::station::FenceOf(file); fence) return mReplica.ReceiveFence(*fence);
  mIsComing = false;
  if (mFile.empty() || file != mFile || mReplica.GetState() != Replica::State::kBuffer) return;
  mBytes.clear();
  mIsLive = dorn::station::IsLiveDate(command.TextOf("Date"));
  mIsComing = command.TextOf("Status").empty() && command.Find("Length") != nullptr;
  if (!mIsComing) {
    mFile.clear();
    mReplica.ReceiveNoTree();
  }
}

void Follower::FilePiece(std::string_view piece) {
  if (mIsComing) mBytes += piece;
}

void Follower::FileEnd(bool isWhole) {
  if (!std::exchange(mIsComing, false)) return;
  mFile.clear();
  const Json tree = dorn::station::Reader().Read(std::exchange(mBytes, {})).mJson;
  if (isWhole && tree.IsObject()) {
    mReplica.ReceiveTree(tree, mIsLive);
  } else {
    mReplica.ReceiveNoTree();
  }
  for (const auto& [name, attributes] : Objects()) {
    if (const auto to = attributes.find("Goto"); to != attributes.end()) Know(to->second);
  }
}

bool Follower::IsOwn(const Json& command) const {
  const std::string_view word = command.TextOf("Command");
  if (word != "GETFILE" && word != "PUTFILE") return false;
  const std::string_view file = command.TextOf("File");
  return dorn::station::FenceOf(file) || (!mFile.empty() && file == mFile);
}

std::optional<std::string> Follower::TakeEntry(std::int64_t nowMs) {
  if (mWanted.empty()) return std::nullopt;
  const bool isAgain =
      mWanted == mReplica.DialogName() && mReplica.GetState() != Replica::State::kEmpty;
  if (isAgain && nowMs - mEnteredAt < kEnterAgainRestMs) return std::nullopt;
  return Enter(mWanted, nowMs);
}

std::string Follower::Enter(const std::string& dialog, std::int64_t nowMs) {
  Know(dialog);
  mEnteredAt = nowMs;
  mIsComing = false;
  mFile = dorn::station::FileOfDialog(dialog);
  mReplica.Enter(dialog, ++mFences);
  return dorn::station::EnterText(mFences, dialog);
}

std::string Follower::Act(const std::string& condition,
                          const std::vector<dorn::station::SetObject>& objects) {
  const unsigned long before = ++mFences;
  const unsigned long after = ++mFences;
  std::string text = dorn::station::ActText(before, condition, after);
  if (text.size() > dorn::station::kMaxSentText) return condition;
  mReplica.Act(objects, before, after);
  return text;
}

Snapshot Follower::Objects() const {
  Snapshot snapshot;
  ForEach(mReplica.Confirmed().Root(),
          [&](const Object& object) { snapshot.emplace(object.mName, AttributesOf(object)); });
  return snapshot;
}

Attributes Follower::AttributesOf(const Object& object) const {
  Attributes texts;
  for (const auto& [key, value] : mReplica.ShownAttributes(object)) texts[key] = TextOf(value);
  return texts;
}

std::optional<Attributes> Follower::AttributesOf(const std::string& name) const {
  const Object* object = mReplica.Confirmed().Find(name);
  if (object == nullptr) return std::nullopt;
  return AttributesOf(*object);
}
