#include "bench/site/Process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "bench/support/Processors.h"

namespace {

namespace fs = std::filesystem;

// The folder goes when the program ends, also by Fail(): first those that write to it.
class OwnFolder {
 public:
  OwnFolder() : mPath(fs::temp_directory_path() / "dorn-bench-site-XXXXXX") {
    if (mkdtemp(mPath.data()) == nullptr) mPath = ".";
  }
  ~OwnFolder() {
    for (const pid_t each : mRunning) {
      kill(each, SIGKILL);
      waitpid(each, nullptr, 0);
    }
    std::error_code ignored;
    if (mPath != ".") fs::remove_all(mPath, ignored);
  }
  OwnFolder(const OwnFolder&) = delete;
  OwnFolder& operator=(const OwnFolder&) = delete;

  std::string mPath;
  std::set<pid_t> mRunning;
};

OwnFolder& Own() {
  static OwnFolder own;
  return own;
}

std::vector<char*> Pointers(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

[[noreturn]] void Become(std::vector<std::string>& command, std::vector<std::string>& environment,
                         const std::string& output, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  const int out = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  for (const int fd : {STDOUT_FILENO, STDERR_FILENO}) dup2(out, fd);
  for (std::string& each : environment) putenv(each.data());
  execvp(command[0].c_str(), Pointers(command).data());
  std::perror(command[0].c_str());
  _exit(127);
}

std::string LastLines(const std::string& text) {
  constexpr std::size_t kShown = 1000;
  return text.substr(text.size() - std::min(kShown, text.size()));
}

}  // namespace

Process::Process(const std::string& name, std::vector<std::string> command,
                 std::vector<std::string> environment, std::optional<int> processor) {
  const std::string output = Folder() + "/" + name + ".out";
  const pid_t parent = getpid();
  mPid = fork();
  if (mPid == 0 && processor) RunOnProcessor(*processor);
  if (mPid == 0) Become(command, environment, output, parent);
  if (mPid < 0) Fail("no further process can be started");
  Own().mRunning.insert(mPid);
}

Process::~Process() { Kill(); }

void Process::Kill() {
  if (mPid <= 0) return;
  kill(mPid, SIGKILL);
  waitpid(mPid, nullptr, 0);
  Own().mRunning.erase(mPid);
  mPid = -1;
}

// It stays to be waited for.
bool Process::IsRunning() const {
  siginfo_t info{};
  return mPid > 0 &&
         waitid(P_PID, static_cast<id_t>(mPid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == 0;
}

double Process::CpuSeconds() const {
  clockid_t clock{};
  timespec time{};
  if (clock_getcpuclockid(mPid, &clock) != 0 || clock_gettime(clock, &time) != 0) return 0;
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

int Process::Descriptors() const {
  std::error_code error;
  const fs::directory_iterator all("/proc/" + std::to_string(mPid) + "/fd", error);
  return static_cast<int>(std::distance(begin(all), end(all)));
}

const std::string& Folder() { return Own().mPath; }

std::string Contents(const std::string& path) {
  std::ostringstream contents;
  contents << std::ifstream(path).rdbuf();
  return contents.str();
}

void Fail(const std::string& reason) {
  std::fprintf(stderr, "site_bench: %s\n", reason.c_str());
  std::error_code ignored;
  for (const auto& each : fs::directory_iterator(Folder(), ignored)) {
    if (each.path().extension() != ".out") continue;
    std::fprintf(stderr, "--- %s:\n%s\n", each.path().stem().c_str(),
                 LastLines(Contents(each.path())).c_str());
  }
  std::exit(1);
}
