// The terminal's own words. What the browser's page says, too, is said in the same words.
#ifndef TOOLS_DORN_TERMINAL_TEXTS_H_
#define TOOLS_DORN_TERMINAL_TEXTS_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "station/Screen.h"
#include "station/Session.h"

namespace dorn::terminal {

struct Texts {
  const char* notSent;
  const char* unsent;
  const char* user;
  const char* password;
  const char* logIn;
  const char* loggingIn;
  const char* logOut;
  const char* wrongPassword;
  const char* cannotConnect;
  const char* sessionEnded;
  const char* idle;
  const char* hostLost;
  const char* noAnswer;
  const char* since;   // %s: an age.
  const char* endsIn;  // %s: a time.
  const char* nothing;
  const char* entering;
  const char* menu;
  const char* language;
  const char* stay;
  const char* refresh;
  const char* unreadable;  // %s: a number.
  const char* quality;     // %s: a number.
  const char* alarms;
  const char* noAlarms;
  const char* moreAlarms;  // %s: a number.
  const char* ack;
  const char* sound;
  const char* yes;
  const char* no;
  const char* noNumber;
  const char* tooLow;   // %s: a limit.
  const char* tooHigh;  // %s: a limit.
  const char* tooLong;  // %s: a number.
  const char* notSendable;
  // What the page does not say.
  const char* help;
  const char* find;
  const char* quit;
  const char* found;  // %s: a number.
  const char* online;
  const char* tooSmall;
  const char* step;  // %s: a number.
  const char* picture;
  const char* sendKey;
  std::vector<std::string_view> helpLines;
};

// Japanese for "ja", else English.
const Texts& TextsIn(std::string_view language);

// `format` with what stands for its %s.
std::string Filled(const char* format, std::string_view text);

// "12 s", "3 min", "2 h".
std::string DurationText(std::int64_t ms, std::string_view language);

// Why there is no dialog; empty without a reason.
std::string CauseText(station::Session::Cause cause, const Texts& texts);
// Why a typed value is not sent.
std::string RefusalText(station::Typed::Refusal refusal, const station::Item& item,
                        const Texts& texts);
// A limit as the user would type it.
std::string LimitText(const station::Item& item, long long limit);

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_TEXTS_H_
