#include "tools/dorn-station/Shell.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "station/Reader.h"
#include "station/Utf8.h"
#include "tools/dorn-station/Passwords.h"
#include "tools/dorn-station/RawTerminal.h"
#include "tools/dorn-terminal/Width.h"

namespace {

using dorn::station::Json;
using dorn::terminal::TextWidth;
using dorn::tools::SteadyMs;

constexpr int kShownCells = 2000;  // Of one line.
constexpr int kLabelCells = 30;
constexpr int kLookMs = 500;  // Until a dialog that was asked for too soon is asked for again.

}  // namespace

std::string SafeText(std::string_view text) {
  std::string safe;
  const std::string printable = dorn::station::Printable(text);
  dorn::terminal::Cluster cluster;
  for (dorn::terminal::ClusterReader reader(printable); reader.Next(cluster);)
    safe += cluster.mText;
  return safe;
}

Shell::Shell(bool isQuiet, dorn::station::Quotes quotes)
    : mIsQuiet(isQuiet), mHasColors(std::getenv("NO_COLOR") == nullptr), mQuotes(quotes) {}

Shell::~Shell() = default;

Outcome Shell::Run(Station& station, const Doing& doStep) {
  const RawTerminal terminal;
  Outcome outcome = Outcome::kDone;
  while (station.IsOpen() && outcome == Outcome::kDone && !mIsQuit) {
    CatchUp(station);
    Draw();
    if (!station.WaitForEither(STDIN_FILENO, kLookMs)) continue;
    char bytes[4096];
    const ssize_t got = read(STDIN_FILENO, bytes, sizeof bytes);
    if (got <= 0) break;
    mPrompt.Feed({bytes, static_cast<std::size_t>(got)});
    while (const auto event = mIsQuit ? std::nullopt : mPrompt.Next()) {
      outcome = On(*event, station, doStep);
      if (outcome != Outcome::kDone) break;
    }
  }
  Erase();
  return station.IsOpen() || mIsQuit ? outcome : Outcome::kClosedByServer;
}

Outcome Shell::On(Prompt::Event event, Station& station, const Doing& doStep) {
  switch (event) {
    case Prompt::Event::kComplete:
      Complete();
      return Outcome::kDone;
    case Prompt::Event::kClear:
      std::fputs("\x1B[H\x1B[2J", stdout);
      mIsDrawn = false;
      return Outcome::kDone;
    case Prompt::Event::kEnd:
      mIsQuit = true;
      LeaveRow();
      return Outcome::kDone;
    case Prompt::Event::kLine:
      break;
  }
  LeaveRow();
  return Take(mPrompt.TakeLine(), station, doStep);
}

// What else stations do without being asked: they enter what the host opens.
void Shell::CatchUp(Station& station) {
  if (const auto text = mFollower.TakeEntry(SteadyMs()); text)
    static_cast<void>(station.Send(*text));
  TellWatched();
  if (!mFollower.IsShowing() || mFollower.Dialog().DialogName() == mDiffDialog) return;
  mDiffDialog = mFollower.Dialog().DialogName();
  mDiff = mFollower.Objects();
}

// A mistake of a person is told, and is no reason to end.
Outcome Shell::Take(const std::string& line, Station& station, const Doing& doStep) {
  std::istringstream words(line);
  std::string word;
  std::string rest;
  words >> word;
  std::getline(words >> std::ws, rest);
  while (!rest.empty() && rest.back() == ' ') rest.pop_back();
  if (DoOwn(word, rest)) return Outcome::kDone;
  std::string error;
  auto step = ParseStep(line, mQuotes, error);
  if (!step) {
    Tell(Style::kBad, error);
    return Outcome::kDone;
  }
  const CookedTerminal cooked;
  const Outcome outcome = DoStep(std::move(*step), doStep);
  if (outcome == Outcome::kFailedExpectation) return Outcome::kDone;
  return station.IsOpen() ? outcome : Outcome::kClosedByServer;
}

Outcome Shell::DoStep(Step step, const Doing& doStep) {
  if (step.kind == StepKind::kQuit) mIsQuit = true;
  if (step.kind == StepKind::kSend) {
    const Json command = dorn::station::Reader().Read(step.text).mJson;
    const std::string dialog(command.TextOf("DialogName"));
    if (command.TextOf("Command") == "CHANGE" && command.Find("SessionId") == nullptr &&
        !dialog.empty()) {
      step.text = mFollower.Enter(dialog, SteadyMs());
    } else if (!step.objects.empty() && mFollower.IsShowing()) {
      step.text = mFollower.Act(step.text, step.objects);
    }
  }
  return doStep(step);
}

void Shell::Show(const std::string& text, Json& message, bool isSent) {
  HidePasswords(message);
  const Json* commands = message.Find("Commands");
  if (commands == nullptr || !commands->IsArray()) {
    const bool hasPassword = message.Find("Pass") != nullptr;
    return ShowCommand(message, hasPassword ? message.Written() : text, isSent);
  }
  // An entry of its own need not be wished for again.
  const bool isEntry = isSent && commands->mElements.size() == 3 &&
                       mFollower.IsOwn(commands->mElements[0]) &&
                       mFollower.IsOwn(commands->mElements[2]);
  for (const Json& command : commands->mElements) ShowCommand(command, command.Written(), isSent);
  if (isEntry) mFollower.Entered();
}

void Shell::ShowCommand(const Json& command, const std::string& text, bool isSent) {
  const bool isOwn = mFollower.IsOwn(command);
  if (!isSent && command.TextOf("Command") == "PUTFILE") mHidesFile = isOwn;
  if (isSent) {
    mFollower.Sent(command);
  } else {
    mFollower.Received(command);
  }
  if (isOwn || mIsQuiet) return;
  const std::string shown = dorn::terminal::Cut(dorn::station::Printable(text), kShownCells);
  if (isSent) return Print(In(Style::kDim, "-> " + shown));
  const bool isError = command.TextOf("Command") == "ERROR";
  Print(In(Style::kGood, "<- ") + In(isError ? Style::kBad : Style::kPlain, shown));
}

void Shell::FileEnd(const std::string& name, std::optional<std::size_t> bytes) {
  mFollower.FileEnd(bytes.has_value());
  if (!mHidesFile && !mIsQuiet) {
    Print(In(Style::kGood, "<- ") + SafeText(FileNote(name, bytes)));
  }
  mHidesFile = false;
}

void Shell::ClosedByServer() { Tell(Style::kBad, "closed by the server"); }

void Shell::Trouble(const std::string& text) {
  Erase();
  Output::Trouble(text);
}

void Shell::TellWatched() {
  for (auto& [name, before] : mWatched) {
    auto now = mFollower.AttributesOf(name);
    if (!now || *now == before) continue;
    TellChanges(Style::kWatch, name, before, *now);
    before = std::move(*now);
  }
}

void Shell::Draw() {
  const std::string name = mFollower.Dialog().DialogName();
  const int columns = RawTerminal::Columns();
  const std::string label = dorn::terminal::Cut(name, std::min(kLabelCells, columns / 3)) +
                            (mFollower.IsEntering() ? "... " : "> ");
  const int width = TextWidth(label);
  std::string drawn = mPrompt.Drawn(In(Style::kName, label), width, columns);
  if (mIsDrawn && drawn == mDrawn) return;
  std::fputs(drawn.c_str(), stdout);
  std::fflush(stdout);
  mIsDrawn = true;
  mDrawn = std::move(drawn);
}

// What was typed stays where it is.
void Shell::LeaveRow() {
  Draw();
  std::fputs("\n", stdout);
  mIsDrawn = false;
}

void Shell::Erase() {
  if (!mIsDrawn) return;
  std::fputs("\r\x1B[K", stdout);
  std::fflush(stdout);
  mIsDrawn = false;
}

void Shell::Print(const std::string& safeLine) {
  Erase();
  std::fputs((safeLine + "\n").c_str(), stdout);
  std::fflush(stdout);
}

void Shell::Tell(Style style, const std::string& text) {
  Print(In(style, dorn::terminal::Cut(dorn::station::Printable(text), kShownCells)));
}

std::string Shell::In(Style style, const std::string& safe) const {
  if (!mHasColors || style == Style::kPlain) return safe;
  const char* const code = style == Style::kDim     ? "2"
                           : style == Style::kName  ? "1"
                           : style == Style::kGood  ? "32"
                           : style == Style::kWatch ? "33"
                                                    : "31";
  return "\x1B[" + std::string(code) + "m" + safe + "\x1B[0m";
}
