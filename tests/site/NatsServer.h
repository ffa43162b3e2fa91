// What the tests know of a broker of their own.
#ifndef TESTS_SITE_NATSSERVER_H_
#define TESTS_SITE_NATSSERVER_H_

#include <sys/types.h>

#include <string>

namespace dorn::site {

// A port of this machine that is nobody else's while this lives, also while no server listens
// there.
class ReservedPort {
 public:
  ReservedPort();
  ~ReservedPort();
  ReservedPort(const ReservedPort&) = delete;
  ReservedPort& operator=(const ReservedPort&) = delete;
  int Number() const { return mNumber; }

 private:
  int mSocket = -1;
  int mNumber = 0;
};

// A NATS server of a test's own: on a port that the system chose, with its files in a folder of its
// own, both of which it keeps when it is started again.
class NatsServer {
 public:
  // Runs when this returns, with more lines in its file.
  explicit NatsServer(const std::string& settings = "");
  ~NatsServer();
  NatsServer(const NatsServer&) = delete;
  NatsServer& operator=(const NatsServer&) = delete;

  const std::string& Url() const { return mUrl; }
  // What it has written down since the test began.
  std::string Log() const;

  // As by kill -9.
  void Kill();
  void Start();  // Runs when this returns.

  // Neither dead nor alive: it takes connections and answers nobody.
  void Pause();
  void Resume();

  // Its streams are those of the other one, while neither runs.
  void CopyStreams(const NatsServer& other);

 private:
  void Launch();
  void AwaitRunning();

  const std::string mSettings;
  std::string mFolder;
  const ReservedPort mPort;
  std::string mUrl;
  pid_t mProcess = -1;
};

}  // namespace dorn::site

#endif  // TESTS_SITE_NATSSERVER_H_
