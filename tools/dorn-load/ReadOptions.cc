#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <string>

#include "tools/dorn-load/Options.h"
#include "tools/dorn-load/Process.h"
#include "tools/dorn-load/Program.h"
#include "tools/dorn-load/Search.h"

namespace dorn::load {

namespace {

struct Given {
  std::string mAt, mMix, mFor, mRamp, mTimeout, mUntil;
};

void DescribeLoad(CLI::App& cli, Options& options, Given& texts) {
  cli.add_option("host", texts.mAt, "Where the host listens; 5000 without a port")
      ->type_name("HOST:PORT");
  cli.add_option("--stations", options.mStations, "So many stations")
      ->capture_default_str()
      ->check(CLI::Range(1, 60000));
  cli.add_option("--rate", options.mRate, "Actions a second, of all stations together")
      ->capture_default_str()
      ->check(CLI::Range(Search::kLowest, Search::kHighest));
  cli.add_option("--mix", texts.mMix, "What they do, in proportion (click:70,edit:20,enter:10)")
      ->type_name("MIX");
  cli.add_option("--for", texts.mFor, "How long, or each trial of --until (10s)")
      ->type_name("DURATION");
  cli.add_option("--ramp", texts.mRamp, "Until all stations have begun to come (10ms for each)")
      ->type_name("DURATION");
  cli.add_option("--timeout", texts.mTimeout, "Until an answer counts as missing (5s)")
      ->type_name("DURATION");
  cli.add_option("--until", texts.mUntil,
                 "Search the highest rate at which this holds, beginning with --rate: p50, p90, "
                 "p99 or worst of the confirm time, such as p99=50ms")
      ->type_name("LIMIT");
}

void DescribeStations(CLI::App& cli, Options& options) {
  cli.add_option("--id", options.mId, "User; {n} in it is the station's number")
      ->capture_default_str();
  cli.add_option("--pass", options.mPass, "Password, likewise")->capture_default_str();
  cli.add_option("--type", options.mType, "Type of the stations")->capture_default_str();
  cli.add_option("--dialog", options.mDialog, "Enter this dialog, not the one that the host opens");
  cli.add_option("--only", options.mOnly, "Touch these objects alone")
      ->delimiter(',')
      ->allow_extra_args(false)  // What follows it is HOST:PORT.
      ->type_name("NAME,...");
  cli.add_option("--seed", options.mSeed, "Of the order of actions and objects")
      ->capture_default_str();
  cli.add_option("--pid", options.mPid, "Process of the host, for its processor time and memory")
      ->check(CLI::PositiveNumber);
  cli.add_flag("--json", options.mIsJson, "Print one JSON object at the end and nothing else");
}

void Describe(CLI::App& cli, Options& options, Given& texts) {
  DescribeLoad(cli, options, texts);
  DescribeStations(cli, options);
  cli.footer(
      "\nDurations: 250us, 50ms, 1.5s, 2m; seconds without a unit.\n"
      "\nIt clicks and changes what the dialog shows. Never let it loose on a plant.\n"
      "\nExit codes: 0 done, or a rate was found; 1 there were errors, or no rate holds;\n"
      "2 wrong usage, or the output could not be written; 3 nothing could be measured: nobody\n"
      "listens, the log-in is refused, there is no such dialog, or nothing in it that --mix or\n"
      "--only ask for.\n"
      "\nExample:\n"
      "  dorn-load --stations 900 --rate 10 --mix click:70,edit:20,enter:10 --for 60s \\\n"
      "    --id guest --pass guest 127.0.0.1:5000\n");
}

// False, having said what would be right, when `text` is given and is no duration.
bool TakeDuration(const char* option, const std::string& text, std::optional<Us>& into) {
  if (text.empty()) return true;
  into = ReadDuration(text);
  if (into) return true;
  std::fprintf(stderr, "dorn-load: %s: '%s' is no duration; such as 250us, 50ms, 1.5s or 2m\n",
               option, text.c_str());
  return false;
}

bool TakeTimes(const Given& texts, Options& options) {
  std::optional<Us> length, timeout;
  if (!TakeDuration("--for", texts.mFor, length)) return false;
  if (!TakeDuration("--timeout", texts.mTimeout, timeout)) return false;
  if (!TakeDuration("--ramp", texts.mRamp, options.mRamp)) return false;
  options.mFor = length.value_or(options.mFor);
  options.mTimeout = timeout.value_or(options.mTimeout);
  return true;
}

bool TakeWords(const Given& texts, Options& options) {
  if (!texts.mMix.empty()) {
    const auto mix = ReadMix(texts.mMix);
    if (!mix) {
      std::fprintf(stderr,
                   "dorn-load: --mix: '%s' is not understood; such as click:70,edit:20,enter:10, "
                   "of which some may be left out\n",
                   texts.mMix.c_str());
      return false;
    }
    options.mMix = *mix;
  }
  if (!texts.mUntil.empty()) {
    options.mUntil = ReadGoal(texts.mUntil);
    if (!options.mUntil) {
      std::fprintf(stderr,
                   "dorn-load: --until: '%s' is not understood; such as p99=50ms, with p50, p90, "
                   "p99 or worst\n",
                   texts.mUntil.c_str());
      return false;
    }
  }
  return true;
}

bool TakeNumbersAndHost(const Given& texts, Options& options) {
  if (texts.mAt.empty()) {
    std::fputs("dorn-load: HOST:PORT is missing; such as 127.0.0.1:5000\n", stderr);
    return false;
  }
  const auto at = dorn::tools::ReadHostAndPort(texts.mAt);
  if (!at) {
    std::fprintf(stderr, "dorn-load: '%s' is not HOST:PORT; such as 127.0.0.1:5000\n",
                 texts.mAt.c_str());
    return false;
  }
  options.mAt = *at;
  if (std::isnan(options.mRate)) {
    std::fputs("dorn-load: --rate: that is no number; such as 10 or 0.5\n", stderr);
    return false;
  }
  if (options.mPid > 0 && !ProcessFigures::Of(options.mPid)) {
    std::fprintf(stderr, "dorn-load: --pid: there is no process %d; give that of the host\n",
                 options.mPid);
    return false;
  }
  return true;
}

}  // namespace

std::optional<Options> ReadOptions(int argc, char** argv, int& exitCode) {
  CLI::App cli{"Tells how many stations a dialog server bears."};
  cli.name("dorn-load");
  Options options;
  Given texts;
  Describe(cli, options, texts);
  exitCode = kUsage;
  try {
    cli.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    exitCode = cli.exit(error) == 0 ? 0 : kUsage;
    return std::nullopt;
  }
  const bool isRight =
      TakeNumbersAndHost(texts, options) && TakeTimes(texts, options) && TakeWords(texts, options);
  if (!isRight) return std::nullopt;
  return options;
}

}  // namespace dorn::load
