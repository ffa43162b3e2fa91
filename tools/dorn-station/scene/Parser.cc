#include "tools/dorn-station/scene/Parser.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <utility>

#include "station/Utf8.h"
#include "tools/dorn-station/scene/LineReader.h"
#include "tools/dorn-station/scene/LocalFile.h"
#include "tools/dorn-station/scene/Words.h"

namespace dorn::scene {

const char* const kSceneHelp =
    "Lines of a scene; A is a station's name, T a time as 200ms, 1.5s or 2min:\n"
    "  A: login USER PASSWORD             log in and enter what the host opens\n"
    "  A: login USER PASSWORD refused [TEXT]\n"
    "  A: enter DIALOG [nothing]          show a dialog; nothing: there is none to show\n"
    "  A: click NAME [anyway]             a button, check or radio button\n"
    "  A: set NAME [KEY] VALUE [anyway]   an edit, slider, list or combo; anyway: although disabled\n"
    "  A: ack GRID ROW                    acknowledge an alarm\n"
    "  A: get FILE [is LOCALFILE | contains TEXT | missing]\n"
    "  A: send TEXT                       the rest of the line, as it is\n"
    "  A: close                           the line goes down; the session stays\n"
    "  A: return [refused [TEXT]]         come back with the session\n"
    "  A: leave                           log out\n"
    "  A: connect                         a line without a log-in, for send and expect\n"
    "  A: expect NAME KEY [not | contains | above | below] VALUE [within T]\n"
    "  A: expect NAME no KEY [within T]   the object has no such attribute\n"
    "  A: expect NAME there|gone [within T]\n"
    "  A: expect dialog NAME [within T]\n"
    "  A: expect command WORD [KEY VALUE]... [within T]\n"
    "  A: expect message TEXT [within T]\n"
    "  A: expect no update [of NAME] for T\n"
    "  A: expect no command WORD for T    and: expect no message TEXT for T\n"
    "  A: expect closed [within T]        the host closed the line\n"
    "  A: expect session ended [within T]\n"
    "  host: start | stop | kill | restart\n"
    "  host: expect line TEXT [within T]  and: expect no line TEXT for T, expect exit CODE\n"
    "  wait T                             let time pass\n"
    "  # ...                              a comment\n"
    "Texts with blanks stand between quotes: \"a \\\"quoted\\\" text\".\n";

namespace {

std::string Folder(const std::string& file) {
  const std::size_t slash = file.rfind('/');
  return slash == std::string::npos ? "" : file.substr(0, slash + 1);
}

// What holds from one line to the next.
class SceneReader {
 public:
  SceneReader(std::string file, bool hasHost) : mFolder(Folder(file)), mHasHost(hasHost) {
    mRead.mScene.mFile = std::move(file);
  }

  void Take(std::size_t number, const std::string& line) {
    std::string error;
    auto step = dorn::station::IsValidUtf8(line)
                    ? ReadLine(line, error)
                    : (error = "a scene is UTF-8, and this line is not", std::nullopt);
    if (step) {
      step->mLine = number;
      step->mSource = line.substr(std::min(line.size(), line.find_first_not_of(" \t")));
      error = Objection(*step);
    }
    if (!error.empty()) {
      mRead.mMistakes.push_back({number, error});
    } else if (step) {
      mRead.mScene.mSteps.push_back(std::move(*step));
    }
  }

  ReadScene End() {
    if (mRead.mScene.mSteps.empty() && mRead.mMistakes.empty()) {
      mRead.mMistakes.push_back({1, "the scene has no steps; see dorn-station run --help"});
    }
    return std::move(mRead);
  }

 private:
  // Why the step cannot be right here; empty when it can.
  std::string Objection(Step& step) {
    if (step.mWho == "host") return HostObjection(step.mVerb);
    if (step.mWho.empty()) return "";
    if (step.mVerb == Verb::kGetIs) {
      if (step.mPath.front() != '/') step.mPath = mFolder + step.mPath;
      if (!ReadLocalFile(step.mPath))
        return "cannot read " + step.mPath + ", which FILE must be like";
    }
    return StationObjection(step);
  }

  std::string HostObjection(Verb verb) {
    if (!mHasHost) return "the host is not this scene's to command; run it with --start COMMAND";
    // It runs when the scene begins.
    if (verb == Verb::kHostStart && mHostRuns) return "the host is running; write: host: restart";
    if (verb == Verb::kHostStart || verb == Verb::kHostRestart) {
      mHostRuns = true;
    } else if (verb == Verb::kHostStop || verb == Verb::kHostKill || verb == Verb::kHostExit) {
      const bool ran = std::exchange(mHostRuns, false);
      if (!ran && verb != Verb::kHostExit) return "the host was ended before; write: host: start";
    }
    return "";
  }

  std::string StationObjection(const Step& step) {
    const std::string& who = step.mWho;
    const bool begins = step.mVerb == Verb::kLogin || step.mVerb == Verb::kLoginRefused ||
                        step.mVerb == Verb::kConnect;
    if (begins) {
      mStations.insert(who);
      if (step.mVerb == Verb::kConnect) {
        mPlain.insert(who);
      } else {
        mPlain.erase(who);
      }
      return "";
    }
    if (mStations.count(who) == 0) {
      const std::string meant = Nearest(who, {mStations.begin(), mStations.end()});
      return "there is no station " + who + " yet; write before: " + who + ": login USER PASSWORD" +
             (meant.empty() ? "" : " (or do you mean " + meant + "?)");
    }
    const bool isPlains = step.mVerb == Verb::kSend || step.mVerb == Verb::kClose ||
                          step.mVerb == Verb::kLeave || step.mVerb == Verb::kClosed ||
                          (step.mVerb >= Verb::kCommand && step.mVerb <= Verb::kMessage) ||
                          step.mVerb == Verb::kNoCommand || step.mVerb == Verb::kNoMessage;
    if (mPlain.count(who) == 0 || isPlains) return "";
    return who + " has only connected, and can send, close and expect command, message and closed";
  }

  const std::string mFolder;
  const bool mHasHost;
  bool mHostRuns = true;
  std::set<std::string> mStations;
  std::set<std::string> mPlain;  // Connected without a log-in.
  ReadScene mRead;
};

}  // namespace

ReadScene ParseScene(std::string_view text, const std::string& file, bool hasHost) {
  SceneReader reader(file, hasHost);
  // Some editors begin a file with this mark.
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text.remove_prefix(kByteOrderMark.size());
  }
  std::istringstream lines{std::string(text)};
  std::string line;
  for (std::size_t number = 1; std::getline(lines, line); ++number) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    reader.Take(number, line);
  }
  return reader.End();
}

ReadScene LoadScene(const std::string& file, bool hasHost) {
  const auto text = ReadLocalFile(file);
  if (!text || text->empty()) {
    ReadScene nothing;
    nothing.mScene.mFile = file;
    nothing.mMistakes.push_back({1, "cannot be read, or is empty"});
    return nothing;
  }
  return ParseScene(*text, file, hasHost);
}

}  // namespace dorn::scene
