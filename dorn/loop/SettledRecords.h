// Spares the loop most of its work on idle connections. Internal: not installed.
#ifndef DORN_LOOP_SETTLEDRECORDS_H_
#define DORN_LOOP_SETTLEDRECORDS_H_

#include <sys/select.h>

#include <cstddef>
#include <vector>

#include "dorn/loop/KZFdData.h"
#include "dorn/loop/RecordState.h"

namespace dorn {

// Lets the record settle from now on. Only for objects whose class is known to change descriptor,
// status, type and buffer by the operations of KZFdData alone: a class that a host derives may
// write the fields. Before the record is added.
void LetRecordSettle(KZFdData& record);

// The connected records of one list of which nothing has changed since the loop looked at them.
// With hundreds of idle stations, looking at each record twice in every pass is what a pass costs,
// for their fields are out of the processor's cache by then.
//
// A record settles when the loop finds it connected, with an empty buffer, on a descriptor that no
// settled record has. Every operation that changes one of these touches it. A touched record, and
// one whose descriptor is ready, is restless: to be looked at until it settles again.
//
// Loop thread, but for TouchRecord(). A record must be forgotten before it is destroyed or leaves
// the list.
class SettledRecords {
 public:
  SettledRecords();
  ~SettledRecords();

  SettledRecords(const SettledRecords&) = delete;
  SettledRecords& operator=(const SettledRecords&) = delete;

  // Returns whether the record is settled now.
  bool Settle(KZFdData* record);

  // Adds the descriptors of all settled records, which wait to be read, to a set for select.
  void AddTo(fd_set* reads) const;

  // Appends to `restless` the records that were touched since the last call.
  void TakeTouched(std::vector<KZFdData*>& restless);

  // The same, and takes the settled records of which the descriptor is in one of the sets.
  void TakeReady(const fd_set& reads, const fd_set& writes, std::vector<KZFdData*>& restless);

  // Whether the record is settled, or touched and not yet taken; and how many are.
  static bool Has(const KZFdData& record) { return RecordState::Of(record).mSettledFd >= 0; }
  std::size_t Count() const { return mCount; }

  void Forget(KZFdData* record);
  void ForgetAll();

  // Makes the record restless if it is settled. Any thread.
  static void TouchRecord(KZFdData* record);

 private:
  static bool IsIdle(const KZFdData& record);
  bool Enter(KZFdData* record);
  void Unsettle(KZFdData* record);
  void MoveTouched(std::vector<KZFdData*>& restless);

  fd_set mReads;
  std::vector<KZFdData*> mByDescriptor;  // Null where no record is settled.
  std::size_t mCount = 0;
  std::vector<KZFdData*> mTouched;
};

}  // namespace dorn

#endif  // DORN_LOOP_SETTLEDRECORDS_H_
