#include "dorn/loop/NextPass.h"

#include <list>

#include "dorn/loop/KZFdData.h"

namespace dorn {

namespace {

struct Waiting {
  KZFdData* mRecord;
  NextPass::Call mCall;
  unsigned int mRound;  // The run during which or before which it was asked for.
};

thread_local unsigned int tRound = 0;

// Made at the first request and never destroyed: records may still be destroyed after the objects
// of their thread.
thread_local std::list<Waiting>* tWaiting = nullptr;

}  // namespace

void NextPass::Request(KZFdData& record, Call call) {
  Forget(&record);
  if (tWaiting == nullptr) tWaiting = new std::list<Waiting>;
  tWaiting->push_back({&record, call, tRound});
}

void NextPass::Forget(const KZFdData* record) {
  if (tWaiting == nullptr) return;
  tWaiting->remove_if([record](const Waiting& waiting) { return waiting.mRecord == record; });
}

// A call may destroy and forget any record, so each search begins anew.
bool NextPass::Run(const KZFdDataList& list) {
  if (tWaiting == nullptr || tWaiting->empty()) return false;
  bool isAnyCalled = false;
  const unsigned int round = ++tRound;
  for (auto it = tWaiting->begin(); it != tWaiting->end();) {
    if (it->mRound == round || it->mRecord->GetFdDataList() != &list) {
      ++it;
      continue;
    }
    const Waiting due = *it;
    tWaiting->erase(it);
    due.mCall(*due.mRecord);
    isAnyCalled = true;
    it = tWaiting->begin();
  }
  return isAnyCalled;
}

}  // namespace dorn
