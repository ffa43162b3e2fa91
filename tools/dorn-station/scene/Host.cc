#include "tools/dorn-station/scene/Host.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <sstream>
#include <string_view>
#include <utility>

namespace dorn::scene {

namespace {

constexpr int kCannotRun = 127;

std::string Reason(const std::string& what) { return what + ": " + std::strerror(errno); }

}  // namespace

Host::~Host() {
  if (IsRunning()) KillNow();
  if (mOutput >= 0) close(mOutput);
  if (mFolder.empty()) return;
  static_cast<void>(unlink((mFolder + "/address").c_str()));
  static_cast<void>(rmdir(mFolder.c_str()));
}

bool Host::Start(std::string& error) {
  if (!MakeFolder(error)) return false;
  static_cast<void>(unlink((mFolder + "/address").c_str()));
  std::array<int, 2> pipe{};
  if (pipe2(pipe.data(), O_CLOEXEC) != 0) {
    error = Reason("cannot make a pipe for what the host prints");
    return false;
  }
  if (mOutput >= 0) close(mOutput);
  mOutput = pipe[0];
  static_cast<void>(fcntl(mOutput, F_SETFL, O_NONBLOCK));
  mStatus.reset();
  mPid = fork();
  if (mPid == 0) RunChild(pipe[1]);
  close(pipe[1]);
  if (mPid > 0) {
    // Here as in the child, whichever is first: a signal may follow at once.
    static_cast<void>(setpgid(mPid, mPid));
    return true;
  }
  error = Reason("cannot start a process");
  return false;
}

bool Host::MakeFolder(std::string& error) {
  if (!mFolder.empty()) return true;
  const char* const root = std::getenv("TMPDIR");
  mFolder = std::string(root != nullptr && *root != '\0' ? root : "/tmp") + "/dorn-station-XXXXXX";
  if (mkdtemp(mFolder.data()) != nullptr) return true;
  error = Reason("cannot make a folder such as " + mFolder);
  mFolder.clear();
  return false;
}

void Host::RunChild(int output) const {
  static_cast<void>(setpgid(0, 0));
  // Whoever plays the scene may be killed, and must not leave a host behind.
  static_cast<void>(prctl(PR_SET_PDEATHSIG, SIGKILL));
  const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
  dup2(nothing, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  static_cast<void>(setenv("DORN_STATION", "127.0.0.1:0", 1));
  static_cast<void>(setenv("DORN_STATION_FILE", (mFolder + "/address").c_str(), 1));
  std::vector<char*> arguments;
  for (const std::string& each : mCommand) arguments.push_back(const_cast<char*>(each.c_str()));
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  const std::string reason = Reason("cannot run " + mCommand.front()) + "\n";
  static_cast<void>(!write(STDOUT_FILENO, reason.data(), reason.size()));
  _exit(kCannotRun);
}

void Host::Signal(int signal) {
  if (IsRunning()) static_cast<void>(kill(-mPid, signal));
}

void Host::KillNow() {
  Signal(SIGKILL);
  Reap(true);
  Read();
}

void Host::Run() {
  Read();
  if (!IsRunning()) return;
  Reap(false);
  // What it printed last lies in the pipe by now.
  if (!IsRunning()) Read();
}

void Host::Reap(bool waits) {
  if (!IsRunning()) return;
  int status = 0;
  pid_t result = -1;
  do {
    result = waitpid(mPid, &status, waits ? 0 : WNOHANG);
  } while (result < 0 && errno == EINTR);
  if (result != mPid) return;
  // What it has started and left behind.
  static_cast<void>(kill(-mPid, SIGKILL));
  mPid = -1;
  mStatus = status;
}

void Host::Read() {
  std::array<char, 16384> bytes;
  while (mOutput >= 0) {
    const ssize_t got = read(mOutput, bytes.data(), bytes.size());
    if (got > 0) {
      mPrinted.append(bytes.data(), static_cast<std::size_t>(got));
      continue;
    }
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 && errno == EAGAIN) return;
    // Nobody is left to print.
    close(mOutput);
    mOutput = -1;
    return;
  }
}

std::string Host::Ending() const {
  if (!mStatus) return "runs";
  if (WIFEXITED(*mStatus)) return "ended with exit code " + std::to_string(WEXITSTATUS(*mStatus));
  const int signal = WTERMSIG(*mStatus);
  return "was ended by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
}

bool Host::EndedWell() const {
  if (!mStatus) return false;
  if (WIFSIGNALED(*mStatus)) return WTERMSIG(*mStatus) == SIGTERM;
  // Shells tell the end of a program by a signal so.
  return WEXITSTATUS(*mStatus) == 0 || WEXITSTATUS(*mStatus) == 128 + SIGTERM;
}

std::optional<dorn::tools::HostAndPort> Host::Address() const {
  if (mFolder.empty()) return std::nullopt;
  std::ifstream file(mFolder + "/address");
  std::string line;
  if (!std::getline(file, line)) return std::nullopt;
  return dorn::tools::ReadHostAndPort(line);
}

std::string Host::LastLines(std::size_t count) const {
  std::deque<std::string> last;
  std::istringstream lines(mPrinted);
  for (std::string line; std::getline(lines, line);) {
    // Fences of stations say nothing about the host.
    if (line.empty() || line.find("\"File\":\"?") != std::string::npos) continue;
    last.push_back(std::move(line));
    if (last.size() > count) last.pop_front();
  }
  std::string text;
  for (const std::string& line : last) text += line + "\n";
  return text;
}

bool Host::TakeLine(const std::string& text) {
  const std::size_t found = mPrinted.find(text, mTaken);
  if (found == std::string::npos) return false;
  const std::size_t end = mPrinted.find('\n', found + text.size());
  // The rest of the line is still to come.
  if (end == std::string::npos && (mOutput >= 0 || IsRunning())) return false;
  mTaken = end == std::string::npos ? mPrinted.size() : end + 1;
  return true;
}

std::optional<std::string> Host::FindLine(const std::string& text, std::size_t since) const {
  const std::size_t found = mPrinted.find(text, since);
  if (found == std::string::npos) return std::nullopt;
  const std::size_t before = mPrinted.rfind('\n', found);
  const std::size_t start = before == std::string::npos ? 0 : before + 1;
  return mPrinted.substr(start, mPrinted.find('\n', found) - start);
}

}  // namespace dorn::scene
