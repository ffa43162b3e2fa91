// Three brokers with a log of three copies, as a plant has them.
#ifndef TESTS_SITE_NATSCLUSTER_H_
#define TESTS_SITE_NATSCLUSTER_H_

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
    std::string routes;
    for (const ReservedPort& port : mPorts) {
      routes += "\"nats://127.0.0.1:" + std::to_string(port.Number()) + "\"\n";
    }
    for (std::size_t i = 0; i < kBrokers; ++i) {
      mBrokers.push_back(std::make_unique<NatsServer>(
          "server_name: b" + std::to_string(i) +
          "\ncluster { name: test, host: 127.0.0.1, port: " + std::to_string(mPorts[i].Number()) +
          ", routes: [" + routes + "]\n" + ofRoutes + "}\n" + settings));
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

  // The log of all of them.
  std::string Log() const {
    std::string log;
    for (const auto& broker : mBrokers) log += broker->Log();
    return log;
  }

 private:
  const std::array<ReservedPort, kBrokers> mPorts;  // For each other.
};

}  // namespace dorn::site

#endif  // TESTS_SITE_NATSCLUSTER_H_
