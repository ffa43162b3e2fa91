#include "tools/dorn-station/RecordScene.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "tools/dorn-station/Outcome.h"
#include "tools/dorn-station/scene/Parser.h"
#include "tools/dorn-station/scene/Report.h"

namespace {

using dorn::scene::Played;
using dorn::scene::Result;

// How long stations wait at most while somebody thinks.
constexpr int kIdleMs = 20;

class Recorder {
 public:
  Recorder(const dorn::scene::PlayOptions& options, std::string file)
      : mHasHost(!options.mStart.empty()),
        mFile(std::move(file)),
        mOut(std::fopen(mFile.c_str(), "wbx"), std::fclose),
        mPlayer(options) {
    if (!mOut) {
      std::fprintf(stderr, "dorn-station record: cannot write %s: %s\n", mFile.c_str(),
                   std::strerror(errno));
    }
  }

  // A file in which nothing was kept is no scene.
  ~Recorder() {
    if (mOut && mKept.empty()) std::remove(mFile.c_str());
  }
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  int Run() {
    if (!mOut) return static_cast<int>(Outcome::kUsage);
    if (!Held(mPlayer.Start())) return static_cast<int>(Outcome::kCannotConnect);
    std::string line;
    while (NextLine(line)) Take(line);
    if (!Held(mPlayer.Finish())) mFailed = true;
    return static_cast<int>(mFailed ? Outcome::kFailedExpectation : Outcome::kDone);
  }

 private:
  bool NextLine(std::string& line) {
    for (;;) {
      if (const std::size_t end = mTyped.find('\n'); end != std::string::npos) {
        line = mTyped.substr(0, end);
        mTyped.erase(0, end + 1);
        return true;
      }
      mPlayer.Idle();
      pollfd input{STDIN_FILENO, POLLIN, 0};
      if (poll(&input, 1, kIdleMs) <= 0) continue;
      char bytes[4096];
      const ssize_t got = read(STDIN_FILENO, bytes, sizeof bytes);
      if (got > 0) {
        mTyped.append(bytes, static_cast<std::size_t>(got));
      } else if (mTyped.empty()) {
        return false;
      } else {
        mTyped += '\n';  // The last line, without an end of its own.
      }
    }
  }

  // A line is read with all that was kept before it, so that it means here what it will mean in the
  // file.
  void Take(const std::string& line) {
    auto read = dorn::scene::ParseScene(mKept + line + "\n", mFile, mHasHost);
    const bool isStep = read.mScene.mSteps.size() > mSteps;
    if (!isStep && line.find_first_not_of(" \t\r") != std::string::npos &&
        line[line.find_first_not_of(" \t")] != '#') {
      for (const auto& mistake : read.mMistakes)
        std::fprintf(stderr, "%s\n", mistake.mWhat.c_str());
      mFailed = true;
      return;
    }
    if (isStep && !Held(mPlayer.PlayStep(read.mScene.mSteps.back()))) {
      mFailed = true;
      return;
    }
    if (isStep) {
      ++mSteps;
      std::puts("held");
      std::fflush(stdout);
    }
    mKept += line + "\n";
    Keep(line + "\n");
  }

  // At once: whoever is ended in the middle has what held until then.
  void Keep(const std::string& text) {
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), mOut.get()) == text.size() &&
                           std::fflush(mOut.get()) == 0;
    if (isWritten) return;
    std::fprintf(stderr, "dorn-station record: cannot write %s: %s\n", mFile.c_str(),
                 std::strerror(errno));
    mFailed = true;
  }

  bool Held(const Result& result) const {
    if (!result.mFailure) return true;
    std::fputs(FailureText(Played{mFile, {}, result}).c_str(), stderr);
    return false;
  }

  const bool mHasHost;
  const std::string mFile;
  // A scene that is there already is not written over.
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> mOut;
  dorn::scene::Player mPlayer;
  std::string mTyped;
  std::string mKept;
  std::size_t mSteps = 0;
  bool mFailed = false;
};

}  // namespace

int RecordScene(const dorn::scene::PlayOptions& options, const std::string& file) {
  return Recorder(options, file).Run();
}
