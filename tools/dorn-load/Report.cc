#include "tools/dorn-load/Report.h"

#include <cstdio>
#include <utility>

#include "station/Utf8.h"
#include "tools/dorn-load/ReportJson.h"

namespace dorn::load {

using dorn::station::Json;
using dorn::station::Printable;

namespace {

constexpr int kLinesBelowHeads = 20;
// Beyond this the figures say more of this program's machine than of the host.
constexpr Us kTooLate = 10 * kMillisecond;

double PerSecond(std::uint64_t count, Us took) {
  return took > 0 ? static_cast<double>(count) / InSeconds(took) : 0;
}

std::string ErrorsText(const Figures& figures) {
  std::string text;
  for (std::size_t i = 0; i < kErrors; ++i) {
    if (figures.mErrors[i] == 0) continue;
    if (!text.empty()) text += ", ";
    text += std::to_string(figures.mErrors[i]) + " " + NameOf(static_cast<Error>(i));
  }
  return text.empty() ? "none" : text;
}

void PrintTimes(const char* what, const Histogram& times) {
  if (times.Count() == 0) {
    std::printf("%-9s %9d        -        -        -        -\n", what, 0);
    return;
  }
  std::printf("%-9s %9llu %8.2f %8.2f %8.2f %8.2f\n", what,
              static_cast<unsigned long long>(times.Count()), InMs(times.Quantile(0.5)),
              InMs(times.Quantile(0.9)), InMs(times.Quantile(0.99)), InMs(times.Worst()));
}

void PrintTraffic(const Traffic& traffic, Us took) {
  const auto line = [=](const char* what, std::uint64_t messages, std::uint64_t bytes) {
    std::printf("%-9s %9llu messages, %.0f a second, %.1f KB a second\n", what,
                static_cast<unsigned long long>(messages), PerSecond(messages, took),
                PerSecond(bytes, took) / 1000);
  };
  line("received", traffic.mMessagesIn, traffic.mBytesIn);
  line("sent", traffic.mMessagesOut, traffic.mBytesOut);
}

void PrintOwn(const Trial& trial) {
  const auto& traffic = trial.mFigures.mTraffic;
  const std::uint64_t messages = traffic.mMessagesIn + traffic.mMessagesOut;
  const Us late = trial.mFigures.mLate.Quantile(0.99);
  if (messages == 0) return;
  std::printf("dorn-load %9.2f us of processor time for each message, p99 %.2f ms late\n",
              static_cast<double>(trial.mOwnCpu) / static_cast<double>(messages), InMs(late));
  if (late > kTooLate) {
    std::puts(
        "          It was late itself, which the times above include: they are longer than "
        "the host is slow.");
  }
}

void PrintFigures(const Trial& trial) {
  const Figures& figures = trial.mFigures;
  std::puts("              count      p50      p90      p99    worst  ms");
  PrintTimes("confirm", figures.mConfirm);
  PrintTimes("update", figures.mUpdate);
  PrintTraffic(figures.mTraffic, trial.mCounted);
  if (trial.mHost) {
    std::printf("host      %8.1f %% of a processor, %.1f MiB\n", trial.mHost->mPercent,
                trial.mHost->mMiB);
  }
  std::printf("errors    %s\n", ErrorsText(figures).c_str());
  PrintOwn(trial);
}

// A column of times, of which the second may have none.
std::string Column(const Histogram& times) {
  if (times.Count() == 0) return "       -       -       -       -";
  char text[80];
  std::snprintf(text, sizeof text, " %7.2f %7.2f %7.2f %7.2f", InMs(times.Quantile(0.5)),
                InMs(times.Quantile(0.9)), InMs(times.Quantile(0.99)), InMs(times.Worst()));
  return text;
}

std::string ShareText(const Targets& targets, const Mix& mix) {
  return std::to_string(mix[Deed::kClick]) + " clicks on " +
         std::to_string(targets.Clicks().size()) + " objects, " + std::to_string(mix[Deed::kEdit]) +
         " edits of " + std::to_string(targets.Edits().size()) + ", " +
         std::to_string(mix[Deed::kEnter]) + " entries";
}

}  // namespace

Report::Report(const Options& options)
    : mOptions(options),
      mJson(Json::MakeObject()),
      mSeconds(Json::MakeArray()),
      mTrials(Json::MakeArray()) {
  Add("host", Json::String(options.mAt.mHost + ":" + std::to_string(options.mAt.mPort)));
  Add("stations", Json::Number(options.mStations));
}

void Report::Failed(const std::string& why, std::optional<Error> error) {
  // The host names its dialog in it.
  std::fprintf(stderr, "dorn-load: %s\n", Printable(why).c_str());
  Figures figures;
  if (error) ++figures.mErrors[static_cast<std::size_t>(*error)];
  Add("failed", Json::String(why));
  Add("errors", ErrorsJson(figures));
}

void Report::Started(const Targets& targets, const std::string& dialog, const Mix& mix) {
  Add("dialog", Json::String(dialog));
  if (mOptions.mIsJson) return;
  std::printf("%d stations enter %s; of %d actions %s\n", mOptions.mStations,
              Printable(dialog).c_str(), mix.Sum(), ShareText(targets, mix).c_str());
  std::fflush(stdout);
}

void Report::Second(Us end, const Span& second) {
  if (mOptions.mIsJson) {
    mSeconds.mElements.push_back(SecondJson(end, second));
    return;
  }
  if (mLines++ % kLinesBelowHeads == 0) PrintHeads();
  const Figures& figures = second.mFigures;
  const Us took = second.mTook;
  const Traffic& traffic = figures.mTraffic;
  std::printf("%5.*f %5zu %7llu |%s |%s | %6.0f %6.0f %7.1f %7.1f |", second.mIsWhole ? 0 : 1,
              InSeconds(end), second.mIn, static_cast<unsigned long long>(figures.mActions),
              Column(figures.mConfirm).c_str(), Column(figures.mUpdate).c_str(),
              PerSecond(traffic.mMessagesIn, took), PerSecond(traffic.mMessagesOut, took),
              PerSecond(traffic.mBytesIn, took) / 1000, PerSecond(traffic.mBytesOut, took) / 1000);
  if (second.mHost) std::printf(" %5.1f %6.1f |", second.mHost->mPercent, second.mHost->mMiB);
  std::printf(" %llu\n", static_cast<unsigned long long>(figures.Errors()));
  std::fflush(stdout);
}

void Report::Ramped(const Trial& ramp) {
  if (mOptions.mIsJson) {
    Json json = TrialJson(ramp);
    json.mMembers.emplace("each_second", std::exchange(mSeconds, Json::MakeArray()));
    return Add("ramp", std::move(json));
  }
  const Histogram& times = ramp.mFigures.mLogIn;
  std::printf(
      "%zu of %d stations are in after %.2f s; log-in and entry p50 %.2f, p90 %.2f, p99 %.2f, "
      "worst %.2f ms; errors: %s\n",
      ramp.mIn, mOptions.mStations, InSeconds(ramp.mTook), InMs(times.Quantile(0.5)),
      InMs(times.Quantile(0.9)), InMs(times.Quantile(0.99)), InMs(times.Worst()),
      ErrorsText(ramp.mFigures).c_str());
  std::fflush(stdout);
  mLines = 0;
}

void Report::Measured(const Trial& trial) {
  if (mOptions.mIsJson) {
    Json json = TrialJson(trial);
    json.mMembers.emplace("each_second", std::exchange(mSeconds, Json::MakeArray()));
    return Add("result", std::move(json));
  }
  const std::uint64_t actions = trial.mFigures.mActions;
  std::printf("\n%llu actions in %.1f s, %.1f a second, of %.1f asked for\n",
              static_cast<unsigned long long>(actions), InSeconds(trial.mTook),
              PerSecond(actions, trial.mTook), trial.mRate);
  PrintFigures(trial);
}

void Report::Tried(const Trial& trial, bool held) {
  if (mOptions.mIsJson) {
    Json json = TrialJson(trial);
    json.mMembers.emplace("each_second", std::exchange(mSeconds, Json::MakeArray()));
    json.mMembers.emplace("holds", Json(held));
    mTrials.mElements.push_back(std::move(json));
    return;
  }
  const Goal& goal = *mOptions.mUntil;
  const Histogram& confirm = trial.mFigures.mConfirm;
  std::printf("\ntrial at %.1f a second: %s %.2f ms: %s\n", trial.mRate, goal.mName.c_str(),
              InMs(confirm.Quantile(goal.mPart)), held ? "holds" : "does not hold");
  PrintFigures(trial);
  std::puts("");
  std::fflush(stdout);
  mLines = 0;
}

void Report::Searched(const Search& search) {
  const auto holds = search.HighestThatHolds();
  const auto fails = search.LowestThatFails();
  Add("until", Json::String(mOptions.mUntil->mName +
                            " <= " + DecimalJson(InMs(mOptions.mUntil->mLimit)).mText + " ms"));
  Add("highest_rate_that_holds", holds ? DecimalJson(*holds) : Json());
  Add("lowest_rate_that_fails", fails ? DecimalJson(*fails) : Json());
  if (mOptions.mIsJson) return;
  if (holds) {
    std::printf("highest rate that holds: %.1f a second\n", *holds);
  } else {
    std::puts("no rate holds");
  }
  if (fails) std::printf("lowest rate that does not: %.1f a second\n", *fails);
}

void Report::Ended(const std::string& why) {
  Add("ended_early", Json::String(why));
  if (!mOptions.mIsJson) std::printf("ended early: %s\n", Printable(why).c_str());
}

void Report::Finish(int exitCode) {
  if (!mOptions.mIsJson) return;
  if (mOptions.mUntil && !mTrials.mElements.empty()) Add("trials", std::move(mTrials));
  Add("exit_code", Json::Number(exitCode));
  std::puts(mJson.Written().c_str());
}

void Report::PrintHeads() {
  const bool hasHost = mOptions.mPid > 0;
  std::printf(
      "                    | confirm ms                      | update ms                       "
      "| messages/s          KB/s      |%s\n",
      hasHost ? " host         |" : "");
  std::printf(
      "    s    in actions |     p50     p90     p99   worst |     p50     p90     p99   worst "
      "|     in    out      in     out |%s errors\n",
      hasHost ? " CPU %    MiB |" : "");
}

void Report::Add(const std::string& key, Json json) {
  mJson.mMembers.insert_or_assign(key, std::move(json));
}

}  // namespace dorn::load
