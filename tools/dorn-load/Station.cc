#include "tools/dorn-load/Station.h"

#include <poll.h>
#include <sys/epoll.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "station/Commands.h"

namespace dorn::load {

namespace {

using dorn::station::Framed;
using dorn::tools::Line;

constexpr Us kHeartbeat = 20 * kSecond;
constexpr Us kReturn = kSecond;  // And up to as much again, so that not all come at once.

constexpr Error ErrorOf(Line::End end) {
  switch (end) {
    case Line::End::kNoSuchHost:
    case Line::End::kCannotConnect:
      return Error::kRefusedConnect;
    case Line::End::kNotTaken:
      return Error::kNotTaken;
    case Line::End::kClosedByHost:
    case Line::End::kBroken:
      break;
  }
  return Error::kClosedByHost;
}

constexpr bool IsSame(unsigned events, short polled) {
  return events == static_cast<unsigned>(polled);
}
static_assert(IsSame(EPOLLIN, POLLIN) && IsSame(EPOLLOUT, POLLOUT), "one set of names for both");

}  // namespace

Run::Run(const Options& options, const Targets& targets, std::string dialog)
    : mOptions(options),
      mTargets(targets),
      mDialog(std::move(dialog)),
      mAddresses(options.mAt.mHost, options.mAt.mPort),
      mTexts(targets),
      mMarks(static_cast<std::size_t>(options.mStations), options.mTimeout) {}

void Station::Come(Us meant) {
  mCame = meant;
  mBegan = mRun.mNow;
  mReturnAt = -1;
  mFraming.emplace(static_cast<dorn::station::Framing::Sink&>(*this));
  mState = State::kConnecting;
  const Us limit = mRun.mOptions.mTimeout / kMillisecond;
  mLine.Open(mRun.mAddresses, limit, mRun.mNow / kMillisecond);
  // A connection that could not even be begun is told by the next Ready(), which nothing wakes.
  if (mLine.Descriptor() < 0) mLine.Ready(0, mRun.mNow / kMillisecond);
  Watch();
}

void Station::Touch(std::size_t target, const std::string& value, Us meant) {
  const Target& touched = mRun.mTargets[target];
  dorn::station::SetObject object{touched.mName, {}};
  if (!value.empty()) {
    object.mAttributes.emplace_back("Value", dorn::station::Json::String(value));
    mRun.mMarks.Set(mNumber, target, value, meant);
  }
  const char* const type = touched.mKind == Target::Kind::kButton ? "CLICK" : "CHANGE";
  const unsigned long before = ++mFences;
  Await(meant, Use::kAction);
  Send({dorn::station::ActText(before, dorn::station::ConditionText(touched.mName, type, {object}),
                               mFences)});
  Watch();
}

void Station::Enter(Us meant) {
  SendEntry(meant, Use::kEntry);
  Watch();
}

void Station::Ask() {
  if (!IsIn()) return;
  Await(mRun.mNow, Use::kHeartbeat);
  Send({dorn::station::FenceText(mFences)});
  Watch();
}

void Station::OnEvents(short events) {
  mLine.Ready(events, mRun.mNow / kMillisecond);
  Watch();
}

void Station::LookAtClock() {
  const Us now = mRun.mNow;
  // What has gone wrong with the line without an event is told here.
  mLine.Ready(0, now / kMillisecond);
  const bool isComing = mState == State::kLoggingIn || mState == State::kEntering;
  if (isComing && now - mBegan > mRun.mOptions.mTimeout) {
    mRun.mRecord.Count(Error::kTimeOut);
    mRun.mLastWords = "no answer to the log-in";
    mLine.Close();
    GoOut();
  } else if (mState == State::kIn) {
    DropLate();
    if (now - mSentAt > kHeartbeat) Ask();
  } else if (mState == State::kOut && mReturnAt >= 0 && now >= mReturnAt) {
    Come(now);
  }
  Watch();
}

void Station::GiveUpWaiting(Error error) {
  if (mState != State::kIn) return;
  for (const Awaited& awaited : std::exchange(mAwaited, {})) {
    if (awaited.mUse == Use::kHeartbeat) {
      mAwaited.push_back(awaited);
    } else {
      Miss(awaited, error);
    }
  }
}

void Station::OnOpen() {
  mState = State::kLoggingIn;
  mFences = mAnswered = 0;
  Send({dorn::station::HelloText(mRun.mOptions.LogInOf(static_cast<int>(mNumber) + 1))});
}

void Station::OnReceive(std::string_view bytes) {
  mRun.mRecord.Count([&](Figures& figures) { figures.mTraffic.mBytesIn += bytes.size(); });
  if (mFraming->Feed(bytes) || mState == State::kRefused) return;
  mRun.mRecord.Count(Error::kUnreadable);
  mLine.Close();
  GoOut();
}

void Station::OnEnd(Line::End end, const std::string& why) {
  mRun.mRecord.Count(ErrorOf(end));
  mRun.mLastWords = why;
  if (mState != State::kRefused) GoOut();
}

void Station::OnText(std::string_view text) {
  mRun.mRecord.Count([](Figures& figures) { ++figures.mTraffic.mMessagesIn; });
  // What comes while it enters is no change that somebody waits for.
  if (mEntries > 0 && IsUpdate(text)) return;
  const Digest& digest = mRun.mTexts.Read(text, *mFraming);
  if (!digest.mIsReadable) mRun.mRecord.Count(Error::kUnreadable);
  if (digest.mAsks) Send({dorn::station::KeepaliveText()});
  if (digest.mIsRefusal) OnRefused();
  if (digest.mOpens) OnOpened();
  OnTold(digest);
  for (const unsigned long fence : digest.mFences) OnFence(fence);
}

void Station::Send(const std::vector<std::string>& texts) {
  if (mLine.GetState() == Line::State::kClosed) return;
  std::string frames;
  for (const std::string& text : texts) frames += Framed(text);
  mLine.Send(frames);
  mSentAt = mRun.mNow;
  mRun.mRecord.Count([&](Figures& figures) {
    figures.mTraffic.mMessagesOut += texts.size();
    figures.mTraffic.mBytesOut += frames.size();
  });
}

// The fence behind it says that the whole tree is there, or that there is none.
void Station::SendEntry(Us meant, Use use) {
  const unsigned long before = ++mFences;
  Await(meant, use);
  ++mEntries;
  Send({dorn::station::EnterText(before, mRun.mDialog), dorn::station::FenceText(mFences)});
}

void Station::Await(Us meant, Use use) { mAwaited.push_back({++mFences, meant, mRun.mNow, use}); }

// Whatever the host opens later is not followed: the objects that are touched are those of the
// dialog that all stations have entered.
void Station::OnOpened() {
  if (mState != State::kLoggingIn) return;
  mState = State::kEntering;
  SendEntry(mCame, Use::kLogIn);
}

void Station::OnRefused() {
  if (mState != State::kLoggingIn) return;
  mRun.mRecord.Count(Error::kRefusedLogIn);
  mRun.mLastWords = "the log-in was refused";
  mState = State::kRefused;
  ++mRun.mRefused;
  mLine.Close();
}

void Station::OnFence(unsigned long fence) {
  mAnswered = std::max(mAnswered, fence);
  while (!mAwaited.empty() && mAwaited.front().mFence <= fence) {
    const Awaited answered = mAwaited.front();
    mAwaited.pop_front();
    const Us took = mRun.mNow - answered.mMeant;
    if (answered.mUse == Use::kLogIn || answered.mUse == Use::kEntry) --mEntries;
    if (answered.mUse == Use::kLogIn) {
      mState = State::kIn;
      ++mRun.mIn;
      mRun.mRecord.Count([=](Figures& figures) { figures.mLogIn.Add(took); });
    } else if (answered.mUse != Use::kHeartbeat) {
      mRun.mRecord.Count([=](Figures& figures) { figures.mConfirm.Add(took); });
    }
  }
}

void Station::OnTold(const Digest& digest) {
  if (mState != State::kIn || mEntries > 0) return;
  for (const Told& told : digest.mTold) {
    const auto meant = mRun.mMarks.Told(mNumber, told.mTarget, told.mValue, mRun.mNow);
    if (!meant) continue;
    const Us took = mRun.mNow - *meant;
    mRun.mRecord.Count([=](Figures& figures) { figures.mUpdate.Add(took); });
  }
}

// An answer that never came counts as one that took as long as was waited: without it the slowest
// would be left out of the percentiles.
void Station::Miss(const Awaited& awaited, Error error) {
  if (awaited.mUse == Use::kLogIn || awaited.mUse == Use::kEntry) --mEntries;
  if (awaited.mUse == Use::kLogIn) return;
  mRun.mRecord.Count(error);
  if (awaited.mUse == Use::kHeartbeat) return;
  const Us waited = mRun.mNow - awaited.mMeant;
  mRun.mRecord.Count([=](Figures& figures) { figures.mConfirm.Add(waited); });
}

void Station::MissAll(Error error) {
  for (const Awaited& awaited : std::exchange(mAwaited, {})) Miss(awaited, error);
}

void Station::DropLate() {
  while (!mAwaited.empty() && mRun.mNow - mAwaited.front().mSent > mRun.mOptions.mTimeout) {
    const Awaited late = mAwaited.front();
    mAwaited.pop_front();
    Miss(late, Error::kTimeOut);
  }
}

void Station::GoOut() {
  if (IsIn()) --mRun.mIn;
  mState = State::kOut;
  MissAll(Error::kUnanswered);
  mReturnAt = mRun.mNow + kReturn + static_cast<Us>(mNumber * 7919 % 1000) * kMillisecond;
}

// The line makes and closes descriptors of its own accord, and a new one may have the number of the
// one before.
void Station::Watch() {
  const int descriptor = mLine.Descriptor();
  const short events = mLine.Events();
  const bool isSettled = mLine.GetState() == Line::State::kOpen;
  if (isSettled && descriptor == mWatched && events == mWatchedFor) return;
  mWatched = descriptor;
  mWatchedFor = events;
  if (descriptor < 0) return;
  epoll_event event{};
  event.events = static_cast<std::uint32_t>(events);
  event.data.ptr = this;
  if (epoll_ctl(mRun.mEpoll, EPOLL_CTL_MOD, descriptor, &event) != 0 && errno == ENOENT) {
    epoll_ctl(mRun.mEpoll, EPOLL_CTL_ADD, descriptor, &event);
  }
}

}  // namespace dorn::load
