#include "station/Replica.h"

#include <algorithm>
#include <utility>

namespace dorn::station {

namespace {

bool IsOn(const Json* json) { return json != nullptr && json->Text() == "ON"; }

bool IsRadioButton(const Object& object) { return object.TextOf("Type") == "RADIOBTN"; }

bool IsRadioGroup(const Object* object) {
  return object != nullptr && object->IsGroup() && object->TextOf("Layout") == "RADIO";
}

}  // namespace

bool IsLiveDate(std::string_view date) { return date.find('-') == 2; }

void Replica::Enter(std::string_view dialog, std::optional<unsigned long> fence) {
  mDialog = dialog;
  mFence = fence;
  mState = fence ? State::kFence : State::kBuffer;
  mBuffer.clear();
  mWantsEntry = false;
}

void Replica::Receive(const Json& command) {
  if (mState == State::kBuffer) {
    // The tree that follows is newer than what was added and deleted before it.
    if (command.TextOf("Command") == "UPDATE") mBuffer.push_back(command);
    return;
  }
  Apply(command);
}

void Replica::Apply(const Json& command) {
  const std::string_view word = command.TextOf("Command");
  bool wantsEntry = false;
  if (word == "UPDATE") {
    wantsEntry = mTree.Update(command);
  } else if (word == "ADD") {
    wantsEntry = mTree.Add(command);
  } else if (word == "DELETE") {
    mTree.Delete(command);
  }
  mWantsEntry = mWantsEntry || (wantsEntry && mState == State::kLive);
}

void Replica::ReceiveFence(unsigned long fence) {
  if (mState == State::kFence && mFence && fence >= *mFence) mState = State::kBuffer;
  for (Action& action : mActions) {
    if (fence < action.mBefore || action.mIsOurs) continue;
    action.mIsOurs = true;
    Settle(action);
  }
  mActions.erase(std::remove_if(mActions.begin(), mActions.end(),
                                [fence](const Action& action) { return fence >= action.mAfter; }),
                 mActions.end());
}

// From here on what the host holds is ours, until it says otherwise.
void Replica::Settle(const Action& action) {
  for (const Change& change : action.mChanges) {
    Object* object = mTree.Find(change.mName);
    if (object == nullptr || (change.mOnlyIfOn && !IsOn(object->Find(change.mKey)))) continue;
    object->mAttributes[change.mKey] = change.mValue;
  }
}

void Replica::ReceiveTree(const Json& tree, bool isLive) {
  if (mState != State::kBuffer) return;
  if (isLive) {
    BecomeLive(Tree::FromLive(tree));
  } else if (auto read = Tree::FromFile(tree); read) {
    BecomeLive(std::move(*read));
  } else {
    ReceiveNoTree();
  }
}

void Replica::ReceiveNoTree() {
  if (mState != State::kBuffer) return;
  Tree flat = Tree::Flat(mDialog, mBuffer);
  const bool isEmpty = flat.Root().mChildren.empty();
  BecomeLive(std::move(flat));
  if (isEmpty) mState = State::kNothing;
}

void Replica::BecomeLive(Tree tree) {
  mTree = std::move(tree);
  mState = State::kLive;
  // What is told here is in the tree, or in no file: entering again would find the same.
  for (const Json& update : std::exchange(mBuffer, {})) {
    static_cast<void>(mTree.Update(update));
  }
}

void Replica::Act(const std::vector<SetObject>& objects, unsigned long before,
                  unsigned long after) {
  Action action{before, after, false, {}, {}};
  for (const SetObject& object : objects) {
    action.mNames.push_back(object.mName);
    for (const auto& [key, value] : object.mAttributes) {
      AddChange(action, object.mName, key, value);
    }
  }
  mActions.push_back(std::move(action));
}

void Replica::AddChange(Action& action, const std::string& name, const std::string& key,
                        const Json& value) const {
  const Object* object = mTree.Find(name);
  const bool chooses = object != nullptr && IsRadioButton(*object) && IsOn(&value) &&
                       (key == "Attr" || key == "Value") && IsRadioGroup(object->mParent);
  if (chooses) {
    for (const auto& sibling : object->mParent->mChildren) {
      if (sibling.get() == object || !IsRadioButton(*sibling)) continue;
      action.mChanges.push_back({sibling->mName, "Attr", Json::String("OFF"), true});
    }
  }
  action.mChanges.push_back({name, key, value, false});
}

std::optional<Json> Replica::Shown(const Object& object, std::string_view key) const {
  const Json* shown = object.Find(key);
  for (const Action& action : mActions) {
    if (action.mIsOurs) continue;
    for (const Change& change : action.mChanges) {
      if (change.mName != object.mName || change.mKey != key) continue;
      if (!change.mOnlyIfOn || IsOn(shown)) shown = &change.mValue;
    }
  }
  if (shown == nullptr) return std::nullopt;
  return *shown;
}

Json::Object Replica::ShownAttributes(const Object& object) const {
  Json::Object shown = object.mAttributes;
  for (const Action& action : mActions) {
    if (action.mIsOurs) continue;
    for (const Change& change : action.mChanges) {
      if (change.mName != object.mName) continue;
      if (auto value = Shown(object, change.mKey); value) shown[change.mKey] = std::move(*value);
    }
  }
  return shown;
}

bool Replica::IsPending(std::string_view name) const {
  return std::any_of(mActions.begin(), mActions.end(), [name](const Action& action) {
    return std::find(action.mNames.begin(), action.mNames.end(), name) != action.mNames.end();
  });
}

bool Replica::TakeWantsEntry() { return std::exchange(mWantsEntry, false); }

}  // namespace dorn::station
