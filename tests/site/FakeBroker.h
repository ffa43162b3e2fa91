// Something at a port that takes connections as a broker does, and says what a test wants it to.
#ifndef TESTS_SITE_FAKEBROKER_H_
#define TESTS_SITE_FAKEBROKER_H_

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <thread>

namespace dorn::site {

class FakeBroker {
 public:
  struct Manners {
    // What each connection begins with, instead of a broker's greeting.
    std::string greeting;
    // What is sent as it is when a connection has said PING for the first time.
    std::string storm;
    bool closesAfterStorm = false;
    // What is answered to a question to that subject; nothing if there is none.
    std::function<std::string(const std::string& subject)> answer;
  };

  explicit FakeBroker(Manners manners);
  ~FakeBroker();
  FakeBroker(const FakeBroker&) = delete;
  FakeBroker& operator=(const FakeBroker&) = delete;

  std::string Url() const;
  int Connections() const { return mConnections; }
  int Answers() const { return mAnswers; }  // That were given.

 private:
  void Run();
  void Serve(int connection);
  bool Hear(int connection, std::string& unread);
  void HearLine(int connection, const std::string& line);
  void Answer(int connection, const std::string& subject, const std::string& reply);
  void Send(int connection, const std::string& bytes) const;

  const Manners mManners;
  int mListener = -1;
  int mPort = 0;
  std::atomic<bool> mIsOver{false};
  std::atomic<int> mConnections{0};
  std::atomic<int> mAnswers{0};
  std::map<std::string, std::string> mSubscribed;  // Subjects by the connection's numbers for them.
  bool mHasStormed = false;
  std::thread mThread;
};

}  // namespace dorn::site

#endif  // TESTS_SITE_FAKEBROKER_H_
