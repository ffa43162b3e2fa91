// One station of a soak run: a non-blocking connection and what it does with it.
#ifndef TESTS_SOAK_SOAKSTATION_H_
#define TESTS_SOAK_SOAKSTATION_H_

#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "station/Framing.h"
#include "tools/dorn-load/Histogram.h"

// What all stations of a run have in common.
struct SoakRun {
  int mEpoll = -1;
  bool mIsMeasuring = false;
  std::mt19937 mRandom{20240607};
  dorn::load::Histogram mLatencies;
  long long mUpdates = 0;
  long long mLastUpdateUs = 0;
  long mConnects = 0;
  long mTurnedAway = 0;  // Silent and garbage stations that the host has closed.
  long mKeepalives = 0;
  int mFailures = 0;

  // Prints the first few failures; counts all.
  void Fail(const std::string& what);
};

class SoakStation : private dorn::station::Framing::Sink {
 public:
  enum class Kind {
    kReader,  // Logs in, reads everything, checks that no count is missing.
    kSilent,  // Logs in, asks for a lot and never reads.
    kGarbage  // Sends what no station would send.
  };

  SoakStation(SoakRun* run, Kind kind, int number) : mRun(run), mKind(kind), mNumber(number) {}
  ~SoakStation() override { Leave(false); }
  SoakStation(const SoakStation&) = delete;
  SoakStation& operator=(const SoakStation&) = delete;

  Kind What() const { return mKind; }
  bool IsConnected() const { return mFd >= 0; }
  // A reader has received its first count; another kind is connected.
  bool IsIn() const { return mFd >= 0 && (mKind != Kind::kReader || mCount > 0); }

  // Starts to connect and, when `again`, goes on with the session of an earlier log-in.
  void Enter(bool again);
  void Leave(bool withReset);

  // What epoll reports.
  void OnEvents(unsigned int events);
  // Lets a silent or garbage station do its mischief. Called some times a second.
  void Misbehave();

 private:
  void OnConnected();
  void SendText(const std::string& text);
  void SendBytes(const std::string& bytes);
  void Read();
  void OnText(std::string_view text) override;
  void OnPayload(std::string_view, bool) override { mRun->Fail("a file that was not asked for"); }
  void Take(const std::string& message);
  void OnCount(long count, long long sentUs);
  // The connection is gone, and not by our doing.
  void OnLost(const char* how);
  std::string Garbage();

  SoakRun* mRun;
  const Kind mKind;
  const int mNumber;
  int mFd = -1;
  bool mIsAgain = false;
  long mCount = 0;  // The last one received; 0: none since the station came.
  std::optional<dorn::station::Framing> mFraming;  // Of the present connection.
};

#endif  // TESTS_SOAK_SOAKSTATION_H_
