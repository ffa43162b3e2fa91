#include "dorn/loop/KZFdDataList.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <unordered_set>
#include <utility>
#include <vector>

#include "dorn/base/SemaphoreLock.h"
#include "dorn/loop/ListState.h"
#include "dorn/loop/LiveList.h"
#include "dorn/loop/RecordState.h"
#include "dorn/loop/SettledRecords.h"
#include "dorn/loop/SharedInt.h"

using dorn::LoadShared;
using dorn::RecordState;
using dorn::SemaphoreLock;
using dorn::StoreShared;

namespace {

// Records that outlived their list and that nobody else may own. They are never touched again, only
// kept reachable, so that a leak checker can tell them from records that were lost.
struct Orphans {
  FdDataList mRecords;
  Orphans* mNext;
};
std::atomic<Orphans*> gOrphans{nullptr};

void KeepReachable(FdDataList records) {
  if (records.empty()) return;
  auto* orphans = new Orphans{std::move(records), gOrphans.load()};
  while (!gOrphans.compare_exchange_weak(orphans->mNext, orphans)) {
  }
}

// In a process that was started with a closed standard descriptor, the next descriptor opened
// would take its number, and with it all that is printed.
void OccupyStandardDescriptors() {
  int fd = -1;
  do {
    fd = open("/dev/null", O_RDWR);
  } while (fd >= 0 && fd <= STDERR_FILENO);
  static_cast<void>(close(fd));  // Fails where none could be opened.
}

// Non-blocking at both ends: the loop thread writes to its own pipe and would wait for itself when
// it is full. A full pipe wakes up as well as one more byte would.
bool MakePipe(int (&ends)[2]) { return pipe2(ends, O_NONBLOCK | O_CLOEXEC) == 0; }

bool IsWatched(int status) {
  return status == KZFdData::kStatusOpen || status == KZFdData::kStatusActive;
}

// Takes the lock once the record looks marked: the thread that marked it is done with it then, and
// it may be destroyed.
bool IsMarked(KZFdData* rec) {
  return LoadShared(rec->mStatus) == KZFdData::kStatusRemove &&
         rec->GetFDStatus() == KZFdData::kStatusRemove;
}

bool FitsIntoSet(int fd) { return fd < FD_SETSIZE; }

bool IsConnecting(const KZFdData* rec, int status) {
  return rec->GetType() == KZFdData::kTypeClient && status == KZFdData::kStatusOpen;
}

// What is watched for reading begins the pass as not ready.
void BeginPass(KZFdData* rec) {
  const int status = LoadShared(rec->mStatus);
  if (LoadShared(rec->mFD) < 0 || !IsWatched(status) || IsConnecting(rec, status)) return;
  if (rec->IsSelect() != 0) rec->SetSelect(0);
}

// Adds the record's descriptor to the set that its state asks for, if any.
void Watch(const KZFdData* rec, int fd, fd_set* rfds, fd_set* wfds) {
  const int status = LoadShared(rec->mStatus);
  if (!IsWatched(status) || !FitsIntoSet(fd)) return;
  FD_SET(fd, IsConnecting(rec, status) ? wfds : rfds);
}

bool IsSignalled(int fd, const fd_set* rfds, const fd_set* wfds) {
  return FitsIntoSet(fd) && (FD_ISSET(fd, wfds) || FD_ISSET(fd, rfds));
}

void DrainPipe(int fd) {
  char bytes[100];
  // That the byte was there is all that counts, and what is left over wakes the next pass.
  [[maybe_unused]] const ssize_t ignored = read(fd, bytes, sizeof bytes);
}

void SortByPlace(std::vector<KZFdData*>& records) {
  const auto place = [](const KZFdData* record) { return RecordState::Of(*record).mPlace; };
  std::sort(records.begin(), records.end(),
            [&place](const KZFdData* a, const KZFdData* b) { return place(a) < place(b); });
}

// A pending record as it was at the beginning of the apply phase.
struct Request {
  explicit Request(KZFdData* rec) : mRecord(rec), mFd(LoadShared(rec->mFD)), mId(rec->GetId()) {}

  // A negative descriptor is none, and replaces nothing.
  bool Replaces(int fd, int id) const { return (mFd >= 0 && mFd == fd) || mId == id; }

  KZFdData* mRecord;
  int mFd;
  int mId;
};

}  // namespace

KZFdDataList::KZFdDataList() : mState(std::make_unique<dorn::ListState>(this)) {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  OccupyStandardDescriptors();
  int ends[2];
  if (!MakePipe(ends)) {
    // "Error! The notification pipe could not be opened."
    std::fputs("エラー！通知用パイプがオープンできませんでした。", stdout);
    std::fflush(stdout);
    std::exit(1);
  }
  mPipeFd = ends[1];
  auto* pipe = new KZFdData(KZFdData::kTypePipe, ends[0], kPipeId, this);
  pipe->SetAutoDelete(1);
  RecordState::Of(*pipe).mHolder = mState->mSelf;
  push_back(pipe);
}

KZFdDataList::~KZFdDataList() {
  *mState->mSelf = nullptr;
  KeepReachable(std::move(static_cast<FdDataList&>(*this)));
  KeepReachable(std::move(mAddRequest));
  KeepReachable(std::move(mState->mRemovalRequests));
}

void KZFdDataList::WakeUp() {
  if (mState->mWakeUp.Note()) return;
  WriteWakeUp();
}

void KZFdDataList::WriteWakeUp() const {
  const int fd = LoadShared(mPipeFd);
  // When the pipe is full the loop is woken anyway. A byte that is lost for any other reason would
  // leave requests waiting for the next one.
  if (write(fd, "!", 1) == 1 || errno == EAGAIN) return;
  [[maybe_unused]] const ssize_t ignored = write(fd, "!", 1);
}

int KZFdDataList::CreateUniqueId() {
  const SemaphoreLock lock(mSemFdList);
  return mUniqueId++;
}

int KZFdDataList::Add(KZFdData* fdd) {
  int id = -1;
  {
    const SemaphoreLock lock(mSemFdList);
    if (fdd->GetId() == -1) fdd->SetId(mUniqueId++);
    // Read here: once the lock is free, the loop may link the record, remove and destroy it.
    id = fdd->GetId();
    RecordState::Of(*fdd).mHolder = mState->mSelf;
    mAddRequest.push_back(fdd);
    mRequest = 1;
  }
  WakeUp();
  return id;
}

int KZFdDataList::Add(int fd, int id) {
  auto* event = new KZFdData(KZFdData::kTypeEvent, fd, id, this);
  event->SetAutoDelete(1);
  const int result = Add(event);
  WakeUp();
  return result;
}

void KZFdDataList::Remove(KZFdData* fdd) {
  {
    const SemaphoreLock lock(mSemFdList);
    fdd->SetFDStatus(KZFdData::kStatusRemove);
    mRequest = 1;
  }
  WakeUp();
}

void KZFdDataList::Remove(int fd, int id) {
  {
    const SemaphoreLock lock(mSemFdList);
    // Kept: never destroyed, since its auto-delete is off.
    auto* request = new KZFdData(KZFdData::kTypeUnset, fd, id, this);
    request->SetFDStatus(KZFdData::kStatusRemove);
    mState->mRemovalRequests.push_back(request);
    mAddRequest.push_back(request);
    mRequest = 1;
  }
  WakeUp();
}

int KZFdDataList::FdSet(fd_set* rfds, fd_set* wfds) {
  // Whoever is not the loop waits for the pipe alone.
  mState->mWakeUp.Stop();
  if (mState->mWakeUp.Take()) WriteWakeUp();
  const int result = WatchRestless(rfds, wfds);
  mState->mSettled.AddTo(rfds);
  return result;
}

int KZFdDataList::Prepare(fd_set* rfds, fd_set* wfds) {
  const int result = WatchRestless(rfds, wfds);
  mState->mSettled.AddWithMembers(rfds);
  return result;
}

bool KZFdDataList::IsWoken() const { return mState->mWakeUp.IsNoted(); }

void KZFdDataList::Collect(fd_set* rfds, fd_set* wfds, FdDataList* ready) {
  mState->mSettled.TakeMembers(rfds);
  CollectReady(rfds, wfds, ready, mState->mWakeUp.Take());
}

// Fills both sets with what the settled records do not wait for.
int KZFdDataList::WatchRestless(fd_set* rfds, fd_set* wfds) {
  Survey();
  FD_ZERO(rfds);
  FD_ZERO(wfds);
  std::vector<KZFdData*>& restless = mState->mRestless;
  mState->mSettled.TakeTouched(restless);
  int result = static_cast<int>(size());
  std::size_t kept = 0;
  for (std::size_t i = 0; i < restless.size(); ++i) {
    KZFdData* rec = restless[i];
    BeginPass(rec);
    if (mState->mSettled.Settle(rec)) continue;
    restless[kept++] = rec;
    const int fd = LoadShared(rec->mFD);
    if (fd < 0) continue;
    if (LoadShared(rec->mBufferPos) > 0) result = 0;
    Watch(rec, fd, rfds, wfds);
  }
  restless.resize(kept);
  return result;
}

void KZFdDataList::FdIsSet(fd_set* rfds, fd_set* wfds, FdDataList* ready) {
  CollectReady(rfds, wfds, ready, false);
}

void KZFdDataList::CollectReady(const fd_set* rfds, const fd_set* wfds, FdDataList* ready,
                                bool isWoken) {
  Survey();
  std::vector<KZFdData*>& restless = mState->mRestless;
  std::vector<KZFdData*>& found = mState->mFound;
  mState->mSettled.TakeReady(*rfds, *wfds, restless);
  found.clear();
  for (std::size_t i = 0; i < restless.size(); ++i) {
    KZFdData* rec = restless[i];
    const int fd = LoadShared(rec->mFD);
    if (fd < 0) continue;
    if (IsSignalled(fd, rfds, wfds)) {
      if (rec->GetId() == kPipeId) {
        DrainPipe(fd);
        isWoken = true;
        continue;
      }
      rec->SetSelect(1);
      found.push_back(rec);
    } else if (LoadShared(rec->mBufferPos) > 0) {
      found.push_back(rec);
    }
  }
  SortByPlace(found);
  ready->insert(ready->end(), found.begin(), found.end());
  if (!isWoken) return;
  // A record that another thread removed during select may be both ready and destroyed here.
  const dorn::LiveList live(*ready);
  ApplyRequests();
}

// Walks the list if it may have changed since the last time. Who changed it by hand, which nobody
// should, may have taken out settled records.
void KZFdDataList::Survey() {
  const KZFdData* const last = empty() ? nullptr : back();
  if (mState->mIsSurveyed && mState->mSurveyedSize == size() && mState->mSurveyedLast == last)
    return;
  if (CountSettled() != mState->mSettled.Count()) mState->mSettled.ForgetAll();
  mState->mRestless.clear();
  std::size_t place = 0;
  for (KZFdData* rec : *this) {
    RecordState::Of(*rec).mPlace = place++;
    if (!dorn::SettledRecords::Has(*rec)) mState->mRestless.push_back(rec);
  }
  mState->mSurveyedSize = size();
  mState->mSurveyedLast = last;
  mState->mIsSurveyed = true;
}

std::size_t KZFdDataList::CountSettled() const {
  return static_cast<std::size_t>(std::count_if(
      begin(), end(), [](const KZFdData* rec) { return dorn::SettledRecords::Has(*rec); }));
}

void KZFdDataList::RemoveClosed() {
  // The dead descriptor may be one that a settled record has no more, if somebody has written its
  // public field: then nothing but this would ever take it out of the set.
  mState->mSettled.ForgetAll();
  mState->mIsSurveyed = false;
  for (KZFdData* rec : *this) {
    const int fd = LoadShared(rec->mFD);
    if (fd < 0 || !FitsIntoSet(fd) || !IsWatched(LoadShared(rec->mStatus))) continue;
    if (fcntl(fd, F_GETFD) != -1 || errno != EBADF) continue;
    if (rec->GetId() == kPipeId) {
      ReopenPipe(rec);
      continue;
    }
    const SemaphoreLock lock(mSemFdList);
    const SemaphoreLock recordLock(rec->mSemData);
    // Another thread may have given it another descriptor before it closed this one.
    if (LoadShared(rec->mFD) != fd) continue;
    StoreShared(rec->mStatus, KZFdData::kStatusRemove);
    mRequest = 1;
  }
  ApplyRequests();
}

// Without its pipe the list would never apply a request again. The write end's number may belong to
// somebody else by now, so it is left alone.
void KZFdDataList::ReopenPipe(KZFdData* pipe) {
  int ends[2];
  if (!MakePipe(ends)) return;
  pipe->SetFD(ends[0]);
  StoreShared(mPipeFd, ends[1]);
}

void KZFdDataList::ApplyRequests() {
  FdDataList doomed;
  const dorn::LiveList live(doomed);
  {
    const SemaphoreLock lock(mSemFdList);
    if (mRequest == 0) return;
    mState->mIsSurveyed = false;
    UnlinkMarked(doomed);
    LinkPending(doomed);
    mRequest = 0;
  }
  // Destroyed without the lock, since destructors may close, add and remove records.
  while (!doomed.empty()) {
    KZFdData* rec = doomed.front();
    doomed.pop_front();
    delete rec;
  }
}

// Unlinks what is marked for removal or replaced by a pending record. A record that is linked and
// pending is unlinked here too, and linked anew with the pending ones: otherwise a socket that was
// closed and opened again within one pass would replace, that is remove, itself.
void KZFdDataList::UnlinkMarked(FdDataList& doomed) {
  const std::vector<Request> requests(mAddRequest.begin(), mAddRequest.end());
  for (auto it = begin(); it != end();) {
    KZFdData* rec = *it;
    const int fd = LoadShared(rec->mFD);
    bool isPending = false;
    for (const Request& request : requests) {
      if (request.mRecord == rec) {
        isPending = true;
      } else if (request.Replaces(fd, rec->GetId())) {
        rec->SetFDStatus(KZFdData::kStatusRemove);
      }
    }
    if (!isPending && !IsMarked(rec)) {
      ++it;
      continue;
    }
    it = erase(it);
    mState->mSettled.Forget(rec);
    if (isPending) continue;
    RecordState::Of(*rec).mHolder.reset();
    if (rec->GetAutoDelete() != 0) doomed.push_back(rec);
  }
}

// Links what is pending and not marked for removal meanwhile. A record that is pending twice counts
// once.
void KZFdDataList::LinkPending(FdDataList& doomed) {
  std::unordered_set<KZFdData*> seen;
  for (KZFdData* rec : mAddRequest) {
    if (!seen.insert(rec).second) continue;
    if (!IsMarked(rec)) {
      push_back(rec);
      continue;
    }
    RecordState::Of(*rec).mHolder.reset();
    if (rec->GetAutoDelete() != 0) doomed.push_back(rec);
  }
  mAddRequest.clear();
}

// Called by the destructor of a record that is linked or pending.
void KZFdDataList::Forget(KZFdData* fdd) {
  const SemaphoreLock lock(mSemFdList);
  mAddRequest.remove(fdd);
  remove(fdd);
  mState->mSettled.Forget(fdd);
  mState->mIsSurveyed = false;
}
