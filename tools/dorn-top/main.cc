// Shows what hosts of dialogs tell of themselves: live on a terminal, or once for scripts.
#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "tools/dorn-terminal/Signals.h"
#include "tools/dorn-top/Screen.h"
#include "tools/dorn-top/Source.h"
#include "tools/dorn-top/Table.h"
#include "tools/support/Arguments.h"
#include "tools/support/Streams.h"

namespace {

using dorn::terminal::Signals;
using dorn::top::Screen;
using dorn::top::Source;

enum Exit { kDone = 0, kNoAnswer = 1, kUsage = 2, kNoTerminal = 3 };

constexpr double kMaxIntervalSeconds = 86400;
// An answer that takes long is given up at this pace.
constexpr std::int64_t kLookMs = 250;
// Of the table, which nobody reads faster.
constexpr std::int64_t kShortestMs = 100;

struct Arguments {
  std::vector<std::string> mPaths;
  double mIntervalSeconds = 1;
  bool mIsOnce = false;
  bool mIsJson = false;

  std::int64_t IntervalMs() const { return static_cast<std::int64_t>(mIntervalSeconds * 1000); }
};

void Describe(CLI::App& cli, Arguments& arguments) {
  cli.footer(
      "\nExit codes: 0 done, or ended by q, F10 or a signal; 1 with --once or --json: a host did not\n"
      "answer; 2 wrong usage, or the output could not be written; 3 no terminal.\n"
      "\nExample:\n"
      "  dorn-top /run/pumphouse/statistics\n");
  cli.add_option("sockets", arguments.mPaths, "What the hosts gave to ServeStatistics()")
      ->required()
      ->check(dorn::tools::NotEmpty("the path of a socket"));
  cli.add_option("--interval", arguments.mIntervalSeconds, "Seconds from one look to the next")
      ->check(dorn::tools::Number(0, kMaxIntervalSeconds))
      ->capture_default_str();
  cli.add_flag("--once", arguments.mIsOnce,
               "Look twice, an interval apart, print and end; once with --interval 0");
  cli.add_flag("--json", arguments.mIsJson, "As --once, in JSON");
}

std::int64_t NowMs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

// Those that a question waits for; `others` stand before them. True if there is one.
bool AddWaiting(const std::vector<Source>& sources, std::vector<pollfd>& others) {
  const std::size_t before = others.size();
  for (const Source& source : sources) {
    if (source.Descriptor() >= 0) others.push_back({source.Descriptor(), POLLIN, 0});
  }
  return others.size() > before;
}

void AskAll(std::vector<Source>& sources) {
  for (Source& source : sources) source.Ask(NowMs());
}

// True if there is something new to show.
bool ReceiveAll(std::vector<Source>& sources) {
  bool isNew = false;
  for (Source& source : sources) isNew = source.Receive(NowMs()) || isNew;
  return isNew;
}

// Until every host has answered or is given up.
void AwaitAll(std::vector<Source>& sources) {
  for (;;) {
    std::vector<pollfd> waiting;
    if (!AddWaiting(sources, waiting)) return;
    static_cast<void>(poll(waiting.data(), waiting.size(), kLookMs));  // Receive() looks itself.
    static_cast<void>(ReceiveAll(sources));
  }
}

int PrintOnce(const Arguments& arguments, std::vector<Source>& sources) {
  AskAll(sources);
  AwaitAll(sources);
  if (arguments.IntervalMs() > 0) {
    static_cast<void>(poll(nullptr, 0, static_cast<int>(arguments.IntervalMs())));
    AskAll(sources);
    AwaitAll(sources);
  }
  std::string out;
  if (arguments.mIsJson) {
    out = dorn::top::AsJson(sources);
  } else {
    out = dorn::top::HeadLine() + "\n";
    for (const Source& source : sources) out += dorn::top::RowOf(source) + "\n";
    for (const Source& source : sources) {
      const std::string connections = dorn::top::ConnectionsOf(source);
      if (!connections.empty()) out += source.Path() + ": " + connections + "\n";
    }
  }
  static_cast<void>(std::fwrite(out.data(), 1, out.size(), stdout));  // Told at the end.
  const bool isAnswered = std::all_of(sources.begin(), sources.end(), [](const Source& source) {
    return source.Last().has_value();
  });
  return isAnswered ? kDone : kNoAnswer;
}

void Watch(const Arguments& arguments, std::vector<Source>& sources, Screen& screen,
           Signals& signals) {
  const std::int64_t interval = std::max(arguments.IntervalMs(), kShortestMs);
  std::int64_t next = NowMs();
  bool isStale = true;
  for (;;) {
    if (NowMs() >= next) {
      AskAll(sources);
      next = NowMs() + interval;
      isStale = true;
    }
    // Not each time: a host that sends byte by byte wakes this at each of them.
    if (isStale) screen.Show(sources, static_cast<double>(interval) / 1000);
    std::vector<pollfd> waiting = {{STDIN_FILENO, POLLIN, 0}, {signals.Descriptor(), POLLIN, 0}};
    const bool isAwaited = AddWaiting(sources, waiting);
    const std::int64_t left = std::max<std::int64_t>(next - NowMs(), 0);
    const auto wait = static_cast<int>(isAwaited ? std::min(left, kLookMs) : left);
    static_cast<void>(poll(waiting.data(), waiting.size(), wait));  // All are looked at below.
    isStale = ReceiveAll(sources);
    const Signals::Seen seen = signals.Take();
    if (seen.mResized) screen.Resized();
    const Screen::Keys keys = screen.ReadKeys();
    if (keys.mAsks) next = NowMs();
    isStale = isStale || seen.mResized;
    const bool isHungUp = (waiting[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
    if (keys.mEnds || seen.mEnds || isHungUp) return;
  }
}

int Main(int argc, char** argv) {
  CLI::App cli{"Shows what hosts do: stations, messages a second, what waits, the slowest pass."};
  Arguments arguments;
  Describe(cli, arguments);
  if (const auto code = dorn::tools::ReadArguments(cli, "dorn-top", argc, argv)) return *code;
  std::vector<Source> sources;
  for (const std::string& path : arguments.mPaths) sources.emplace_back(path);
  if (arguments.mIsOnce || arguments.mIsJson) return PrintOnce(arguments, sources);
  std::setlocale(LC_CTYPE, "");
  std::string why;
  Signals signals;
  const auto screen = Screen::Open(why);
  if (!screen) {
    std::fprintf(stderr, "dorn-top: %s\n", why.c_str());
    return kNoTerminal;
  }
  Watch(arguments, sources, *screen, signals);
  return kDone;
}

}  // namespace

// The library for the arguments reports its own misuse by exceptions.
int main(int argc, char** argv) {
  dorn::tools::TakeClosedStreams();
  try {
    const int code = Main(argc, argv);
    return dorn::tools::PrintedAll("dorn-top") ? code : kUsage;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "dorn-top: %s\n", error.what());
    return kUsage;
  }
}
