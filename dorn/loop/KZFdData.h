// A descriptor record: one file descriptor that the event loop watches, with the hooks that the
// loop calls when the descriptor is ready. Sockets derive from it.
#ifndef DORN_LOOP_KZFDDATA_H_
#define DORN_LOOP_KZFDDATA_H_

#include <memory>

#include "dorn/base/Export.h"
#include "dorn/base/KZSemaphore.h"

class KZFdData;
class KZFdDataList;

namespace dorn {
struct RecordState;
}  // namespace dorn

// Hooks and the buffer's consumers run on the loop thread. Other threads may read and change
// status, descriptor and buffer through the operations that take the record's lock, and may ask
// for addition and removal.
//
// The creator owns a record, unless its auto-delete is set: then the list destroys it when it
// removes it. To get rid of a record of one's own, ask for its removal, let a loop pass go by,
// close the descriptor and destroy the record. A descriptor that is closed earlier is found dead by
// the loop, which then removes its record without a hook. A descriptor that is closed and opened
// again behind its record, under the same number, is watched again at the latest 100 ms after a
// hook has run; where that happened outside hooks, on another thread, that is after the next hook.
// A record that is destroyed on the loop
// thread while it is still in the list leaves the list by itself; destroying a record from within
// one of its own hooks is an error.
class DORN_EXPORT KZFdData {
 public:
  // Values of mType.
  static constexpr int kTypeUnset = -1;    // Not set yet; also a removal request.
  static constexpr int kTypeEvent = 0;     // Bare descriptor: ends the wait, is never dispatched.
  static constexpr int kTypePipe = 1;      // The list's own wake-up pipe.
  static constexpr int kTypeListener = 2;  // Listening stream socket or datagram socket.
  static constexpr int kTypeClient = 3;    // Stream socket, connecting or connected.

  // Values of mStatus.
  static constexpr int kStatusInitial = 0;
  static constexpr int kStatusOpen = 1;    // For a client: connecting, watched for writability.
  static constexpr int kStatusActive = 2;  // Listening, bound or connected.
  static constexpr int kStatusGone = 3;    // The descriptor was taken away.
  static constexpr int kStatusRemove = 4;  // To be unlinked in the next apply phase.

  // Values of the first argument of OnNotice().
  static constexpr int kNoticeNearlyFull = 1000;
  static constexpr int kNoticeReadError = 1002;
  static constexpr int kNoticeCleared = 1004;

  // The most that is read for one readiness, and the free room below which a buffer counts as
  // nearly full; in bytes.
  static constexpr int kReadSize = 1500;

  // A record without a descriptor yet (the number is 0, the status kStatusInitial), for `list`,
  // which may be null and must otherwise outlive the use of AddEvent() and RemoveEvent().
  explicit KZFdData(KZFdDataList* list);

  // An open record. An `id` of -1 lets the list choose one.
  KZFdData(int type, int fd, int id, KZFdDataList* list);

  // Frees the buffer. The descriptor stays open.
  virtual ~KZFdData();

  KZFdData(const KZFdData&) = delete;
  KZFdData& operator=(const KZFdData&) = delete;

  // Called by the loop when the descriptor is readable (IsSelect() is 1), and in every pass in
  // which the buffer holds data (IsSelect() is 0). No lock is held; the hook may close, add and
  // remove records, this one included. Reads once into the buffer, then calls OnReceive() and
  // CheckBuffer(1). A failed read gives OnNotice(kNoticeReadError, errno) alone.
  // Kept: the end of a file gives no callback at all, and the descriptor stays readable; a host
  // that watches pipes overrides this operation.
  virtual void ReadyToRead();

  // Called by the loop when a connecting client socket is writable. Does nothing here.
  virtual void ReadyToWrite();

  // Called when the buffer has got data, or still has some. What is left in it keeps the record
  // served in every pass, and passes at most 10 ms apart. The result is not used; the base returns
  // 0.
  virtual int OnReceive();

  // Called without a lock for one of the notice codes; `value` is the errno of a read error, else
  // 0. The result is not used; the base returns 0.
  virtual int OnNotice(int code, int value);

  // Asks the list to watch this record from the next pass on. Returns the record's id, or 0
  // without a list. Any thread.
  int AddEvent();

  // Asks the list to unlink this record in the next apply phase. Any thread.
  void RemoveEvent();

  KZFdDataList* GetFdDataList() { return mList; }

  // These four take the record's lock.
  int GetFD();
  int GetFDStatus();
  // Returns the previous descriptor. A negative `fd` also sets kStatusGone.
  int SetFD(int fd);
  // Returns the previous status.
  int SetFDStatus(int s);

  // 1 for a record in use, 0 for one that is not open yet or is still connecting, -1 for one whose
  // descriptor is gone or that is about to be removed. Takes the record's lock.
  int GetStatus();

  // Plain accessors without a lock: set what they set before the record is added.
  int GetId() const { return mId; }
  void SetId(int id) { mId = id; }
  int GetType() const { return mType; }
  void SetType(int type) {
    mType = type;
    TouchSettled();
  }
  int IsSelect() const { return mIsSelect; }
  void SetSelect(int select) {
    mIsSelect = select;
    TouchSettled();
  }
  int GetAutoDelete() const { return mAutoDelete; }
  void SetAutoDelete(int autoDelete) { mAutoDelete = autoDelete; }

  // The receive buffer; all of these take the record's lock. It never grows.

  // Empties the buffer and, unless `buffersize` is 0, replaces it by one of `buffersize` bytes.
  // When there is no memory for it: false, and there is no buffer any more.
  bool CreateBuffer(int buffersize);

  // Appends `len` bytes. When they do not all fit: false, and only the first ones were taken.
  // Without a buffer they are dropped, and the result is true.
  bool SetDataToBuffer(char* data, int len);

  // Number of bytes held.
  int GetDataLength();

  // Moves up to `len` bytes from the front of the buffer to `data`; returns their number. A `len`
  // of 0 or less moves nothing.
  int GetData(void* data, int len);

  // 0 when less than kReadSize bytes are free, else 1, also without a buffer. With 0 and a `notice`
  // other than 0, OnNotice(kNoticeNearlyFull, 0) is called first, without the lock.
  int CheckBuffer(int notice);

  // Drops all bytes held, then calls OnNotice(kNoticeCleared, 0) without the lock.
  void ClearData();

  // Change them with the operations above: the loop looks at an idle connection of a station only
  // when its descriptor is ready or an operation has changed something. Records of a host's own
  // classes are looked at in every pass.
  int mStatus;                   // kStatus...; written under mSemData.
  int mType;                     // kType...
  int mId;                       // -1: not assigned yet.
  int mFD;                       // Written under mSemData.
  int mAutoDelete = 0;           // 1: the list destroys the record when it removes it.
  int mIsSelect = 0;             // 1: found ready by the last select; loop thread only.
  KZFdDataList* mList;           // Not owned; may be null.
  KZSemaphore mSemData;          // Lock over status, descriptor and buffer.
  char* mDataBuffer = nullptr;   // Owned; null until CreateBuffer().
  volatile int mBufferSize = 0;  // Capacity in bytes; 0: no buffer.
  volatile int mBufferPos = 0;   // Bytes held, from the start of mDataBuffer on.

 private:
  friend struct dorn::RecordState;

  // Tells the loop that a record it does not look at any more has changed. Behind the change, and
  // within its lock, which orders it with the settling: afterwards the loop may destroy the record.
  void TouchSettled();
  void FreeBuffer();

  // Never used: what derives from this class begins where it did when hosts were compiled.
  [[maybe_unused]] void* mReserved1[2] = {};

  // Never null, at the place where such hosts look before they call TouchSettled().
  std::unique_ptr<dorn::RecordState> mState;

  [[maybe_unused]] void* mReserved2[3] = {};
};

#include "dorn/loop/KZFdDataList.h"

#endif  // DORN_LOOP_KZFDDATA_H_
