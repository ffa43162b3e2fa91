#include "MemoryTransport.h"

#include <algorithm>
#include <utility>

namespace dorn::site::simulation {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kReconnectBuffer = 200;

// Brokers that have just been elected may not know the end of the log.
constexpr Ms kShortFor = 5s;

}  // namespace

bool MemoryTransport::Publish(std::string entry) {
  if (mNow < mRefusesUntil) return false;
  if (onPublish) onPublish(entry);
  if (IsCut()) {
    if (mReconnectBuffer.size() >= kReconnectBuffer) return false;
    mReconnectBuffer.push_back(std::move(entry));
    return true;
  }
  Send(entry, mNow);
  return true;
}

// Hosts do not survive an announcement of a snapshot that is another log's.
void MemoryTransport::Send(const std::string& entry, Ms now) {
  if (!takesForeignManifests && IsManifest(entry) && HasOtherLog()) return;
  mLog.Publish(entry, now);
}

void MemoryTransport::Step(Ms now) {
  mNow = now;
  if (IsCut()) return;
  for (; !mReconnectBuffer.empty(); mReconnectBuffer.pop_front()) {
    Send(mReconnectBuffer.front(), now);
  }
}

void MemoryTransport::Read(Sequence last) {
  mIsReading = true;
  mHasCaughtUp = false;
  mLast = last;
  mReadUpTo = mLog.Last();
}

void MemoryTransport::Store(Sequence mark, std::string bytes) {
  if (IsCut() || mLog.IsAway() || mRandom.Chance(50)) {
    AnswerLater([mark](TransportListener& listener) { listener.OnStored(mark, false); });
    return;
  }
  AnswerLater([this, mark, bytes = std::move(bytes)](TransportListener& listener) {
    mLog.Store(mark, bytes);
    listener.OnStored(mark, true);
  });
}

void MemoryTransport::Fetch(Sequence mark, std::uint32_t /*pieces*/) {
  ++mFetches;
  AnswerLater([this, mark](TransportListener& listener) {
    --mFetches;
    listener.OnFetched(mark, IsCut() ? std::nullopt : mLog.Fetch(mark));
  });
}

void MemoryTransport::Forget(Sequence first) {
  if (!IsCut() && !mLog.IsAway()) mLog.Forget(first);
}

void MemoryTransport::AnswerLater(std::function<void(TransportListener&)> give) {
  mAnswers.push_back({mNow + mRandom.Ms(5, 300), std::move(give)});
}

void MemoryTransport::Deliver(TransportListener& listener, Ms now) {
  Step(now);
  // Each at its time; one may lead to another.
  for (std::size_t left = mAnswers.size(); left > 0; --left) {
    Answer answer = std::move(mAnswers.front());
    mAnswers.pop_front();
    if (answer.at <= now) {
      answer.give(listener);
    } else {
      mAnswers.push_back(std::move(answer));
    }
  }
  if (IsCut()) return;
  if (!mLog.IsAway() && now - mAnsweredAt >= 100ms) {
    mAnsweredAt = now;
    if (!std::exchange(mIsOpened, true)) listener.OnOpened(TellNewest());
    listener.OnAnswered();
  }
  if (mIsReading && !mLog.IsAway()) NoticeOtherLog(listener, now);
  if (mIsReading && !IsShort()) DeliverEntries(listener, now);
}

bool MemoryTransport::IsShort() const { return mLog.Last() < std::max(mKnown, mLast); }

bool MemoryTransport::HasOtherLog() const {
  if (IsShort()) return true;
  return mKnown != 0 && mKnown >= mLog.FirstKept() && mLog.At(mKnown).stamp != mStamp;
}

// By its length, which has to stay so for a while, or by the last known entry, which comes once
// more when the brokers are there again.
void MemoryTransport::NoticeOtherLog(TransportListener& listener, Ms now) {
  if (!IsShort()) mShortSince.reset();
  if (IsShort() && !mShortSince) mShortSince = now;
  const bool isKnownNext = mLast <= mKnown && mKnown <= mLast + 1 && !IsShort() && HasOtherLog();
  if (!isKnownNext && !(mShortSince && now - *mShortSince > kShortFor)) return;
  mIsReading = false;
  mShortSince.reset();
  mKnown = 0;
  if (tellsOtherLog) {
    listener.OnOtherLog(TellNewest());
  } else {
    listener.OnOpened(TellNewest());
  }
}

// By it the log is known again, too.
std::optional<TransportListener::NewestManifest> MemoryTransport::TellNewest() {
  auto newest = mLog.NewestManifest();
  if (newest && mKnown == 0) {
    mKnown = newest->sequence;
    mStamp = mLog.At(mKnown).stamp;
  }
  return newest;
}

void MemoryTransport::DeliverEntries(TransportListener& listener, Ms now) {
  if (mLast >= mKnown && HasOtherLog()) return;
  const Ms lag = now < mLagUntil ? mLag : 2ms;
  mReadUpTo = std::min(mReadUpTo, mLog.Last());
  // What was forgotten is left out. A listener may begin to read elsewhere.
  for (;;) {
    const Sequence next = std::max(mLast + 1, mLog.FirstKept());
    if (next > mLog.Last() || mLog.At(next).at + lag > now) break;
    if (next == mKnown && mLog.At(next).stamp != mStamp) return;  // Noticed with the next step.
    mLast = next;
    if (next > mKnown) {
      mKnown = next;
      mStamp = mLog.At(next).stamp;
    }
    mDeliveredAt = now;
    // A copy: the log may grow meanwhile.
    const std::string bytes = mLog.At(next).bytes;
    listener.OnEntry(next, bytes);
  }
  // What is known is there, too, however short the log was when the reading began.
  const bool isAll = std::max(mLast + 1, mLog.FirstKept()) > std::max(mReadUpTo, mKnown);
  if (isAll && !std::exchange(mHasCaughtUp, true)) listener.OnCaughtUp();
}

void MemoryTransport::CalmDown(Ms now) {
  mCutUntil = std::min(mCutUntil, now);
  mRefusesUntil = std::min(mRefusesUntil, now);
  mLagUntil = std::min(mLagUntil, now);
}

}  // namespace dorn::site::simulation
