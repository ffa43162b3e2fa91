#include "dorn/loop/SettledRecords.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <mutex>
#include <utility>

namespace dorn {
namespace {

// For all lists, since a record that another thread touches cannot tell whether its list still
// exists before it has the lock. Held for a few instructions, by the loop thread also while it asks
// the epoll set and changes it.
std::mutex gLock;

using Lock = std::lock_guard<std::mutex>;

// A set as select has it: one bit for each descriptor, in words of the machine.
constexpr int kWordBits = 8 * sizeof(unsigned long);
constexpr std::size_t kWords = sizeof(fd_set) / sizeof(unsigned long);
using Words = std::array<unsigned long, kWords>;

Words WordsOf(const fd_set& set) {
  Words words;
  std::memcpy(words.data(), &set, sizeof set);
  return words;
}

// So many descriptors cost select less than the calls that make them members, ask for them and take
// them out again. A connection that comes and goes is never one of more.
constexpr int kFew = 4;

// How long the loop may go on with a descriptor that a hook has closed and opened again.
constexpr std::uint64_t kRefreshMs = 100;

std::uint64_t NowMs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000 +
         static_cast<std::uint64_t>(now.tv_nsec / 1000000);
}

void Store(const Words& words, fd_set* set) { std::memcpy(set, words.data(), sizeof *set); }

template <class Combine>
Words Combined(Words a, const Words& b, Combine combine) {
  std::transform(a.begin(), a.end(), b.begin(), a.begin(), combine);
  return a;
}

using Word = unsigned long;
Words Union(const Words& a, const Words& b) {
  return Combined(a, b, [](Word x, Word y) { return x | y; });
}
Words Without(const Words& a, const Words& b) {
  return Combined(a, b, [](Word x, Word y) { return x & ~y; });
}
Words Common(const Words& a, const Words& b) {
  return Combined(a, b, [](Word x, Word y) { return x & y; });
}

bool HasMoreThan(int count, const Words& words) {
  for (Word rest : words) {
    for (; rest != 0; rest &= rest - 1) {
      if (count-- == 0) return true;
    }
  }
  return false;
}

template <class Visit>
void ForEach(const Words& words, Visit visit) {
  for (std::size_t word = 0; word < kWords; ++word) {
    for (Word rest = words[word]; rest != 0; rest &= rest - 1) {
      visit(static_cast<int>(word) * kWordBits + __builtin_ctzl(rest));
    }
  }
}

}  // namespace

void LetRecordSettle(KZFdData& record) { RecordState::Of(record).mMaySettle = true; }

SettledRecords::SettledRecords() : mByDescriptor(FD_SETSIZE), mMemberRecords(FD_SETSIZE) {
  FD_ZERO(&mReads);
  FD_ZERO(&mRefused);
}

SettledRecords::~SettledRecords() { ForgetAll(); }

// Whoever changes a field has the record's lock before or after: before, the change is seen here;
// after, he sees that the record is settled, and touches it. The loop does not wait for him.
bool SettledRecords::Settle(KZFdData* record) {
  if (!RecordState::Of(*record).mMaySettle) return false;
  if (record->GetType() != KZFdData::kTypeClient) return false;
  if (record->mSemData.TryLock() == 0) return false;
  const bool isSettled = IsIdle(*record) && Enter(record);
  record->mSemData.Unlock();
  return isSettled;
}

bool SettledRecords::IsIdle(const KZFdData& record) {
  return record.mStatus == KZFdData::kStatusActive && record.mBufferPos == 0 &&
         record.mIsSelect == 0;
}

bool SettledRecords::Enter(KZFdData* record) {
  RecordState& state = RecordState::Of(*record);
  const int fd = record->mFD;
  const Lock lock(gLock);
  if (fd < 0 || fd >= FD_SETSIZE || state.mSettledIn != nullptr) return false;
  const auto place = static_cast<std::size_t>(fd);
  if (mByDescriptor[place] != nullptr) return false;
  mByDescriptor[place] = record;
  FD_SET(fd, &mReads);
  ++mCount;
  state.mSettledFd = fd;
  state.mSettledIn = this;
  // The member was another record's, whose descriptor was closed behind it.
  if (mMemberRecords[place] != record) Leave(fd);
  return true;
}

void SettledRecords::AddTo(fd_set* reads) const {
  Store(Union(WordsOf(*reads), WordsOf(mReads)), reads);
}

void SettledRecords::AddWithMembers(fd_set* reads) {
  const Lock lock(gLock);
  AddMembers();
  const Words others = Without(WordsOf(mReads), WordsOf(mMembers.Members()));
  Store(Union(WordsOf(*reads), others), reads);
  const int epoll = mMembers.Descriptor();
  if (epoll >= 0) FD_SET(epoll, reads);
}

// A record that was touched meanwhile may have left its descriptor, and this one be another's.
void SettledRecords::AddMembers() {
  const Words tried = Union(WordsOf(mMembers.Members()), WordsOf(mRefused));
  const Words untried = Without(WordsOf(mReads), tried);
  if (!HasMoreThan(kFew, untried)) return;
  ForEach(untried, [this](int fd) {
    KZFdData* record = mByDescriptor[static_cast<std::size_t>(fd)];
    RecordState& state = RecordState::Of(*record);
    if (state.mSettledIn == nullptr) return;
    if (!mMembers.Add(fd)) {
      FD_SET(fd, &mRefused);
      return;
    }
    KZFdData*& member = mMemberRecords[static_cast<std::size_t>(fd)];
    if (member != nullptr) RecordState::Of(*member).mMemberOf = nullptr;
    member = record;
    state.mMemberOf = this;
    state.mMemberFd = fd;
  });
}

void SettledRecords::TakeMembers(fd_set* reads) {
  const Lock lock(gLock);
  const int epoll = mMembers.Descriptor();
  if (epoll < 0 || !FD_ISSET(epoll, reads)) return;
  FD_CLR(epoll, reads);
  fd_set readable;
  mMembers.TakeReadable(&readable);
  const Words settled = WordsOf(mReads);
  Store(Union(WordsOf(*reads), Common(WordsOf(readable), settled)), reads);
  ForEach(Without(WordsOf(readable), settled), [this](int fd) { Leave(fd); });
}

std::uint64_t SettledRecords::RefreshIfDue() {
  if (!mMayBeStale) return 0;
  if (NeedsRefresh()) {
    const std::uint64_t elapsedMs = NowMs() - mRefreshedMs;
    if (elapsedMs < kRefreshMs) return kRefreshMs - elapsedMs;
    Refresh();
  }
  mMayBeStale = false;
  return 0;
}

// A member may be stale while no record is settled: that of the record whose hook has just run.
// What was refused is to be tried again.
bool SettledRecords::NeedsRefresh() {
  const Lock lock(gLock);
  return mMembers.Descriptor() >= 0 || HasMoreThan(0, WordsOf(mRefused));
}

void SettledRecords::Refresh() {
  const Lock lock(gLock);
  FD_ZERO(&mRefused);
  mMembers.Refresh();
  mRefreshedMs = NowMs();
}

void SettledRecords::LeaveDescriptor(KZFdData* record) {
  const Lock lock(gLock);
  RecordState& state = RecordState::Of(*record);
  SettledRecords* settled = state.mMemberOf;
  if (settled != nullptr) settled->Leave(state.mMemberFd);
}

void SettledRecords::Leave(int fd) {
  mMembers.Remove(fd);
  KZFdData* record = std::exchange(mMemberRecords[static_cast<std::size_t>(fd)], nullptr);
  if (record != nullptr) RecordState::Of(*record).mMemberOf = nullptr;
}

void SettledRecords::TakeTouched(std::vector<KZFdData*>& restless) {
  const Lock lock(gLock);
  MoveTouched(restless);
}

void SettledRecords::TakeReady(const fd_set& reads, const fd_set& writes,
                               std::vector<KZFdData*>& restless) {
  const Lock lock(gLock);
  MoveTouched(restless);
  ForEach(Union(WordsOf(reads), WordsOf(writes)), [this, &restless](int fd) {
    KZFdData* record = mByDescriptor[static_cast<std::size_t>(fd)];
    if (record == nullptr) return;
    Unsettle(record);
    restless.push_back(record);
  });
}

void SettledRecords::Forget(KZFdData* record) {
  const Lock lock(gLock);
  if (Has(*record)) Unsettle(record);
  const RecordState& state = RecordState::Of(*record);
  if (SettledRecords* owner = state.mMemberOf) owner->Leave(state.mMemberFd);
  mTouched.erase(std::remove(mTouched.begin(), mTouched.end(), record), mTouched.end());
}

void SettledRecords::ForgetAll() {
  const Lock lock(gLock);
  for (KZFdData* record : mByDescriptor) {
    if (record != nullptr) Unsettle(record);
  }
  for (KZFdData*& record : mMemberRecords) {
    if (record != nullptr) RecordState::Of(*record).mMemberOf = nullptr;
    record = nullptr;
  }
  mMembers.Close();
  FD_ZERO(&mRefused);
  mTouched.clear();
}

void SettledRecords::TouchRecord(KZFdData* record) {
  const Lock lock(gLock);
  SettledRecords* settled = RecordState::Of(*record).mSettledIn;
  if (settled == nullptr) return;
  // Its place is the loop thread's to clear.
  RecordState::Of(*record).mSettledIn = nullptr;
  settled->mTouched.push_back(record);
}

void SettledRecords::Unsettle(KZFdData* record) {
  const int fd = RecordState::Of(*record).mSettledFd;
  mByDescriptor[static_cast<std::size_t>(fd)] = nullptr;
  FD_CLR(fd, &mReads);
  --mCount;
  RecordState::Of(*record).mSettledFd = -1;
  RecordState::Of(*record).mSettledIn = nullptr;
}

void SettledRecords::MoveTouched(std::vector<KZFdData*>& restless) {
  for (KZFdData* record : mTouched) Unsettle(record);
  restless.insert(restless.end(), mTouched.begin(), mTouched.end());
  mTouched.clear();
}

}  // namespace dorn
