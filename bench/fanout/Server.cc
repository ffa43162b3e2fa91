#include "bench/fanout/Server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <initializer_list>

namespace {

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// A port that was free a moment ago.
int FreePort() {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  static_cast<void>(bind(fd, reinterpret_cast<sockaddr*>(&address), length));
  static_cast<void>(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length));
  close(fd);
  return ntohs(address.sin_port);
}

[[noreturn]] void Execute(std::vector<std::string> command) {
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

int ConnectTo(int port) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = Loopback(port);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    close(fd);
    return -1;
  }
  const int on = 1;
  static_cast<void>(setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
  timeval patience{};
  patience.tv_sec = 10;
  static_cast<void>(setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience));
  return fd;
}

std::string Beside(const std::string& name) {
  char path[4096];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  if (length <= 0) return name;
  const std::string self(path, static_cast<std::size_t>(length));
  return self.substr(0, self.rfind('/') + 1) + name;
}
