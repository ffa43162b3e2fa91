// What a list of descriptor records remembers beside its public members. Internal: not installed.
#ifndef DORN_LOOP_LISTSTATE_H_
#define DORN_LOOP_LISTSTATE_H_

#include <cstddef>
#include <memory>
#include <vector>

#include "dorn/loop/DeferredWakeUp.h"
#include "dorn/loop/KZFdDataList.h"
#include "dorn/loop/SettledRecords.h"

namespace dorn {

struct ListState {
  explicit ListState(KZFdDataList* list) : mSelf(std::make_shared<KZFdDataList*>(list)) {}

  DeferredWakeUp mWakeUp;

  // The removal requests made by Remove(fd, id), which are never destroyed; guarded by mSemFdList.
  FdDataList mRemovalRequests;

  // Every record of the list is settled or restless, as long as mIsSurveyed holds and the list has
  // the size and the last record that it had. Loop thread only.
  SettledRecords mSettled;
  std::vector<KZFdData*> mRestless;
  std::vector<KZFdData*> mFound;  // Storage that CollectReady() uses again.
  std::size_t mSurveyedSize = 0;
  const KZFdData* mSurveyedLast = nullptr;
  bool mIsSurveyed = false;

  // What linked and pending records point to; holds null from the list's destructor on.
  std::shared_ptr<KZFdDataList*> mSelf;
};

}  // namespace dorn

#endif  // DORN_LOOP_LISTSTATE_H_
