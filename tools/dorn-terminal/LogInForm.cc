#include "tools/dorn-terminal/LogInForm.h"

#include <utility>

namespace dorn::terminal {

namespace {

using station::Item;
using station::Widget;

constexpr int kLongestField = 200;

Item MakeField(const char* name, const char* caption, const std::string& value, bool isHidden) {
  Item item;
  item.mName = name;
  item.mWidget = Widget::kEdit;
  item.mCaption = caption;
  item.mRaw = value;
  item.mFormat = isHidden ? station::Format::kPassword : station::Format::kText;
  item.mValue = station::FormattedValue(item, value);
  item.mMaxLength = kLongestField;
  return item;
}

// Why the user is not logged in, with the host's own words.
std::string ReasonOf(const station::Session& session, const Texts& texts) {
  std::string cause = CauseText(session.GetCause(), texts);
  const std::string& message = session.Message();
  if (cause.empty() || message.empty() || message == cause) return cause;
  return cause + " (" + message + ")";
}

}  // namespace

station::Screen MakeLogInForm(const station::Session& session, const LogInFields& fields,
                              const Texts& texts) {
  const bool isLoggingIn = session.GetState() == station::Session::State::kLoggingIn;
  Item form;
  form.mName = "form";
  form.mWidget = Widget::kGroup;
  form.mCaption = fields.mHost;
  const std::string reason = isLoggingIn ? texts.loggingIn : ReasonOf(session, texts);
  if (!reason.empty()) {
    Item words;
    words.mName = "reason";
    words.mCaption = reason;
    words.mState = isLoggingIn ? station::Condition::kInfo : station::Condition::kAlarm;
    words.mColor = isLoggingIn ? station::Color::kNone : station::Color::kAlarm;
    form.mChildren.push_back(std::move(words));
  }
  form.mChildren.push_back(MakeField(kUserField, texts.user, fields.mId, false));
  form.mChildren.push_back(MakeField(kPasswordField, texts.password, fields.mPass, true));
  Item button;
  button.mName = kLogInButton;
  button.mWidget = Widget::kButton;
  button.mCaption = texts.logIn;
  form.mChildren.push_back(std::move(button));

  station::Screen screen;
  screen.mTitle = texts.logIn;
  station::Card card;
  card.mName = form.mName;
  card.mItems.push_back(std::move(form));
  screen.mCards.push_back(std::move(card));
  return screen;
}

}  // namespace dorn::terminal
