#include "dorn/base/KZSemaphore.h"

#include <pthread.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "tests/support/Deadline.h"

namespace {
std::atomic<bool> gSemInitFails{false};
}

// The linker sends the library's calls of sem_init() here.
extern "C" {
int __real_sem_init(sem_t* semaphore, int shared, unsigned int value);
int __wrap_sem_init(sem_t* semaphore, int shared, unsigned int value);
int __wrap_sem_init(sem_t* semaphore, int shared, unsigned int value) {
  if (!gSemInitFails) return __real_sem_init(semaphore, shared, value);
  errno = ENOSPC;
  return -1;
}
}

namespace {

static_assert(std::is_polymorphic_v<KZSemaphore> && std::has_virtual_destructor_v<KZSemaphore>);
static_assert(std::is_same_v<decltype(KZSemaphore::mSemaphore), sem_t>);
static_assert(std::is_same_v<decltype(KZSemaphore::mCounter), volatile int>);
static_assert(!std::is_copy_constructible_v<KZSemaphore>);
static_assert(!std::is_copy_assignable_v<KZSemaphore>);
static_assert(std::is_same_v<decltype(std::declval<KZSemaphore&>().Lock()), void>);
static_assert(std::is_same_v<decltype(std::declval<KZSemaphore&>().TryLock()), int>);
static_assert(std::is_same_v<decltype(std::declval<KZSemaphore&>().Unlock()), int>);

// Waits for a condition that another thread brings about; false after the deadline.
template <typename Condition>
bool WaitUntil(Condition condition) {
  for (const Deadline deadline; !condition(); std::this_thread::yield()) {
    if (deadline.IsOver()) return false;
  }
  return true;
}

// The kernel's state letter of a thread: 'S' is a thread that sleeps, such as in a lock.
char ThreadState(pid_t id) {
  std::ifstream file("/proc/self/task/" + std::to_string(id) + "/stat");
  std::string line;
  std::getline(file, line);
  const size_t end = line.rfind(')');
  return end == std::string::npos ? '?' : line[end + 2];
}

// A thread that runs `body` and whose sleep the test can await.
class Worker {
 public:
  template <typename Body>
  explicit Worker(Body body)
      : mThread([this, body] {
          mId = static_cast<pid_t>(syscall(SYS_gettid));
          body();
          mDone = true;
        }) {}
  ~Worker() { mThread.join(); }

  bool WaitUntilAsleep() {
    return WaitUntil([this] { return mId != 0 && ThreadState(mId) == 'S'; });
  }
  bool WaitUntilDone() {
    return WaitUntil([this] { return mDone.load(); });
  }
  bool IsDone() const { return mDone; }
  void Signal(int signal) { pthread_kill(mThread.native_handle(), signal); }

 private:
  std::atomic<pid_t> mId{0};
  std::atomic<bool> mDone{false};
  std::thread mThread;
};

std::atomic<int> gSignals{0};
void CountSignal(int) { ++gSignals; }

TEST(KZSemaphoreTest, StartsFreeWithACounterOfZero) {
  KZSemaphore semaphore;
  EXPECT_EQ(semaphore.mCounter, 0);
  int value = -1;
  ASSERT_EQ(sem_getvalue(&semaphore.mSemaphore, &value), 0);
  EXPECT_EQ(value, 1);
}

TEST(KZSemaphoreTest, KeepsItsMembersInTheirOrder) {
  KZSemaphore semaphore;
  const auto* object = reinterpret_cast<const char*>(&semaphore);
  EXPECT_EQ(reinterpret_cast<const char*>(&semaphore.mSemaphore) - object, 8);
  EXPECT_EQ(reinterpret_cast<const char*>(const_cast<const int*>(&semaphore.mCounter)) - object,
            static_cast<std::ptrdiff_t>(8 + sizeof(sem_t)));
}

TEST(KZSemaphoreTest, TryLockTakesAFreeSemaphoreOnly) {
  KZSemaphore semaphore;
  EXPECT_EQ(semaphore.TryLock(), 1);
  EXPECT_EQ(semaphore.TryLock(), 0);
  EXPECT_EQ(semaphore.Unlock(), 1);
  EXPECT_EQ(semaphore.TryLock(), 1);
  EXPECT_EQ(semaphore.Unlock(), 1);
}

// A host that tries once and looks at the counter instead is not warned.
TEST(KZSemaphoreTest, TheResultOfTryLockMayBeIgnored) {
  KZSemaphore semaphore;
  semaphore.TryLock();
  EXPECT_EQ(semaphore.TryLock(), 0);
}

TEST(KZSemaphoreTest, LockTakesTheSemaphore) {
  KZSemaphore semaphore;
  semaphore.Lock();
  EXPECT_EQ(semaphore.TryLock(), 0);
  EXPECT_EQ(semaphore.Unlock(), 1);
  EXPECT_EQ(semaphore.TryLock(), 1);
}

TEST(KZSemaphoreTest, UnlockReportsAFullSemaphore) {
  KZSemaphore semaphore;
  ASSERT_EQ(sem_destroy(&semaphore.mSemaphore), 0);
  ASSERT_EQ(__real_sem_init(&semaphore.mSemaphore, 0, INT_MAX), 0);
  EXPECT_EQ(semaphore.Unlock(), 0);
}

TEST(KZSemaphoreTest, LockWaitsForTheHolder) {
  KZSemaphore semaphore;
  semaphore.Lock();
  int shared = 0;
  Worker worker([&] {
    semaphore.Lock();
    ++shared;
    static_cast<void>(semaphore.Unlock());
  });
  EXPECT_TRUE(worker.WaitUntilAsleep());
  EXPECT_FALSE(worker.IsDone());
  EXPECT_EQ(shared, 0);
  EXPECT_EQ(semaphore.Unlock(), 1);
  EXPECT_TRUE(worker.WaitUntilDone());
  EXPECT_EQ(shared, 1);
}

TEST(KZSemaphoreTest, AThreadThatLocksTwiceWaitsForAnother) {
  KZSemaphore semaphore;
  Worker worker([&] {
    semaphore.Lock();
    semaphore.Lock();
  });
  EXPECT_TRUE(worker.WaitUntilAsleep());
  EXPECT_FALSE(worker.IsDone());
  EXPECT_EQ(semaphore.Unlock(), 1);
  EXPECT_TRUE(worker.WaitUntilDone());
}

TEST(KZSemaphoreTest, LockWaitsOnAfterAnInterruption) {
  struct sigaction action {};
  struct sigaction previous {};
  action.sa_handler = CountSignal;  // Without SA_RESTART: the wait fails with EINTR.
  ASSERT_EQ(sigaction(SIGUSR1, &action, &previous), 0);
  gSignals = 0;
  KZSemaphore semaphore;
  semaphore.Lock();
  {
    Worker worker([&] { semaphore.Lock(); });
    for (int i = 1; i <= 3; ++i) {
      EXPECT_TRUE(worker.WaitUntilAsleep());
      worker.Signal(SIGUSR1);
      EXPECT_TRUE(WaitUntil([i] { return gSignals >= i; }));
    }
    EXPECT_TRUE(worker.WaitUntilAsleep());
    EXPECT_FALSE(worker.IsDone()) << "without the lock";
    EXPECT_EQ(semaphore.Unlock(), 1);
    EXPECT_TRUE(worker.WaitUntilDone());
  }
  EXPECT_EQ(semaphore.TryLock(), 0) << "the worker holds it";
  sigaction(SIGUSR1, &previous, nullptr);
}

// Whatever failed before, the lock is taken once.
TEST(KZSemaphoreTest, AnEarlierInterruptionIsOfNoInterest) {
  KZSemaphore semaphore;
  Worker worker([&] {
    errno = EINTR;
    semaphore.Lock();
  });
  const bool isDone = worker.WaitUntilDone();
  EXPECT_TRUE(isDone);
  EXPECT_EQ(semaphore.TryLock(), 0);
  if (!isDone) static_cast<void>(semaphore.Unlock());
}

// The counter.

TEST(KZSemaphoreTest, IncrementAddsAndReturnsTheNewValue) {
  KZSemaphore semaphore;
  EXPECT_EQ(semaphore.Increment(1), 1);
  EXPECT_EQ(semaphore.Increment(5), 6);
  EXPECT_EQ(semaphore.Increment(-2), 4);
  EXPECT_EQ(semaphore.Increment(0), 4);
  EXPECT_EQ(semaphore.mCounter, 4);
}

TEST(KZSemaphoreTest, GetAndDecrementReturnsTheOldValue) {
  KZSemaphore semaphore;
  semaphore.mCounter = 5;
  EXPECT_EQ(semaphore.GetAndDecrementCounter(2), 5);
  EXPECT_EQ(semaphore.mCounter, 3);
  EXPECT_EQ(semaphore.GetAndDecrementCounter(4), 3);
  EXPECT_EQ(semaphore.mCounter, -1) << "it may go below 0";
  EXPECT_EQ(semaphore.GetAndDecrementCounter(1), -1);
  EXPECT_EQ(semaphore.mCounter, -2);
}

TEST(KZSemaphoreTest, DecrementSubtractsOnlyFromAPositiveCounter) {
  struct Row {
    int counter;
    int val;
    int result;
    int left;
  };
  const Row rows[] = {
      {0, 1, -1, 0}, {1, 1, 0, 0},    {2, 5, -3, -3},  {5, 2, 3, 3},
      {3, 0, 3, 3},  {-3, 1, -1, -3}, {0, 100, -1, 0}, {2, 3, -1, -1},
  };
  for (const Row& row : rows) {
    KZSemaphore semaphore;
    semaphore.mCounter = row.counter;
    EXPECT_EQ(semaphore.Decrement(row.val), row.result) << row.counter << " - " << row.val;
    EXPECT_EQ(semaphore.mCounter, row.left) << row.counter << " - " << row.val;
  }
}

TEST(KZSemaphoreTest, CounterOperationsReleaseTheLock) {
  KZSemaphore semaphore;
  semaphore.Increment(1);
  EXPECT_EQ(semaphore.TryLock(), 1);
  static_cast<void>(semaphore.Unlock());
  semaphore.Decrement(1);
  EXPECT_EQ(semaphore.TryLock(), 1);
  static_cast<void>(semaphore.Unlock());
  semaphore.Decrement(1);
  EXPECT_EQ(semaphore.TryLock(), 1) << "after a refusal, too";
  static_cast<void>(semaphore.Unlock());
  semaphore.GetAndDecrementCounter(1);
  EXPECT_EQ(semaphore.TryLock(), 1);
}

TEST(KZSemaphoreTest, CounterOperationsWaitForTheLock) {
  const auto operations = {
      +[](KZSemaphore& s) { static_cast<void>(s.Increment(1)); },
      +[](KZSemaphore& s) { static_cast<void>(s.Decrement(1)); },
      +[](KZSemaphore& s) { static_cast<void>(s.GetAndDecrementCounter(1)); },
  };
  for (const auto operation : operations) {
    KZSemaphore semaphore;
    semaphore.Lock();
    semaphore.mCounter = 10;
    Worker worker([&] { operation(semaphore); });
    EXPECT_TRUE(worker.WaitUntilAsleep());
    EXPECT_EQ(semaphore.mCounter, 10);
    EXPECT_EQ(semaphore.Unlock(), 1);
    EXPECT_TRUE(worker.WaitUntilDone());
    EXPECT_NE(semaphore.mCounter, 10);
  }
}

TEST(KZSemaphoreTest, ThreadsLoseNoCount) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 5000;
  KZSemaphore semaphore;
  int guarded = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        semaphore.Increment(2);
        semaphore.Decrement(1);
        semaphore.Lock();
        ++guarded;
        static_cast<void>(semaphore.Unlock());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(semaphore.mCounter, kThreads * kRounds);
  EXPECT_EQ(guarded, kThreads * kRounds);
}

TEST(KZSemaphoreDeathTest, FailedInitialisationPrintsAndExitsWithOne) {
  EXPECT_EXIT(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        gSemInitFails = true;
        KZSemaphore semaphore;
        std::_Exit(7);
      },
      testing::ExitedWithCode(1), testing::Eq("Socketセマフォの初期化に失敗しました。\n"));
}

TEST(KZSemaphoreDeathTest, PrintsBeforeAnythingThatRunsAtTheExit) {
  EXPECT_EXIT(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        std::atexit([] { static_cast<void>(!write(STDERR_FILENO, "at the exit\n", 12)); });
        gSemInitFails = true;
        KZSemaphore semaphore;
        std::_Exit(7);
      },
      testing::ExitedWithCode(1),
      testing::Eq("Socketセマフォの初期化に失敗しました。\nat the exit\n"));
}

}  // namespace
