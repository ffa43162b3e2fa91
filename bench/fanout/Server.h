// A server process on a loopback port, and what the operating system says about it.
#ifndef BENCH_FANOUT_SERVER_H_
#define BENCH_FANOUT_SERVER_H_

#include <sys/types.h>

#include <string>
#include <vector>

// Runs a program until the end of its scope. Its output is discarded.
class Server {
 public:
  // `PORT` in an argument is replaced by the chosen port. IsRunning() is false when the program
  // does not exist or does not listen within five seconds.
  explicit Server(std::vector<std::string> command);
  ~Server();

  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  bool IsRunning() const { return mPid > 0; }
  int Port() const { return mPort; }

  // CPU time of the process so far, user and system.
  double CpuSeconds() const;
  double ResidentBytes() const;
  // How often the process has gone to sleep by itself.
  long Sleeps() const;

 private:
  void Start(const std::vector<std::string>& command);
  bool AwaitListener() const;

  pid_t mPid = -1;
  int mPort = 0;
};

// The file beside this program with that name.
std::string Beside(const std::string& name);

#endif  // BENCH_FANOUT_SERVER_H_
