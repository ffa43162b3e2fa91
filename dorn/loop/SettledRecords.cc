#include "dorn/loop/SettledRecords.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <mutex>

namespace dorn {
namespace {

// For all lists, since a record that another thread touches cannot tell whether its list still
// exists before it has the lock. Held for a few instructions.
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

}  // namespace

void LetRecordSettle(KZFdData& record) { RecordState::Of(record).mMaySettle = true; }

SettledRecords::SettledRecords() : mByDescriptor(FD_SETSIZE) { FD_ZERO(&mReads); }

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
  const int fd = record->mFD;
  if (fd < 0 || fd >= FD_SETSIZE || RecordState::Of(*record).mSettledIn != nullptr) return false;
  KZFdData*& place = mByDescriptor[static_cast<std::size_t>(fd)];
  if (place != nullptr) return false;
  place = record;
  FD_SET(fd, &mReads);
  ++mCount;
  RecordState::Of(*record).mSettledFd = fd;
  RecordState::Of(*record).mSettledIn = this;
  return true;
}

void SettledRecords::AddTo(fd_set* reads) const {
  Words words = WordsOf(*reads);
  const Words settled = WordsOf(mReads);
  for (std::size_t word = 0; word < kWords; ++word) words[word] |= settled[word];
  std::memcpy(reads, words.data(), sizeof *reads);
}

void SettledRecords::TakeTouched(std::vector<KZFdData*>& restless) {
  const Lock lock(gLock);
  MoveTouched(restless);
}

void SettledRecords::TakeReady(const fd_set& reads, const fd_set& writes,
                               std::vector<KZFdData*>& restless) {
  const Lock lock(gLock);
  MoveTouched(restless);
  const Words readWords = WordsOf(reads);
  const Words writeWords = WordsOf(writes);
  for (std::size_t word = 0; word < kWords; ++word) {
    for (auto ready = readWords[word] | writeWords[word]; ready != 0; ready &= ready - 1) {
      const int fd = static_cast<int>(word) * kWordBits + __builtin_ctzl(ready);
      KZFdData* record = mByDescriptor[static_cast<std::size_t>(fd)];
      if (record == nullptr) continue;
      Unsettle(record);
      restless.push_back(record);
    }
  }
}

void SettledRecords::Forget(KZFdData* record) {
  const Lock lock(gLock);
  if (Has(*record)) Unsettle(record);
  mTouched.erase(std::remove(mTouched.begin(), mTouched.end(), record), mTouched.end());
}

void SettledRecords::ForgetAll() {
  const Lock lock(gLock);
  for (KZFdData* record : mByDescriptor) {
    if (record != nullptr) Unsettle(record);
  }
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
