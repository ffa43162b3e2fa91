// What the library remembers about an application object.
#include "dorn/server/ApplicationState.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>

#include "tests/server/TestHost.h"

namespace {

// An application object whose place stays behind when it is destroyed.
class PlacedApp {
 public:
  PlacedApp() : mPlace(operator new(sizeof(TestApp))), mApp(new (mPlace) TestApp(maker)) {}
  ~PlacedApp() {
    Destroy();
    operator delete(mPlace);
  }
  PlacedApp(const PlacedApp&) = delete;
  PlacedApp& operator=(const PlacedApp&) = delete;

  void Destroy() {
    if (mExists) mApp->~TestApp();
    mExists = false;
  }
  TestApp& operator*() const { return *mApp; }
  TestApp* operator->() const { return mApp; }

 private:
  void* mPlace;
  TestApp* mApp;
  bool mExists = true;
};

TEST(ApplicationStateTest, IsEachApplicationsOwn) {
  const PlacedApp first, second;
  const dorn::ApplicationState* const states[] = {dorn::FindState(app), dorn::FindState(*first),
                                                  dorn::FindState(*second)};
  for (const dorn::ApplicationState* state : states) ASSERT_NE(nullptr, state);
  EXPECT_NE(states[0], states[1]);
  EXPECT_NE(states[0], states[2]);
  EXPECT_NE(states[1], states[2]);
  EXPECT_EQ(states[0], dorn::FindStateOfList(app.GetFdDataList()));
  EXPECT_EQ(states[1], dorn::FindStateOfList(first->GetFdDataList()));
  EXPECT_EQ(states[2], dorn::FindStateOfList(second->GetFdDataList()));
  EXPECT_EQ(nullptr, dorn::FindStateOfList(nullptr));
}

// Whichever of them goes first.
TEST(ApplicationStateTest, GoesWithItsApplicationAlone) {
  for (const int gone : {0, 1, 2}) {
    PlacedApp apps[3];
    const auto token = std::make_shared<int>(0);
    const dorn::ApplicationState* states[3];
    const KZFdDataList* lists[3];
    for (int i = 0; i < 3; ++i) {
      states[i] = dorn::FindState(*apps[i]);
      lists[i] = apps[i]->GetFdDataList();
      apps[i]->SetMoreStatistics([token] { return std::to_string(*token); });
    }
    ASSERT_EQ(4, token.use_count());
    apps[gone].Destroy();
    EXPECT_EQ(3, token.use_count()) << gone;
    for (int i = 0; i < 3; ++i) {
      const dorn::ApplicationState* const left = i == gone ? nullptr : states[i];
      EXPECT_EQ(left, dorn::FindState(*apps[i])) << gone << " " << i;
      EXPECT_EQ(left, dorn::FindStateOfList(lists[i])) << gone << " " << i;
    }
    EXPECT_NE(nullptr, dorn::FindState(app));
  }
}

}  // namespace
