// Spares the loop most of its work on idle connections. Internal: not installed.
#ifndef DORN_LOOP_SETTLEDRECORDS_H_
#define DORN_LOOP_SETTLEDRECORDS_H_

#include <sys/select.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "dorn/loop/EpollSet.h"
#include "dorn/loop/KZFdData.h"
#include "dorn/loop/RecordState.h"

namespace dorn {

// Lets the record settle from now on. Only for objects whose class is known to change descriptor,
// status, type and buffer by the operations of KZFdData alone: a class that a host derives may
// write the fields. Before the record is added.
void LetRecordSettle(KZFdData& record);

// The connected records of one list of which nothing has changed since the loop looked at them.
// With hundreds of idle stations, looking at each record twice in every pass, and having select
// look at each socket, is what a pass costs.
//
// A record settles when the loop finds it connected, with an empty buffer, on a descriptor that no
// settled record has. Every operation that changes one of these touches it. A touched record, and
// one whose descriptor is ready, is restless: to be looked at until it settles again.
//
// The descriptors of settled records are members of an epoll set, which select watches in their
// place. Invariants:
// - A member stays one while its record is restless: it usually settles again in the next pass. If
//   it is reported meanwhile it is removed, since nobody takes what it reports.
// - It is removed before its record gets another descriptor, which is before it is closed, and
//   before its record leaves the list.
// - What cannot be a member is watched by select itself, and so are the few that are not yet.
//
// Loop thread, but for TouchRecord() and LeaveDescriptor(). A record must be forgotten before it is
// destroyed or leaves the list.
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

  // The same for a loop that gives what select found to TakeMembers(): one descriptor stands for
  // the members of the epoll set.
  void AddWithMembers(fd_set* reads);

  // Replaces that one descriptor, if it is there, by the members that can be read.
  void TakeMembers(fd_set* reads);

  // Hooks may close a descriptor and open it again behind its record, which the epoll set does not
  // notice. To be called when some have run.
  void NoteHooks() { mMayBeStale = true; }

  // Looks for such members if hooks have run, at most ten times a second. Returns the milliseconds
  // after which it is to be called again, or 0.
  std::uint64_t RefreshIfDue();

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

  // To be called when the record has got another descriptor, before the former one is closed. Any
  // thread.
  static void LeaveDescriptor(KZFdData* record);

 private:
  static bool IsIdle(const KZFdData& record);
  bool Enter(KZFdData* record);
  void Unsettle(KZFdData* record);
  void MoveTouched(std::vector<KZFdData*>& restless);
  void AddMembers();
  bool NeedsRefresh();
  void Leave(int fd);
  void Refresh();

  fd_set mReads;
  std::vector<KZFdData*> mByDescriptor;  // Null where no record is settled.
  EpollSet mMembers;
  std::vector<KZFdData*> mMemberRecords;  // By descriptor; null where none is a member.
  fd_set mRefused;                        // What could not be a member when last tried.
  std::size_t mCount = 0;
  std::vector<KZFdData*> mTouched;
  bool mMayBeStale = false;
  std::uint64_t mRefreshedMs = 0;
};

}  // namespace dorn

#endif  // DORN_LOOP_SETTLEDRECORDS_H_
