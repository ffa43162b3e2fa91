#include <CLI/CLI.hpp>
#include <cstdio>
#include <limits>
#include <string>

#include "tools/dorn-load/Options.h"
#include "tools/dorn-load/Process.h"
#include "tools/dorn-load/Program.h"
#include "tools/dorn-load/Search.h"
#include "tools/support/Arguments.h"

namespace dorn::load {

namespace {

using dorn::tools::NotEmpty;
using dorn::tools::Number;
using dorn::tools::WholeNumber;

struct Given {
  std::string mAt, mMix, mFor, mRamp, mTimeout, mUntil;
};

// Nothing when a text is one, and else what would be right.
std::string CheckDuration(const std::string& text) {
  if (ReadDuration(text)) return "";
  return "'" + text + "' is no duration; such as 250us, 50ms, 1.5s or 2m";
}

std::string CheckMix(const std::string& text) {
  if (ReadMix(text)) return "";
  return "'" + text + "' is not understood; such as click:70,edit:20,enter:10, each at most once";
}

std::string CheckGoal(const std::string& text) {
  if (ReadGoal(text)) return "";
  return "'" + text + "' is not understood; such as p99=50ms, with p50, p90, p99 or worst";
}

CLI::Validator Checked(std::string (*check)(const std::string&)) {
  return {[check](const std::string& text) { return check(text); }, "", "form"};
}

void DescribeLoad(CLI::App& cli, Options& options, Given& texts) {
  cli.add_option("host", texts.mAt, "Where the host listens; 5000 without a port")
      ->type_name("HOST:PORT");
  cli.add_option("--stations", options.mStations, "So many stations")
      ->capture_default_str()
      ->check(WholeNumber(1, 60000));
  cli.add_option("--rate", options.mRate, "Actions a second, of all stations together")
      ->capture_default_str()
      ->check(Number(Search::kLowest, Search::kHighest));
  cli.add_option("--mix", texts.mMix, "What they do, in proportion (click:70,edit:20,enter:10)")
      ->type_name("MIX")
      ->check(Checked(CheckMix));
  cli.add_option("--for", texts.mFor, "How long, or each trial of --until (10s)")
      ->type_name("DURATION")
      ->check(Checked(CheckDuration));
  cli.add_option("--ramp", texts.mRamp, "Until all stations have begun to come (10ms for each)")
      ->type_name("DURATION")
      ->check(Checked(CheckDuration));
  cli.add_option("--timeout", texts.mTimeout, "Until an answer counts as missing (5s)")
      ->type_name("DURATION")
      ->check(Checked(CheckDuration));
  cli.add_option("--until", texts.mUntil,
                 "Search the highest rate at which this holds, beginning with --rate: p50, p90, "
                 "p99 or worst of the confirm time, such as p99=50ms")
      ->type_name("LIMIT")
      ->check(Checked(CheckGoal));
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
      ->type_name("NAME,...")
      ->check(NotEmpty("names of objects"));
  cli.add_option("--seed", options.mSeed, "Of the order of actions and objects")
      ->capture_default_str()
      ->check(WholeNumber(0, std::numeric_limits<unsigned>::max()));
  cli.add_option("--pid", options.mPid, "Process of the host, for its processor time and memory")
      ->check(WholeNumber(1, std::numeric_limits<int>::max()));
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

// What was checked before.
void TakeTexts(const Given& texts, Options& options) {
  if (!texts.mMix.empty()) options.mMix = *ReadMix(texts.mMix);
  if (!texts.mUntil.empty()) options.mUntil = ReadGoal(texts.mUntil);
  if (!texts.mRamp.empty()) options.mRamp = ReadDuration(texts.mRamp);
  if (!texts.mFor.empty()) options.mFor = *ReadDuration(texts.mFor);
  if (!texts.mTimeout.empty()) options.mTimeout = *ReadDuration(texts.mTimeout);
}

bool TakeHost(const Given& texts, Options& options) {
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
  if (const auto code = dorn::tools::ReadArguments(cli, "dorn-load", argc, argv)) {
    exitCode = *code;
    return std::nullopt;
  }
  exitCode = kUsage;
  if (!TakeHost(texts, options)) return std::nullopt;
  TakeTexts(texts, options);
  return options;
}

}  // namespace dorn::load
