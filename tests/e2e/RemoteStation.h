// A station that talks to a host in another process. Every call that waits gives up at the deadline
// of the tests.
#ifndef TESTS_E2E_REMOTESTATION_H_
#define TESTS_E2E_REMOTESTATION_H_

#include <string>
#include <vector>

#include "tests/support/TestStation.h"

class RemoteStation : public TestStation {
 public:
  // Connects as soon as the host listens. `receiveBuffer` above 0 asks for a small window.
  explicit RemoteStation(int receiveBuffer = 0);

  // Logs in as `user` and takes the answer.
  bool LogIn(const std::string& user);
  // Enters the dialog and takes the text that the host sends then.
  std::string Enter(const std::string& dialog);

  // Waits for the next message and takes it; empty when none comes.
  std::string Next();
  // Waits for `length` raw bytes and takes them.
  std::string NextBytes(size_t length);
  // Nothing has been sent to this station that it has not taken: the answer to a request that it
  // makes now is the next message.
  bool HasNothingMore();

 private:
  std::string mBytes;
};

#endif  // TESTS_E2E_REMOTESTATION_H_
