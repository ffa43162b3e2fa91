#include "tests/e2e/HostNetwork.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tests/e2e/HostDialogs.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 200;

std::string TakeAll(KZFdData* record) {
  std::string bytes(static_cast<size_t>(record->GetDataLength()), '\0');
  record->GetData(bytes.data(), static_cast<int>(bytes.size()));
  return bytes;
}

// One thread's share of the work. Its records are removed before they are closed, and the loop is
// given the time to let go of them by the main thread, which keeps them until the end.
void Work(int number, std::vector<int>* descriptors, std::atomic<int>* running) {
  for (int round = 0; round < kRounds; ++round) {
    const auto id = static_cast<unsigned int>(100000 + number * 1000 + round);
    app.SetApplicationSingleTimerInterval(50000, id);
    const int fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (fd >= 0) {
      descriptors->push_back(fd);
      const int record = app.GetFdDataList()->Add(fd, -1);
      app.GetFdDataList()->Remove(fd, record);
    }
    app.SetApplicationSingleTimerInterval(0, id);
    app.WakeUp();
  }
  if (--*running == 0) app.SetApplicationSingleTimerInterval(1, kThreadsDone);
}

}  // namespace

EchoSocket::EchoSocket(KZFdDataList* list) : KZSocketUdp(0, nullptr, list) {}

int EchoSocket::OnReceive(sockaddr* addr, unsigned int) {
  const std::string text = "echo:" + TakeAll(this);
  if (addr == nullptr) return 0;
  const unsigned short port = ntohs(reinterpret_cast<const sockaddr_in*>(addr)->sin_port);
  SendTo(text.data(), static_cast<unsigned int>(text.size()), "127.0.0.1", port);
  return 0;
}

Uplink::Uplink(KZFdDataList* list) : KZClientSocket(0, nullptr, list) {}

void Uplink::OnOpen() { Send("hello", 5); }

void Uplink::OnClose() { app.SendDataList("SessionIdShared", "", "uplink closed"); }

int Uplink::OnReceive(sockaddr*, unsigned int) {
  app.SendDataList("SessionIdShared", "", KZString("uplink:" + TakeAll(this)));
  return 0;
}

void RunThreads() {
  static std::atomic<int> running{0};
  static std::vector<int> descriptors[kThreads];
  running = kThreads;
  for (int i = 0; i < kThreads; ++i) std::thread(Work, i, &descriptors[i], &running).detach();
}
