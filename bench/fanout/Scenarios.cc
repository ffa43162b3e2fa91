#include "bench/fanout/Scenarios.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/fanout/Crowd.h"
#include "bench/fanout/Protocol.h"
#include "bench/fanout/Server.h"
#include "bench/support/Loopback.h"
#include "bench/support/Processors.h"
#include "bench/support/Report.h"

namespace {

constexpr int kRounds = 11;
constexpr int kChangesAtOnce = 100;  // Back to back.

std::vector<std::string> HostCommand() { return {Beside(DORN_BENCH_HOST), "PORT"}; }

std::vector<std::string> BareCommand(const std::string& kind, std::size_t bytes) {
  return {Beside(DORN_BENCH_BARE), "PORT", kind, std::to_string(bytes)};
}

std::vector<std::string> RedisCommand() {
  return {"redis-server", "--port",       "PORT", "--bind",
          "127.0.0.1",    "--save",       "",     "--appendonly",
          "no",           "--maxclients", "2000", "--client-output-buffer-limit",
          "pubsub 0 0 0"};
}

// Needs a file for its settings, since anonymous peers are refused otherwise.
std::vector<std::string> MosquittoCommand() {
  const std::string path = Beside("mosquitto.conf");
  std::ofstream(path) << "allow_anonymous true\nmax_queued_messages 0\nset_tcp_nodelay true\n"
                         "log_type none\npersistence false\n";
  return {access("/usr/sbin/mosquitto", X_OK) == 0 ? "/usr/sbin/mosquitto" : "mosquitto", "-c",
          path, "-p", "PORT"};
}

// A server with its peers, and what its rounds gave.
struct Contestant {
  Contestant(std::string title, const std::vector<std::string>& command, const Protocol& rules)
      : name(std::move(title)), protocol(rules), server(command) {}

  void Connect(int receivers) {
    crowd = std::make_unique<Crowd>(server.Port(), receivers, protocol.enter);
    changer = ConnectTo(server.Port());
    if (changer < 0) Fail(name + " accepts no more connections");
    EnterBy(changer, protocol.enterAsChanger(receivers));
  }

  ~Contestant() {
    if (changer >= 0) close(changer);
  }

  // Microseconds of the server's CPU for each delivered message.
  double ClosedLoop(int changes) {
    const double before = server.CpuSeconds();
    for (int i = 0; i < changes; ++i) {
      const auto start = Clock::now();
      WriteAll(changer, protocol.change(++count));
      const auto end = crowd->AwaitAll(protocol.messageBytes);
      lastMs.push_back(std::chrono::duration<double, std::milli>(end - start).count());
      Discard(changer);
    }
    return PerMessage(before, changes);
  }

  double BackToBack(int bursts) {
    const double before = server.CpuSeconds();
    for (int i = 0; i < bursts; ++i) {
      std::string burst;
      for (int j = 0; j < kChangesAtOnce; ++j) burst += protocol.change(++count);
      WriteAll(changer, burst);
      crowd->AwaitAll(protocol.messageBytes * kChangesAtOnce);
      Discard(changer);
    }
    return PerMessage(before, bursts * kChangesAtOnce);
  }

  double PerMessage(double before, int changes) const {
    return (server.CpuSeconds() - before) * 1e6 / (static_cast<double>(changes) * crowd->Size());
  }

  std::string name;
  Protocol protocol;
  Server server;
  std::unique_ptr<Crowd> crowd;
  int changer = -1;
  int count = 0;
  std::vector<double> lastMs;
  std::vector<double> closedUs;
  std::vector<double> burstUs;
};

using Contestants = std::vector<std::unique_ptr<Contestant>>;

// The dialog server first, the bare one second.
Contestants StartAll(int receivers) {
  Contestants all;
  const auto start = [&](const char* name, const std::vector<std::string>& command,
                         const Protocol& protocol) {
    auto contestant = std::make_unique<Contestant>(name, command, protocol);
    if (!contestant->server.IsRunning()) {
      PrintRow(std::string("fan-out beside ") + name, "", "", "not installed, left out");
      return;
    }
    contestant->Connect(receivers);
    all.push_back(std::move(contestant));
  };
  start("dorn", HostCommand(), PanelProtocol());
  start("bare", BareCommand("fanout", PanelMessageBytes()), BareProtocol());
  if (all.size() != 2) Fail("the servers of the benchmark do not start");
  start("redis-server", RedisCommand(), RedisProtocol());
  start("mosquitto", MosquittoCommand(), MqttProtocol());
  return all;
}

std::vector<double> Ratios(const std::vector<double>& one, const std::vector<double>& other) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < one.size(); ++i) ratios.push_back(one[i] / other[i]);
  return ratios;
}

std::string Times(const std::vector<double>& one, const std::vector<double>& bare) {
  return Number(Median(Ratios(one, bare))) + " x bare (" + Number(Median(one)) + " us beside " +
         Number(Median(bare)) + " us)";
}

void PrintFanout(const Contestants& all, int receivers) {
  const std::string behind = ", N = " + std::to_string(receivers);
  const Contestant& bare = *all[1];
  for (const auto& one : all) {
    const bool isOurs = one == all[0];
    if (one == all[1]) continue;
    const std::string name = isOurs ? "" : one->name + ": ";
    PrintRow(name + "fan-out, closed loop, CPU for each message" + behind,
             isOurs ? "1.12 x bare" : "", isOurs ? "1.05 x" : "",
             Times(one->closedUs, bare.closedUs));
    PrintRow(name + "fan-out, back to back, CPU for each message" + behind,
             isOurs ? "0.35 x bare" : "", isOurs ? "0.25 x" : "",
             Times(one->burstUs, bare.burstUs));
  }
  for (const auto& one : all) {
    PrintRow(one->name + ": time to the last station, p50 / p99" + behind, "", "",
             Number(Median(one->lastMs)) + " / " + Number(Quantile(one->lastMs, 0.99)) + " ms");
  }
}

int Scaled(double count, double scale) { return std::max(1, static_cast<int>(count * scale)); }

// Microseconds of CPU for each command.
double Converse(const Server& server, Crowd& crowd, int active, int total, std::size_t bytes) {
  const double before = server.CpuSeconds();
  crowd.Converse(active, total, bytes, PanelChange);
  return (server.CpuSeconds() - before) * 1e6 / total;
}

std::vector<Step> EnterNothing(int) { return {}; }

// Lets the server see that the other side has finished, and waits until it has closed its own.
void Leave(int fd) {
  shutdown(fd, SHUT_WR);
  char bytes[4096];
  while (recv(fd, bytes, sizeof bytes, 0) > 0) {
  }
  close(fd);
}

double Connects(const Server& server, int count, std::vector<Step> (*enter)(int)) {
  const double before = server.CpuSeconds();
  for (int i = 0; i < count; ++i) {
    const int fd = ConnectTo(server.Port());
    if (fd < 0) Fail("a server accepts no more connections");
    EnterBy(fd, enter(i % 100));
    Leave(fd);
  }
  return (server.CpuSeconds() - before) * 1e6 / count;
}

}  // namespace

void MeasureFanout(int receivers, double scale) {
  RunApartFromServers();
  const Contestants all = StartAll(receivers);
  const int changes = Scaled(20000.0 / receivers, scale);
  const int bursts = Scaled(20000.0 / receivers / kChangesAtOnce, scale);
  for (int round = 0; round <= kRounds; ++round) {
    for (const auto& one : all) {
      const double closedUs = one->ClosedLoop(changes);
      const double burstUs = one->BackToBack(bursts);
      if (round == 0) {  // To warm up.
        one->lastMs.clear();
        continue;
      }
      one->closedUs.push_back(closedUs);
      one->burstUs.push_back(burstUs);
    }
  }
  PrintFanout(all, receivers);
}

void MeasureRoundTrips(int active, int idle, double scale) {
  if (active == 1) {
    RunWithServers();
  } else {
    RunApartFromServers();
  }
  const Server dorn(HostCommand());
  const Server bare(BareCommand("answer", AnswerBytes()));
  if (!dorn.IsRunning() || !bare.IsRunning()) Fail("the servers of the benchmark do not start");
  Crowd stations(dorn.Port(), active + idle, EnterAnswer);
  Crowd peers(bare.Port(), active + idle, EnterNothing);
  const int total = Scaled(4000, scale);
  std::vector<double> dornUs;
  std::vector<double> bareUs;
  for (int round = 0; round <= kRounds; ++round) {
    const double dornNow = Converse(dorn, stations, active, total, AnswerBytes());
    const double bareNow = Converse(bare, peers, active, total, AnswerBytes());
    if (round == 0) continue;
    dornUs.push_back(dornNow);
    bareUs.push_back(bareNow);
  }
  std::string what = "round trip, " + std::to_string(active) + " stations";
  if (active == 1) what = "round trip, 1 station";
  if (idle > 0) what += " beside " + std::to_string(idle) + " idle";
  const std::string must = idle > 0 ? "0.15 x bare" : active > 1 ? "1.30 x bare" : "";
  const std::string aim = idle > 0 ? "0.07 x" : active > 1 ? "1.15 x" : "";
  PrintRow(what + ", CPU for each command", must, aim, Times(dornUs, bareUs));
}

void MeasureConnects(double scale) {
  RunWithServers();
  const Server dorn(HostCommand());
  const Server bare(BareCommand("answer", AnswerBytes()));
  if (!dorn.IsRunning() || !bare.IsRunning()) Fail("the servers of the benchmark do not start");
  const int count = Scaled(300, scale);
  std::vector<double> dornUs;
  std::vector<double> bareUs;
  std::vector<double> perSecond;
  for (int round = 0; round <= kRounds; ++round) {
    const auto start = Clock::now();
    const double dornNow = Connects(dorn, count, EnterAnswer);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const double bareNow = Connects(bare, count, EnterNothing);
    if (round == 0) continue;
    dornUs.push_back(dornNow);
    bareUs.push_back(bareNow);
    perSecond.push_back(count / seconds);
  }
  PrintRow("connect, log in, enter a dialog, leave: CPU", "3.4 x bare connect/close", "2.6 x",
           Times(dornUs, bareUs));
  PrintRow("connects a second, one after the other", "", "", Number(Median(perSecond)));
}

void MeasureIdle(int stations) {
  RunApartFromServers();
  const Server dorn(HostCommand());
  if (!dorn.IsRunning()) Fail("the host of the benchmark does not start");
  // The first one pays for what the process needs once.
  const int changer = ConnectTo(dorn.Port());
  EnterBy(changer, EnterPanel(stations));
  usleep(100000);
  const double before = dorn.ResidentBytes();
  Crowd crowd(dorn.Port(), stations, EnterPanel);
  usleep(500000);  // Up to 100 ms after the last hook the loop looks whether it has closed what the
                   // loop watches.
  PrintRow("memory for each idle station, resident", "6.2 KB", "5 KB",
           Number((dorn.ResidentBytes() - before) / stations / 1000) + " KB");
  const long sleeps = dorn.Sleeps();
  const double cpu = dorn.CpuSeconds();
  usleep(2000000);
  PrintRow("wake-ups of an idle server in 2 s, " + std::to_string(stations) + " stations", "0", "0",
           std::to_string(dorn.Sleeps() - sleeps) + " (" + Number((dorn.CpuSeconds() - cpu) * 1e6) +
               " us of CPU)");
  for (int i = 0; i < 20; ++i) {
    WriteAll(changer, PanelChange(i + 1));
    crowd.AwaitAll(PanelMessageBytes());
  }
  close(changer);
  PrintRow("memory for each active station, resident", "", "",
           Number((dorn.ResidentBytes() - before) / stations / 1000) + " KB");
}
