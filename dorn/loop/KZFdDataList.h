// The list of all descriptor records of one loop, with the pipe that wakes the loop up.
//
// Invariants:
// - A record with status kStatusRemove leaves the list in the next apply phase, and is destroyed
//   there if its auto-delete is set.
// - The active list changes only in the apply phase, on the loop thread and under mSemFdList, or
//   when a record that is still linked is destroyed. Nobody unlinks a record while it is walked.
// - mRequest is 1 whenever mAddRequest is not empty or Remove() has given a record kStatusRemove,
//   and a byte in the pipe, or a hook's note (see WakeUp()), tells the loop until the apply phase.
// - mSemFdList is the first of the locks that a thread may hold together; docs/design.md has the
//   order of all, under "Locks".
// - No lock is held while a hook, a callback or the destructor of a record runs.
// - A record's status, descriptor and buffer position are written under its mSemData; the loop
//   thread reads each of them by a single atomic load, without the lock. To settle a record it
//   takes the lock if it is free; before it unlinks a marked record it waits for the lock.
// - An active record that a pending one replaces (same descriptor or same id) is gone before the
//   pending one is linked; a record never replaces itself.
// - A record is destroyed only after it left the active, the pending and the ready list.
#ifndef DORN_LOOP_KZFDDATALIST_H_
#define DORN_LOOP_KZFDDATALIST_H_

#include <sys/select.h>

#include <cstddef>
#include <list>
#include <memory>

#include "dorn/base/Export.h"
#include "dorn/base/KZSemaphore.h"

class KZFdData;

namespace dorn {
struct ListState;
}

using FdDataList = std::list<KZFdData*>;

// The active records, in the order of their addition. Additions and removals are queued and applied
// by the loop in the pass that finds the wake-up byte or note. Walk it on the loop thread only.
class DORN_EXPORT KZFdDataList : public FdDataList {
 public:
  // The id of the record that watches the wake-up pipe.
  static constexpr int kPipeId = 0x7FFFFFFF;
  static constexpr int kFirstUniqueId = 0x10000000;

  // Ignores SIGPIPE and opens the wake-up pipe, with the first record on it. Descriptors 0 to 2
  // that are closed are put on the null device before, so that no console line lands in the pipe.
  // Ends the process with status 1 and a text on standard output when there is no pipe.
  KZFdDataList();

  // Deletes no record and leaves both ends of the pipe open. No thread may call WakeUp(), Add() or
  // Remove() any more.
  virtual ~KZFdDataList();

  KZFdDataList(const KZFdDataList&) = delete;
  KZFdDataList& operator=(const KZFdDataList&) = delete;

  // Makes a loop that waits, or is about to, go through a pass. Any thread and signal handlers;
  // never blocks. Where the loop's own thread serves records or timers it is only noted, and the
  // next wait is none; elsewhere a byte is written to the pipe.
  void WakeUp();

  // The next of the ids that Add() gives to records without one. Any thread.
  int CreateUniqueId();

  // Asks for `fdd` to be watched and returns its id, which is assigned here when it was -1. Any
  // thread. The record must live until it is removed again. Whatever active record has the same
  // descriptor or the same id is removed when `fdd` is linked. Adding a record that is already
  // linked moves it to the end of the list.
  int Add(KZFdData* fdd);

  // Watches `fd` for readability with a record of the list's own, which is never dispatched: a
  // readable descriptor only ends the wait. Returns `id`, or the assigned one for -1. Any thread.
  int Add(int fd, int id);

  // Asks for `fdd` to be unlinked, and destroyed if its auto-delete is set. Any thread.
  void Remove(KZFdData* fdd);

  // Asks for the removal of every record with this descriptor, and of every record with this id.
  // Any thread. Close the descriptor only after a pass went by.
  // Kept: each call leaves a small request record behind for the life of the process.
  void Remove(int fd, int id);

  // The following three are for the loop alone.

  // Fills both sets with what is to be watched. Returns 0 when a record has data in its buffer, so
  // that the loop must not wait long; else the number of active records. Descriptors of 1024 and
  // more do not fit into a set and are never watched.
  int FdSet(fd_set* rfds, fd_set* wfds);

  // Appends to `ready` every record that is in one of the sets, as select left them, or has data in
  // its buffer. Then, if the wake-up pipe was readable, applies the pending additions and removals;
  // a record that is destroyed thereby is taken out of `ready` again.
  void FdIsSet(fd_set* rfds, fd_set* wfds, FdDataList* ready);

  // For a select that failed with EBADF: removes the records whose descriptor was closed behind the
  // loop's back, which would make every further select fail, and applies what is pending.
  void RemoveClosed();

  int mPipeFd = -1;           // Write end of the wake-up pipe.
  volatile int mRequest = 0;  // 1: something waits for the apply phase.
  int mUniqueId = kFirstUniqueId;
  KZSemaphore mSemFdList;  // Lock over mAddRequest, mRequest and mUniqueId.
  FdDataList mAddRequest;  // Records to add and removal requests, in the order of the requests.

 private:
  friend class KZApplication;
  friend class KZFdData;

  void WriteWakeUp() const;
  // What FdSet() and FdIsSet() do, with less work, for a loop that calls nothing in between.
  int Prepare(fd_set* rfds, fd_set* wfds);
  bool IsWoken() const;
  void Collect(fd_set* rfds, fd_set* wfds, FdDataList* ready);

  int WatchRestless(fd_set* rfds, fd_set* wfds);
  void CollectReady(const fd_set* rfds, const fd_set* wfds, FdDataList* ready, bool isWoken);
  void Survey();
  std::size_t CountSettled() const;
  void ApplyRequests();
  void UnlinkMarked(FdDataList& doomed);
  void LinkPending(FdDataList& doomed);
  void ReopenPipe(KZFdData* pipe);
  void Forget(KZFdData* fdd);

  std::unique_ptr<dorn::ListState> mState;

  // Never used: what derives from this class begins where it did when hosts were compiled.
  [[maybe_unused]] void* mReserved[14] = {};
};

#include "dorn/loop/KZFdData.h"

#endif  // DORN_LOOP_KZFDDATALIST_H_
