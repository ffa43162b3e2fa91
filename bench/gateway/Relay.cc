#include "bench/gateway/Relay.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "bench/support/Loopback.h"

namespace {

// The numbers of /proc/PID/stat behind the name, which may hold blanks, and the state.
constexpr std::size_t kGroup = 1;

std::vector<long> StatOf(const std::string& pid) {
  std::ifstream file("/proc/" + pid + "/stat");
  const std::string text(std::istreambuf_iterator<char>(file), {});
  std::vector<long> fields;
  const char* at = text.c_str() + std::min(text.size(), text.rfind(')') + 3);
  while (*at != '\0') {
    char* end = nullptr;
    fields.push_back(std::strtol(at, &end, 10));
    at = end == at ? at + 1 : end;
    while (*at == ' ') ++at;
  }
  return fields;
}

}  // namespace

Relay::Relay(std::vector<std::string> arguments) : mPort(FreePort()) {
  for (std::string& argument : arguments) {
    const std::size_t at = argument.find("%p");
    if (at != std::string::npos) argument.replace(at, 2, std::to_string(mPort));
  }
  mPid = fork();
  if (mPid != 0) return;
  setpgid(0, 0);
  const int null = open("/dev/null", O_RDWR);
  for (const int fd : {0, 1, 2}) dup2(null, fd);
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  execvp(pointers[0], pointers.data());
  _exit(127);
}

Relay::~Relay() {
  kill(-mPid, SIGKILL);
  waitpid(mPid, nullptr, 0);
}

bool Relay::IsReady() const {
  for (int i = 0; i < 100; ++i) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = Loopback(mPort);
    const bool isUp = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    if (isUp) return true;
    usleep(50'000);
  }
  return false;
}

// Those of its process group.
std::vector<pid_t> Relay::Processes() const {
  std::vector<pid_t> found;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    const std::vector<long> stat = StatOf(name);
    if (stat.size() > kGroup && stat[kGroup] == mPid) found.push_back(std::atoi(name.c_str()));
  }
  return found;
}

// To the nanosecond: the ticks of /proc/PID/stat are as long as some hundred messages take.
double Relay::CpuSeconds() const {
  double nanoseconds = 0;
  for (const pid_t pid : Processes()) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/schedstat");
    double ran = 0;
    if (file >> ran) nanoseconds += ran;
  }
  return nanoseconds / 1e9;
}

long Relay::MemoryKb() const {
  long total = 0;
  for (const pid_t pid : Processes()) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/smaps_rollup");
    for (std::string word; file >> word;) {
      long kb = 0;
      if (word == "Pss:" && file >> kb) total += kb;
    }
  }
  return total;
}
