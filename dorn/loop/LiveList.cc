#include "dorn/loop/LiveList.h"

namespace dorn {

namespace {
thread_local LiveList* tInnermost = nullptr;
}

LiveList::LiveList(FdDataList& list) : mList(list), mOuter(tInnermost) { tInnermost = this; }

LiveList::~LiveList() { tInnermost = mOuter; }

void LiveList::Forget(KZFdData* rec) {
  for (LiveList* live = tInnermost; live != nullptr; live = live->mOuter) live->mList.remove(rec);
}

}  // namespace dorn
