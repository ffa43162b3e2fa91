#include "dorn/loop/SettledRecords.h"

#include <algorithm>
#include <cstddef>
#include <mutex>

#include "dorn/base/SemaphoreLock.h"

namespace dorn {
namespace {

// For all lists, since a record that another thread touches cannot tell whether its list still
// exists before it has the lock. Held for a few instructions.
std::mutex gLock;

using Lock = std::lock_guard<std::mutex>;

}  // namespace

void LetSettle(KZFdData& record) { record.mMaySettle = true; }

SettledRecords::SettledRecords() : mByDescriptor(FD_SETSIZE) { FD_ZERO(&mReads); }

SettledRecords::~SettledRecords() { ForgetAll(); }

bool SettledRecords::Settle(KZFdData* record) {
  if (!record->mMaySettle || record->GetType() != KZFdData::kTypeClient) return false;
  // Whoever changes a field has this lock before or after: before, it is seen here; after, he sees
  // that the record is settled, and touches it.
  const SemaphoreLock fields(record->mSemData);
  const int fd = record->mFD;
  const bool isIdle = record->mStatus == KZFdData::kStatusActive && record->mBufferPos == 0 &&
                      record->mIsSelect == 0;
  if (!isIdle || fd < 0 || fd >= FD_SETSIZE) return false;
  KZFdData*& place = mByDescriptor[static_cast<std::size_t>(fd)];
  if (place != nullptr || record->mSettledIn != nullptr) return false;
  place = record;
  FD_SET(fd, &mReads);
  ++mCount;
  record->mSettledFd = fd;
  record->mSettledIn = this;
  return true;
}

void SettledRecords::TakeTouched(std::vector<KZFdData*>& restless) {
  const Lock lock(gLock);
  MoveTouched(restless);
}

void SettledRecords::TakeReady(const fd_set& reads, const fd_set& writes,
                               std::vector<KZFdData*>& restless) {
  const Lock lock(gLock);
  MoveTouched(restless);
  for (int word = 0; word < FD_SETSIZE / NFDBITS; ++word) {
    auto ready = static_cast<unsigned long>(__FDS_BITS(&reads)[word] | __FDS_BITS(&writes)[word]);
    for (; ready != 0; ready &= ready - 1) {
      const int fd = word * NFDBITS + __builtin_ctzl(ready);
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

void SettledRecords::Touch(KZFdData* record) {
  const Lock lock(gLock);
  SettledRecords* settled = record->mSettledIn;
  if (settled == nullptr) return;
  // Its place is the loop thread's to clear.
  record->mSettledIn = nullptr;
  settled->mTouched.push_back(record);
}

void SettledRecords::Unsettle(KZFdData* record) {
  const int fd = record->mSettledFd;
  mByDescriptor[static_cast<std::size_t>(fd)] = nullptr;
  FD_CLR(fd, &mReads);
  --mCount;
  record->mSettledFd = -1;
  record->mSettledIn = nullptr;
}

void SettledRecords::MoveTouched(std::vector<KZFdData*>& restless) {
  for (KZFdData* record : mTouched) Unsettle(record);
  restless.insert(restless.end(), mTouched.begin(), mTouched.end());
  mTouched.clear();
}

}  // namespace dorn
