// How the broker thread reads the log: where it begins, when it begins anew, and how it notices
// that entries are missing or that the log is another one.
#include <algorithm>
#include <string>
#include <string_view>

#include "site/nats/Answers.h"
#include "site/nats/Broker.h"
#include "site/nats/Consumer.h"

namespace dorn::site {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kStuck{3000};
constexpr milliseconds kUnheard{2000};  // Four heartbeats.
constexpr int kTimesLeftOut = 2;        // Then it is worth asking for what was left out.

// A leader that has just been elected, or is none any more, may not know the end of the log.
constexpr milliseconds kOddFor{5000};

}  // namespace

// What fails is tried again a little later, so that what waits to be sent is not held up by it.
void Broker::Serve() {
  Requests asked = mExchange.TakeRequests();
  if (asked.read && !mIsOtherLog) {
    mAsked.read = asked.read;
    mMustReopen = false;
    StopReading();
    static_cast<void>(mExchange.Interrupt());
  }
  for (const FetchRequest& fetch : asked.fetches) mAsked.fetches.push_back(fetch);
  if (asked.forget) mAsked.forget = asked.forget;
  if (Clock::now() < mNextTry) return;
  if (mMustReopen) mMustReopen = !TellNewest();
  if (mAsked.read) StartReading();
  if (!mAsked.fetches.empty()) FetchPieces();
  if (mExchange.TakeHasFailed()) static_cast<void>(HasSnapshots());
  if (mAsked.forget) ForgetOld();
}

void Broker::StartReading() {
  // Asked before the log is asked where it begins: what is gone and not before that was not
  // forgotten.
  const std::optional<Sequence> behindHole = BehindHole(mAsked.read->last + 1);
  const auto [status, info] = AskOf(mLog, *mContext);
  const bool isMissing = status == NATS_NOT_FOUND;
  const Sequence first = info != nullptr ? info->State.FirstSeq : 0;
  const Sequence end = info != nullptr ? info->State.LastSeq : 0;
  const bool isShort = info != nullptr && end < std::max(mExchange.Known(), mAsked.read->last);
  if (IsOddForLong(isMissing || isShort)) {
    mIsOpen = !isMissing;  // If it is missing it is made anew.
    return BeginOtherLog();
  }
  if (info == nullptr || isShort) return TryLater();
  if (mAsked.read->last == 0 && first > 1) mAsked.read->last = first - 1;
  if (first > mAsked.read->last + 1) {
    // The next entry is gone: the host begins anew, with a snapshot that the log still continues.
    mAsked.read.reset();
    mMustReopen = true;
    return TryLater();
  }
  if (behindHole) mAsked.read = mExchange.SkipHole(*mAsked.read, *behindHole);
  const Sequence last = mAsked.read->last;
  Subscription& subscription = mExchange.Subscribe(*mAsked.read, end);
  // The last known entry comes once more: if it is another one by now, so is the log.
  const bool isKnown = last != 0 && last == mExchange.Known();
  mReading = Consume(*mConnection, *mContext, mLog, isKnown ? last : last + 1, subscription);
  mAsked.read.reset();
  if (mReading != nullptr) return;
  mAsked.read = mExchange.Interrupt();
  TryLater();
}

void Broker::StopReading() { mReading.reset(); }

// Whether each answer for so long was odd.
bool Broker::IsOddForLong(bool isOdd) {
  if (!isOdd) {
    mOddSince.reset();
  } else if (!mOddSince) {
    mOddSince = Clock::now();
  }
  return mOddSince && Clock::now() - *mOddSince > kOddFor;
}

// Nothing that the host asked of the old one is done any more.
void Broker::BeginOtherLog() {
  mOddSince.reset();
  mGap = {};
  StopReading();
  mExchange.ForgetLog();
  mAsked = {};
  mFetched.clear();
  mFetchedPieces = 0;
  mIsOtherLog = true;
  mMustReopen = mIsOpen;  // Otherwise it is told when it is open again.
}

// The first entry from there on that the log holds.
Broker::Outcome Broker::FirstKept(Sequence from, Sequence& found) const {
  const Nats<natsMsg> answer =
      AskForMessage(mLog, R"({"seq":)" + std::to_string(from) + R"(,"next_by_subj":"dorn.)" +
                              mOptions.site + R"(.>"})");
  if (answer == nullptr) return Outcome::kAgain;
  const std::string_view json = DataOf(answer);
  if (const auto sequence = NumberIn(json, R"("seq":)")) {
    found = *sequence;
    return Outcome::kDone;
  }
  constexpr std::string_view kNone = R"("err_code":10037)";
  return json.find(kNone) != std::string_view::npos ? Outcome::kMissing : Outcome::kAgain;
}

// If the log has lost that entry, rather than that it went astray on the way: the first behind it
// that is there, or is still to come.
std::optional<Sequence> Broker::BehindHole(Sequence next) const {
  if (mGap.next != next || mGap.times < kTimesLeftOut) return std::nullopt;
  const Nats<jsStreamInfo> info = AskOf(mLog, *mContext).info;
  if (info == nullptr) return std::nullopt;
  Sequence found = 0;
  const Outcome outcome = FirstKept(next, found);
  if (outcome == Outcome::kMissing) found = info->State.LastSeq + 1;
  if (found <= next) return std::nullopt;
  return found;
}

// What the consumers ask to be answered when they have got so far.
void Broker::AnswerConsumers() {
  for (const std::string& asked : mExchange.TakeAsked()) {
    // One that is lost is asked again, with the next heartbeat.
    static_cast<void>(natsConnection_Publish(mConnection.get(), asked.c_str(), nullptr, 0));
  }
}

// Whether the log is known to hold what has not come for long.
bool Broker::IsStuck() {
  const Sequence next = mExchange.NextExpected();
  const bool isBehind = next != 0 && next <= mExchange.LastKnown().value_or(0);
  if (!isBehind || next != mStuckAt || mExchange.IsFull()) {
    mStuckAt = next;
    mStuckSince = Clock::now();
  }
  return isBehind && Clock::now() - mStuckSince > kStuck;
}

// Begins anew where it stands when anything is wrong with it.
void Broker::LookAfterReading() {
  AnswerConsumers();
  if (mExchange.IsOther()) return BeginOtherLog();
  const bool isLeftOut = IsStuck() || mExchange.IsLost();
  const bool isElsewhere = HasReconnected();
  const bool isSilent = Clock::now() - mExchange.HeardAt() > kUnheard;
  if (mReading == nullptr || !(isLeftOut || isElsewhere || isSilent)) return;
  mStuckSince = Clock::now();
  StopReading();
  const std::optional<ReadRequest> again = mExchange.Interrupt();
  if (again && isLeftOut) {
    const bool isSame = mGap.next == again->last + 1;
    mGap = {again->last + 1, isSame ? mGap.times + 1 : 1};
  }
  if (!mAsked.read) mAsked.read = again;
  if (!isElsewhere) TryLater();
}

}  // namespace dorn::site
