// A station for the command line: logs in to a dialog server, sends commands, prints what arrives.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/dorn-station/Outcome.h"
#include "tools/dorn-station/Output.h"
#include "tools/dorn-station/RawTerminal.h"
#include "tools/dorn-station/RunScenes.h"
#include "tools/dorn-station/Shell.h"
#include "tools/dorn-station/Station.h"
#include "tools/dorn-station/Steps.h"
#include "tools/support/Arguments.h"
#include "tools/support/Streams.h"

namespace {

struct Arguments {
  std::string host = "127.0.0.1";
  int port = 5000;
  dorn::station::LogIn login;
  std::string session;
  dorn::station::Quotes quotes = dorn::station::Quotes::kEscape;
  std::string dialog;
  std::vector<std::string> lines;
  std::vector<std::string> expected;
  double timeout = 5;
  double linger = 1;
  bool quiet = false;
  bool json = false;
  Station::Options station;
};

void Describe(CLI::App& cli, Arguments& arguments, bool& noKeepalive) {
  cli.footer(
      std::string(kStepHelp) +
      "\nScenes of several stations, for tests of hosts: dorn-station run --help\n"
      "Making one by playing it: dorn-station record --help\n"
      "\nWithout lines as arguments they are read from standard input. At a terminal: help.\n"
      "\nExit codes: 0 done; 1 an expectation failed; 2 wrong usage, or the output could\n"
      "not be written; 3 cannot connect; 4 the server closed the connection before the work was\n"
      "done.\n"
      "\nExample:\n"
      "  dorn-station --id tanaka --pass secret --dialog panel 'touch pump1' "
      "--expect pump1\n");
  cli.add_option("--host", arguments.host, "Server name or address")
      ->capture_default_str()
      ->check(dorn::tools::NotEmpty("a name or an address, such as 127.0.0.1"));
  cli.add_option("--port", arguments.port, "TCP port")
      ->capture_default_str()
      ->check(dorn::tools::WholeNumber(1, 65535));
  cli.add_option("--id", arguments.login.mId, "Log in as this user (HELLO with Id and Pass)");
  cli.add_option("--pass", arguments.login.mPass, "Password of the user");
  cli.add_option("--session", arguments.session, "Re-attach to this session instead");
  cli.add_option("--type", arguments.login.mType, "Type of this station")->capture_default_str();
  cli.add_option("--width", arguments.login.mWidth, "ResolutionH")
      ->capture_default_str()
      ->check(dorn::tools::Pixels());
  cli.add_option("--height", arguments.login.mHeight, "ResolutionV")
      ->capture_default_str()
      ->check(dorn::tools::Pixels());
  cli.add_option("--dialog", arguments.dialog, "Enter this dialog after the log-in");
  cli.add_option("--expect", arguments.expected,
                 "After the last line wait for a message that contains this; may be repeated")
      ->take_all()
      ->expected(1);
  cli.add_option("--timeout", arguments.timeout,
                 "Seconds that an expectation, or sending a command, may take")
      ->capture_default_str()
      ->check(dorn::tools::Number(0, kMostSeconds));
  cli.add_option("--linger", arguments.linger,
                 "Seconds to print what arrives after the last line; -1: until the server closes")
      ->capture_default_str()
      ->check(dorn::tools::Number(-1, kMostSeconds));
  cli.add_option("--save", arguments.station.saveDirectory, "Write received files to this folder")
      ->check(CLI::ExistingDirectory);
  using dorn::station::Quotes;
  cli.add_option("--quotes", arguments.quotes,
                 "How values with quotes or backslashes are stored: escape, replace or raw")
      ->transform(dorn::tools::OneOf<Quotes>(
          {{"escape", Quotes::kEscape}, {"replace", Quotes::kReplace}, {"raw", Quotes::kRaw}}))
      ->default_str("escape");
  auto* const quiet = cli.add_flag("--quiet", arguments.quiet, "Print nothing but errors");
  cli.add_flag("--json", arguments.json, "Print each message as a line of strict JSON, for scripts")
      ->excludes(quiet);
  cli.add_flag("--no-keepalive", noKeepalive, "Do not answer KEEPALIVE");
  cli.add_option("lines", arguments.lines, "Commands and steps, one each");
}

class Run {
 public:
  explicit Run(const Arguments& arguments)
      : mArguments(arguments), mOutput(MakeOutput()), mStation(arguments.station, *mOutput) {}

  Outcome All() {
    // Before anything is sent: half of what is meant may be worse than nothing.
    for (const std::string& line : mArguments.lines) {
      if (!Read(line)) return Outcome::kUsage;
    }
    if (!mStation.Connect(mArguments.host, mArguments.port)) return Outcome::kCannotConnect;
    Outcome outcome = LogIn();
    if (outcome == Outcome::kDone) {
      outcome = mShell != nullptr          ? FromPerson()
                : mArguments.lines.empty() ? FromStandardInput()
                                           : FromArguments();
    }
    for (const std::string& text : mArguments.expected) {
      if (outcome != Outcome::kDone) return outcome;
      if (!mStation.Expect(text, mArguments.timeout)) outcome = Outcome::kFailedExpectation;
    }
    if (outcome == Outcome::kDone && !mQuit && mArguments.expected.empty()) {
      mStation.Listen(mArguments.linger);
    }
    return outcome;
  }

 private:
  std::unique_ptr<Output> MakeOutput() {
    if (mArguments.json) return std::make_unique<JsonOutput>();
    if (!mArguments.lines.empty() || !RawTerminal::IsThere()) {
      return std::make_unique<PlainOutput>(mArguments.quiet);
    }
    auto shell = std::make_unique<Shell>(mArguments.quiet, mArguments.quotes);
    mShell = shell.get();
    return shell;
  }

  Outcome FromPerson() {
    return mShell->Run(mStation, [this](const Step& step) { return Do(step); });
  }

  Outcome LogIn() {
    if (!mArguments.login.mId.empty() || !mArguments.session.empty()) {
      const std::string hello =
          mArguments.session.empty()
              ? dorn::station::HelloText(mArguments.login)
              : dorn::station::HelloAgainText(mArguments.session, mArguments.login);
      if (!mStation.Send(hello)) return Outcome::kClosedByServer;
    }
    if (mArguments.dialog.empty()) return Outcome::kDone;
    return mStation.Send(dorn::station::ChangeText(mArguments.dialog)) ? Outcome::kDone
                                                                       : Outcome::kClosedByServer;
  }

  Outcome FromArguments() {
    for (const std::string& line : mArguments.lines) {
      const Outcome outcome = Do(line);
      if (outcome != Outcome::kDone || mQuit) return outcome;
    }
    return Outcome::kDone;
  }

  // Prints what arrives while the person types.
  Outcome FromStandardInput() {
    std::string pending;
    while (mStation.IsOpen()) {
      if (!mStation.WaitForEither(STDIN_FILENO)) continue;
      char bytes[4096];
      const ssize_t got = read(STDIN_FILENO, bytes, sizeof bytes);
      if (got <= 0) return pending.empty() ? Outcome::kDone : Do(pending);
      pending.append(bytes, static_cast<size_t>(got));
      for (size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
        const Outcome outcome = Do(pending.substr(0, end));
        if (outcome != Outcome::kDone || mQuit) return outcome;
        pending.erase(0, end + 1);
      }
    }
    return Outcome::kClosedByServer;
  }

  // Nothing, with a line on standard error, when it is none.
  std::optional<Step> Read(const std::string& line) const {
    std::string error;
    std::optional<Step> step = ParseStep(line, mArguments.quotes, error);
    if (!step) std::fprintf(stderr, "dorn-station: %s: %s\n", line.c_str(), error.c_str());
    return step;
  }

  Outcome Do(const std::string& line) {
    const std::optional<Step> step = Read(line);
    return step ? Do(*step) : Outcome::kUsage;
  }

  Outcome Do(const Step& step) {
    switch (step.kind) {
      case StepKind::kSend:
        return mStation.Send(step.text) ? Outcome::kDone : Outcome::kClosedByServer;
      case StepKind::kExpect:
        return Checked(mStation.Expect(step.text, mArguments.timeout));
      case StepKind::kAbsent:
        return Checked(mStation.Absent(step.text));
      case StepKind::kWait:
        mStation.Listen(step.seconds);
        return Outcome::kDone;
      case StepKind::kSay:
        mOutput->Said(step.text);
        return Outcome::kDone;
      case StepKind::kQuit:
        mQuit = true;
        return Outcome::kDone;
      case StepKind::kNothing:
        break;
    }
    return Outcome::kDone;
  }

  static Outcome Checked(bool held) { return held ? Outcome::kDone : Outcome::kFailedExpectation; }

  const Arguments& mArguments;
  Shell* mShell = nullptr;  // The output, for a person at a terminal.
  const std::unique_ptr<Output> mOutput;
  Station mStation;
  bool mQuit = false;
};

int Main(int argc, char** argv) {
  CLI::App cli{
      "A station for the command line: logs in to a dialog server, sends commands and "
      "prints every message that arrives."};
  Arguments arguments;
  bool noKeepalive = false;
  Describe(cli, arguments, noKeepalive);
  if (const auto code = dorn::tools::ReadArguments(cli, "dorn-station", argc, argv)) return *code;
  arguments.station.answerKeepalive = !noKeepalive;
  arguments.station.timeout = arguments.timeout;
  return static_cast<int>(Run(arguments).All());
}

}  // namespace

// The library for the arguments reports its own misuse by exceptions.
int main(int argc, char** argv) {
  dorn::tools::TakeClosedStreams();
  try {
    const std::string_view first = argc > 1 ? argv[1] : "";
    const int code = first == "run"      ? RunScenes(argc - 1, argv + 1)
                     : first == "record" ? RecordScenes(argc - 1, argv + 1)
                                         : Main(argc, argv);
    return dorn::tools::PrintedAll("dorn-station") ? code : static_cast<int>(Outcome::kUsage);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "dorn-station: %s\n", error.what());
    return static_cast<int>(Outcome::kUsage);
  }
}
