// What the index tells about the sessions of a list, and how many it looks at for that.
#include "dorn/server/SessionIndex.h"

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/server/ServerTest.h"

namespace {

class SessionIndexTest : public ServerTest {
 protected:
  void TearDown() override {
    mList.mSessionList.erase("nothing");
    while (!mList.mSessionList.empty()) mList.Remove(KZString(mList.mSessionList.begin()->first));
    ServerTest::TearDown();
  }

  // With the next timer id. Without an interval, no timer is armed.
  static VQSession* Make(const std::string& name, int intervalMs = 100000) {
    return new VQSession(KZString(name), intervalMs);
  }
  unsigned int Add(const std::string& name, int intervalMs = 100000) {
    VQSession* session = Make(name, intervalMs);
    mList.Add(KZString(name), session);
    return session->mTimerId;
  }
  // Sessions "s10", "s11", ...
  void AddMany(int count) {
    for (int i = 10; i < 10 + count; ++i) Add("s" + std::to_string(i));
  }
  // So many that they are indexed.
  void AddIndexed() {
    AddMany(kMany);
    EXPECT_EQ("s10", Found(TimerOf("s10")));
  }
  unsigned int TimerOf(const std::string& name) {
    return mList.mSessionList.at(KZString(name))->mTimerId;
  }

  // The name of the session of the timer, or "" when there is none.
  std::string Found(unsigned int timerId) {
    const auto found = dorn::SessionIndex::Of(mList).Find(timerId);
    return found != mList.mSessionList.end() ? found->first : "";
  }

  static std::uint64_t StepsOf(const std::function<void()>& body) {
    const std::uint64_t before = dorn::SessionIndex::Steps();
    body();
    return dorn::SessionIndex::Steps() - before;
  }

  static constexpr int kMany = 40;
  static constexpr unsigned int kNoTimer = 0x12345;
  VQSessionList mList;
};

TEST_F(SessionIndexTest, IsNotMadeForUpTo32Sessions) {
  AddMany(32);
  EXPECT_EQ(0U, StepsOf([&] {
              EXPECT_EQ("s20", Found(TimerOf("s20")));
              EXPECT_EQ("", Found(kNoTimer));
              delete std::exchange(mList.mSessionList["s20"], Make("x"));
              EXPECT_EQ("s20", Found(TimerOf("s20")));
              mList.mSessionList["nothing"] = nullptr;
            }));
}

TEST_F(SessionIndexTest, IsMadeOnceFor33Sessions) {
  AddMany(32);
  mList.mSessionList["x"] = Make("x");
  EXPECT_EQ(33U, StepsOf([&] { EXPECT_EQ("x", Found(TimerOf("x"))); }));
  EXPECT_EQ(0U, StepsOf([&] {
              for (const auto& [name, session] : mList.mSessionList) {
                EXPECT_EQ(name, Found(session->mTimerId));
              }
            }));
  EXPECT_EQ(33U, StepsOf([&] { EXPECT_EQ("", Found(kNoTimer)); }));
}

TEST_F(SessionIndexTest, NeedsNoWalkForWhatComesAndGoes) {
  AddIndexed();
  EXPECT_EQ(0U, StepsOf([&] {
              const unsigned int timer = Add("x");
              EXPECT_EQ("x", Found(timer));
              mList.Remove("x");
              EXPECT_EQ("", Found(timer));
              EXPECT_EQ("s20", Found(TimerOf("s20")));
            }));
}

TEST_F(SessionIndexTest, FindsWhatWasWrittenByHand) {
  AddIndexed();
  VQSession* const session = Make("x");
  mList.mSessionList["x"] = session;
  EXPECT_EQ("x", Found(session->mTimerId));
  // The number of sessions stays.
  auto node = mList.mSessionList.extract("x");
  node.key() = KZString("y");
  mList.mSessionList.insert(std::move(node));
  EXPECT_EQ("y", Found(session->mTimerId));
  session->mTimerId = 0xD000FFF;
  EXPECT_EQ("y", Found(0xD000FFF));
  mList.mSessionList["nothing"] = nullptr;
  EXPECT_EQ("", Found(kNoTimer));
  EXPECT_EQ("y", Found(0xD000FFF));
  std::swap(mList.mSessionList["nothing"], mList.mSessionList["y"]);
  EXPECT_EQ("nothing", Found(0xD000FFF));
  std::swap(mList.mSessionList["nothing"], mList.mSessionList["y"]);
}

TEST_F(SessionIndexTest, OfSeveralWithOneTimerFindsTheFirstByName) {
  AddIndexed();
  const unsigned int timer = TimerOf("s20");
  const auto add = [&](const char* name) {
    VQSession* session = Make(name);
    session->mTimerId = timer;
    mList.Add(KZString(name), session);
  };
  EXPECT_EQ(0U, StepsOf([&] {
              add("t");
              EXPECT_EQ("s20", Found(timer));
              add("r");
              EXPECT_EQ("r", Found(timer));
              add("q");
              EXPECT_EQ("q", Found(timer));
            }));
  dorn::SessionIndex::Forget(mList);
  EXPECT_EQ("q", Found(timer));
}

TEST_F(SessionIndexTest, OfTwoWithOneTimerFindsTheOneThatIsNotRemoved) {
  for (const bool isIndexed : {true, false}) {
    for (const char* removed : {"s20", "t"}) {
      AddIndexed();
      const unsigned int timer = TimerOf("s20");
      VQSession* const session = Make("t");
      session->mTimerId = timer;
      mList.Add("t", session);
      if (!isIndexed) dorn::SessionIndex::Forget(mList);
      EXPECT_EQ("s20", Found(timer));
      mList.Remove(KZString(removed));
      EXPECT_EQ(*removed == 't' ? "s20" : "t", Found(timer)) << removed << isIndexed;
      while (!mList.mSessionList.empty()) mList.Remove(KZString(mList.mSessionList.begin()->first));
    }
  }
}

TEST_F(SessionIndexTest, NeedsNoWalkForTheTimerOfARemovedOneOnceNoTwoHaveTheSame) {
  AddIndexed();
  VQSession* const session = Make("t");
  session->mTimerId = TimerOf("s20");
  mList.Add("t", session);
  mList.Remove("t");
  EXPECT_EQ(kMany + 0U, StepsOf([&] { EXPECT_EQ("", Found(kNoTimer)); }));
  const unsigned int timer = TimerOf("s30");
  mList.Remove("s30");
  EXPECT_EQ(0U, StepsOf([&] { EXPECT_EQ("", Found(timer)); }));
}

// Whoever writes it by hand, and has another one added or expire then, is not overlooked.
TEST_F(SessionIndexTest, IsNotTakenForRightAgainWhenTheSizeHasOnceBeenAnother) {
  AddIndexed();
  VQSession* const session = Make("x");
  mList.mSessionList["x"] = session;
  Add("y");
  EXPECT_EQ(kMany + 2U, StepsOf([&] { EXPECT_EQ("s20", Found(TimerOf("s20"))); }));
  VQSession* const another = Make("z");
  mList.mSessionList["z"] = another;
  mList.Expire(TimerOf("s20"));
  EXPECT_EQ("z", Found(another->mTimerId));
}

TEST_F(SessionIndexTest, IsThatOfTheListThatWasUsedLast) {
  AddIndexed();
  EXPECT_EQ(0U, StepsOf([&] { EXPECT_EQ("s20", Found(TimerOf("s20"))); }));
  const VQSessionList unused;
  dorn::SessionIndex::Forget(unused);
  EXPECT_EQ(0U, StepsOf([&] { EXPECT_EQ("s20", Found(TimerOf("s20"))); }));
  const auto found = dorn::SessionIndex::Of(unused).Find(TimerOf("s20"));
  EXPECT_TRUE(found == unused.mSessionList.end());
  EXPECT_EQ(static_cast<std::uint64_t>(kMany),
            StepsOf([&] { EXPECT_EQ("s20", Found(TimerOf("s20"))); }));
}

// Timers of removed sessions, which are still to fire.

TEST_F(SessionIndexTest, NeedsOneWalkForATimerThatFiresTwice) {
  AddIndexed();
  const unsigned int timer = TimerOf("s20");
  mList.Remove("s20");
  EXPECT_EQ(0U, StepsOf([&] { EXPECT_EQ("", Found(timer)); }));
  EXPECT_EQ(kMany - 1U, StepsOf([&] { EXPECT_EQ("", Found(timer)); }));
}

// It has fired while the list was short.
TEST_F(SessionIndexTest, ForgetsATimerOfARemovedOneThatHasFired) {
  AddMany(20);
  const unsigned int timer = TimerOf("s20");
  mList.Remove("s20");
  EXPECT_EQ("", Found(timer));
  for (int i = 50; i < 80; ++i) Add("s" + std::to_string(i));
  EXPECT_EQ("s60", Found(TimerOf("s60")));
  EXPECT_EQ(49U, StepsOf([&] { EXPECT_EQ("", Found(timer)); }));
}

TEST_F(SessionIndexTest, FindsASessionThatGetsTheTimerOfARemovedOne) {
  AddIndexed();
  const unsigned int timer = TimerOf("s20");
  mList.Remove("s20");
  VQSession* const session = Make("x");
  session->mTimerId = timer;
  mList.Add("x", session);
  EXPECT_EQ("x", Found(timer));
}

// So that whoever adds and removes sessions for years needs no more and more memory. Those that are
// armed are remembered.
TEST_F(SessionIndexTest, ForgetsTimersThatWillNotFireWhenThereAreMany) {
  constexpr int kUnarmed =
      1025;  // Beside the armed one: 1024, and twice as many as those that are.
  AddIndexed();
  const unsigned int armed = Add("x");
  mList.Remove("x");
  std::vector<unsigned int> timers;
  const auto addAndRemove = [&] {
    timers.push_back(Add("x", 0));
    mList.Remove("x");
  };
  for (int i = 0; i < kUnarmed; ++i) addAndRemove();
  EXPECT_EQ(0U, StepsOf([&] { EXPECT_EQ("", Found(timers.back())); }));
  addAndRemove();
  addAndRemove();
  for (const unsigned int timer : {timers.front(), timers.back()}) {
    EXPECT_EQ(kMany + 0U, StepsOf([&] { EXPECT_EQ("", Found(timer)); }));
  }
  EXPECT_EQ(0U, StepsOf([&] { EXPECT_EQ("", Found(armed)); }));
}

}  // namespace
