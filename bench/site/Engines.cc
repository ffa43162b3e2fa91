#include "bench/site/Engines.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "bench/support/Loopback.h"

namespace {

namespace fs = std::filesystem;

constexpr double kBytesPerBlock = 512;
constexpr int kTries = 6000;
constexpr int kBetweenTriesUs = 10000;

std::string NewName(const char* kind) {
  static int count = 0;
  return kind + std::to_string(++count);
}

std::string Local(int port) { return "127.0.0.1:" + std::to_string(port); }

// Debian keeps both engines where only root looks for programs.
void LookInSbin() {
  const char* path = std::getenv("PATH");
  const std::string more = std::string(path != nullptr ? path : "/usr/bin:/bin") + ":/usr/sbin";
  static_cast<void>(setenv("PATH", more.c_str(), 1));
}

int AwaitPort(const Process& process, const std::string& file) {
  for (int i = 0; i < kTries && process.IsRunning(); ++i) {
    const std::string told = Contents(file);
    if (!told.empty() && told.back() == '\n') return std::atoi(told.c_str() + told.rfind(':') + 1);
    usleep(kBetweenTriesUs);
  }
  Fail("a host does not listen");
}

void AwaitListener(const Process& process, int port, const std::string& what) {
  for (int i = 0; i < kTries && process.IsRunning(); ++i) {
    const int fd = ConnectTo(port);
    if (fd >= 0) {
      close(fd);
      return;
    }
    usleep(kBetweenTriesUs);
  }
  Fail(what + " does not start; script/setup site installs it");
}

}  // namespace

Brokers::Brokers(int count) : mFolder(Folder() + "/" + NewName("brokers")) {
  LookInSbin();
  fs::create_directory(mFolder);
  std::vector<int> ports;
  std::vector<int> clusterPorts;
  for (int i = 0; i < count; ++i) {
    ports.push_back(FreePort());
    mAddresses.push_back("nats://" + Local(ports.back()));
    if (count > 1) clusterPorts.push_back(FreePort());
  }
  for (int i = 0; i < count; ++i) {
    WriteSettings(i, clusterPorts);
    const std::string settings = mFolder + "/" + std::to_string(i) + ".conf";
    mProcesses.push_back(std::make_unique<Process>(
        NewName("broker"), std::vector<std::string>{"nats-server", "-c", settings},
        std::vector<std::string>{}));
  }
  for (int i = 0; i < count; ++i) {
    AwaitListener(*mProcesses[static_cast<std::size_t>(i)], ports[static_cast<std::size_t>(i)],
                  "nats-server");
  }
}

// As the example's, but for what is on one machine.
void Brokers::WriteSettings(int number, const std::vector<int>& clusterPorts) const {
  const std::string own = mFolder + "/" + std::to_string(number);
  std::ofstream out(own + ".conf");
  const std::string& address = mAddresses[static_cast<std::size_t>(number)];
  out << "server_name: broker-" << number << "\nlisten: \""
      << address.substr(address.rfind('/') + 1) << "\"\njetstream { store_dir: \"" << own
      << ".store\" }\n"
      << "ping_interval: \"1s\"\nping_max: 2\nwrite_deadline: \"2s\"\nmax_payload: 1MB\n";
  if (clusterPorts.empty()) return;
  out << "cluster {\n  name: site\n  listen: \""
      << Local(clusterPorts[static_cast<std::size_t>(number)]) << "\"\n  routes: [";
  for (const int port : clusterPorts) out << "\"nats://" << Local(port) << "\", ";
  out << "]\n}\n";
}

// What is being removed meanwhile is not counted.
double Brokers::DiskBytes() const {
  double bytes = 0;
  std::error_code error;
  for (fs::recursive_directory_iterator each(mFolder, error), end; each != end;
       each.increment(error)) {
    struct stat file {};
    if (lstat(each->path().c_str(), &file) == 0 && S_ISREG(file.st_mode)) {
      bytes += static_cast<double>(file.st_blocks) * kBytesPerBlock;
    }
  }
  return bytes;
}

Host::Host(const Brokers* brokers, bool hasProxy) {
  const std::string name = NewName("host");
  const std::string told = Folder() + "/" + name + ".port";
  std::vector<std::string> environment{"DORN_STATION=127.0.0.1:0", "DORN_STATION_FILE=" + told};
  if (brokers != nullptr) {
    std::string addresses;
    for (const std::string& each : brokers->Addresses()) addresses += each + " ";
    environment.push_back(std::string("DORN_SITE=") + kSiteName);
    environment.push_back("DORN_SITE_BROKERS=" + addresses);
    environment.push_back("DORN_SITE_REPLICAS=" + std::to_string(brokers->Count()));
  }
  if (hasProxy) environment.emplace_back("DORN_BENCH_PROXY=1");
  // One processor each: waking another one, for each thread that takes part in a change, costs more
  // than the change.
  static int count = 0;
  mProcess = std::make_unique<Process>(name, std::vector<std::string>{DORN_BENCH_SITE_HOST},
                                       environment, count++);
  mPort = AwaitPort(*mProcess, told);
}

Proxy::Proxy(const std::vector<std::unique_ptr<Host>>& hosts) : mPort(FreePort()) {
  LookInSbin();
  const passwd* user = getpwuid(getuid());
  const group* group = getgrgid(getgid());
  std::vector<std::string> environment{
      "SITE_BIND=" + Local(mPort), "SITE_PROXY_SOCKET=" + Folder() + "/" + NewName("proxy.socket"),
      std::string("SITE_PROXY_USER=") + (user != nullptr ? user->pw_name : "nobody"),
      std::string("SITE_PROXY_GROUP=") + (group != nullptr ? group->gr_name : "nogroup")};
  char letter = 'A';
  for (const auto& host : hosts) {
    environment.push_back(std::string("HOST_") + letter++ + "=" + Local(host->Port()));
  }
  mProcess = std::make_unique<Process>(
      NewName("proxy"), std::vector<std::string>{"haproxy", "-db", "-f", DORN_BENCH_SITE_PROXY},
      environment);
  AwaitListener(*mProcess, mPort, "haproxy");
}
