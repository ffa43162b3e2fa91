// Protects a list of records against the destruction of its members. Internal: not installed.
#ifndef DORN_LOOP_LIVELIST_H_
#define DORN_LOOP_LIVELIST_H_

#include "dorn/loop/KZFdDataList.h"

namespace dorn {

// As long as it lives, a record that is destroyed on this thread leaves `list`. Objects on one
// thread end in the reverse order of their beginning.
class LiveList {
 public:
  explicit LiveList(FdDataList& list);
  ~LiveList();

  LiveList(const LiveList&) = delete;
  LiveList& operator=(const LiveList&) = delete;

  // Takes a record that is being destroyed out of all protected lists of this thread.
  static void Forget(KZFdData* rec);

 private:
  FdDataList& mList;
  LiveList* mOuter;
};

}  // namespace dorn

#endif  // DORN_LOOP_LIVELIST_H_
