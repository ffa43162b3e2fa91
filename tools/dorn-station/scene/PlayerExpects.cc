// What the stations of a scene expect.
#include <charconv>
#include <utility>

#include "station/Vocabulary.h"
#include "tools/dorn-station/scene/Player.h"
#include "tools/dorn-station/scene/Words.h"

namespace dorn::scene {

namespace {

using dorn::station::Json;
using dorn::station::Object;
using dorn::station::Replica;
using State = dorn::station::Session::State;
using Cause = dorn::station::Session::Cause;

std::string TextOf(const Json& value) {
  return value.IsArray() || value.IsObject() ? value.Written() : std::string(value.Text());
}

const Object* Find(const Actor& actor, const std::string& name) {
  const Replica& dialog = actor.Session().Dialog();
  return dialog.GetState() == Replica::State::kLive ? dialog.Confirmed().Find(name) : nullptr;
}

// What a station shows where the host says nothing.
std::optional<std::string> ValueOf(const Actor& actor, const Object& object,
                                   const std::string& key) {
  if (const auto value = actor.Session().Dialog().Shown(object, key)) return TextOf(*value);
  const auto* word = dorn::station::FindAttribute(key);
  if (word == nullptr || word->mName != key || word->mDefault.empty()) return std::nullopt;
  return std::string(word->mDefault);
}

std::optional<double> Number(const std::string& text) {
  double number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

bool Holds(const Step& step, const std::optional<std::string>& value) {
  switch (step.mCompare) {
    case Compare::kMissing:
      return !value;
    case Compare::kIs:
      return value == step.mValue;
    case Compare::kIsNot:
      return value != step.mValue;
    case Compare::kContains:
      return value && value->find(step.mValue) != std::string::npos;
    case Compare::kAbove:
    case Compare::kBelow:
      break;
  }
  const auto number = value ? Number(*value) : std::nullopt;
  const double limit = Number(step.mValue).value_or(0);
  return number && (step.mCompare == Compare::kAbove ? *number > limit : *number < limit);
}

std::string Wanted(const Step& step) {
  const std::string value = " " + WrittenWord(step.mValue);
  const std::string what = step.mName + " " + step.mKey;
  switch (step.mCompare) {
    case Compare::kMissing:
      return "no " + step.mKey + " of " + step.mName;
    case Compare::kIsNot:
      return what + " is not" + value;
    case Compare::kContains:
      return what + " contains" + value;
    case Compare::kAbove:
      return what + " is above" + value;
    case Compare::kBelow:
      return what + " is below" + value;
    case Compare::kIs:
      break;
  }
  return what + " is" + value;
}

bool IsCommand(const Message& message, const Step& step) {
  if (message.mCommand.TextOf("Command") != step.mName) return false;
  for (const auto& [key, value] : step.mMembers) {
    const Json* member = message.mCommand.Find(key);
    if (member == nullptr || TextOf(*member) != value) return false;
  }
  return true;
}

bool Names(const Json& json, const std::string& name) {
  if (json.TextOf("Name") == name) return true;
  const Json* objects = json.Find("Objects");
  if (objects == nullptr) return false;
  for (const Json& each : objects->mElements) {
    if (Names(each, name)) return true;
  }
  return false;
}

bool IsUpdate(const Message& message, const std::string& name) {
  const std::string_view word = message.mCommand.TextOf("Command");
  if (word != "UPDATE" && word != "ADD" && word != "DELETE") return false;
  return name.empty() || Names(message.mCommand, name);
}

std::function<bool(const Message&)> Sought(const Step& step) {
  return [&step](const Message& message) {
    switch (step.mVerb) {
      case Verb::kNoUpdate:
        return IsUpdate(message, step.mName);
      case Verb::kCommand:
      case Verb::kNoCommand:
        return IsCommand(message, step);
      default:
        return message.mText.find(step.mText) != std::string::npos;
    }
  };
}

std::string WantedMessage(const Step& step) {
  if (step.mVerb == Verb::kNoUpdate) {
    return "update" + (step.mName.empty() ? "" : " of " + step.mName);
  }
  if (step.mVerb == Verb::kMessage || step.mVerb == Verb::kNoMessage) {
    return "message that contains " + WrittenWord(step.mText);
  }
  std::string wanted = "command " + step.mName;
  for (const auto& [key, value] : step.mMembers) {
    wanted += (wanted.find(" with ") == std::string::npos ? " with " : ", ") + key + " " +
              WrittenWord(value);
  }
  return wanted;
}

}  // namespace

Player::Verdict Player::ExpectValue(const Step& step, Actor& actor) {
  if (auto failure = Sync(actor); failure) return failure;
  const Object* object = nullptr;
  std::optional<std::string> value;
  const auto holds = [&] {
    object = scene::Find(actor, step.mName);
    value = object == nullptr ? std::nullopt : ValueOf(actor, *object, step.mKey);
    return object != nullptr && Holds(step, value);
  };
  if (WaitUntil(Limit(step), holds)) return std::nullopt;
  const std::string within = " within " + WrittenDuration(Limit(step));
  if (object == nullptr) return Missed(Wanted(step) + within, NoObject(actor, step.mName));
  return Missed(Wanted(step) + within,
                value ? WrittenWord(*value) : step.mName + " has no attribute " + step.mKey);
}

Player::Verdict Player::ExpectPresence(const Step& step, Actor& actor) {
  if (auto failure = Sync(actor); failure) return failure;
  const bool isWanted = step.mVerb == Verb::kThere;
  const auto holds = [&] {
    return actor.Session().Dialog().GetState() == Replica::State::kLive &&
           (scene::Find(actor, step.mName) != nullptr) == isWanted;
  };
  if (WaitUntil(Limit(step), holds)) return std::nullopt;
  const std::string within = " within " + WrittenDuration(Limit(step));
  if (isWanted) return Missed("an object " + step.mName + within, NoObject(actor, step.mName));
  return Missed("no object " + step.mName + within, scene::Find(actor, step.mName) != nullptr
                                                        ? "it is there"
                                                        : "the station " + StateOf(actor));
}

Player::Verdict Player::ExpectDialog(const Step& step, Actor& actor) {
  if (auto failure = Sync(actor); failure) return failure;
  const auto& session = actor.Session();
  const auto holds = [&] {
    return session.GetState() == State::kShowing &&
           session.Dialog().GetState() == Replica::State::kLive &&
           session.Dialog().DialogName() == step.mName;
  };
  if (WaitUntil(Limit(step), holds)) return std::nullopt;
  return Missed("the dialog " + step.mName + " within " + WrittenDuration(Limit(step)),
                "the station " + StateOf(actor));
}

Player::Verdict Player::ExpectCommand(const Step& step, Actor& actor) {
  const auto sought = Sought(step);
  const auto isThere = [&] { return actor.Log().Find(actor.MarkedAt(), sought) != nullptr; };
  if (WaitUntil(Limit(step), isThere)) return std::nullopt;
  return Missed("a " + WantedMessage(step) + " within " + WrittenDuration(Limit(step)),
                "none since the step that acted last; the station " + StateOf(actor));
}

Player::Verdict Player::ExpectNothing(const Step& step, Actor& actor) {
  if (auto failure = Sync(actor); failure) return failure;
  const auto sought = Sought(step);
  const auto found = [&] { return actor.Log().Find(actor.MarkedQuietAt(), sought); };
  static_cast<void>(WaitUntil(step.mWithin, [&] { return found() != nullptr; }));
  if (found() == nullptr) {
    // What the host had on its way by then counts as well.
    if (auto failure = Sync(actor); failure) return failure;
  }
  const Message* message = found();
  if (message == nullptr && !HasDied()) return std::nullopt;
  return Missed("no " + WantedMessage(step), message == nullptr ? "" : message->mText);
}

Player::Verdict Player::ExpectClosed(const Step& step, Actor& actor) {
  if (WaitUntil(Limit(step), [&] { return !actor.Ended().empty(); })) return std::nullopt;
  return Missed("the host closes the connection within " + WrittenDuration(Limit(step)),
                "the station " + StateOf(actor));
}

Player::Verdict Player::ExpectSessionEnd(const Step& step, Actor& actor) {
  const auto& session = actor.Session();
  const auto holds = [&] {
    return session.GetState() == State::kLoggedOut && session.GetCause() == Cause::kSessionEnded;
  };
  if (WaitUntil(Limit(step), holds)) return std::nullopt;
  return Missed("the session ends within " + WrittenDuration(Limit(step)),
                "the station " + StateOf(actor));
}

}  // namespace dorn::scene
