#include "dorn/server/VQDialogList.h"

#include <cstdint>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "dorn/server/DialogIndex.h"
#include "dorn/server/RunningHooks.h"
#include "dorn/server/Storage.h"
#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class VQDialogListTest : public ServerTest {
 protected:
  HookedDialog* Add(const char* name) {
    auto* dialog = new HookedDialog;
    dialog->mDialogName = name;
    mList.Add(name, dialog);
    return dialog;
  }
  // Dialogs "d0", "d1", ..., each with a tree of a session of its own, "S0", "S1", ..., and one of
  // a session that has trees in all of them. A session has ended since, so that they are indexed.
  void AddWithSessions(int count) {
    for (int i = 0; i < count; ++i) {
      HookedDialog* dialog = Add(("d" + std::to_string(i)).c_str());
      dialog->AddSession("S" + std::to_string(i));
      dialog->AddSession("all");
    }
    mList.RemoveBySession("nobody");
  }
  void TearDown() override {
    while (!mList.mDialogList.empty()) mList.Remove(KZString(mList.mDialogList.begin()->first));
    ServerTest::TearDown();
  }

  VQDialogList mList;
};

TEST_F(VQDialogListTest, FindsWhatWasAdded) {
  HookedDialog* dialog = Add("a");
  EXPECT_TRUE(mList.Has("a"));
  EXPECT_EQ(dialog, mList.Search("a"));
  EXPECT_FALSE(mList.Has("A"));
}

TEST_F(VQDialogListTest, SearchOfAnUnknownNameInsertsNothing) {
  EXPECT_EQ(nullptr, mList.Search("a"));
  EXPECT_FALSE(mList.Has("a"));
  EXPECT_TRUE(mList.mDialogList.empty());
}

TEST_F(VQDialogListTest, IgnoresANullDialog) {
  mList.Add("a", nullptr);
  EXPECT_FALSE(mList.Has("a"));
  HookedDialog* dialog = Add("b");
  mList.Add("b", nullptr);
  EXPECT_EQ(dialog, mList.Search("b"));
}

TEST_F(VQDialogListTest, ANullEntryIsRemovedLikeAnyOtherAndBelongsToNoSession) {
  mList.mDialogList["a"] = nullptr;
  Add("b")->AddSession("S1");
  mList.RemoveBySession("S1");
  EXPECT_TRUE(mList.Has("a"));
  EXPECT_FALSE(mList.Has("b"));
  mList.Remove("a");
  EXPECT_FALSE(mList.Has("a"));
}

TEST_F(VQDialogListTest, ALaterDialogOfTheNameReplacesTheEarlierWithoutDeletingIt) {
  HookedDialog* first = Add("a");
  HookedDialog* second = Add("a");
  EXPECT_EQ(second, mList.Search("a"));
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(2, HookedDialog::sAlive);
  delete first;
}

TEST_F(VQDialogListTest, RemoveCallsOnFinalAfterTheEntryIsGoneAndDeletes) {
  bool present = true;
  Add("a")->final = [&](HookedDialog&) { present = mList.Has("a"); };
  mList.Remove("a");
  EXPECT_FALSE(present);
  EXPECT_THAT(Calls(), ElementsAre("OnFinal a"));
  EXPECT_EQ(0, HookedDialog::sAlive);
}

TEST_F(VQDialogListTest, RemoveOfAnUnknownNameDoesNothing) {
  Add("a");
  mList.Remove("b");
  EXPECT_TRUE(mList.Has("a"));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(VQDialogListTest, ASessionsEndRemovesTheDialogsThatLoseTheirLastTree) {
  Add("only")->AddSession("S1");
  HookedDialog* other = Add("other");
  other->AddSession("S1");
  other->AddSession("S2");
  HookedDialog* shared = Add("shared");
  shared->GetResourceShare();
  shared->AddSession("S1");
  mList.RemoveBySession("S1");
  EXPECT_THAT(Calls(), ElementsAre("OnFinal only"));
  EXPECT_FALSE(mList.Has("only"));
  EXPECT_EQ(1U, other->mSessionResourceList.size());
  EXPECT_EQ(1U, shared->mSessionResourceList.size());
  EXPECT_EQ(2, HookedDialog::sAlive);
}

TEST_F(VQDialogListTest, DialogsGoInTheOrderOfTheirNames) {
  for (const char* name : {"c", "a", "b", "Z"}) Add(name)->AddSession("S1");
  mList.RemoveBySession("S1");
  EXPECT_THAT(Calls(), ElementsAre("OnFinal Z", "OnFinal a", "OnFinal b", "OnFinal c"));
  EXPECT_TRUE(mList.mDialogList.empty());
}

// A dialog that is to stay loads a shared tree.
TEST_F(VQDialogListTest, ADialogThatNeverHadATreeGoesWithAnySession) {
  Add("bare");
  mList.RemoveBySession("whoever");
  EXPECT_THAT(Calls(), ElementsAre("OnFinal bare"));
}

TEST_F(VQDialogListTest, TheEndOfTheListDeletesNoDialog) {
  auto* dialog = new HookedDialog;
  {
    VQDialogList list;
    list.Add("a", dialog);
  }
  EXPECT_EQ(1, HookedDialog::sAlive);
  EXPECT_THAT(Calls(), IsEmpty());
  delete dialog;
}

// Several names, and dialogs that cannot be deleted or come back

TEST_F(VQDialogListTest, ADialogWithTwoNamesLosesBothAndIsDestroyedOnce) {
  HookedDialog* dialog = Add("a");
  mList.Add("b", dialog);
  mList.mDialogList["c"] = dialog;
  dialog->final = [&](HookedDialog&) { EXPECT_EQ(1U, mList.mDialogList.size()); };
  Add("other");
  mList.Remove("b");
  EXPECT_THAT(Calls(), ElementsAre("OnFinal a"));
  EXPECT_EQ(1U, mList.mDialogList.size());
  EXPECT_EQ(1, HookedDialog::sAlive);
}

TEST_F(VQDialogListTest, ASessionsEndDestroysADialogWithTwoNamesOnce) {
  HookedDialog* dialog = Add("a");
  mList.Add("c", dialog);
  dialog->AddSession("S1");
  Add("b")->AddSession("S1");
  mList.RemoveBySession("S1");
  EXPECT_THAT(Calls(), ElementsAre("OnFinal a", "OnFinal b"));
  EXPECT_TRUE(mList.mDialogList.empty());
  EXPECT_EQ(0, HookedDialog::sAlive);
}

TEST_F(VQDialogListTest, AStaticDialogIsRemovedButNotDeleted) {
  static HookedDialog dialog;
  dialog.mDialogName = "static";
  mList.Add("a", &dialog);
  testing::internal::CaptureStderr();
  mList.Remove("a");
  EXPECT_EQ("dorn: dialog \"static\" is a variable and not deleted; make dialogs with new\n",
            testing::internal::GetCapturedStderr());
  EXPECT_FALSE(mList.Has("a"));
  EXPECT_THAT(Calls(), ElementsAre("OnFinal static"));
  EXPECT_EQ(1, HookedDialog::sAlive);
  --HookedDialog::sAlive;  // It lives until the end of the process.
}

TEST_F(VQDialogListTest, ALocalDialogIsRemovedButNotDeleted) {
  // Where variables lie, also for a sanitizer that moves them elsewhere.
  auto* dialog = new (__builtin_alloca(sizeof(HookedDialog))) HookedDialog;
  mList.Add("a", dialog);
  testing::internal::CaptureStderr();
  mList.Remove("a");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("is a variable"));
  EXPECT_EQ(1, HookedDialog::sAlive);
  dialog->~HookedDialog();
}

// Where `ulimit -s unlimited` holds, that is where the heap lies.
TEST_F(VQDialogListTest, WhatLiesBelowTheStacksFramesIsNoVariable) {
  constexpr std::uintptr_t kFarBelow = std::uintptr_t{1} << 20;
  const auto frame = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  EXPECT_TRUE(dorn::IsVariable(reinterpret_cast<const void*>(frame)));
  EXPECT_FALSE(dorn::IsVariable(reinterpret_cast<const void*>(frame - kFarBelow)));
}

TEST_F(VQDialogListTest, FinalCannotAddItsDialogAgain) {
  Add("a")->final = [&](HookedDialog& dialog) {
    mList.Add("b", &dialog);
    EXPECT_FALSE(mList.Has("b"));
  };
  testing::internal::CaptureStderr();
  mList.Remove("a");
  EXPECT_EQ("dorn: a dialog that is being removed cannot be added again (b)\n",
            testing::internal::GetCapturedStderr());
  EXPECT_TRUE(mList.mDialogList.empty());
  EXPECT_EQ(0, HookedDialog::sAlive);
}

TEST_F(VQDialogListTest, FinalCannotWriteItsDialogIntoTheMapAgain) {
  Add("a")->final = [&](HookedDialog& dialog) { mList.mDialogList["b"] = &dialog; };
  testing::internal::CaptureStderr();
  mList.Remove("a");
  EXPECT_EQ("dorn: a dialog that is being removed cannot be added again (b)\n",
            testing::internal::GetCapturedStderr());
  EXPECT_TRUE(mList.mDialogList.empty());
  EXPECT_EQ(0, HookedDialog::sAlive);
}

TEST_F(VQDialogListTest, FinalMayAddAnotherDialogUnderItsName) {
  Add("a")->final = [&](HookedDialog&) { Add("a"); };
  mList.Remove("a");
  EXPECT_TRUE(mList.Has("a"));
  EXPECT_EQ(1, HookedDialog::sAlive);
}

// In a short list and in a long one. What comes before it in the order of names has had its turn.
TEST_F(VQDialogListTest, WhatFinalAddsBehindItsDialogGoesWithTheSessionToo) {
  for (const int others : {0, 40}) {
    for (int i = 0; i < others; ++i) Add(("o" + std::to_string(i)).c_str())->AddSession("other");
    Add("d")->final = [&](HookedDialog&) {
      Add("c");
      Add("e");
    };
    mList.RemoveBySession("S1");
    EXPECT_TRUE(mList.Has("c")) << others;
    EXPECT_FALSE(mList.Has("e")) << others;
  }
}

// Many dialogs

TEST_F(VQDialogListTest, ASessionsEndLooksAtNoDialogOfOthers) {
  constexpr int kCount = 300;
  for (int i = 0; i < kCount; ++i) {
    HookedDialog* dialog = Add(("d" + std::to_string(i)).c_str());
    for (int of = i; of < i + 3; ++of) dialog->AddSession("S" + std::to_string(of));
  }
  mList.RemoveBySession("nobody");
  const std::uint64_t before = dorn::DialogIndex::Steps();
  for (int i = 0; i < kCount; ++i) {
    mList.RemoveBySession("S" + std::to_string(i));
    // What happens meanwhile needs no walk either.
    mList.mDialogList.rbegin()->second->AddSession("T" + std::to_string(i));
    Add(("e" + std::to_string(i)).c_str())->AddSession("U");
  }
  EXPECT_LT(dorn::DialogIndex::Steps() - before, 8U * kCount);
  EXPECT_FALSE(mList.Has("d0"));
  EXPECT_FALSE(mList.Has("d200"));
  EXPECT_TRUE(mList.Has("e0"));
}

TEST_F(VQDialogListTest, ASessionsEndLooksAtNoDialogThatKeepsATreeOfAnother) {
  constexpr int kCount = 300;
  AddWithSessions(kCount);
  const std::uint64_t before = dorn::DialogIndex::Steps();
  for (int i = 0; i < kCount; ++i) mList.RemoveBySession("S" + std::to_string(i));
  EXPECT_LT(dorn::DialogIndex::Steps() - before, 4U * kCount);
  EXPECT_EQ(static_cast<std::size_t>(kCount), mList.mDialogList.size());
}

// A tree that is taken away while its dialog's hook runs dies only when the hook has returned.
TEST_F(VQDialogListTest, ATreeThatDiesWhenAHookReturnsNeedsNoWalk) {
  constexpr int kCount = 300;
  AddWithSessions(kCount);
  const std::uint64_t before = dorn::DialogIndex::Steps();
  for (int i = 0; i < kCount; ++i) {
    const dorn::RunningHooks hook(mList.Search(KZString("d" + std::to_string(i))));
    mList.RemoveBySession("S" + std::to_string(i));
  }
  EXPECT_LT(dorn::DialogIndex::Steps() - before, 4U * kCount);
  EXPECT_EQ(static_cast<std::size_t>(kCount), mList.mDialogList.size());
}

TEST_F(VQDialogListTest, ASessionsEndLooksAtNoDialogThatHasLostItsTreeBefore) {
  constexpr int kCount = 300;
  for (int i = 0; i < kCount; ++i) {
    HookedDialog* dialog = Add(("d" + std::to_string(i)).c_str());
    dialog->AddSession("S");
    dialog->AddSession("other");
  }
  mList.RemoveBySession("nobody");
  for (const auto& [name, dialog] : mList.mDialogList) dialog->RemoveSession("S");
  const std::uint64_t before = dorn::DialogIndex::Steps();
  mList.RemoveBySession("S");
  EXPECT_EQ(dorn::DialogIndex::Steps(), before);
}

// A list that is long enough for an index, with a tree in each dialog, that has been searched.
class LongDialogListTest : public VQDialogListTest {
 protected:
  void SetUp() override {
    VQDialogListTest::SetUp();
    for (int i = 10; i < 50; ++i) {
      const std::string number = std::to_string(i);
      Add(("d" + number).c_str())->AddSession(KZString("S" + number));
    }
    mList.RemoveBySession("nobody");
  }

  // Neither the size of the map nor the number of trees changes.
  void RenameByHand(const char* from, const char* to) {
    auto node = mList.mDialogList.extract(from);
    node.key() = KZString(to);
    mList.mDialogList.insert(std::move(node));
  }
};

TEST_F(LongDialogListTest, ADialogThatWasRenamedByHandIsNotLeftBehindDestroyed) {
  RenameByHand("d20", "x");
  mList.Remove("x");
  EXPECT_FALSE(mList.Has("x"));
  EXPECT_THAT(Calls(), ElementsAre("OnFinal d20"));
}

TEST_F(LongDialogListTest, ASessionsEndFindsADialogThatWasRenamedByHand) {
  RenameByHand("d20", "a");
  mList.RemoveBySession("S20");
  EXPECT_FALSE(mList.Has("a"));
  EXPECT_THAT(Calls(), ElementsAre("OnFinal d20"));
}

TEST_F(LongDialogListTest, ADialogThatWasPutInAnothersPlaceByHandIsNotLeftBehindDestroyed) {
  auto* other = new HookedDialog;
  other->mDialogName = "other";
  VQDialog* const before = std::exchange(mList.mDialogList["d20"], other);
  mList.Remove("d20");
  EXPECT_FALSE(mList.Has("d20"));
  EXPECT_THAT(Calls(), ElementsAre("OnFinal other"));
  delete before;
}

TEST_F(LongDialogListTest, ADialogThatWasPutInAnothersPlaceByHandTooLosesBothNames) {
  VQDialog* const before = std::exchange(mList.mDialogList["d21"], mList.mDialogList["d20"]);
  mList.Remove("d21");
  EXPECT_FALSE(mList.Has("d20"));
  EXPECT_FALSE(mList.Has("d21"));
  EXPECT_THAT(Calls(), ElementsAre("OnFinal d20"));
  delete before;
}

// The size of the map is what it was, and the index must not take itself for right.
TEST_F(LongDialogListTest, ANameThatIsAddedAfterAnotherWasTakenAwayByHandIsKnown) {
  VQDialog* const taken = mList.Search("d20");
  mList.mDialogList.erase("d20");
  mList.Add("y", mList.Search("d21"));
  mList.Remove("d21");
  EXPECT_FALSE(mList.Has("y"));
  EXPECT_THAT(Calls(), ElementsAre("OnFinal d21"));
  delete taken;
}

// It had as many names, for the same dialogs.
TEST_F(LongDialogListTest, AListKnowsNothingOfOneThatLayInItsPlace) {
  std::optional<VQDialogList> list;
  list.emplace();
  for (const auto& [name, dialog] : mList.mDialogList) list->Add(name, dialog);
  list->RemoveBySession("nobody");
  list.reset();
  list.emplace();
  list->mDialogList = mList.mDialogList;
  list->mDialogList["d21"] = list->mDialogList["d20"];
  VQDialog* const left = mList.Search("d21");
  mList.mDialogList.clear();
  list->Remove("d20");
  EXPECT_FALSE(list->Has("d20"));
  EXPECT_FALSE(list->Has("d21"));
  while (!list->mDialogList.empty()) list->Remove(KZString(list->mDialogList.begin()->first));
  delete left;
}

// A dialog without a tree goes with any session.
TEST_F(LongDialogListTest, ASessionsEndFindsADialogThatWasReplacedAndCameBack) {
  VQDialog* const dialog = Add("x");
  Add("x");
  mList.Add("y", dialog);
  Calls().clear();
  mList.RemoveBySession("nobody");
  EXPECT_FALSE(mList.Has("x"));
  EXPECT_FALSE(mList.Has("y"));
  EXPECT_THAT(Calls(), ElementsAre("OnFinal x", "OnFinal x"));
}

// Whether it was made before or after somebody has searched.
TEST_F(LongDialogListTest, ASessionsEndFindsADialogWithoutTreesThatWasPutInAnothersPlaceByHand) {
  for (const bool isSearched : {false, true}) {
    auto* other = new HookedDialog;
    other->mDialogName = "other";
    if (isSearched) mList.RemoveBySession("nobody");
    VQDialog* const before = std::exchange(mList.mDialogList["d20"], other);
    Calls().clear();
    mList.RemoveBySession("nobody");
    EXPECT_FALSE(mList.Has("d20"));
    EXPECT_THAT(Calls(), ElementsAre("OnFinal other")) << isSearched;
    mList.Add("d20", before);
  }
  // None is left that somebody might write into the map.
  delete new HookedDialog;
  const std::uint64_t steps = dorn::DialogIndex::Steps();
  mList.RemoveBySession("nobody");
  EXPECT_EQ(steps, dorn::DialogIndex::Steps());
}

// What a walk over all of them would do, in the order of the names.
std::vector<std::string> ExpectedEnds(const VQDialogList& list, const std::string& sid) {
  std::vector<std::string> names;
  std::set<const VQDialog*> gone;
  for (const auto& [name, dialog] : list.mDialogList) {
    const auto& trees = dialog->mSessionResourceList;
    if (gone.count(dialog) == 0 && trees.size() == trees.count(sid)) {
      names.push_back("OnFinal " + dialog->mDialogName);
      gone.insert(dialog);
    }
  }
  return names;
}

TEST_F(VQDialogListTest, WhatHostsWriteIntoTheMapsCounts) {
  std::mt19937 random(20261122);
  const auto below = [&random](int n) { return static_cast<int>(random() % n); };
  for (int step = 0; step < 20000; ++step) {
    const std::string name = "d" + std::to_string(below(60));
    const std::string sid = "S" + std::to_string(below(25));
    const auto found = mList.mDialogList.find(name);
    VQDialog* dialog = found != mList.mDialogList.end() ? found->second : nullptr;
    const int what = below(12);
    if (dialog == nullptr) {
      HookedDialog* made = nullptr;
      if (what < 6) {
        made = Add(name.c_str());
      } else {
        made = new HookedDialog;
        made->mDialogName = name;
        if (what < 9) made->AddSession(sid);
        mList.mDialogList[name] = made;
      }
      made->AddSession("S" + std::to_string(below(25)));
      continue;
    }
    switch (what) {
      case 0:
      case 1:
        dialog->AddSession(sid);
        break;
      case 2:
        dialog->GetResourceUnique(sid);
        break;
      case 3:
        static_cast<void>(dialog->mSessionResourceList[sid]);
        break;
      case 4:
        dialog->RemoveSession(sid);
        break;
      case 5:
        dialog->mSessionResourceList.erase(sid);
        break;
      case 6:
        mList.Add("e" + name, dialog);
        break;
      case 7:
        if (below(4) == 0) mList.Remove(name);
        break;
      case 8:  // Exchanged by hand: the size stays.
        if (mList.mDialogList.count("e" + name) == 0 && below(4) == 0) {
          auto* made = new HookedDialog;
          made->mDialogName = name;
          if (below(3) != 0) made->AddSession(sid);
          found->second = made;
          delete dialog;
        }
        break;
      default: {
        Calls().clear();
        const std::vector<std::string> expected = ExpectedEnds(mList, sid);
        mList.RemoveBySession(sid);
        ASSERT_EQ(expected, Calls()) << step;
        for (const auto& [each, left] : mList.mDialogList) {
          ASSERT_EQ(0U, left->mSessionResourceList.count(sid)) << step << " " << each;
        }
      }
    }
  }
}

}  // namespace
