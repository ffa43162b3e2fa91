// A NATS server of a test's own: on a port that the system chose, with its files in a folder of its
// own, both of which it keeps when it is started again.
#ifndef TESTS_SITE_NATSSERVER_H_
#define TESTS_SITE_NATSSERVER_H_

#include <sys/types.h>

#include <string>

namespace dorn::site {

class NatsServer {
 public:
  // Runs when this returns, with more lines in its file.
  explicit NatsServer(const std::string& settings = "");
  ~NatsServer();
  NatsServer(const NatsServer&) = delete;
  NatsServer& operator=(const NatsServer&) = delete;

  const std::string& Url() const { return mUrl; }

  // As by kill -9.
  void Kill();
  void Start();

  // Neither dead nor alive: it takes connections and answers nobody.
  void Pause();
  void Resume();

  // Its streams are those of the other one, while neither runs.
  void CopyStreams(const NatsServer& other);

 private:
  void Launch();
  void FindPort();

  const std::string mSettings;
  std::string mFolder;
  std::string mPort = "-1";
  std::string mUrl;
  pid_t mProcess = -1;
};

}  // namespace dorn::site

#endif  // TESTS_SITE_NATSSERVER_H_
