// What the loop remembers of a descriptor record beside its public members. Internal: not
// installed.
#ifndef DORN_LOOP_RECORDSTATE_H_
#define DORN_LOOP_RECORDSTATE_H_

#include <atomic>
#include <cstddef>
#include <memory>

#include "dorn/loop/KZFdData.h"

namespace dorn {

class SettledRecords;

struct RecordState {
  static RecordState& Of(KZFdData& record) { return *record.mState; }
  static const RecordState& Of(const KZFdData& record) { return *record.mState; }

  // The buffer that CreateBuffer() made, and how much of it was ever filled; under mSemData.
  char* mMadeBuffer = nullptr;
  int mMadeSize = 0;
  int mMadeUsed = 0;

  // The list that holds the record, linked or pending; its content is null once that list is
  // gone. Written under the list's lock.
  std::shared_ptr<KZFdDataList*> mHolder;

  std::atomic<SettledRecords*> mSettledIn{nullptr};  // Null: the loop looks at this record.
  int mSettledFd = -1;      // The descriptor with which it settled; loop thread only.
  bool mMaySettle = false;  // See LetRecordSettle().

  // Whose EpollSet has its descriptor, as long as it has; guarded by the lock of the settled
  // records.
  std::atomic<SettledRecords*> mMemberOf{nullptr};
  int mMemberFd = -1;

  // How often SetFD() was called: whether a hook has opened the record anew, perhaps with the same
  // number.
  std::atomic<unsigned int> mDescriptors{0};

  std::size_t mPlace = 0;  // Its place in the list when the loop last walked it.
};

}  // namespace dorn

#endif  // DORN_LOOP_RECORDSTATE_H_
