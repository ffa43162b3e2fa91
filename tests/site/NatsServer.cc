#include "tests/site/NatsServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>

namespace dorn::site {
namespace {

std::string Contents(const std::string& file) {
  std::ostringstream contents;
  contents << std::ifstream(file).rdbuf();
  return contents.str();
}

[[noreturn]] void BeServer(const std::string& folder, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  const std::string log = folder + "/log";
  const int output = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  const std::string config = folder + "/config";
  execlp("nats-server", "nats-server", "-c", config.c_str(), nullptr);
  _exit(127);
}

}  // namespace

// Bound and without a listener: a server may listen there all the same, and nobody else is given
// it.
ReservedPort::ReservedPort() : mSocket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const int on = 1;
  EXPECT_EQ(setsockopt(mSocket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on), 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  EXPECT_EQ(bind(mSocket, generic, size), 0);
  EXPECT_EQ(getsockname(mSocket, generic, &size), 0);
  mNumber = ntohs(address.sin_port);
}

ReservedPort::~ReservedPort() { close(mSocket); }

NatsServer::NatsServer(const std::string& settings)
    : mSettings(settings), mFolder(testing::TempDir() + "dorn-nats-XXXXXX") {
  if (mkdtemp(mFolder.data()) == nullptr) ADD_FAILURE() << "no folder " << mFolder;
  Launch();
  AwaitRunning();
}

NatsServer::~NatsServer() {
  Kill();
  std::error_code ignored;
  std::filesystem::remove_all(mFolder, ignored);
}

void NatsServer::Kill() {
  if (mProcess <= 0) return;
  kill(mProcess, SIGKILL);
  waitpid(mProcess, nullptr, 0);
  mProcess = -1;
}

void NatsServer::Start() {
  Launch();
  AwaitRunning();
}

std::string NatsServer::Log() const { return Contents(mFolder + "/log"); }

// Until it stands still: what it was about to answer is answered.
void NatsServer::Pause() {
  kill(mProcess, SIGSTOP);
  int status = 0;
  EXPECT_EQ(waitpid(mProcess, &status, WUNTRACED), mProcess);
  EXPECT_TRUE(WIFSTOPPED(status));
}

void NatsServer::Resume() { kill(mProcess, SIGCONT); }

void NatsServer::CopyStreams(const NatsServer& other) {
  std::filesystem::remove_all(mFolder + "/streams");
  std::filesystem::copy(other.mFolder + "/streams", mFolder + "/streams",
                        std::filesystem::copy_options::recursive);
}

void NatsServer::Launch() {
  std::ofstream(mFolder + "/config")
      << "host: 127.0.0.1\nport: " << mPort.Number() << "\nports_file_dir: \"" << mFolder
      << "\"\njetstream { store_dir: \"" << mFolder << "/streams\" }\n"
      << "ping_interval: \"1s\"\nping_max: 2\nwrite_deadline: \"2s\"\n"
      << mSettings;
  const pid_t parent = getpid();
  mProcess = fork();
  if (mProcess == 0) BeServer(mFolder, parent);
}

// It says so in a file, soon after it has begun. Without a server each test would wait in vain for
// all that it waits for.
void NatsServer::AwaitRunning() {
  const std::string file = mFolder + "/nats-server_" + std::to_string(mProcess) + ".ports";
  const std::string before = "://127.0.0.1:" + std::to_string(mPort.Number());
  constexpr int kTries = 3000;
  for (int i = 0; i < kTries; ++i) {
    const std::string ports = Contents(file);
    if (ports.find(before) != std::string::npos) {
      const bool isSafe = ports.find("\"tls://") != std::string::npos;
      mUrl = (isSafe ? "tls" : "nats") + before;
      return;
    }
    if (waitpid(mProcess, nullptr, WNOHANG) == mProcess) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  std::cerr << "nats-server does not run (script/setup site installs it): "
            << Contents(mFolder + "/log") << std::endl;
  std::_Exit(1);
}

}  // namespace dorn::site
