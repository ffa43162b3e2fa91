// A host that answers at once, in a thread of its own: for what a gateway makes of a host.
#ifndef TESTS_GATEWAY_FAKEHOST_H_
#define TESTS_GATEWAY_FAKEHOST_H_

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

// Knows one user, "u" with the password "right", and these answers:
//
//   HELLO with him    OPEN             HELLO without Id   ERROR Authentication
//   HELLO otherwise   ERROR            GETFILE of ?f...   FILE NOT FOUND
//
// What else it is to say is told with Answer() and SendAll().
class FakeHost {
 public:
  FakeHost();
  ~FakeHost();
  FakeHost(const FakeHost&) = delete;
  FakeHost& operator=(const FakeHost&) = delete;

  int Port() const { return mPort; }

  // Bytes to send, as they are, for each text that contains `part`.
  void Answer(const std::string& part, const std::string& bytes);
  // To all connections, as it is.
  void SendAll(const std::string& bytes);
  void CloseAll();
  // Forgets what it has received so far, and from where.
  void Forget();
  // Reads and answers nothing, as a stopped process.
  void Stop() { SetStopped(true); }
  void GoOn() { SetStopped(false); }

  // Texts received so far on all connections, questions after its health left out.
  std::vector<std::string> Texts() const;
  bool HasText(const std::string& part) const;
  std::size_t OpenConnections() const;
  std::size_t Accepted() const;
  // Where the connections came from, in their order.
  std::vector<std::string> Sources() const;
  std::size_t Questions() const;

  // Wait until it is so, or the deadline of the tests is over.
  bool WaitForText(const std::string& part) const;
  bool WaitForConnections(std::size_t count) const;

 private:
  struct Connection;

  void SetStopped(bool isStopped);
  void Run();
  void Accept();
  bool Serve(Connection& connection);
  void Take(Connection& connection, std::string_view text);
  std::string AnswerTo(const std::string& text);
  bool Write(Connection& connection);

  int mListener = -1;
  int mPort = 0;
  std::atomic<bool> mEnds{false};
  mutable std::mutex mMutex;  // Guards what follows.
  bool mIsStopped = false;
  std::vector<std::unique_ptr<Connection>> mConnections;
  std::map<std::string, std::string> mAnswers;
  std::vector<std::string> mTexts;
  std::vector<std::string> mSources;
  std::size_t mQuestions = 0;
  std::thread mThread;
};

#endif  // TESTS_GATEWAY_FAKEHOST_H_
