// What the stations of a scene do.
#include <algorithm>
#include <utility>

#include "station/Vocabulary.h"
#include "tools/dorn-station/scene/LocalFile.h"
#include "tools/dorn-station/scene/Player.h"
#include "tools/dorn-station/scene/Words.h"

namespace dorn::scene {

namespace {

using dorn::station::Json;
using dorn::station::Object;
using dorn::station::Replica;
using dorn::station::SetObject;
using dorn::station::Widget;
using State = dorn::station::Session::State;
using Cause = dorn::station::Session::Cause;

Widget WidgetOf(const Object& object) {
  return dorn::station::WidgetOf(object.TextOf("Type"), !object.mChildren.empty());
}

std::string Shown(const Actor& actor, const Object& object, const char* key) {
  const auto value = actor.Session().Dialog().Shown(object, key);
  return value ? std::string(value->Text()) : "";
}

// Why an operator could not touch it; empty when he can.
std::string Hindrance(const Actor& actor, const Object& object, bool isEdit) {
  for (const Object* each = &object; each != nullptr; each = each->mParent) {
    const std::string which = each == &object ? object.mName : "its group " + each->mName;
    if (Shown(actor, *each, "Enabled") == "OFF") return which + " has Enabled OFF";
    if (Shown(actor, *each, "Visible") == "OFF") return which + " has Visible OFF";
  }
  if (isEdit && Shown(actor, object, "ReadOnly") == "ON") return object.mName + " has ReadOnly ON";
  return "";
}

bool IsInput(Widget widget) {
  return widget == Widget::kEdit || widget == Widget::kSlider || widget == Widget::kList ||
         widget == Widget::kCombo || widget == Widget::kCheck;
}

std::string KindOf(const Object& object) {
  const std::string_view type = object.TextOf("Type");
  return type.empty() ? "of no type" : "of type " + std::string(type);
}

bool IsOut(const Actor& actor) {
  const State state = actor.Session().GetState();
  return state == State::kShowing || state == State::kLoggedOut;
}

std::string Difference(const std::string& expected, const std::string& got) {
  const auto common = std::mismatch(expected.begin(), expected.end(), got.begin(), got.end());
  return "a file of " + std::to_string(got.size()) + " bytes, another one from byte " +
         std::to_string(common.first - expected.begin() + 1) + " on";
}

void CollectNames(const Object& object, std::vector<std::string>& names) {
  names.push_back(object.mName);
  for (const auto& child : object.mChildren) CollectNames(*child, names);
}

}  // namespace

std::string StateOf(const Actor& actor) {
  if (actor.IsPlain()) return actor.IsConnected() ? "is connected, and not logged in" : "is closed";
  const auto& session = actor.Session();
  const std::string words = session.Message().empty() ? "" : ": " + session.Message();
  switch (session.GetState()) {
    case State::kShowing:
      if (session.Dialog().DialogName().empty()) return "shows nothing: the host named no dialog";
      if (session.Dialog().GetState() == Replica::State::kNothing) {
        return "finds no dialog " + session.Dialog().DialogName() + ", or nothing in it";
      }
      return "shows " + session.Dialog().DialogName();
    case State::kEntering:
      return "still enters " + session.Dialog().DialogName();
    case State::kWaiting:
      return "has no line to the host: " + actor.Ended();
    case State::kLoggingIn:
      return "still logs in";
    case State::kLoggedOut:
      break;
  }
  switch (session.GetCause()) {
    case Cause::kWrongPassword:
      return "is refused" + words;
    case Cause::kSessionEnded:
      return "is logged out, the host does not know the session any more" + words;
    case Cause::kCannotConnect:
      return "cannot log in: " + (actor.Ended().empty() ? "no answer" : actor.Ended());
    default:
      return "is logged out";
  }
}

std::string NoObject(const Actor& actor, const std::string& name) {
  const Replica& dialog = actor.Session().Dialog();
  if (dialog.GetState() != Replica::State::kLive) return "the station " + StateOf(actor);
  std::vector<std::string> names;
  CollectNames(dialog.Confirmed().Root(), names);
  const std::string meant = Nearest(name, names);
  return "no object " + name + " in " + dialog.DialogName() +
         (meant.empty() || meant == name ? "" : "; do you mean " + meant + "?");
}

Player::Verdict Player::Connect(const Step& step, Actor& actor) {
  actor.Connect();
  static_cast<void>(
      WaitUntil(Limit(step), [&] { return actor.IsConnected() || !actor.Ended().empty(); }));
  if (actor.IsConnected()) return std::nullopt;
  mNoHost = !HasDied();
  return Missed("a connection to the host", actor.Ended());
}

Player::Verdict Player::LogIn(const Step& step, Actor& actor) {
  actor.LogIn(step.mName, step.mValue);
  static_cast<void>(WaitUntil(Limit(step), [&] { return IsOut(actor); }));
  const Cause cause = actor.Session().GetCause();
  const bool isRefused = cause == Cause::kWrongPassword;
  if (step.mVerb == Verb::kLoginRefused) return Refused(step, actor, isRefused);
  actor.MarkQuiet();
  if (actor.Session().GetState() == State::kShowing) return std::nullopt;
  mNoHost = cause == Cause::kCannotConnect && !mHost.IsManaged();
  return Missed(step.mName + " is logged in", "the station " + StateOf(actor));
}

Player::Verdict Player::Return(const Step& step, Actor& actor) {
  actor.Return();
  static_cast<void>(WaitUntil(Limit(step), [&] { return IsOut(actor); }));
  const bool isRefused = actor.Session().GetCause() == Cause::kSessionEnded;
  if (step.mVerb == Verb::kReturnRefused) return Refused(step, actor, isRefused);
  actor.MarkQuiet();
  if (actor.Session().GetState() == State::kShowing) return std::nullopt;
  return Missed("the session goes on", "the station " + StateOf(actor));
}

Player::Verdict Player::Refused(const Step& step, const Actor& actor, bool isRefused) const {
  const std::string& words = actor.Session().Message();
  if (isRefused && words.find(step.mText) != std::string::npos) return std::nullopt;
  return Missed("the host refuses" + (step.mText.empty() ? "" : ": " + step.mText),
                "the station " + StateOf(actor));
}

Player::Verdict Player::Enter(const Step& step, Actor& actor) {
  auto& session = actor.Session();
  static_cast<void>(WaitUntil(Limit(step), [&] { return IsOut(actor); }));
  if (session.GetState() != State::kShowing) {
    return Missed("a station that is logged in", "the station " + StateOf(actor));
  }
  session.Enter(step.mName, actor.Now());
  static_cast<void>(WaitUntil(Limit(step), [&] { return IsOut(actor); }));
  const bool isNothing = session.Dialog().GetState() == Replica::State::kNothing;
  const bool isRight = session.GetState() == State::kShowing &&
                       session.Dialog().DialogName() == step.mName &&
                       isNothing == (step.mVerb == Verb::kEnterNothing);
  actor.MarkQuiet();
  if (isRight) return std::nullopt;
  return Missed(step.mVerb == Verb::kEnterNothing ? "no dialog " + step.mName + " to show"
                                                  : "the dialog " + step.mName,
                "the station " + StateOf(actor));
}

// The object of this name, in the tree as the host has it now.
Player::Verdict Player::Find(const Step& step, Actor& actor, const Object*& object) {
  static_cast<void>(WaitUntil(Limit(step), [&] { return IsOut(actor); }));
  if (auto failure = Sync(actor); failure) return failure;
  if (actor.Session().GetState() != State::kShowing) {
    return Missed("a station that is logged in", "the station " + StateOf(actor));
  }
  object = actor.Session().Dialog().Confirmed().Find(step.mName);
  if (object != nullptr) return std::nullopt;
  return Missed("an object " + step.mName, NoObject(actor, step.mName));
}

Player::Verdict Player::Click(const Step& step, Actor& actor) {
  const Object* object = nullptr;
  if (auto failure = Find(step, actor, object); failure) return failure;
  const Widget widget = WidgetOf(*object);
  const bool isClickable =
      widget == Widget::kButton || widget == Widget::kCheck || widget == Widget::kRadio;
  const std::string hindrance = isClickable ? Hindrance(actor, *object, widget == Widget::kCheck)
                                            : step.mName + " is " + KindOf(*object);
  if (!hindrance.empty() && !step.mAnyway) {
    return Failure{step.mName + " can be clicked", hindrance + "; to send it, write: anyway"};
  }
  if (widget == Widget::kRadio) {
    return Act(step, actor, "CLICK", {step.mName, {{"Attr", Json::String("ON")}}});
  }
  if (widget == Widget::kCheck) {
    const bool isOn = Shown(actor, *object, "Value") == "ON";
    return Act(step, actor, "CHANGE", {step.mName, {{"Value", Json::String(isOn ? "OFF" : "ON")}}});
  }
  const std::string dialog = Shown(actor, *object, "Goto");
  if (widget != Widget::kButton || dialog.empty())
    return Act(step, actor, "CLICK", {step.mName, {}});
  Step goes = step;
  goes.mVerb = Verb::kEnter;
  goes.mName = dialog;
  return Enter(goes, actor);
}

Player::Verdict Player::Set(const Step& step, Actor& actor) {
  const Object* object = nullptr;
  if (auto failure = Find(step, actor, object); failure) return failure;
  const Widget widget = WidgetOf(*object);
  // Whoever names the attribute knows what the host makes of it.
  const bool isInput = !step.mKey.empty() || widget == Widget::kRadio || IsInput(widget);
  const std::string hindrance =
      isInput ? Hindrance(actor, *object, true) : step.mName + " is " + KindOf(*object);
  if (!hindrance.empty() && !step.mAnyway) {
    return Failure{step.mName + " can be changed", hindrance + "; to send it, write: anyway"};
  }
  if (widget == Widget::kRadio && step.mKey.empty()) {
    return Failure{"an object with a Value to set",
                   step.mName + " is a radio button; write: click " + step.mName};
  }
  const std::string key = step.mKey.empty() ? "Value" : step.mKey;
  return Act(step, actor, "CHANGE", {step.mName, {{key, Json::String(step.mValue)}}});
}

Player::Verdict Player::Acknowledge(const Step& step, Actor& actor) {
  const Object* object = nullptr;
  if (auto failure = Find(step, actor, object); failure) return failure;
  if (WidgetOf(*object) != Widget::kGrid) {
    return Failure{"a grid " + step.mName, step.mName + " is " + KindOf(*object)};
  }
  return Act(step, actor, "ACK", {step.mName, {{"Row", Json::String(step.mValue)}}});
}

// Until the host has dealt with it; a host that ends the line has done so too.
Player::Verdict Player::Act(const Step& step, Actor& actor, const std::string& type,
                            const SetObject& object) {
  auto& session = actor.Session();
  if (!session.Act(object.mName, type, {object}, actor.Now())) {
    return Failure{"a change that a host may be sent",
                   "more than 524,286 bytes, or one of the bytes 00, 02 and 03"};
  }
  if (WaitUntil(Limit(step), [&] { return !session.Dialog().HasPending(); })) return std::nullopt;
  return Missed("the host deals with it", "no answer within " + WrittenDuration(Limit(step)));
}

Player::Verdict Player::Send(const Step& step, Actor& actor) {
  if (!actor.IsConnected()) return Missed("a line to the host", "the station " + StateOf(actor));
  actor.Send(step.mText);
  return Sync(actor);
}

Player::Verdict Player::Get(const Step& step, Actor& actor) {
  if (!actor.Session().GetFile(step.mName, actor.Now())) {
    const bool isOut = actor.Session().GetState() != State::kShowing;
    return Missed("a file that can be asked for",
                  isOut ? "the station " + StateOf(actor)
                        : "a name without an extension, which stations never ask for");
  }
  std::optional<dorn::station::Session::File> file;
  const bool came = WaitUntil(Limit(step), [&] {
    file = actor.TakeFile(step.mName);
    return file.has_value();
  });
  if (!came)
    return Missed("the file " + step.mName, "no answer within " + WrittenDuration(Limit(step)));
  const bool isWanted = step.mVerb != Verb::kGetMissing;
  if (file->mIsThere != isWanted) {
    return Failure{isWanted ? "the file " + step.mName : "no file " + step.mName,
                   isWanted ? "the host has no such file"
                            : "a file of " + std::to_string(file->mBytes.size()) + " bytes"};
  }
  if (step.mVerb == Verb::kGetContains && file->mBytes.find(step.mText) == std::string::npos) {
    return Failure{"a file that contains " + WrittenWord(step.mText),
                   "a file of " + std::to_string(file->mBytes.size()) + " bytes that does not"};
  }
  if (step.mVerb != Verb::kGetIs) return std::nullopt;
  const std::string expected = ReadLocalFile(step.mPath).value_or("");
  if (file->mBytes == expected) return std::nullopt;
  return Failure{step.mPath + ", " + std::to_string(expected.size()) + " bytes",
                 Difference(expected, file->mBytes)};
}

}  // namespace dorn::scene
