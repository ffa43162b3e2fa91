// Three brokers with a log of three copies, as a plant has them.
#ifndef TESTS_SITE_NATSCLUSTER_H_
#define TESTS_SITE_NATSCLUSTER_H_

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "tests/site/NatsHost.h"

namespace dorn::site {

class NatsCluster {
 public:
  static constexpr std::size_t kBrokers = 3;

  // With more lines in the files of all, and in what they say of each other.
  explicit NatsCluster(const std::string& settings = "", const std::string& ofRoutes = "") {
    const auto ports = FreePorts();
    std::string routes;
    for (const int port : ports) routes += "\"nats://127.0.0.1:" + std::to_string(port) + "\"\n";
    for (std::size_t i = 0; i < kBrokers; ++i) {
      mBrokers.push_back(std::make_unique<NatsServer>(
          "server_name: b" + std::to_string(i) + "\ncluster { name: test, host: 127.0.0.1, port: " +
          std::to_string(ports[i]) + ", routes: [" + routes + "]\n" + ofRoutes + "}\n" + settings));
    }
  }

  NatsOptions Options() const {
    NatsOptions options = OptionsFor(*mBrokers[0]);
    options.servers.clear();
    for (const auto& broker : mBrokers) options.servers.push_back(broker->Url());
    options.replicas = kBrokers;
    return options;
  }

  std::vector<std::unique_ptr<NatsServer>> mBrokers;

 private:
  // Free at this moment: brokers have to know each other's before they begin.
  static std::array<int, kBrokers> FreePorts() {
    std::array<int, kBrokers> ports{};
    std::array<int, kBrokers> sockets{};
    for (std::size_t i = 0; i < kBrokers; ++i) {
      sockets[i] = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
      sockaddr_in address{};
      address.sin_family = AF_INET;
      address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      socklen_t size = sizeof address;
      EXPECT_EQ(bind(sockets[i], reinterpret_cast<sockaddr*>(&address), size), 0);
      EXPECT_EQ(getsockname(sockets[i], reinterpret_cast<sockaddr*>(&address), &size), 0);
      ports[i] = ntohs(address.sin_port);
    }
    for (const int each : sockets) close(each);
    return ports;
  }
};

}  // namespace dorn::site

#endif  // TESTS_SITE_NATSCLUSTER_H_
