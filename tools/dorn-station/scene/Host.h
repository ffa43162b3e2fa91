// The host that a scene is played against: a program that is started, read and ended.
#ifndef TOOLS_DORN_STATION_SCENE_HOST_H_
#define TOOLS_DORN_STATION_SCENE_HOST_H_

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/dorn-station/scene/Step.h"
#include "tools/line/Line.h"

namespace dorn::scene {

// The program listens where DORN_STATION says, 127.0.0.1:0, and writes the address that it got to
// the file that DORN_STATION_FILE names. It and what it starts are ended with whoever holds this.
class Host {
 public:
  // `command`: a program and its arguments; none: there is no program to start.
  explicit Host(std::vector<std::string> command) : mCommand(std::move(command)) {}
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  bool IsManaged() const { return !mCommand.empty(); }

  // False, with the reason, when nothing could be started. It listens once Address() says so.
  bool Start(std::string& error);
  void Signal(int signal);
  // Ends it without asking, and waits for that.
  void KillNow();

  // Reads what it has printed and notes when it has ended. Does not wait.
  void Run();
  int Descriptor() const { return mOutput; }

  pid_t Pid() const { return mPid; }
  bool IsRunning() const { return mPid > 0; }
  // Nothing while it runs, and before it was started. As waitpid(2) gives it.
  std::optional<int> Status() const { return mStatus; }
  // "ended with exit code 1", "was ended by signal 11 (Segmentation fault)".
  std::string Ending() const;
  // It ended as hosts do that are asked to.
  bool EndedWell() const;
  // Nothing until it listens.
  std::optional<dorn::tools::HostAndPort> Address() const;

  // Everything that all its runs have printed.
  const std::string& Output() const { return mPrinted; }
  // Without empty ones, and without what it says about fences.
  std::string LastLines(std::size_t count) const;
  // Looks for a whole line that contains `text` behind the one found last, and remembers it.
  bool TakeLine(const std::string& text);
  // The same without remembering, from `since` on.
  std::optional<std::string> FindLine(const std::string& text, std::size_t since) const;

 private:
  bool MakeFolder(std::string& error);
  void RunChild(int output) const;
  void Read();
  void Reap(bool waits);

  const std::vector<std::string> mCommand;
  std::string mFolder;  // For the file with the address.
  pid_t mPid = -1;
  int mOutput = -1;
  std::optional<int> mStatus;
  std::string mPrinted;
  std::size_t mTaken = 0;  // How far TakeLine() has come.
};

}  // namespace dorn::scene

#endif  // TOOLS_DORN_STATION_SCENE_HOST_H_
