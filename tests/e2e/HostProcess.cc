#include "tests/e2e/HostProcess.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/Deadline.h"

namespace {

std::string ReadAll(int fd) {
  std::string text(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
  const ssize_t got = pread(fd, text.data(), text.size(), 0);
  text.resize(got < 0 ? 0 : static_cast<size_t>(got));
  return text;
}

// Waits a moment for another process.
void Breathe() { poll(nullptr, 0, 2); }

}  // namespace

HostProcess::HostProcess(const std::vector<std::string>& arguments,
                         const std::function<void()>& prepare)
    : mOut(memfd_create("host-out", MFD_CLOEXEC)), mErr(memfd_create("host-err", MFD_CLOEXEC)) {
  std::vector<char*> argv{const_cast<char*>(DORN_E2E_HOST)};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  mPid = fork();
  if (mPid != 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  dup2(mOut, STDOUT_FILENO);
  dup2(mErr, STDERR_FILENO);
  if (const char* preload = std::getenv("DORN_E2E_PRELOAD")) setenv("LD_PRELOAD", preload, 1);
  if (prepare) prepare();
  execv(DORN_E2E_HOST, argv.data());
  _exit(127);
}

HostProcess::~HostProcess() {
  if (mPid > 0) {
    EXPECT_TRUE(IsAlive()) << Console();
    if (mPid > 0) kill(mPid, SIGKILL);
    if (mPid > 0) waitpid(mPid, nullptr, 0);
  }
  if (!mMayComplain) {
    EXPECT_EQ("", Errors());
  }
  close(mOut);
  close(mErr);
}

std::string HostProcess::Console() const { return ReadAll(mOut); }

std::string HostProcess::Errors() {
  mMayComplain = true;
  return ReadAll(mErr);
}

bool HostProcess::WaitForConsole(const std::string& text) const {
  for (const Deadline deadline; Console().find(text) == std::string::npos; Breathe()) {
    if (deadline.IsOver()) return false;
  }
  return true;
}

int HostProcess::WaitForExit() {
  int status = 0;
  for (const Deadline deadline; waitpid(mPid, &status, WNOHANG) == 0; Breathe()) {
    if (deadline.IsOver()) return -1;
  }
  mPid = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool HostProcess::IsAlive() {
  if (mPid > 0 && waitpid(mPid, nullptr, WNOHANG) == mPid) mPid = -1;
  return mPid > 0;
}

bool HostProcess::HasEnded() const {
  siginfo_t info{};
  return mPid < 0 ||
         (waitid(P_PID, static_cast<id_t>(mPid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
          info.si_pid == mPid);
}

void HostProcess::Interrupt() {
  if (mPid > 0) kill(mPid, SIGUSR1);  // -1 would mean every process there is.
}

int HostProcess::OpenDescriptors() const {
  int count = 0;
  const std::string path = "/proc/" + std::to_string(mPid) + "/fd";
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(path)) ++count;
  return count;
}

long HostProcess::CpuMs() const {
  std::ifstream file("/proc/" + std::to_string(mPid) + "/stat");
  std::string line;
  std::getline(file, line);
  std::istringstream fields(line.substr(line.rfind(')') + 2));
  std::string skipped;
  for (int i = 0; i < 11; ++i) fields >> skipped;
  long user = 0, system = 0;
  fields >> user >> system;
  return (user + system) * 1000 / sysconf(_SC_CLK_TCK);
}

std::string HostProcess::ResourcePath(const std::string& file) {
  return std::filesystem::path(DORN_E2E_HOST).parent_path().string() + "/resources/" + file;
}

void HostProcess::WriteResource(const std::string& file, const std::string& text) {
  std::filesystem::create_directories(ResourcePath(""));
  std::ofstream(ResourcePath(file), std::ios::binary) << text;
}
