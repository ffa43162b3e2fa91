#include "site/nats/Exchange.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace dorn::site {
namespace {

constexpr std::chrono::milliseconds kAnswersApart{100};

}  // namespace

Exchange& Exchange::Make(std::size_t maxWaiting, std::size_t maxWaitingBytes) {
  static std::mutex& mutex = *new std::mutex;
  static auto& all = *new std::vector<std::unique_ptr<Exchange>>;
  const std::lock_guard<std::mutex> lock(mutex);
  return *all.emplace_back(std::make_unique<Exchange>(maxWaiting, maxWaitingBytes));
}

Exchange::Exchange(std::size_t maxWaiting, std::size_t maxWaitingBytes)
    : mMaxWaiting(maxWaiting),
      mMaxWaitingBytes(maxWaitingBytes),
      mDescriptor(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

Exchange::~Exchange() {
  if (mDescriptor >= 0) close(mDescriptor);
}

bool Exchange::Publish(std::string entry) {
  const Lock lock(mMutex);
  if (mEntries.size() >= mMaxWaiting || mEntryBytes >= mMaxWaitingBytes) return false;
  mEntryBytes += entry.size();
  mEntries.push_back(std::move(entry));
  mWork.notify_one();
  return true;
}

void Exchange::Read(Sequence last) {
  const Lock lock(mMutex);
  mRequests.read = ReadRequest{++mReading, last};
  mWork.notify_one();
}

// One at a time: a snapshot that is not stored yet is as good as the next one.
void Exchange::Store(Sequence mark, const std::string& bytes) {
  const Lock lock(mMutex);
  if (mStoring) return Push(0, SnapshotStored{mark, false});
  mStoring = Storing{mark, ++mStorings, {}, true, std::chrono::steady_clock::now()};
  std::uint32_t piece = 0;
  for (std::size_t begin = 0; begin < bytes.size() || piece == 0; begin += kPieceBytes) {
    mStoring->left.insert(piece);
    mPieces.push_back({bytes.substr(begin, kPieceBytes), mark, piece++, mStorings});
  }
  mWork.notify_one();
}

void Exchange::Fetch(Sequence mark, std::uint32_t pieces) {
  const Lock lock(mMutex);
  mRequests.fetches.push_back({mark, pieces});
  mWork.notify_one();
}

void Exchange::Forget(Sequence first) {
  const Lock lock(mMutex);
  mRequests.forget = std::max(first, mRequests.forget.value_or(0));
  mWork.notify_one();
}

std::optional<Incoming> Exchange::Take() {
  const Lock lock(mMutex);
  while (!mIncoming.empty()) {
    Tagged next = std::move(mIncoming.front());
    mIncoming.pop_front();
    if (const auto* came = std::get_if<EntryCame>(&next.incoming)) {
      --mArrived;
      mArrivedBytes -= came->entry.size();
      mRoom.notify_all();
    }
    if (next.reading == 0 || next.reading == mReading) return std::move(next.incoming);
  }
  if (mIsSignalled) {
    std::uint64_t count = 0;
    // Nothing to read would mean that somebody else has read it.
    static_cast<void>(read(mDescriptor, &count, sizeof count));
    mIsSignalled = false;
  }
  return std::nullopt;
}

bool Exchange::TakeAnswered() {
  const Lock lock(mMutex);
  return std::exchange(mIsAnswered, false);
}

bool Exchange::TakeNoSnapshots() {
  const Lock lock(mMutex);
  return std::exchange(mHasNoSnapshots, false);
}

bool Exchange::Stop(std::chrono::milliseconds patience) {
  Lock lock(mMutex);
  mIsStopped = true;
  mWork.notify_all();
  mRoom.notify_all();
  const bool hasEnded = mEnd.wait_for(lock, patience, [this] { return mHasEnded; });
  // What stays of it for late callbacks should be small.
  mEntries.clear();
  mPieces.clear();
  mIncoming.clear();
  return hasEnded;
}

bool Exchange::IsStopped() const {
  const Lock lock(mMutex);
  return mIsStopped;
}

void Exchange::SayEnded() {
  const Lock lock(mMutex);
  mHasEnded = true;
  mEnd.notify_all();
}

void Exchange::Wait(std::chrono::milliseconds time, bool canSend) {
  Lock lock(mMutex);
  mWork.wait_for(lock, time, [&] {
    const bool hasRequests = mRequests.read || !mRequests.fetches.empty() || mRequests.forget;
    return mIsStopped || (canSend && (!mEntries.empty() || !mPieces.empty() || hasRequests ||
                                      mIsLost || !mAsked.empty()));
  });
}

std::optional<Outgoing> Exchange::Next() {
  const Lock lock(mMutex);
  Outgoing next;
  if (!mEntries.empty()) {
    next.bytes = std::move(mEntries.front());
    mEntries.pop_front();
    mEntryBytes -= next.bytes.size();
  } else if (!mPieces.empty()) {
    next = std::move(mPieces.front());
    mPieces.pop_front();
    if (mStoring) mStoring->heardAt = std::chrono::steady_clock::now();
  } else {
    return std::nullopt;
  }
  return next;
}

void Exchange::PutBack(Outgoing outgoing) {
  const Lock lock(mMutex);
  if (outgoing.mark != 0) return mPieces.push_front(std::move(outgoing));
  mEntryBytes += outgoing.bytes.size();
  mEntries.push_front(std::move(outgoing.bytes));
}

void Exchange::GiveUp(const Outgoing& outgoing) {
  if (outgoing.mark != 0) PieceDone(outgoing.storing, outgoing.piece, false);
}

Requests Exchange::TakeRequests() {
  const Lock lock(mMutex);
  return std::exchange(mRequests, {});
}

bool Exchange::TakeHasFailed() {
  const Lock lock(mMutex);
  return std::exchange(mHasFailed, false);
}

void Exchange::GiveUpStoring(std::chrono::milliseconds patience) {
  const Lock lock(mMutex);
  const auto now = std::chrono::steady_clock::now();
  if (!mStoring || !mPieces.empty() || now - mStoring->heardAt < patience) return;
  mStoring->isStored = false;
  EndStoring();
}

void Exchange::Put(Incoming incoming) {
  const Lock lock(mMutex);
  Push(0, std::move(incoming));
}

Subscription& Exchange::Subscribe(const ReadRequest& request, Sequence target) {
  const Lock lock(mMutex);
  mActive = static_cast<unsigned>(mSubscriptions.size()) + 1;
  mActiveRequest = request;
  mNext = request.last + 1;
  mTarget = target;
  mDelivered = 0;
  mIsLost = false;
  mIsOther = false;
  mHeardAt = std::chrono::steady_clock::now();
  mAsked.clear();
  if (request.last >= target) Push(request.number, CaughtUp{});
  return mSubscriptions.emplace_back(Subscription{this, mActive});
}

std::optional<ReadRequest> Exchange::Interrupt() {
  const Lock lock(mMutex);
  mActive = 0;
  mIsLost = false;
  mRoom.notify_all();
  if (mNext == 0) return std::nullopt;
  return ReadRequest{mActiveRequest.number, mNext - 1};
}

bool Exchange::IsLost() const {
  const Lock lock(mMutex);
  return mIsLost;
}

// What is behind an entry that waits for room cannot be heard.
std::chrono::steady_clock::time_point Exchange::HeardAt() const {
  const Lock lock(mMutex);
  return HasRoom() ? mHeardAt : std::chrono::steady_clock::now();
}

std::vector<std::string> Exchange::TakeAsked() {
  const Lock lock(mMutex);
  return std::exchange(mAsked, {});
}

Sequence Exchange::Known() const {
  const Lock lock(mMutex);
  return mKnown.sequence;
}

void Exchange::Know(const Place& place) {
  const Lock lock(mMutex);
  if (place.stamp != 0 && mKnown.sequence == 0) mKnown = place;
}

bool Exchange::IsOther() const {
  const Lock lock(mMutex);
  return mIsOther;
}

void Exchange::ForgetLog() {
  const Lock lock(mMutex);
  mActive = 0;
  mIsLost = false;
  mIsOther = false;
  mNext = 0;
  mKnown = {};
  mLastKnown.reset();
  mRoom.notify_all();
}

ReadRequest Exchange::SkipHole(const ReadRequest& request, Sequence next) {
  const Lock lock(mMutex);
  Push(request.number, HoleCame{next});
  return {request.number, next - 1};
}

Sequence Exchange::NextExpected() const {
  const Lock lock(mMutex);
  return mActive != 0 ? mNext : 0;
}

bool Exchange::IsFull() const {
  const Lock lock(mMutex);
  return !HasRoom();
}

void Exchange::Arrive(const Subscription& subscription, const Place& place,
                      std::string_view entry) {
  Lock lock(mMutex);
  const auto isOver = [&] { return mIsStopped || mActive != subscription.number; };
  mRoom.wait(lock, [&] { return isOver() || HasRoom(); });
  if (isOver()) return;
  NoteAnswer();
  mHeardAt = std::chrono::steady_clock::now();
  const Sequence sequence = place.sequence;
  if (sequence == mKnown.sequence && place.stamp != mKnown.stamp) return EndActive(true);
  if (place.delivered != ++mDelivered || sequence > mNext) return EndActive(false);
  if (sequence < mNext) return;
  if (sequence > mKnown.sequence) mKnown = place;
  ++mNext;
  ++mArrived;
  mArrivedBytes += entry.size();
  Push(mActiveRequest.number, EntryCame{sequence, std::string(entry)});
  if (sequence == mTarget) Push(mActiveRequest.number, CaughtUp{});
}

void Exchange::Beat(const Subscription& subscription, std::string_view asks) {
  const Lock lock(mMutex);
  if (mIsStopped || mActive != subscription.number) return;
  mHeardAt = std::chrono::steady_clock::now();
  if (asks.empty()) return;
  mAsked.emplace_back(asks);
  mWork.notify_one();
}

void Exchange::Lose(const Subscription& subscription) {
  const Lock lock(mMutex);
  if (!mIsStopped && mActive == subscription.number) EndActive(false);
}

void Exchange::PieceDone(unsigned storing, std::uint32_t piece, bool isStored) {
  const Lock lock(mMutex);
  if (!mStoring || mStoring->number != storing || mStoring->left.erase(piece) == 0) return;
  mStoring->heardAt = std::chrono::steady_clock::now();
  mStoring->isStored = mStoring->isStored && isStored;
  if (mStoring->left.empty()) EndStoring();
}

void Exchange::SayNoSnapshots() {
  const Lock lock(mMutex);
  if (mIsStopped) return;
  mHasFailed = true;
  mHasNoSnapshots = true;
  Signal();
}

void Exchange::AnswerLast(Sequence last) {
  const Lock lock(mMutex);
  mLastKnown = last;
  NoteAnswer();
}

std::optional<Sequence> Exchange::LastKnown() const {
  const Lock lock(mMutex);
  return mLastKnown;
}

bool Exchange::HasRoom() const {
  return mArrived < mMaxWaiting && mArrivedBytes < mMaxWaitingBytes;
}

// Nothing of the active subscription counts any more.
void Exchange::EndActive(bool isOther) {
  mActive = 0;
  mIsLost = true;
  mIsOther = isOther;
  mWork.notify_one();
}

void Exchange::Push(unsigned reading, Incoming incoming) {
  if (mIsStopped) return;
  mIncoming.push_back({reading, std::move(incoming)});
  Signal();
}

void Exchange::EndStoring() {
  mHasFailed |= !mStoring->isStored;
  Push(0, SnapshotStored{mStoring->mark, mStoring->isStored});
  mStoring.reset();
}

void Exchange::NoteAnswer() {
  const auto now = std::chrono::steady_clock::now();
  if (mIsStopped || now - mAnsweredAt < kAnswersApart) return;
  mAnsweredAt = now;
  mIsAnswered = true;
  Signal();
}

void Exchange::Signal() {
  if (std::exchange(mIsSignalled, true)) return;
  const std::uint64_t one = 1;
  // Cannot fail: the counter is far from its end.
  static_cast<void>(write(mDescriptor, &one, sizeof one));
}

}  // namespace dorn::site
