// Tests of the apply phase: what happens to requested additions and removals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "dorn/loop/KZFdData.h"
#include "tests/support/Deadline.h"
#include "tests/support/TestApplication.h"
#include "tests/support/TestPipe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class KZFdDataListApplyTest : public ::testing::Test {
 protected:
  // A record on the heap whose destruction is noted under its name.
  TestRecord* Make(const std::string& name, int fd, int id, bool autoDelete) {
    auto* const record = new TestRecord(2, fd, id, &mList);
    record->mName = name;
    record->mSharedLog = &mDestroyed;
    record->SetAutoDelete(autoDelete ? 1 : 0);
    return record;
  }
  void Apply() {
    mList.WakeUp();
    fd_set reads;
    fd_set writes;
    FD_ZERO(&reads);
    FD_ZERO(&writes);
    FD_SET(mList.PipeRecord()->GetFD(), &reads);
    mReady.clear();
    mList.FdIsSet(&reads, &writes, &mReady);
  }

  std::vector<std::string> mDestroyed;
  TestList mList;
  FdDataList mReady;
};

TEST_F(KZFdDataListApplyTest, ARemovedAutoDeleteRecordIsDestroyed) {
  TestRecord* const record = Make("a", 900, 1, true);
  mList.push_back(record);
  mList.Remove(record);
  EXPECT_THAT(mDestroyed, IsEmpty());
  Apply();
  EXPECT_THAT(mDestroyed, ElementsAre("a destroyed"));
  EXPECT_EQ(mList.size(), 1u);
}

TEST_F(KZFdDataListApplyTest, ARemovedRecordWithoutAutoDeleteIsOnlyUnlinked) {
  const std::unique_ptr<TestRecord> record(Make("a", 900, 1, false));
  mList.push_back(record.get());
  mList.Remove(record.get());
  Apply();
  EXPECT_THAT(mDestroyed, IsEmpty());
  EXPECT_EQ(mList.Count(record.get()), 0);
}

// The list has nothing to do with it any more, so that its lock may be held.
TEST_F(KZFdDataListApplyTest, ARecordThatWasUnlinkedOrNeverLinkedIsDestroyedWithoutTheList) {
  std::unique_ptr<TestRecord> unlinked(Make("unlinked", 900, 1, false));
  std::unique_ptr<TestRecord> pending(Make("pending", 901, 2, false));
  unlinked->AddEvent();
  Apply();
  unlinked->RemoveEvent();
  pending->AddEvent();
  pending->RemoveEvent();
  Apply();
  const HangGuard guard;
  mList.mSemFdList.Lock();
  unlinked.reset();
  pending.reset();
  mList.mSemFdList.Unlock();
  EXPECT_THAT(mDestroyed, ElementsAre("unlinked destroyed", "pending destroyed"));
}

// Whoever has the lock of another one, which is not marked, is not waited for.
TEST_F(KZFdDataListApplyTest, OnlyTheLocksOfMarkedRecordsAreTaken) {
  const HangGuard guard;
  const std::unique_ptr<TestRecord> linked(Make("linked", 900, 1, false));
  const std::unique_ptr<TestRecord> pending(Make("pending", 901, 2, false));
  TestRecord* const removed = Make("removed", 902, 3, true);
  mList.push_back(linked.get());
  mList.push_back(removed);
  mList.Add(pending.get());
  mList.Remove(removed);
  linked->mSemData.Lock();
  pending->mSemData.Lock();
  Apply();
  linked->mSemData.Unlock();
  pending->mSemData.Unlock();
  EXPECT_THAT(mDestroyed, ElementsAre("removed destroyed"));
  EXPECT_EQ(mList.Count(pending.get()), 1);
}

TEST_F(KZFdDataListApplyTest, PendingRecordsAreLinkedInRequestOrder) {
  TestRecord a(2, 900, 1);
  TestRecord b(2, 901, 2);
  TestRecord c(2, 902, 3);
  for (TestRecord* record : {&b, &c, &a}) mList.Add(record);
  Apply();
  EXPECT_THAT(mList, ElementsAre(mList.PipeRecord(), &b, &c, &a));
}

TEST_F(KZFdDataListApplyTest, AnAddedRecordReplacesTheActiveOneWithItsDescriptor) {
  TestRecord* const old = Make("old", 900, 1, true);
  mList.push_back(old);
  TestRecord fresh(2, 900, 2);
  mList.Add(&fresh);
  Apply();
  EXPECT_THAT(mDestroyed, ElementsAre("old destroyed"));
  EXPECT_THAT(mList, ElementsAre(mList.PipeRecord(), &fresh));
}

TEST_F(KZFdDataListApplyTest, DescriptorsThatAreReplacedMayBeNumber0) {
  TestRecord* const old = Make("old", 0, 1, true);
  mList.push_back(old);
  TestRecord added(2, 0, 2);
  mList.Add(&added);
  Apply();
  EXPECT_THAT(mDestroyed, ElementsAre("old destroyed"));
  EXPECT_THAT(mList, ElementsAre(mList.PipeRecord(), &added));
}

TEST_F(KZFdDataListApplyTest, AnAddedRecordReplacesTheActiveOneWithItsId) {
  const std::unique_ptr<TestRecord> old(Make("old", 900, 7, false));
  mList.push_back(old.get());
  TestRecord fresh(2, 901, 7);
  mList.Add(&fresh);
  Apply();
  EXPECT_EQ(old->GetFDStatus(), 4);
  EXPECT_THAT(mList, ElementsAre(mList.PipeRecord(), &fresh));
}

TEST_F(KZFdDataListApplyTest, APendingRecordMarkedForRemovalIsNotLinked) {
  const std::unique_ptr<TestRecord> record(Make("a", 900, 1, false));
  mList.Add(record.get());
  mList.Remove(record.get());
  Apply();
  EXPECT_EQ(mList.Count(record.get()), 0);
  EXPECT_TRUE(mList.mAddRequest.empty());
}

TEST_F(KZFdDataListApplyTest, APendingAutoDeleteRecordMarkedForRemovalIsDestroyed) {
  TestRecord* const record = Make("a", 900, 1, true);
  mList.Add(record);
  mList.Remove(record);
  Apply();
  EXPECT_THAT(mDestroyed, ElementsAre("a destroyed"));
}

TEST_F(KZFdDataListApplyTest, APendingRecordMarkedForRemovalStillReplaces) {
  TestRecord* const old = Make("old", 900, 1, true);
  mList.push_back(old);
  TestRecord* const pending = Make("pending", 900, 2, true);
  mList.Add(pending);
  mList.Remove(pending);
  Apply();
  EXPECT_THAT(mDestroyed, ElementsAre("old destroyed", "pending destroyed"));
  EXPECT_EQ(mList.size(), 1u);
}

TEST_F(KZFdDataListApplyTest, ActiveRecordsAreDestroyedInListOrderThenPendingOnes) {
  TestRecord* const a = Make("a", 900, 1, true);
  TestRecord* const b = Make("b", 901, 2, true);
  TestRecord* const p = Make("p", 902, 3, true);
  TestRecord* const q = Make("q", 903, 4, true);
  mList.push_back(a);
  mList.push_back(b);
  mList.Add(q);
  mList.Add(p);
  for (TestRecord* record : {p, b, q, a}) mList.Remove(record);
  Apply();
  EXPECT_THAT(mDestroyed, ElementsAre("a destroyed", "b destroyed", "q destroyed", "p destroyed"));
}

TEST_F(KZFdDataListApplyTest, TwoPendingRecordsWithOneDescriptorAreBothLinked) {
  TestRecord a(2, 900, 1);
  TestRecord b(2, 900, 2);
  mList.Add(&a);
  mList.Add(&b);
  Apply();
  EXPECT_THAT(mList, ElementsAre(mList.PipeRecord(), &a, &b));
}

TEST_F(KZFdDataListApplyTest, ARequestMadeByADestructorWaitsForTheNextPass) {
  const HangGuard guard;
  TestRecord later(2, 950, 9);
  TestRecord* const record = Make("a", 900, 1, true);
  record->mOnDestroy = [&] { mList.Add(&later); };
  mList.push_back(record);
  mList.Remove(record);
  Apply();
  EXPECT_THAT(mDestroyed, ElementsAre("a destroyed"));
  EXPECT_EQ(mList.Count(&later), 0);
  Apply();
  EXPECT_EQ(mList.Count(&later), 1);
}

TEST_F(KZFdDataListApplyTest, ADestructorMayRemoveRecords) {
  const HangGuard guard;
  TestRecord other(2, 950, 9);
  mList.push_back(&other);
  for (const bool linked : {true, false}) {
    TestRecord* const record = Make("a", 900, 1, true);
    record->mOnDestroy = [&, record] {
      record->RemoveEvent();
      mList.Remove(&other);
      mList.CreateUniqueId();
    };
    if (linked) {
      mList.push_back(record);
    } else {
      mList.Add(record);
    }
    mList.Remove(record);
    Apply();
    EXPECT_EQ(other.GetFDStatus(), 4);
  }
  Apply();
  EXPECT_EQ(mList.size(), 1u);
  EXPECT_THAT(mDestroyed, ElementsAre("a destroyed", "a destroyed"));
}

TEST_F(KZFdDataListApplyTest, ARecordDestroyedInThisPassIsTakenOffTheReadyList) {
  const TestPipe pipe;
  pipe.Write("x");
  TestRecord* const signalled = Make("signalled", pipe.ReadEnd(), 1, true);
  TestRecord* const holding = Make("holding", 900, 2, true);
  holding->CreateBuffer(10);
  holding->Put("x");
  TestRecord other(2, 901, 3);
  other.CreateBuffer(10);
  other.Put("x");
  mList.push_back(signalled);
  mList.push_back(holding);
  mList.push_back(&other);
  fd_set reads;
  fd_set writes;
  mList.FdSet(&reads, &writes);
  // As another thread would during select.
  mList.Remove(signalled);
  mList.Remove(holding);
  FD_CLR(900, &reads);
  FD_CLR(901, &reads);
  FdDataList ready;
  mList.FdIsSet(&reads, &writes, &ready);
  EXPECT_THAT(mDestroyed, ElementsAre("signalled destroyed", "holding destroyed"));
  EXPECT_THAT(ready, ElementsAre(&other));
}

TEST_F(KZFdDataListApplyTest, ARecordOnlyUnlinkedInThisPassStaysOnTheReadyList) {
  const TestPipe pipe;
  pipe.Write("x");
  const std::unique_ptr<TestRecord> record(Make("a", pipe.ReadEnd(), 1, false));
  mList.push_back(record.get());
  fd_set reads;
  fd_set writes;
  mList.FdSet(&reads, &writes);
  mList.Remove(record.get());
  FdDataList ready;
  mList.FdIsSet(&reads, &writes, &ready);
  EXPECT_EQ(mList.Count(record.get()), 0);
  EXPECT_THAT(ready, ElementsAre(record.get()));
}

// --- Adding again ---

TEST_F(KZFdDataListApplyTest, ALinkedRecordThatIsAddedAgainStaysLinkedOnce) {
  TestRecord* const record = Make("a", 900, 1, true);
  TestRecord other(2, 901, 2);
  mList.push_back(record);
  mList.push_back(&other);
  mList.Add(record);
  Apply();
  EXPECT_THAT(mDestroyed, IsEmpty());
  EXPECT_EQ(record->GetFDStatus(), 1);
  EXPECT_THAT(mList, ElementsAre(mList.PipeRecord(), &other, record));
  mList.Remove(record);
  Apply();
  EXPECT_THAT(mDestroyed, ElementsAre("a destroyed"));
}

TEST_F(KZFdDataListApplyTest, ARecordClosedAndReopenedWithinOnePassIsWatchedAgain) {
  TestRecord record(3, 900, 1);
  record.SetFDStatus(2);
  mList.push_back(&record);
  record.SetFD(-1);
  mList.Remove(&record);
  record.SetFD(905);
  record.SetFDStatus(1);
  mList.Add(&record);
  Apply();
  EXPECT_EQ(mList.Count(&record), 1);
  fd_set reads;
  fd_set writes;
  mList.FdSet(&reads, &writes);
  EXPECT_TRUE(FD_ISSET(905, &writes));
}

TEST_F(KZFdDataListApplyTest, ARecordReopenedOnTheSameDescriptorNumberIsWatchedAgain) {
  TestRecord record(3, 900, 1);
  mList.push_back(&record);
  record.SetFD(-1);
  mList.Remove(&record);
  record.SetFD(900);
  record.SetFDStatus(2);
  mList.Add(&record);
  Apply();
  EXPECT_EQ(mList.Count(&record), 1);
  EXPECT_EQ(record.GetFDStatus(), 2);
}

TEST_F(KZFdDataListApplyTest, ARecordThatIsPendingTwiceIsLinkedOnce) {
  TestRecord* const record = Make("a", 900, 1, true);
  mList.Add(record);
  mList.Add(record);
  Apply();
  EXPECT_EQ(mList.Count(record), 1);
  EXPECT_EQ(record->GetFDStatus(), 1);
  mList.Remove(record);
  Apply();
  EXPECT_THAT(mDestroyed, ElementsAre("a destroyed"));
}

TEST_F(KZFdDataListApplyTest, ARecordThatIsPendingTwiceAndRemovedIsDestroyedOnce) {
  TestRecord* const record = Make("a", 900, 1, true);
  mList.Add(record);
  mList.Add(record);
  mList.Remove(record);
  Apply();
  EXPECT_THAT(mDestroyed, ElementsAre("a destroyed"));
  EXPECT_EQ(mList.size(), 1u);
}

TEST_F(KZFdDataListApplyTest, ARecordThatIsLinkedPendingAndRemovedIsDestroyedOnce) {
  TestRecord* const record = Make("a", 900, 1, true);
  mList.push_back(record);
  mList.Add(record);
  mList.Remove(record);
  Apply();
  EXPECT_THAT(mDestroyed, ElementsAre("a destroyed"));
  EXPECT_EQ(mList.size(), 1u);
  EXPECT_TRUE(mList.mAddRequest.empty());
}

TEST_F(KZFdDataListApplyTest, ARecordThatIsLinkedPendingAndReplacedByALaterOneIsDestroyedOnce) {
  TestRecord* const record = Make("a", 900, 1, true);
  mList.push_back(record);
  TestRecord fresh(2, 900, 2);
  mList.Add(record);
  mList.Add(&fresh);
  Apply();
  EXPECT_LE(mDestroyed.size(), 1u);
  EXPECT_EQ(mList.Count(&fresh), 1);
  if (mDestroyed.empty()) {
    mList.Remove(record);
    Apply();
  }
  EXPECT_THAT(mDestroyed, ElementsAre("a destroyed"));
}

TEST_F(KZFdDataListApplyTest, APendingRecordWithoutDescriptorReplacesNoOneByDescriptor) {
  TestRecord waiting(3, -1, 1);
  TestRecord closedMeanwhile(3, -1, 2);
  mList.push_back(&waiting);
  mList.Add(&closedMeanwhile);
  Apply();
  EXPECT_THAT(mList, ElementsAre(mList.PipeRecord(), &waiting, &closedMeanwhile));
  EXPECT_NE(waiting.GetFDStatus(), 4);
}

TEST_F(KZFdDataListApplyTest, APendingRecordWithoutDescriptorStillReplacesById) {
  TestRecord old(3, 900, 1);
  TestRecord fresh(3, -1, 1);
  mList.push_back(&old);
  mList.Add(&fresh);
  Apply();
  EXPECT_THAT(mList, ElementsAre(mList.PipeRecord(), &fresh));
}

// --- Records that are destroyed while the list holds them ---

TEST_F(KZFdDataListApplyTest, ARecordDestroyedWhileItIsLinkedLeavesTheList) {
  TestRecord* const record = Make("a", 900, 1, false);
  mList.Add(record);
  Apply();
  ASSERT_EQ(mList.size(), 2u);
  delete record;
  EXPECT_EQ(mList.size(), 1u);
  Apply();
}

TEST_F(KZFdDataListApplyTest, ARecordDestroyedWhileItIsPendingIsNotLinked) {
  TestRecord* const record = Make("a", 900, 1, false);
  mList.Add(record);
  mList.Add(record);
  delete record;
  EXPECT_TRUE(mList.mAddRequest.empty());
  Apply();
  EXPECT_EQ(mList.size(), 1u);
}

TEST_F(KZFdDataListApplyTest, ADestructorMayDestroyAnotherRecordThatIsToBeDestroyed) {
  TestRecord* const first = Make("first", 900, 1, true);
  TestRecord* const second = Make("second", 901, 2, true);
  first->mOnDestroy = [second] { delete second; };
  mList.Add(first);
  mList.Add(second);
  Apply();
  mList.Remove(first);
  mList.Remove(second);
  Apply();
  EXPECT_THAT(mDestroyed, ElementsAre("second destroyed", "first destroyed"));
  EXPECT_EQ(mList.size(), 1u);
}

// --- Removal requests by descriptor and id ---

// The request records are never destroyed, so these lists stay too: their memory is in use until
// the process ends.
KZFdDataList& ImmortalList() {
  static auto* const lists = new std::vector<KZFdDataList*>;
  lists->push_back(new KZFdDataList);
  return *lists->back();
}

void Apply(KZFdDataList& list) {
  fd_set reads;
  fd_set writes;
  FD_ZERO(&reads);
  FD_ZERO(&writes);
  FD_SET(list.front()->GetFD(), &reads);
  FdDataList ready;
  list.FdIsSet(&reads, &writes, &ready);
}

TEST(KZFdDataListRemovalRequestTest, IsAPendingRecordOfTypeMinus1WithStatus4) {
  KZFdDataList& list = ImmortalList();
  list.Remove(900, 7);
  EXPECT_EQ(list.mRequest, 1);
  ASSERT_EQ(list.mAddRequest.size(), 1u);
  KZFdData* const request = list.mAddRequest.front();
  EXPECT_EQ(request->GetType(), -1);
  EXPECT_EQ(request->GetFD(), 900);
  EXPECT_EQ(request->GetId(), 7);
  EXPECT_EQ(request->GetFDStatus(), 4);
  EXPECT_EQ(request->GetAutoDelete(), 0);
  char bytes[8];
  EXPECT_EQ(read(list.front()->GetFD(), bytes, sizeof bytes), 1);
}

TEST(KZFdDataListRemovalRequestTest, RemovesTheRecordsWithItsDescriptorAndWithItsId) {
  KZFdDataList& list = ImmortalList();
  TestRecord byDescriptor(2, 900, 1);
  TestRecord byId(2, 901, 7);
  TestRecord neither(2, 902, 2);
  for (TestRecord* record : {&byDescriptor, &byId, &neither}) list.push_back(record);
  list.Remove(900, 7);
  Apply(list);
  EXPECT_THAT(list, ElementsAre(list.front(), &neither));
  EXPECT_TRUE(list.mAddRequest.empty());
}

TEST(KZFdDataListRemovalRequestTest, DestroysAnAutoDeleteRecord) {
  KZFdDataList& list = ImmortalList();
  list.Add(900, 7);
  Apply(list);
  ASSERT_EQ(list.size(), 2u);
  list.Remove(900, 7);
  Apply(list);
  EXPECT_EQ(list.size(), 1u);
}

TEST(KZFdDataListRemovalRequestTest, IsDroppedButNeverDestroyed) {
  KZFdDataList& list = ImmortalList();
  list.Remove(900, 7);
  KZFdData* const request = list.mAddRequest.front();
  Apply(list);
  EXPECT_TRUE(list.mAddRequest.empty());
  EXPECT_EQ(list.size(), 1u);
  EXPECT_EQ(request->GetFDStatus(), 4);
  EXPECT_EQ(request->GetId(), 7);
}

TEST(KZFdDataListRemovalRequestTest, LeavesAnAdditionOfTheSamePassAlone) {
  KZFdDataList& list = ImmortalList();
  TestRecord pending(2, 900, 7);
  list.Add(&pending);
  list.Remove(900, 7);
  Apply(list);
  EXPECT_THAT(list, ElementsAre(list.front(), &pending));
}

TEST(KZFdDataListRemovalRequestTest, WithANegativeDescriptorMatchesByIdAlone) {
  KZFdDataList& list = ImmortalList();
  TestRecord withoutDescriptor(2, -1, 1);
  TestRecord withId(2, 900, 7);
  list.push_back(&withoutDescriptor);
  list.push_back(&withId);
  list.Remove(-1, 7);
  Apply(list);
  EXPECT_THAT(list, ElementsAre(list.front(), &withoutDescriptor));
}

}  // namespace
