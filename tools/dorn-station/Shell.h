// dorn-station for a person at a terminal: a prompt that knows the dialog, and messages above it.
#ifndef TOOLS_DORN_STATION_SHELL_H_
#define TOOLS_DORN_STATION_SHELL_H_

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/dorn-station/Follower.h"
#include "tools/dorn-station/Outcome.h"
#include "tools/dorn-station/Output.h"
#include "tools/dorn-station/Prompt.h"
#include "tools/dorn-station/Station.h"
#include "tools/dorn-station/Steps.h"

// What lines may be at the prompt besides those of a script, for help.
extern const char* const kShellHelp;

// A text that a terminal may get, in one line: control characters are written like \u001b, and
// those that turn the direction of writing are dropped.
std::string SafeText(std::string_view text);

class Shell : public Output {
 public:
  // Does one step as a script would.
  using Doing = std::function<Outcome(const Step& step)>;

  Shell(bool isQuiet, dorn::station::Quotes quotes);
  ~Shell() override;

  // Until the person or the server ends it.
  Outcome Run(Station& station, const Doing& doStep);

  void Sent(const std::string& text) override {
    auto read = dorn::station::Reader().Read(text);
    Show(text, read.mJson, true);
  }
  void Received(const std::string& text, dorn::station::Framing& framing) override {
    Show(text, framing.Read().mJson, false);
  }
  void FilePiece(std::string_view piece) override { mFollower.FilePiece(piece); }
  void FileEnd(const std::string& name, std::optional<std::size_t> bytes) override;
  void ClosedByServer() override;
  void Said(const std::string& text) override { Print(SafeText(text)); }
  void Trouble(const std::string& text) override;

 private:
  enum class Style { kPlain, kDim, kName, kGood, kWatch, kBad };

  // Messages (Shell.cc).
  void Show(const std::string& text, dorn::station::Json& message, bool isSent);
  void ShowCommand(const dorn::station::Json& command, const std::string& text, bool isSent);
  Outcome On(Prompt::Event event, Station& station, const Doing& doStep);
  void CatchUp(Station& station);
  void TellWatched();
  Outcome Take(const std::string& line, Station& station, const Doing& doStep);
  Outcome DoStep(Step step, const Doing& doStep);
  void Draw();
  void LeaveRow();
  void Erase();
  void Print(const std::string& safeLine);
  void Tell(Style style, const std::string& text);
  std::string In(Style style, const std::string& safe) const;

  // Words of the prompt alone (ShellWords.cc).
  bool DoOwn(const std::string& word, const std::string& rest);
  void Tree(const std::string& name);
  void TreeOf(const dorn::station::Object& object, int depth);
  void Watch(const std::string& name);
  void Unwatch(const std::string& name);
  void Diff();
  void TellChanges(Style style, const std::string& name, const Attributes& before,
                   const Attributes& now);
  bool HasDialog();
  std::string NoObject(const std::string& name) const;
  void Complete();
  std::vector<std::string> Candidates(const std::vector<std::string>& words) const;
  std::vector<std::string> Names() const;

  const bool mIsQuiet;
  const bool mHasColors;
  const dorn::station::Quotes mQuotes;
  Follower mFollower;
  Prompt mPrompt;
  bool mIsDrawn = false;  // The prompt, and the cursor is in its row.
  std::string mDrawn;
  bool mHidesFile = false;
  bool mIsQuit = false;
  std::map<std::string, Attributes> mWatched;  // As they were told last, by name.
  std::string mDiffDialog;
  Snapshot mDiff;  // As it was at the last diff.
};

#endif  // TOOLS_DORN_STATION_SHELL_H_
