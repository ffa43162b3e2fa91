// One host's way to the shared log: slow, cut, full, as the schedule wants it.
#ifndef TESTS_SITE_SIMULATION_MEMORYTRANSPORT_H_
#define TESTS_SITE_SIMULATION_MEMORYTRANSPORT_H_

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>

#include "Random.h"
#include "SharedLog.h"
#include "site/core/Transport.h"

namespace dorn::site::simulation {

class MemoryTransport final : public Transport {
 public:
  MemoryTransport(SharedLog& log, Random& random) : mLog(log), mRandom(random) {}

  bool Publish(std::string entry) override;
  void Read(Sequence last) override;
  void Store(Sequence mark, std::string bytes) override;
  void Fetch(Sequence mark, std::uint32_t pieces) override;
  void Forget(Sequence first) override;

  // Calls the listener for all that has arrived by now. Not called while the host is stopped.
  void Deliver(TransportListener& listener, Ms now);
  // Time goes on all the same.
  void Step(Ms now);

  // --- faults, each until that time ---
  void Cut(Ms until) { mCutUntil = until; }
  void Refuse(Ms until) { mRefusesUntil = until; }
  void Lag(Ms lag, Ms until) {
    mLag = lag;
    mLagUntil = until;
  }
  void CalmDown(Ms now);

  bool IsCut() const { return mNow < mCutUntil; }
  // A snapshot that was asked for is on its way.
  bool IsFetching() const { return mFetches > 0; }
  bool IsTroubled() const { return IsCut() || mNow < mRefusesUntil || mNow < mLagUntil; }
  // What it has delivered is not in the log, which the host has not been told yet.
  bool HasOtherLog() const;
  // When an entry was delivered last.
  Ms DeliveredAt() const { return mDeliveredAt; }

  // Sees each entry that the host publishes.
  std::function<void(const std::string&)> onPublish;

  // A rule taken out: the host is not told that the log is another one.
  bool tellsOtherLog = true;
  // What a host announces of the former log comes into the one in its place.
  bool takesForeignManifests = false;

 private:
  struct Answer {
    Ms at{0};
    std::function<void(TransportListener&)> give;
  };

  bool IsShort() const;
  void Send(const std::string& entry, Ms now);
  std::optional<TransportListener::NewestManifest> TellNewest();
  void NoticeOtherLog(TransportListener& listener, Ms now);
  void DeliverEntries(TransportListener& listener, Ms now);
  void AnswerLater(std::function<void(TransportListener&)> give);

  SharedLog& mLog;
  Random& mRandom;
  Ms mNow{0};
  bool mIsOpened = false;
  bool mIsReading = false, mHasCaughtUp = false;
  Sequence mLast = 0;        // Delivered, of this reading.
  Sequence mKnown = 0;       // The last that was delivered, of any reading, or told as the newest
  std::uint64_t mStamp = 0;  // manifest, and its stamp.
  std::optional<Ms> mShortSince;
  Sequence mReadUpTo = 0;  // What the log held when the reading began.
  std::deque<Answer> mAnswers;
  int mFetches = 0;                          // Among them.
  std::deque<std::string> mReconnectBuffer;  // Sent when the link is back.
  Ms mDeliveredAt{0}, mAnsweredAt{-1000};
  Ms mCutUntil{0}, mRefusesUntil{0}, mLagUntil{0}, mLag{0};
};

}  // namespace dorn::site::simulation

#endif  // TESTS_SITE_SIMULATION_MEMORYTRANSPORT_H_
