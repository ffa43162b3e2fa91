#ifndef DORN_LOOP_KZFDDATA_H_
#define DORN_LOOP_KZFDDATA_H_
#include <atomic>
#include <cstddef>
#include <memory>
#include "dorn/base/Export.h"
#include "dorn/base/KZSemaphore.h"
class KZFdData;
class KZFdDataList;
namespace dorn {
class SettledRecords;
using BeforeUse = void (*)(KZFdData& record);
void LetSettle(KZFdData& record);
void SetBeforeUse(KZFdData& record, BeforeUse write);
}  // namespace dorn
class DORN_EXPORT KZFdData {
 public:
  static constexpr int kTypeUnset = -1;
  static constexpr int kTypeEvent = 0;
  static constexpr int kTypePipe = 1;
  static constexpr int kTypeListener = 2;
  static constexpr int kTypeClient = 3;
  static constexpr int kStatusInitial = 0;
  static constexpr int kStatusOpen = 1;
  static constexpr int kStatusActive = 2;
  static constexpr int kStatusGone = 3;
  static constexpr int kStatusRemove = 4;
  static constexpr int kNoticeNearlyFull = 1000;
  static constexpr int kNoticeReadError = 1002;
  static constexpr int kNoticeCleared = 1004;
  static constexpr int kReadSize = 1500;
  explicit KZFdData(KZFdDataList* list);
  KZFdData(int type, int fd, int id, KZFdDataList* list);
  virtual ~KZFdData();
  KZFdData(const KZFdData&) = delete;
  KZFdData& operator=(const KZFdData&) = delete;
  virtual void ReadyToRead();
  virtual void ReadyToWrite();
  virtual int OnReceive();
  virtual int OnNotice(int code, int value);
  int AddEvent();
  void RemoveEvent();
  KZFdDataList* GetFdDataList() { return mList; }
  int GetFD();
  int GetFDStatus();
  int SetFD(int fd);
  int SetFDStatus(int s);
  int GetStatus();
  int GetId() const { return mId; }
  void SetId(int id) { mId = id; }
  int GetType() const { return mType; }
  void SetType(int type) {
    mType = type;
    Touch();
  }
  int IsSelect() const { return mIsSelect; }
  void SetSelect(int select) {
    mIsSelect = select;
    Touch();
  }
  int GetAutoDelete() const { return mAutoDelete; }
  void SetAutoDelete(int autoDelete) { mAutoDelete = autoDelete; }
  bool CreateBuffer(int buffersize);
  bool SetDataToBuffer(char* data, int len);
  int GetDataLength();
  int GetData(void* data, int len);
  int CheckBuffer(int notice);
  void ClearData();
  int mStatus;
  int mType;
  int mId;
  int mFD;
  int mAutoDelete = 0;
  int mIsSelect = 0;
  KZFdDataList* mList;
  KZSemaphore mSemData;
  char* mDataBuffer = nullptr;
  volatile int mBufferSize = 0;
  volatile int mBufferPos = 0;

 private:
  friend class KZFdDataList;
  friend class dorn::SettledRecords;
  friend void dorn::LetSettle(KZFdData& record);
  friend void dorn::SetBeforeUse(KZFdData& record, dorn::BeforeUse write);
  void Touch() {
    if (mSettledIn.load(std::memory_order_relaxed) != nullptr) TouchSettled();
  }
  void TouchSettled();
  void PrepareUse();
  std::shared_ptr<KZFdDataList*> mHolder;
  std::atomic<dorn::SettledRecords*> mSettledIn{nullptr};
  int mSettledFd = -1;
  bool mMaySettle = false;
  std::size_t mPlace = 0;
  dorn::BeforeUse mBeforeUse = nullptr;
};
#include "dorn/loop/KZFdDataList.h"
#endif
