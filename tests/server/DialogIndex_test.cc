// What the index tells about the dialogs of a list, and how many it looks at for that.
#include "dorn/server/DialogIndex.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "dorn/server/RunningHooks.h"
#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DialogIndexTest : public ServerTest {
 protected:
  using Names = std::vector<std::string>;

  void TearDown() override {
    while (!mList.mDialogList.empty()) mList.Remove(KZString(mList.mDialogList.begin()->first));
    ServerTest::TearDown();
  }

  static HookedDialog* Make(const std::string& session) {
    auto* dialog = new HookedDialog;
    if (!session.empty()) dialog->AddSession(KZString(session));
    return dialog;
  }
  HookedDialog* Add(const std::string& name, const std::string& session) {
    HookedDialog* dialog = Make(session);
    mList.Add(KZString(name), dialog);
    return dialog;
  }
  // Dialogs "d10", "d11", ..., each with a tree of a session of its own, "S10", "S11", ...
  void AddMany(int count) {
    for (int i = 10; i < 10 + count; ++i) {
      const std::string number = std::to_string(i);
      Add("d" + number, "S" + number);
    }
  }
  // So many that they are indexed.
  void AddIndexed() {
    AddMany(kMany);
    static_cast<void>(Index().Version());
  }

  dorn::DialogIndex& Index() { return dorn::DialogIndex::Of(mList); }

  Names NamesFor(const std::string& session) {
    const std::set<KZString> names = Index().NamesFor(KZString(session), nullptr);
    return {names.begin(), names.end()};
  }
  Names NamesBehind(const std::string& behind, const std::string& session) {
    const KZString name(behind);
    const std::set<KZString> names = Index().NamesFor(KZString(session), &name);
    return {names.begin(), names.end()};
  }
  Names NamesOf(const VQDialog* dialog) {
    const std::vector<KZString> names = Index().NamesOf(dialog, nullptr);
    return {names.begin(), names.end()};
  }
  Names NamesOf(const VQDialog* dialog, const std::string& foundAs) {
    const KZString name(foundAs);
    const std::vector<KZString> names = Index().NamesOf(dialog, &name);
    return {names.begin(), names.end()};
  }

  // The number is another one than before.
  bool IsNews() {
    const std::uint64_t version = Index().Version();
    return std::exchange(mVersion, version) != version;
  }

  static std::uint64_t StepsOf(const std::function<void()>& body) {
    const std::uint64_t before = dorn::DialogIndex::Steps();
    body();
    return dorn::DialogIndex::Steps() - before;
  }

  static constexpr int kMany = 40;
  VQDialogList mList;
  std::uint64_t mVersion = 0;
};

// A short list is walked, and everything counts that somebody writes into it.

TEST_F(DialogIndexTest, WalksUpTo16Dialogs) {
  AddMany(16);
  EXPECT_EQ(16U, StepsOf([&] { EXPECT_EQ(16U, NamesFor("S10").size()); }));
  EXPECT_EQ(16U, StepsOf([&] { EXPECT_THAT(NamesOf(mList.Search("d12")), ElementsAre("d12")); }));
  EXPECT_EQ(5U, StepsOf([&] {
              EXPECT_THAT(NamesBehind("d20", "S10"),
                          ElementsAre("d21", "d22", "d23", "d24", "d25"));
            }));
  EXPECT_THAT(NamesBehind("d25", "S10"), IsEmpty());
  mList.mDialogList["x"] = mList.Search("d12");
  delete mList.mDialogList.extract("d20").mapped();
  EXPECT_THAT(NamesOf(mList.Search("d12")), ElementsAre("d12", "x"));
  EXPECT_THAT(NamesOf(nullptr), IsEmpty());
}

TEST_F(DialogIndexTest, HasNewsInAShortListAtAnyTime) {
  AddMany(16);
  EXPECT_TRUE(IsNews());
  EXPECT_TRUE(IsNews());
}

TEST_F(DialogIndexTest, DoesNotWalk17Dialogs) {
  AddMany(17);
  EXPECT_TRUE(IsNews());
  EXPECT_EQ(0U, StepsOf([&] { EXPECT_FALSE(IsNews()); }));
  EXPECT_EQ(1U, StepsOf([&] { EXPECT_THAT(NamesFor("S10"), ElementsAre("d10")); }));
  EXPECT_EQ(0U, StepsOf([&] { EXPECT_THAT(NamesFor("nobody"), IsEmpty()); }));
  EXPECT_EQ(0U, StepsOf([&] { EXPECT_THAT(NamesOf(mList.Search("d12")), ElementsAre("d12")); }));
}

// Many dialogs.

TEST_F(DialogIndexTest, NamesDialogsOfTheSessionAndWithoutTrees) {
  AddIndexed();
  HookedDialog* const both = Add("both", "S20");
  both->AddSession("S21");
  HookedDialog* const bare = Add("bare", "");
  mList.Add("x", both);
  EXPECT_THAT(NamesFor("S20"), ElementsAre("bare", "both", "d20", "x"));
  EXPECT_THAT(NamesFor("S21"), ElementsAre("bare", "both", "d21", "x"));
  EXPECT_THAT(NamesFor("nobody"), ElementsAre("bare"));
  EXPECT_THAT(NamesOf(both), ElementsAre("both", "x"));
  EXPECT_THAT(NamesBehind("bare", "S20"), ElementsAre("both", "d20", "x"));
  EXPECT_THAT(NamesBehind("both", "S20"), ElementsAre("d20", "x"));
  EXPECT_THAT(NamesBehind("x", "S20"), IsEmpty());
  bare->AddSession("S20");
  EXPECT_THAT(NamesFor("nobody"), IsEmpty());
  EXPECT_THAT(NamesFor("S20"), ElementsAre("bare", "both", "d20", "x"));
  both->RemoveSession("S20");
  EXPECT_THAT(NamesFor("S20"), ElementsAre("bare", "d20"));
  bare->RemoveSession("S20");
  EXPECT_THAT(NamesFor("nobody"), ElementsAre("bare"));
}

// Nothing is asked before that would have noticed it.
TEST_F(DialogIndexTest, FindsWhatWasWrittenByHand) {
  AddIndexed();
  HookedDialog* const first = Make("S20");
  mList.mDialogList["a"] = first;
  EXPECT_THAT(NamesFor("S20"), ElementsAre("a", "d20"));
  mList.mDialogList["b"] = first;
  EXPECT_THAT(NamesOf(first), ElementsAre("a", "b"));
  EXPECT_TRUE(IsNews());
  EXPECT_FALSE(IsNews());
  mList.mDialogList["c"] = first;
  EXPECT_TRUE(IsNews());
  EXPECT_FALSE(IsNews());
  mList.mDialogList["nothing"] = nullptr;
  EXPECT_THAT(NamesFor("nobody"), IsEmpty());
}

TEST_F(DialogIndexTest, FindsTreesThatWereWrittenByHand) {
  AddIndexed();
  mList.Search("d30")->mSessionResourceList[KZString("S20")];
  EXPECT_THAT(NamesFor("S20"), ElementsAre("d20", "d30"));
  mList.Search("d20")->mSessionResourceList.erase(KZString("S20"));
  EXPECT_THAT(NamesFor("S20"), ElementsAre("d20", "d30"));
  EXPECT_THAT(NamesFor("nobody"), ElementsAre("d20"));
  mList.Search("d20")->mSessionResourceList[KZString("S31")];
  EXPECT_THAT(NamesFor("nobody"), IsEmpty());
  mList.Search("d30")->mSessionResourceList.erase(KZString("S20"));
  EXPECT_THAT(NamesFor("S20"), IsEmpty());
}

TEST_F(DialogIndexTest, GivesNoNameThatADialogHasNoMore) {
  AddIndexed();
  auto node = mList.mDialogList.extract("d20");
  node.key() = KZString("x");
  VQDialog* const dialog = node.mapped();
  mList.mDialogList.insert(std::move(node));
  EXPECT_THAT(NamesFor("S20"), ElementsAre("x"));
  std::swap(mList.mDialogList["d21"], mList.mDialogList["d22"]);
  EXPECT_THAT(NamesFor("S21"), ElementsAre("d22"));
  std::swap(mList.mDialogList["x"], mList.mDialogList["d30"]);
  EXPECT_THAT(NamesOf(dialog), ElementsAre("d30"));
  std::swap(mList.mDialogList["x"], mList.mDialogList["d30"]);
  EXPECT_THAT(NamesOf(dialog, "x"), ElementsAre("x"));
}

TEST_F(DialogIndexTest, KnowsADialogUnderTheNameUnderWhichItWasJustFound) {
  AddIndexed();
  HookedDialog* const dialog = Add("x", "S20");
  mList.Add("y", dialog);
  EXPECT_EQ(0U, StepsOf([&] { EXPECT_THAT(NamesOf(dialog, "y"), ElementsAre("x", "y")); }));
  VQDialog* const replaced = std::exchange(mList.mDialogList["d30"], dialog);
  EXPECT_THAT(NamesOf(dialog, "d30"), ElementsAre("d30", "x", "y"));
  EXPECT_THAT(NamesOf(replaced), IsEmpty());
  delete replaced;
}

TEST_F(DialogIndexTest, IsThatOfTheListThatWasUsedLast) {
  AddIndexed();
  EXPECT_TRUE(IsNews());
  EXPECT_FALSE(IsNews());
  {
    VQDialogList other;
    EXPECT_THAT(dorn::DialogIndex::Of(other).NamesFor("S20", nullptr), IsEmpty());
    EXPECT_THAT(dorn::DialogIndex::Of(other).NamesOf(mList.Search("d20"), nullptr), IsEmpty());
  }
  EXPECT_THAT(NamesFor("S20"), ElementsAre("d20"));
  const VQDialogList unused;
  dorn::DialogIndex::Forget(unused);
  EXPECT_EQ(1U, StepsOf([&] { EXPECT_THAT(NamesFor("S20"), ElementsAre("d20")); }));
}

// What is done by the operations of the list and of its dialogs needs no walk.

TEST_F(DialogIndexTest, KnowsWhatReplacesADialog) {
  AddIndexed();
  VQDialog* const replaced = mList.Search("d20");
  HookedDialog* const bare = Add("x", "");
  EXPECT_LE(StepsOf([&] {
              Add("d20", "S30");
              EXPECT_THAT(NamesFor("S20"), ElementsAre("x"));
              EXPECT_THAT(NamesFor("S30"), ElementsAre("d20", "d30", "x"));
              Add("x", "S31");
              EXPECT_THAT(NamesFor("nobody"), IsEmpty());
              EXPECT_THAT(NamesOf(replaced), IsEmpty());
              EXPECT_THAT(NamesOf(bare), IsEmpty());
            }),
            12U);
  delete replaced;
  delete bare;
}

TEST_F(DialogIndexTest, HasNewsWhenADialogOrATreeComesOrTheLastTreeGoes) {
  AddIndexed();
  static_cast<void>(IsNews());
  const std::uint64_t steps = StepsOf([&] {
    HookedDialog* const dialog = Add("x", "S20");
    EXPECT_TRUE(IsNews());
    EXPECT_FALSE(IsNews());
    dialog->AddSession("S21");
    EXPECT_TRUE(IsNews());
    EXPECT_FALSE(IsNews());
    dialog->RemoveSession("S20");
    EXPECT_FALSE(IsNews());
    dialog->RemoveSession("S21");
    EXPECT_TRUE(IsNews());
    mList.Remove("x");
    EXPECT_FALSE(IsNews());
  });
  EXPECT_LE(steps, 4U);
}

TEST_F(DialogIndexTest, FindsADialogThatWasPutInAnothersPlaceByHand) {
  AddIndexed();
  HookedDialog* const dialog = Make("S20");
  EXPECT_THAT(NamesFor("S20"), ElementsAre("d20"));
  delete std::exchange(mList.mDialogList["d20"], dialog);
  EXPECT_THAT(NamesFor("S20"), ElementsAre("d20"));
  EXPECT_THAT(NamesOf(dialog), ElementsAre("d20"));
}

// It was made before the list was indexed, and nobody knew of it.
TEST_F(DialogIndexTest, FindsAnOlderDialogThatGotATreeAndWasPutInAnothersPlaceByHand) {
  HookedDialog* const dialog = Make("");
  AddIndexed();
  dialog->AddSession("S30");
  const VQDialog* const replaced = std::exchange(mList.mDialogList["d20"], dialog);
  EXPECT_THAT(NamesFor("S30"), ElementsAre("d20", "d30"));
  delete replaced;
}

TEST_F(DialogIndexTest, IsNotTakenForRightAgainWhenTheSizeHasOnceBeenAnother) {
  AddIndexed();
  VQDialog* const dialog = mList.Search("d20");
  mList.mDialogList["x"] = dialog;
  mList.Add("y", mList.Search("d21"));
  EXPECT_THAT(NamesOf(dialog), ElementsAre("d20", "x"));
  mList.mDialogList["z"] = dialog;
  mList.Remove("d30");
  EXPECT_THAT(NamesOf(dialog), ElementsAre("d20", "x", "z"));
  // Nor when it is right again by itself.
  mList.mDialogList.erase("z");
  mList.Add("w", mList.Search("d22"));
  mList.Add("v", mList.Search("d22"));
  EXPECT_THAT(NamesOf(dialog), ElementsAre("d20", "x"));
  EXPECT_THAT(NamesOf(mList.Search("d22")), ElementsAre("d22", "v", "w"));
}

TEST_F(DialogIndexTest, DoesNotWalkBecauseOfADialogThatIsGone) {
  AddIndexed();
  delete Make("");
  EXPECT_EQ(0U, StepsOf([&] { NamesFor("nobody"); }));
}

// A tree that was taken away while its dialog's hook runs dies later.
TEST_F(DialogIndexTest, KnowsATreeThatDiesLater) {
  AddIndexed();
  HookedDialog* const dialog = Add("x", "S20");
  EXPECT_EQ(1U, StepsOf([&] {
              const dorn::RunningHooks hook(dialog);
              dialog->RemoveSession("S20");
              EXPECT_THAT(NamesFor("nobody"), ElementsAre("x"));
            }));
  EXPECT_EQ(1U, StepsOf([&] { EXPECT_THAT(NamesFor("nobody"), ElementsAre("x")); }));
}

// The dialog is older than the index, and the number of dialogs is that of the former list.
TEST_F(DialogIndexTest, KnowsNothingOfAFormerListInTheSamePlace) {
  HookedDialog* const dialog = Make("S");
  std::optional<VQDialogList> list(std::in_place);
  std::vector<VQDialog*> others;
  for (int i = 0; i < kMany; ++i) {
    others.push_back(Make("other"));
    list->Add(KZString(std::to_string(i)), others.back());
  }
  EXPECT_TRUE(dorn::DialogIndex::Of(*list).NamesFor("S", nullptr).empty());
  list.emplace();
  list->mDialogList["a"] = dialog;
  for (int i = 1; i < kMany; ++i) list->mDialogList[KZString(std::to_string(i))] = others[i];
  EXPECT_EQ(std::set<KZString>{"a"}, dorn::DialogIndex::Of(*list).NamesFor("S", nullptr));
  delete dialog;
  for (const VQDialog* other : others) delete other;
}

}  // namespace
