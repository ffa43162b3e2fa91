#include "tools/dorn-load/Figures.h"

namespace dorn::load {

const char* NameOf(Error error) {
  switch (error) {
    case Error::kRefusedConnect:
      return "refused connects";
    case Error::kRefusedLogIn:
      return "refused log-ins";
    case Error::kClosedByHost:
      return "closed by the host";
    case Error::kUnreadable:
      return "unreadable";
    case Error::kTimeOut:
      return "time-outs";
    case Error::kNotTaken:
      return "not taken by the host";
    case Error::kUnanswered:
      return "cut off before the answer";
    case Error::kNotSent:
      break;
  }
  return "not sent";
}

const char* KeyOf(Error error) {
  switch (error) {
    case Error::kRefusedConnect:
      return "refused_connects";
    case Error::kRefusedLogIn:
      return "refused_log_ins";
    case Error::kClosedByHost:
      return "closed_by_host";
    case Error::kUnreadable:
      return "unreadable";
    case Error::kTimeOut:
      return "time_outs";
    case Error::kNotTaken:
      return "not_taken";
    case Error::kUnanswered:
      return "unanswered";
    case Error::kNotSent:
      break;
  }
  return "not_sent";
}

}  // namespace dorn::load
