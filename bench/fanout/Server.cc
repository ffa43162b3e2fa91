#include "bench/fanout/Server.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <initializer_list>

#include "bench/support/Loopback.h"
#include "bench/support/Processors.h"

namespace {

[[noreturn]] void Execute(std::vector<std::string> command) {
  RunWithServers();
  const int null = open("/dev/null", O_RDWR);
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(null, fd);
  std::vector<char*> arguments;
  for (std::string& word : command) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  _exit(127);
}

// The number behind a key of a file below /proc.
double NumberBehind(const std::string& path, const std::string& key) {
  std::ifstream file(path);
  for (std::string word; file >> word;) {
    double number = 0;
    if (word == key && file >> number) return number;
  }
  return 0;
}

}  // namespace

Server::Server(std::vector<std::string> command) : mPort(FreePort()) {
  for (std::string& word : command) {
    const std::size_t at = word.find("PORT");
    if (at != std::string::npos) word.replace(at, 4, std::to_string(mPort));
  }
  Start(command);
}

void Server::Start(const std::vector<std::string>& command) {
  mPid = fork();
  if (mPid == 0) Execute(command);
  if (mPid < 0 || AwaitListener()) return;
  kill(mPid, SIGKILL);
  waitpid(mPid, nullptr, 0);
  mPid = -1;
}

Server::~Server() {
  if (mPid <= 0) return;
  kill(mPid, SIGKILL);
  waitpid(mPid, nullptr, 0);
}

bool Server::AwaitListener() const {
  for (int tries = 0; tries < 500; ++tries) {
    const int fd = ConnectTo(mPort);
    if (fd >= 0) {
      close(fd);
      return true;
    }
    if (waitpid(mPid, nullptr, WNOHANG) != 0) return false;
    usleep(10000);
  }
  return false;
}

double Server::CpuSeconds() const {
  clockid_t clock{};
  timespec time{};
  if (clock_getcpuclockid(mPid, &clock) != 0 || clock_gettime(clock, &time) != 0) return 0;
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double Server::ResidentBytes() const {
  return 1024 * NumberBehind("/proc/" + std::to_string(mPid) + "/status", "VmRSS:");
}

long Server::Sleeps() const {
  const std::string path = "/proc/" + std::to_string(mPid) + "/status";
  return static_cast<long>(NumberBehind(path, "voluntary_ctxt_switches:"));
}

std::string Beside(const std::string& name) {
  char path[4096];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  if (length <= 0) return name;
  const std::string self(path, static_cast<std::size_t>(length));
  return self.substr(0, self.rfind('/') + 1) + name;
}
