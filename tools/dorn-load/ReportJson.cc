#include "tools/dorn-load/ReportJson.h"

#include <cstdio>
#include <utility>

namespace dorn::load {

using dorn::station::Json;

namespace {

Json TimesJson(const Histogram& times) {
  return Json::MakeObject({{"count", CountJson(times.Count())},
                           {"p50_ms", DecimalJson(InMs(times.Quantile(0.5)))},
                           {"p90_ms", DecimalJson(InMs(times.Quantile(0.9)))},
                           {"p99_ms", DecimalJson(InMs(times.Quantile(0.99)))},
                           {"worst_ms", DecimalJson(InMs(times.Worst()))}});
}

Json TrafficJson(const Traffic& traffic) {
  return Json::MakeObject({{"messages_in", CountJson(traffic.mMessagesIn)},
                           {"messages_out", CountJson(traffic.mMessagesOut)},
                           {"bytes_in", CountJson(traffic.mBytesIn)},
                           {"bytes_out", CountJson(traffic.mBytesOut)}});
}

Json HostJson(const HostUse& host) {
  return Json::MakeObject(
      {{"cpu_percent", DecimalJson(host.mPercent)}, {"resident_mib", DecimalJson(host.mMiB)}});
}

Json::Object CommonMembers(const Figures& figures, std::size_t in,
                           const std::optional<HostUse>& host) {
  Json::Object members{
      {"actions", CountJson(figures.mActions)},   {"stations_in", CountJson(in)},
      {"confirm", TimesJson(figures.mConfirm)},   {"update", TimesJson(figures.mUpdate)},
      {"traffic", TrafficJson(figures.mTraffic)}, {"errors", ErrorsJson(figures)}};
  if (host) members.emplace("host", HostJson(*host));
  return members;
}

}  // namespace

Json DecimalJson(double number) {
  char text[64];
  std::snprintf(text, sizeof text, "%.3f", number);
  return Json::Number(text);
}

Json CountJson(std::uint64_t number) { return Json::Number(std::to_string(number)); }

Json ErrorsJson(const Figures& figures) {
  Json::Object members{{"sum", CountJson(figures.Errors())}};
  for (std::size_t i = 0; i < kErrors; ++i) {
    members.emplace(KeyOf(static_cast<Error>(i)), CountJson(figures.mErrors[i]));
  }
  return Json::MakeObject(std::move(members));
}

Json SecondJson(Us end, const Span& second) {
  Json::Object members = CommonMembers(second.mFigures, second.mIn, second.mHost);
  members.emplace("end_s", DecimalJson(InSeconds(end)));
  return Json::MakeObject(std::move(members));
}

Json TrialJson(const Trial& trial) {
  Json::Object members = CommonMembers(trial.mFigures, trial.mIn, trial.mHost);
  const auto& traffic = trial.mFigures.mTraffic;
  const std::uint64_t messages = traffic.mMessagesIn + traffic.mMessagesOut;
  if (trial.mRate > 0) {
    members.emplace("rate", DecimalJson(trial.mRate));
  } else {
    members.emplace("log_in", TimesJson(trial.mFigures.mLogIn));
  }
  members.emplace("seconds", DecimalJson(InSeconds(trial.mTook)));
  members.emplace("counted_s", DecimalJson(InSeconds(trial.mCounted)));
  members.emplace("own_late", TimesJson(trial.mFigures.mLate));
  members.emplace("own_cpu_s", DecimalJson(InSeconds(trial.mOwnCpu)));
  if (messages > 0) {
    members.emplace("own_cpu_us_for_each_message", DecimalJson(static_cast<double>(trial.mOwnCpu) /
                                                               static_cast<double>(messages)));
  }
  return Json::MakeObject(std::move(members));
}

}  // namespace dorn::load
