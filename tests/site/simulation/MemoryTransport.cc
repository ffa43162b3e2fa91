#include "MemoryTransport.h"

#include <algorithm>
#include <utility>

namespace dorn::site::simulation {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kReconnectBuffer = 200;

}  // namespace

bool MemoryTransport::Publish(std::string entry) {
  if (mNow < mRefusesUntil) return false;
  if (onPublish) onPublish(entry);
  if (IsCut()) {
    if (mReconnectBuffer.size() >= kReconnectBuffer) return false;
    mReconnectBuffer.push_back(std::move(entry));
    return true;
  }
  mLog.Publish(entry, mNow);
  return true;
}

void MemoryTransport::Step(Ms now) {
  mNow = now;
  if (IsCut()) return;
  for (; !mReconnectBuffer.empty(); mReconnectBuffer.pop_front()) {
    mLog.Publish(mReconnectBuffer.front(), now);
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
  AnswerLater([this, mark](TransportListener& listener) {
    listener.OnFetched(mark, IsCut() ? std::nullopt : mLog.Fetch(mark));
  });
}

void MemoryTransport::Forget(Sequence first) {
  if (!IsCut()) mLog.Forget(first);
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
    if (!std::exchange(mIsOpened, true)) listener.OnOpened(mLog.NewestManifest());
    listener.OnAnswered();
  }
  if (mIsReading) DeliverEntries(listener, now);
}

void MemoryTransport::DeliverEntries(TransportListener& listener, Ms now) {
  const Ms lag = now < mLagUntil ? mLag : 2ms;
  // What was forgotten is left out. A listener may begin to read elsewhere.
  for (;;) {
    const Sequence next = std::max(mLast + 1, mLog.FirstKept());
    if (next > mLog.Last() || mLog.At(next).at + lag > now) break;
    mLast = next;
    mDeliveredAt = now;
    // A copy: the log may grow meanwhile.
    const std::string bytes = mLog.At(next).bytes;
    listener.OnEntry(next, bytes);
  }
  const bool isAll = std::max(mLast + 1, mLog.FirstKept()) > mReadUpTo;
  if (isAll && !std::exchange(mHasCaughtUp, true)) listener.OnCaughtUp();
}

void MemoryTransport::CalmDown(Ms now) {
  mCutUntil = std::min(mCutUntil, now);
  mRefusesUntil = std::min(mRefusesUntil, now);
  mLagUntil = std::min(mLagUntil, now);
}

}  // namespace dorn::site::simulation
