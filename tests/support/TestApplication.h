// A descriptor list, an application and a record that tests can look into. Header only: whoever
// includes it links the loop layer.
#ifndef TESTS_SUPPORT_TESTAPPLICATION_H_
#define TESTS_SUPPORT_TESTAPPLICATION_H_

#include <sys/select.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "dorn/loop/KZApplication.h"
#include "dorn/loop/KZFdData.h"

// A descriptor list leaves its wake-up pipe behind when it dies. A base class that comes before
// the list (or its application) tidies that up after it.
class PipeKeeper {
 public:
  PipeKeeper(const PipeKeeper&) = delete;
  PipeKeeper& operator=(const PipeKeeper&) = delete;

 protected:
  PipeKeeper() = default;
  ~PipeKeeper() {
    if (mPipeRecord == nullptr) return;
    close(mPipeRecord->GetFD());
    close(mWriteEnd);
    delete mPipeRecord;
  }
  void Keep(const KZFdDataList& list) { mPipeRecord = list.front(); }
  // Where the list writes to at its end.
  void KeepWriteEnd(const KZFdDataList& list) { mWriteEnd = list.mPipeFd; }

 private:
  KZFdData* mPipeRecord = nullptr;
  int mWriteEnd = -1;
};

class TestList : private PipeKeeper, public KZFdDataList {
 public:
  TestList() { Keep(*this); }
  ~TestList() override { KeepWriteEnd(*this); }

  KZFdData* PipeRecord() const { return front(); }

  // What one pass of the loop does with the list, without waiting: the ready records.
  std::vector<KZFdData*> Pass() {
    fd_set reads;
    fd_set writes;
    FdSet(&reads, &writes);
    timeval none{};
    FdDataList ready;
    if (select(FD_SETSIZE, &reads, &writes, nullptr, &none) >= 0) FdIsSet(&reads, &writes, &ready);
    return {ready.begin(), ready.end()};
  }

  // How often a record is linked.
  int Count(const KZFdData* record) const {
    int count = 0;
    for (const KZFdData* linked : *this) count += linked == record ? 1 : 0;
    return count;
  }
};

// Remembers the timers that fired instead of tracing them.
class TestApplication : private PipeKeeper, public KZApplication {
 public:
  struct Fired {
    timeval mTime;
    unsigned int mId;
    std::string mName;  // Of a dialog timer.
    bool mIsDialog;
  };

  TestApplication() { Keep(mFdList); }
  ~TestApplication() override { KeepWriteEnd(mFdList); }

  void ApplicationTimer(timeval time, unsigned int id) override {
    mFired.push_back({time, id, "", false});
    if (mOnTimer) mOnTimer(id);
  }
  void DialogTimer(timeval time, unsigned int id, KZString name) override {
    mFired.push_back({time, id, static_cast<const char*>(name), true});
    if (mOnTimer) mOnTimer(id);
  }

  // The ids fired since the last call, in order.
  std::vector<unsigned int> TakeIds() {
    std::vector<unsigned int> ids;
    for (const Fired& fired : std::exchange(mFired, {})) ids.push_back(fired.mId);
    return ids;
  }

  std::vector<Fired> mFired;
  std::function<void(unsigned int id)> mOnTimer;  // Called after the timer is noted.
};

// A record that notes each hook by name: "receive", "write", "notice 1000 0", "destroyed".
class TestRecord : public KZFdData {
 public:
  explicit TestRecord(KZFdDataList* list) : KZFdData(list) {}
  TestRecord(int type, int fd, int id, KZFdDataList* list = nullptr)
      : KZFdData(type, fd, id, list) {}
  ~TestRecord() override {
    if (mOnDestroy) mOnDestroy();
    if (mSharedLog != nullptr) mSharedLog->push_back(mName + " destroyed");
  }

  void ReadyToRead() override {
    if (mOnRead) mOnRead();
    if (mReadForReal) {
      KZFdData::ReadyToRead();
    } else {
      mEvents.push_back("read");
    }
  }
  void ReadyToWrite() override { mEvents.push_back("write"); }
  int OnReceive() override {
    mEvents.push_back("receive");
    if (mOnReceive) mOnReceive();
    return 0;
  }
  int OnNotice(int code, int value) override {
    mEvents.push_back("notice " + std::to_string(code) + " " + std::to_string(value));
    if (mOnNotice) mOnNotice();
    return 0;
  }

  void Put(const std::string& bytes) {
    std::string copy = bytes;
    SetDataToBuffer(copy.data(), static_cast<int>(copy.size()));
  }
  std::string Take(int length) {
    std::string bytes(static_cast<size_t>(length), '\0');
    bytes.resize(static_cast<size_t>(GetData(bytes.data(), length)));
    return bytes;
  }
  std::vector<std::string> TakeEvents() { return std::exchange(mEvents, {}); }

  std::vector<std::string> mEvents;
  bool mReadForReal = true;  // False: ReadyToRead() is only noted, as "read".
  std::function<void()> mOnRead;
  std::function<void()> mOnReceive;
  std::function<void()> mOnNotice;
  std::function<void()> mOnDestroy;
  // When set, destruction adds "<name> destroyed" to it.
  std::vector<std::string>* mSharedLog = nullptr;
  std::string mName;
};

#endif  // TESTS_SUPPORT_TESTAPPLICATION_H_
