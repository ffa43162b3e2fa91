// Other threads use the application while its loop runs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "dorn/loop/KZApplication.h"
#include "tests/support/Deadline.h"
#include "tests/support/LoopRunner.h"
#include "tests/support/TestApplication.h"
#include "tests/support/TestPipe.h"

namespace {

// Joins what it started when it goes out of scope.
class Threads {
 public:
  ~Threads() { Join(); }
  void Start(std::function<void()> body) { mThreads.emplace_back(std::move(body)); }
  void Join() {
    for (std::thread& thread : mThreads) thread.join();
    mThreads.clear();
  }

 private:
  std::vector<std::thread> mThreads;
};

TEST(KZApplicationThreadsTest, ATimerOfAnotherThreadEndsAnEndlessWait) {
  const HangGuard guard;
  TestApplication app;
  app.mOnTimer = [&](unsigned int) { app.WakeUp(); };  // Ends the pass that serves the timer.
  Threads threads;
  threads.Start([&] { app.SetApplicationSingleTimerInterval(1, 7); });
  while (app.mFired.empty()) app.RunPass();
  EXPECT_EQ(app.mFired[0].mId, 7u);
}

TEST(KZApplicationThreadsTest, ARecordOfAnotherThreadEndsAnEndlessWait) {
  const HangGuard guard;
  TestApplication app;
  const TestPipe pipe;
  pipe.Write("x");
  TestRecord record(2, pipe.ReadEnd(), -1);
  Threads threads;
  threads.Start([&] { app.AddEventFd(&record); });
  while (record.mEvents.empty()) app.RunPass();
  EXPECT_THAT(record.mEvents, ::testing::ElementsAre("receive"));
}

TEST(KZApplicationThreadsTest, WakeUpOfAnotherThreadEndsAnEndlessWait) {
  const HangGuard guard;
  TestApplication app;
  Threads threads;
  threads.Start([&] { app.WakeUp(); });
  app.RunPass();
  SUCCEED();
}

TEST(KZApplicationThreadsTest, TimersOfManyThreadsAllFire) {
  TestApplication app;
  Threads threads;
  for (unsigned int t = 0; t < 4; ++t) {
    threads.Start([&app, t] {
      for (unsigned int i = 0; i < 500; ++i) {
        app.SetApplicationSingleTimerInterval(1 + i % 3, t * 1000 + i);
        app.SetTimerData(100000, 100000 + t, "panel", 1);
        app.SetTimerData(0, 100000 + t, "", 0);
      }
    });
  }
  LoopRunner runner(app);
  EXPECT_TRUE(runner.RunUntil([&] { return app.mFired.size() == 2000; }));
  threads.Join();
  EXPECT_TRUE(app.mTimerList.empty());
}

TEST(KZApplicationThreadsTest, TimersMayBeDiscardedWhileAnotherThreadRegisters) {
  TestApplication app;
  std::atomic<bool> done{false};
  Threads threads;
  threads.Start([&] {
    for (unsigned int i = 0; i < 2000; ++i) app.SetApplicationSingleTimerInterval(1, i);
    done = true;
  });
  LoopRunner runner(app);
  EXPECT_TRUE(runner.RunUntil([&] {
    app.ResetTimer();
    return done.load();
  }));
}

// Records that other threads add, use and remove. Each belongs to the list once it is added.
class CountedRecord : public KZFdData {
 public:
  CountedRecord(int fd, KZFdDataList* list, std::atomic<int>* alive)
      : KZFdData(2, fd, -1, list), mAlive(alive) {
    SetAutoDelete(1);
    ++*mAlive;
  }
  ~CountedRecord() override { --*mAlive; }

 private:
  std::atomic<int>* const mAlive;
};

TEST(KZApplicationThreadsTest, RecordsComeAndGoFromOtherThreads) {
  TestApplication app;
  std::atomic<int> alive{0};
  std::atomic<int> running{3};
  std::vector<std::unique_ptr<TestPipe>> pipes;
  for (int i = 0; i < 3; ++i) {
    pipes.push_back(std::make_unique<TestPipe>());
    pipes.back()->Write("x");
  }
  Threads threads;
  for (int t = 0; t < 3; ++t) {
    threads.Start([&, t] {
      for (int i = 0; i < 300; ++i) {
        auto* const record = new CountedRecord(pipes[t]->ReadEnd(), app.GetFdDataList(), &alive);
        record->CreateBuffer(10);
        record->AddEvent();
        record->RemoveEvent();
        app.mFdList.CreateUniqueId();
      }
      --running;
    });
  }
  LoopRunner runner(app);
  EXPECT_TRUE(runner.RunUntil([&] { return running == 0 && alive == 0; }));
  EXPECT_EQ(app.mFdList.size(), 1u);
}

TEST(KZApplicationThreadsTest, ARecordMayBeReplacedAndDestroyedWhileItsAddingReturns) {
  // Records with one descriptor replace one another, so each may be destroyed by the loop before
  // the call that adds it has returned.
  TestApplication app;
  std::atomic<int> alive{0};
  std::atomic<int> running{3};
  const TestPipe pipe;
  Threads threads;
  for (int t = 0; t < 3; ++t) {
    threads.Start([&] {
      for (int i = 0; i < 300; ++i) {
        app.AddEventFd(new CountedRecord(pipe.ReadEnd(), nullptr, &alive));
      }
      --running;
    });
  }
  LoopRunner runner(app);
  EXPECT_TRUE(runner.RunUntil([&] { return running == 0; }));
  threads.Join();
  runner.Settle();
  // Those that came in together stay together; one more replaces them all.
  TestRecord last(2, pipe.ReadEnd(), -1);
  app.AddEventFd(&last);
  runner.Settle();
  EXPECT_EQ(alive, 0);
  EXPECT_EQ(app.mFdList.size(), 2u);
}

TEST(KZApplicationThreadsTest, ARecordMayBeDestroyedWhileTheCallThatMarksItReturns) {
  // Any request makes the loop destroy what is marked, so the mark must be the last that its thread
  // does with the record.
  TestApplication app;
  TestRecord other(2, -1, -1);
  std::atomic<int> alive{0};
  std::atomic<CountedRecord*> handed{nullptr};
  std::atomic<bool> isOver{false};
  Threads threads;
  threads.Start([&] {
    while (!isOver) {
      CountedRecord* const record = handed.exchange(nullptr);
      if (record != nullptr) record->SetFDStatus(KZFdData::kStatusRemove);
      std::this_thread::yield();
    }
  });
  const Deadline deadline;
  for (int i = 0; i < 100 && !deadline.IsOver(); ++i) {
    auto* const record = new CountedRecord(-1, app.GetFdDataList(), &alive);
    record->AddEvent();
    handed = record;
    while (alive != 0 && !deadline.IsOver()) {
      app.AddEventFd(&other);
      app.RunPass();
      std::this_thread::yield();
    }
  }
  isOver = true;
  EXPECT_EQ(alive, 0);
  threads.Join();
  app.RemoveEventFd(&other);
  app.RunPass();
}

TEST(KZApplicationThreadsTest, StatusDescriptorAndBufferMayChangeWhileTheLoopWatches) {
  TestApplication app;
  const TestPipe pipe;
  TestRecord record(2, pipe.ReadEnd(), -1);
  record.CreateBuffer(5000);
  app.AddEventFd(&record);
  std::atomic<bool> done{false};
  Threads threads;
  threads.Start([&] {
    for (int i = 0; i < 1000; ++i) {
      record.SetFDStatus(1 + i % 2);
      record.SetFD(pipe.ReadEnd());
      record.Put("x");
      record.Take(1);
      record.GetStatus();
      record.CheckBuffer(0);
    }
    done = true;
  });
  LoopRunner runner(app);
  EXPECT_TRUE(runner.RunUntil([&] { return done.load(); }));
  threads.Join();
  EXPECT_EQ(record.GetDataLength(), 0);
  app.RemoveEventFd(&record);
  runner.Settle();
}

}  // namespace
