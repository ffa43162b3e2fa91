// A station for text terminals: logs in to a dialog server, shows its dialogs, acts on them.
#include <sys/resource.h>

#include <CLI/CLI.hpp>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <random>
#include <string>

#include "tools/dorn-terminal/Loop.h"
#include "tools/support/Arguments.h"
#include "tools/support/Streams.h"

namespace {

using dorn::terminal::Curses;
using dorn::terminal::Loop;
using dorn::terminal::Signals;
using dorn::terminal::View;

enum class Outcome { kDone = 0, kUsage = 2, kNoTerminal = 3 };

struct Arguments {
  std::string mHost;
  std::string mId;
  std::string mPass;
  std::string mFigures;
  View::Setup mSetup;
  Curses::Options mCurses;
  dorn::station::Session::Options mSession;
};

void Describe(CLI::App& cli, Arguments& arguments, bool& isMono, bool& hasNoMouse) {
  cli.footer(
      "Keys: Tab and arrows go from object to object, space or Enter act, F1 or ? tells the rest,\n"
      "q (where no text is edited) or F10 ends.\n"
      "\nExit codes: 0 ended by the user, SIGTERM, SIGINT or SIGHUP; 2 wrong usage, or --help could\n"
      "not be written; 3 no terminal that can be used.\n"
      "\nExample:\n"
      "  dorn-terminal --id tanaka --pass water 127.0.0.1:5000\n");
  cli.add_option("host", arguments.mHost, "The server, as HOST:PORT; without :PORT it is 5000")
      ->required();
  cli.add_option("--id", arguments.mId, "Log in as this user; without it a form asks");
  cli.add_option("--pass", arguments.mPass, "Password of the user");
  cli.add_option("--dialog", arguments.mSetup.mDialog, "Enter this dialog after the log-in");
  cli.add_option("--language", arguments.mSetup.mLanguage,
                 "en or ja; else the host's choice, else that of the locale")
      ->check(dorn::tools::OneWordOf({"en", "ja"}));
  cli.add_option("--type", arguments.mSession.mType, "Type of this station")->capture_default_str();
  using dorn::station::Quotes;
  cli.add_option("--quotes", arguments.mSession.mQuotes,
                 "How values with quotes or backslashes are stored: escape, replace or raw")
      ->transform(dorn::tools::OneOf<Quotes>(
          {{"escape", Quotes::kEscape}, {"replace", Quotes::kReplace}, {"raw", Quotes::kRaw}}))
      ->default_str("escape");
  using Strings = dorn::station::Reader::Strings;
  cli.add_option("--reading", arguments.mSession.mReading,
                 "How the host's texts are read: strict, or literal where it stores them unescaped")
      ->transform(dorn::tools::OneOf<Strings>(
          {{"strict", Strings::kStrictFirst}, {"literal", Strings::kLiteral}}))
      ->default_str("strict");
  cli.add_flag("--mono", isMono, "No colours, as with NO_COLOR in the environment");
  cli.add_flag("--no-mouse", hasNoMouse, "Leave the mouse to the terminal");
  cli.add_option("--figures", arguments.mFigures,
                 "Write to this file at the end how fast keys were shown, and what it cost");
}

std::string SystemLanguage() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return std::strncmp(value, "ja", 2) == 0 ? "ja" : "";
  }
  return "";
}

void WriteFigures(const std::string& file, const Loop::Figures& figures, double seconds) {
  std::FILE* out = std::fopen(file.c_str(), "w");
  if (out == nullptr) {
    std::fprintf(stderr, "dorn-terminal: cannot write %s\n", file.c_str());
    return;
  }
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  const auto secondsOf = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  const double cpu = secondsOf(used.ru_utime) + secondsOf(used.ru_stime);
  const double mean =
      figures.mKeys == 0 ? 0 : figures.mEchoSumMs / static_cast<double>(figures.mKeys);
  std::fprintf(out, "keys %lu, shown after %.2f ms on average, %.2f ms at most\n", figures.mKeys,
               mean, figures.mEchoMostMs);
  std::fprintf(out, "frames %lu, of the host %.2f ms at most\n", figures.mFrames,
               figures.mFrameMostMs);
  std::fprintf(out, "received %llu bytes\n", figures.mBytes);
  std::fprintf(out, "cpu %.2f s of %.2f s: %.1f %% of a core\n", cpu, seconds,
               seconds > 0 ? 100 * cpu / seconds : 0);
  std::fclose(out);
}

Outcome Show(Arguments& arguments, const dorn::tools::HostAndPort& host) {
  std::string why;
  Signals signals;
  auto curses = Curses::Open(arguments.mCurses, why);
  if (!curses) {
    std::fprintf(stderr, "dorn-terminal: %s\n", why.c_str());
    return Outcome::kNoTerminal;
  }
  std::mt19937 engine(std::random_device{}());
  arguments.mSession.mRandom = [&engine] {
    return std::uniform_real_distribution<double>(0, 1)(engine);
  };
  // Hosts count in pixels: a cell is taken for 8 by 16.
  arguments.mSession.mWidth = curses->Width() * 8;
  arguments.mSession.mHeight = curses->Height() * 16;
  dorn::station::Session session(arguments.mSession);
  View view(session, arguments.mSetup, curses->Width(), curses->Height());
  const auto begin = dorn::tools::SteadyMs();
  if (!arguments.mId.empty()) view.LogIn(arguments.mId, arguments.mPass, begin);
  Loop loop(*curses, signals, session, view, host);
  loop.Run();
  curses.reset();
  if (!arguments.mFigures.empty()) {
    WriteFigures(arguments.mFigures, loop.GetFigures(),
                 static_cast<double>(dorn::tools::SteadyMs() - begin) / 1000);
  }
  return Outcome::kDone;
}

Outcome Main(int argc, char** argv) {
  CLI::App cli{
      "A station for text terminals: logs in to a dialog server, shows its dialogs and acts on "
      "them."};
  Arguments arguments;
  bool isMono = false;
  bool hasNoMouse = false;
  Describe(cli, arguments, isMono, hasNoMouse);
  if (const auto code = dorn::tools::ReadArguments(cli, "dorn-terminal", argc, argv)) {
    const bool isDone = *code == 0 && dorn::tools::PrintedAll("dorn-terminal");
    return isDone ? Outcome::kDone : Outcome::kUsage;
  }
  const auto host = dorn::tools::ReadHostAndPort(arguments.mHost);
  if (!host) {
    std::fprintf(stderr, "dorn-terminal: '%s' is not HOST:PORT; such as 127.0.0.1:5000\n",
                 arguments.mHost.c_str());
    return Outcome::kUsage;
  }
  std::setlocale(LC_ALL, "");
  const char* noColor = std::getenv("NO_COLOR");
  arguments.mCurses.mHasColor = !isMono && (noColor == nullptr || *noColor == '\0');
  arguments.mCurses.mHasMouse = !hasNoMouse;
  arguments.mSetup.mHost = arguments.mHost;
  arguments.mSetup.mSystemLanguage = SystemLanguage();
  return Show(arguments, *host);
}

}  // namespace

// The library for the arguments reports its own misuse by exceptions.
int main(int argc, char** argv) {
  dorn::tools::TakeClosedStreams();
  try {
    return static_cast<int>(Main(argc, argv));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "dorn-terminal: %s\n", error.what());
    return static_cast<int>(Outcome::kUsage);
  }
}
