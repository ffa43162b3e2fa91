// Hands out the statistics at a UNIX socket. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_STATISTICSSERVER_H_
#define DORN_SERVER_STATISTICSSERVER_H_

#include <string>

#include "dorn/loop/KZFdData.h"

class VQApplication;

namespace dorn {

// A record of the application's loop: whoever connects gets the text and is disconnected. The loop
// destroys it after RemoveEvent().
class StatisticsServer : public KZFdData {
 public:
  // Null, with a line on standard error, when the socket cannot be had at that path.
  static StatisticsServer* Open(VQApplication& app, const std::string& path);

  StatisticsServer(VQApplication& app, int listener, std::string path);

  // Closes the socket and takes its name away, unless somebody else has put another one there.
  ~StatisticsServer() override;

  StatisticsServer(const StatisticsServer&) = delete;
  StatisticsServer& operator=(const StatisticsServer&) = delete;

  // Serves one connection.
  void ReadyToRead() override;

  // Takes the name away at once; the rest follows in the next pass.
  void Stop();

 private:
  void RemoveName();

  VQApplication& mApp;
  std::string mPath;             // Empty once the name is gone.
  unsigned long long mNode = 0;  // Tells our socket from another one of that name.
};

}  // namespace dorn

#endif  // DORN_SERVER_STATISTICSSERVER_H_
