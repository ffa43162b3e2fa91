// The form that asks who the user is: a screen like any other.
#ifndef TOOLS_DORN_TERMINAL_LOGINFORM_H_
#define TOOLS_DORN_TERMINAL_LOGINFORM_H_

#include <string>

#include "station/Screen.h"
#include "station/Session.h"
#include "tools/dorn-terminal/Texts.h"

namespace dorn::terminal {

constexpr char kUserField[] = "user";
constexpr char kPasswordField[] = "password";
constexpr char kLogInButton[] = "log_in";
constexpr int kFormWidth = 56;

struct LogInFields {
  std::string mHost;
  std::string mId;
  std::string mPass;
};

station::Screen MakeLogInForm(const station::Session& session, const LogInFields& fields,
                              const Texts& texts);

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_LOGINFORM_H_
