// What a site is made of, on free ports of the loopback: brokers, hosts and HAProxy.
#ifndef BENCH_SITE_ENGINES_H_
#define BENCH_SITE_ENGINES_H_

#include <memory>
#include <string>
#include <vector>

#include "bench/site/Process.h"

inline constexpr char kSiteName[] = "bench";

// One broker that keeps the log, or three that keep a copy each. Every one of them is new.
class Brokers {
 public:
  explicit Brokers(int count);

  int Count() const { return static_cast<int>(mProcesses.size()); }
  const std::vector<std::string>& Addresses() const { return mAddresses; }

  // What all together take of the disk.
  double DiskBytes() const;

 private:
  void WriteSettings(int number, const std::vector<int>& clusterPorts) const;

  std::string mFolder;
  std::vector<std::string> mAddresses;
  std::vector<std::unique_ptr<Process>> mProcesses;
};

// One that listens; whether it lets stations in is another question.
class Host {
 public:
  // Without brokers: one without a site.
  explicit Host(const Brokers* brokers, bool hasProxy = false);

  int Port() const { return mPort; }
  Process& Program() { return *mProcess; }

 private:
  std::unique_ptr<Process> mProcess;
  int mPort = 0;
};

// HAProxy with the settings of examples/site, before three hosts.
class Proxy {
 public:
  explicit Proxy(const std::vector<std::unique_ptr<Host>>& hosts);

  int Port() const { return mPort; }

 private:
  int mPort = 0;
  std::unique_ptr<Process> mProcess;
};

#endif  // BENCH_SITE_ENGINES_H_
