#include "tests/e2e/RemoteStation.h"

#include <poll.h>

#include "tests/support/Deadline.h"

namespace {

constexpr int kStationPort = 5000;

void Breathe(int fd) {
  pollfd entry{fd, POLLIN, 0};
  poll(&entry, 1, 20);
}

}  // namespace

RemoteStation::RemoteStation(int receiveBuffer) {
  for (const Deadline deadline; !Connect(kStationPort, receiveBuffer); poll(nullptr, 0, 5)) {
    if (deadline.IsOver()) return;
  }
}

bool RemoteStation::LogIn(const std::string& user) {
  SendText(R"({"Command":"HELLO","Id":")" + user + R"(","Pass":"p"})");
  return Next() == R"({"Command":"OPEN","File":"Top.json","FileSource":"STATION","SessionId":"S-)" +
                       user + "\"}";
}

std::string RemoteStation::Enter(const std::string& dialog) {
  SendText(R"({"Command":"CHANGE","DialogName":")" + dialog + "\"}");
  return Next();
}

std::string RemoteStation::Next() {
  for (const Deadline deadline; !deadline.IsOver(); Breathe(Fd())) {
    mBytes += Take();
    const size_t end = mBytes.find('\x03');
    if (end != std::string::npos) {
      const std::string text = mBytes.substr(1, end - 1);
      mBytes.erase(0, end + 1);
      return text;
    }
    if (IsClosed() && Received().empty()) break;
  }
  return "";
}

std::string RemoteStation::NextBytes(size_t length) {
  for (const Deadline deadline; mBytes.size() < length && !deadline.IsOver(); Breathe(Fd())) {
    mBytes += Take();
    if (IsClosed() && Received().empty()) break;
  }
  std::string taken = mBytes.substr(0, length);
  mBytes.erase(0, taken.size());
  return taken;
}

bool RemoteStation::HasNothingMore() {
  SendText(R"({"Command":"GETFILE","File":"marker"})");
  return Next() ==
         R"({"Command":"PUTFILE","File":"marker","Info":"FILE NOT FOUND","Status":"ERROR"})";
}
