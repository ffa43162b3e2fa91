#ifndef DORN_LOOP_KZFDDATALIST_H_
#define DORN_LOOP_KZFDDATALIST_H_
#include <sys/select.h>
#include <cstddef>
#include <list>
#include <memory>
#include <vector>
#include "dorn/base/Export.h"
#include "dorn/base/KZSemaphore.h"
class KZFdData;
namespace dorn {
class SettledRecords;
}
using FdDataList = std::list<KZFdData*>;
class DORN_EXPORT KZFdDataList : public FdDataList {
 public:
  static constexpr int kPipeId = 0x7FFFFFFF;
  static constexpr int kFirstUniqueId = 0x10000000;
  KZFdDataList();
  virtual ~KZFdDataList();
  KZFdDataList(const KZFdDataList&) = delete;
  KZFdDataList& operator=(const KZFdDataList&) = delete;
  void WakeUp();
  int CreateUniqueId();
  int Add(KZFdData* fdd);
  int Add(int fd, int id);
  void Remove(KZFdData* fdd);
  void Remove(int fd, int id);
  int FdSet(fd_set* rfds, fd_set* wfds);
  void FdIsSet(fd_set* rfds, fd_set* wfds, FdDataList* ready);
  void RemoveClosed();
  int mPipeFd = -1;
  volatile int mRequest = 0;
  int mUniqueId = kFirstUniqueId;
  KZSemaphore mSemFdList;
  FdDataList mAddRequest;

 private:
  friend class KZFdData;
  static void SortByPlace(std::vector<KZFdData*>& records);
  void Survey();
  std::size_t CountSettled() const;
  void ApplyRequests();
  void UnlinkMarked(FdDataList& doomed);
  void LinkPending(FdDataList& doomed);
  void ReopenPipe(KZFdData* pipe);
  void Forget(KZFdData* fdd);
  FdDataList mRemovalRequests;
  std::unique_ptr<dorn::SettledRecords> mSettled;
  std::vector<KZFdData*> mRestless;
  std::vector<KZFdData*> mFound;
  std::size_t mSurveyedSize = 0;
  const KZFdData* mSurveyedLast = nullptr;
  bool mIsSurveyed = false;
  std::shared_ptr<KZFdDataList*> mSelf;
};
#include "dorn/loop/KZFdData.h"
#endif
