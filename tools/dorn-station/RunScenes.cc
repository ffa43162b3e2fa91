#include "tools/dorn-station/RunScenes.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/dorn-station/Outcome.h"
#include "tools/dorn-station/RecordScene.h"
#include "tools/dorn-station/scene/Parser.h"
#include "tools/dorn-station/scene/Report.h"
#include "tools/dorn-station/scene/Words.h"
#include "tools/support/Arguments.h"

namespace {

using dorn::scene::Played;
using dorn::scene::PlayOptions;

struct Arguments {
  std::vector<std::string> files;
  std::string start;
  PlayOptions play;
  double timeout = 5;
  std::string junit;
  bool check = false;
  bool verbose = false;
  bool quiet = false;
};

// Where the host is, how long it may take, and what the stations say of themselves.
void DescribePlay(CLI::App& cli, Arguments& arguments) {
  auto* const start = cli.add_option(
      "--start", arguments.start,
      "Start this host (program and arguments, quotes as in scenes) and end it by SIGTERM; it "
      "listens where DORN_STATION says and tells by DORN_STATION_FILE");
  cli.add_option("--host", arguments.play.mAt.mHost, "Server name or address, without --start")
      ->capture_default_str()
      ->check(dorn::tools::NotEmpty("a name or an address, such as 127.0.0.1"))
      ->excludes(start);
  cli.add_option("--port", arguments.play.mAt.mPort, "TCP port, without --start")
      ->capture_default_str()
      ->check(dorn::tools::WholeNumber(1, 65535))
      ->excludes(start);
  cli.add_option("--timeout", arguments.timeout, "Seconds that a step without `within` may take")
      ->capture_default_str()
      ->check(dorn::tools::Number(0.001, 86400));
  cli.add_option("--patience", arguments.play.mPatience,
                 "All limits are so many times as long, for machines that are slow or busy")
      ->capture_default_str()
      ->check(dorn::tools::Number(0.1, 1000));
  auto& session = arguments.play.mActor.mSession;
  cli.add_option("--type", session.mType, "Type of the stations")->capture_default_str();
  cli.add_option("--width", session.mWidth, "ResolutionH")
      ->capture_default_str()
      ->check(dorn::tools::Pixels());
  cli.add_option("--height", session.mHeight, "ResolutionV")
      ->capture_default_str()
      ->check(dorn::tools::Pixels());
  using dorn::station::Quotes;
  cli.add_option("--quotes", session.mQuotes,
                 "How values with quotes or backslashes are stored: escape, replace or raw")
      ->transform(dorn::tools::OneOf<Quotes>(
          {{"escape", Quotes::kEscape}, {"replace", Quotes::kReplace}, {"raw", Quotes::kRaw}}))
      ->default_str("escape");
}

void DescribeRun(CLI::App& cli, Arguments& arguments) {
  cli.name("dorn-station run");
  cli.footer(
      std::string(dorn::scene::kSceneHelp) +
      "\nEach file is a scene by itself; with --start each gets a host of its own.\n"
      "\nExit codes: 0 all scenes held; 1 one did not; 2 wrong usage, a mistake in a "
      "scene, or output\nthat could not be written; 3 the host could not be started, or nobody listens.\n"
      "\nExample:\n"
      "  dorn-station run --start build/pumphouse/pumphouse scenes/*.scene\n");
  cli.add_option("files", arguments.files, "Scenes to play")->required();
  cli.add_option("--junit", arguments.junit, "Write the results to this file, as JUnit does");
  cli.add_flag("--check", arguments.check, "Only read the scenes and tell their mistakes");
  auto* const verbose =
      cli.add_flag("--verbose", arguments.verbose, "Print each step before it is played");
  cli.add_flag("--quiet", arguments.quiet, "Print nothing but failures")->excludes(verbose);
  DescribePlay(cli, arguments);
}

void DescribeRecord(CLI::App& cli, Arguments& arguments) {
  cli.name("dorn-station record");
  cli.footer(
      std::string(dorn::scene::kSceneHelp) +
      "\nEach line from standard input is played at once. What held is written to the file, which "
      "`run`\nplays again; what did not is told, and left out.\n"
      "\nExit codes: 0 all lines held; 1 one did not; 2 wrong usage, or output that could "
      "not be\nwritten; 3 the host could not be started.\n");
  cli.add_option("file", arguments.files, "The scene to write; not there yet")
      ->required()
      ->expected(1);
  DescribePlay(cli, arguments);
}

int Fail(const std::string& text) {
  std::fprintf(stderr, "dorn-station: %s\n", text.c_str());
  return static_cast<int>(Outcome::kUsage);
}

// The words of --start; empty, with the reason, when there are none.
std::vector<std::string> CommandOf(const std::string& start, std::string& error) {
  const auto words = dorn::scene::SplitWords(start, error);
  if (!words) return {};
  std::vector<std::string> command;
  for (const auto& word : *words) command.push_back(word.mText);
  if (command.empty()) error = "no program";
  return command;
}

Played Play(const Arguments& arguments, const std::string& file) {
  auto read = dorn::scene::LoadScene(file, !arguments.start.empty());
  Played played{file, std::move(read.mMistakes), {}};
  if (!played.mMistakes.empty()) {
    std::fputs(MistakesText(played).c_str(), stderr);
    return played;
  }
  if (arguments.check) return played;
  dorn::scene::Player player(arguments.play);
  played.mResult = player.Play(read.mScene);
  const auto& result = played.mResult;
  std::fflush(stdout);
  if (result.mFailure) {
    std::fputs(FailureText(played).c_str(), stderr);
  } else if (!arguments.quiet) {
    std::printf("held  %s (%zu steps, %.2f s)\n", file.c_str(), result.mSteps,
                static_cast<double>(result.mTook) / 1000);
    std::fflush(stdout);
  }
  return played;
}

Outcome OutcomeOf(const std::vector<Played>& all) {
  const auto any = [&](auto holds) { return std::any_of(all.begin(), all.end(), holds); };
  if (any([](const Played& each) { return !each.mMistakes.empty(); })) return Outcome::kUsage;
  if (any([](const Played& each) { return each.mResult.mNoHost; })) return Outcome::kCannotConnect;
  const bool failed = any([](const Played& each) { return each.mResult.mFailure.has_value(); });
  return failed ? Outcome::kFailedExpectation : Outcome::kDone;
}

// Nothing when the arguments are right; the exit code otherwise, and after --help.
std::optional<int> Read(CLI::App& cli, Arguments& arguments, int argc, char** argv) {
  if (const auto code = dorn::tools::ReadArguments(cli, cli.get_name().c_str(), argc, argv)) {
    return code;
  }
  if (cli.count("--start") > 0) {
    std::string error;
    arguments.play.mStart = CommandOf(arguments.start, error);
    if (arguments.play.mStart.empty()) return Fail("--start: " + error);
  }
  arguments.play.mTimeout = static_cast<dorn::scene::Ms>(arguments.timeout * 1000);
  return std::nullopt;
}

}  // namespace

int RunScenes(int argc, char** argv) {
  CLI::App cli{
      "Plays scenes of several stations against a host and tells what is not as expected."};
  Arguments arguments;
  DescribeRun(cli, arguments);
  if (const auto end = Read(cli, arguments, argc, argv)) return *end;
  if (arguments.verbose) {
    arguments.play.mBefore = [](const dorn::scene::Step& step) {
      std::printf("%4zu  %s\n", step.mLine, step.mSource.c_str());
      std::fflush(stdout);
    };
  }
  std::vector<Played> all;
  for (const std::string& file : arguments.files) all.push_back(Play(arguments, file));
  if (!arguments.junit.empty()) {
    std::ofstream out(arguments.junit, std::ios::binary);
    out << JUnitText(all) << std::flush;
    if (!out) return Fail("cannot write " + arguments.junit);
  }
  return static_cast<int>(OutcomeOf(all));
}

int RecordScenes(int argc, char** argv) {
  CLI::App cli{
      "Plays the lines of a scene as they are typed, and writes those that held to a file."};
  Arguments arguments;
  DescribeRecord(cli, arguments);
  if (const auto end = Read(cli, arguments, argc, argv)) return *end;
  return RecordScene(arguments.play, arguments.files.front());
}
