// What a dialog that all hosts share gets to do, and what becomes of it.
#include "tests/site/host/HostTest.h"

#include <algorithm>

#include "site/core/Bytes.h"
#include "site/core/TreeCodec.h"
#include "tests/support/CapturedStdout.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class SharedDialogTest : public HostTest {
 protected:
  static std::unique_ptr<VQJsonCommand> Proposal(const char* object, const char* value) {
    auto command = std::make_unique<VQJsonCommand>("CONDITION");
    auto child = std::make_unique<VQJsonObject>(command.get());
    child->SetValue("Name", VQValue(object), 0, "");
    child->SetValue("Value", VQValue(value), 0, "");
    if (command->AddObject(child.get(), 0)) static_cast<void>(child.release());
    return command;
  }
};

TEST_F(SharedDialogTest, StartsOnlyWithDialogsThatAreShared) {
  for (const char* name : {"plain", "nobody"}) {
    mOptions.dialogs = {"panel", name};
    auto carrier = std::make_unique<LoopCarrier>(mLog);
    dorn::site::SiteBody site(app, mOptions, std::move(carrier), [this] { return mNow; });
    EXPECT_FALSE(site.Start()) << name;
  }
}

// An update completes the objects that it writes; hosts without stations write none.
TEST_F(SharedDialogTest, TheTreeIsTheSameWithStationsAndWithout) {
  StartSite();
  OtherHost& other = Join();
  Wait(300);
  VQJsonResource& tree = *TheDialog().GetResourceShare();
  tree.SearchName("a")->mList.erase("Name");
  const std::string before = dorn::site::EncodeTree(tree);
  other.Set("a", "Value", "2");
  Wait(300);
  ASSERT_EQ("2", Value("a"));
  const std::string without = dorn::site::EncodeTree(tree);
  ASSERT_TRUE(dorn::site::DecodeTree(before, tree));
  Station station = Enter("u1");
  other.Set("a", "Value", "2");
  Wait(300);
  EXPECT_THAT(Take(station), Contains(HasSubstr(R"("Value":"2")")));
  EXPECT_EQ(without, dorn::site::EncodeTree(tree));
}

// No station sends it, and dialogs look at each child of a command.
TEST_F(SharedDialogTest, ACommandIsWrittenWithoutNullChildren) {
  VQJsonCommand command("CONDITION");
  command.mObjectList.push_back(nullptr);
  const auto read = dorn::site::DecodeCommand(dorn::site::EncodeCommand(command));
  ASSERT_NE(nullptr, read);
  EXPECT_THAT(read->mObjectList, IsEmpty());
}

TEST_F(SharedDialogTest, ChangesThatCannotBeAppliedAreToldOnceForEachDialog) {
  StartSite();
  // A command of no attributes, whose only child is none.
  dorn::site::ByteWriter bytes;
  bytes.Put(std::uint32_t{1});
  bytes.Put(static_cast<unsigned char>(5));
  for (int i = 0; i < 4; ++i) bytes.Put(0);  // Tag, parent, name and members.
  bytes.Put("Objects");
  for (const std::uint32_t number : {1U, 0U}) bytes.Put(number);
  dorn::site::Change broken;
  broken.dialog = "panel";
  broken.command = bytes.Take();
  dorn::site::Change unknown;
  unknown.dialog = "elsewhere";
  unknown.command = dorn::site::EncodeCommand(VQJsonCommand("CONDITION"));
  int applied = 0;
  TheDialog().apply = [&applied](Panel&, const Panel::Change&) { ++applied; };
  testing::internal::CaptureStderr();
  for (int i = 0; i < 3; ++i) {
    mSite->Apply(1, broken, std::nullopt);
    mSite->Apply(1, unknown, std::nullopt);
  }
  const std::string told = testing::internal::GetCapturedStderr();
  EXPECT_EQ(0, applied);
  EXPECT_EQ(2, std::count(told.begin(), told.end(), '\n')) << told;
  EXPECT_THAT(told, AllOf(HasSubstr(R"("panel")"), HasSubstr(R"("elsewhere")")));
}

TEST_F(SharedDialogTest, ADialogThatWasNotNamedTakesNothing) {
  StartSite();
  Station station = Enter("u1", "second");
  Set(station, "a", "2");
  Wait(300);
  EXPECT_EQ("1",
            TheDialog("second").GetResourceShare()->SearchName("a")->GetValue("Value").GetString());
}

TEST_F(SharedDialogTest, ATouchComesWithTheChange) {
  StartSite();
  Station station = Enter("u1");
  std::string touched;
  TheDialog().apply = [&touched](Panel&, const Panel::Change& change) {
    touched = change.command->GetValue("ActionName").GetString() + " " +
              change.command->GetValue("ActionType").GetString();
    EXPECT_FALSE(change.isFromKeeper);
    EXPECT_NE(0U, change.session);
    EXPECT_EQ("data", change.sessionData);
    EXPECT_GT(change.time.tv_sec, 1600000000);
  };
  Tell(station, R"({"Command":"CONDITION","ActionName":"b","ActionType":"CLICK",)"
                R"("Objects":[{"Name":"b"}]})");
  EXPECT_EQ("b CLICK", touched);
}

TEST_F(SharedDialogTest, OnAppliedComesWhenTheOthersWereTold) {
  StartSite();
  Station mine = Enter("u1");
  Station other = Enter("u2");
  Calls().clear();
  TheDialog().applied = [&other](Panel&, const Panel::Change&) {
    Calls().push_back(other.peer.Received().empty() ? "not told" : "told");
  };
  Set(mine, "a", "2");
  EXPECT_THAT(Calls(), ElementsAre("OnApplied S-u1", "told"));
}

TEST_F(SharedDialogTest, OnAppliedIsNotForAConnectionThatIsGone) {
  StartSite();
  Station mine = Enter("u1");
  Calls().clear();
  mCarrier->SetCut(true);
  Set(mine, "a", "2");
  mine.peer.Close();
  Pass();
  mCarrier->SetCut(false);
  Pass();
  EXPECT_EQ("2", Value("a"));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SharedDialogTest, TheKeeperProposes) {
  StartSite();
  Station station = Enter("u1");
  int asked = 0;
  TheDialog().keep = [&](Panel& panel) {
    if (asked++ > 0) return;
    EXPECT_TRUE(panel.Propose(*Proposal("a", "7")));
  };
  bool isFromKeeper = false;
  TheDialog().apply = [&](Panel& panel, const Panel::Change& change) {
    isFromKeeper = change.isFromKeeper;
    panel.SharedDialog::OnApply(change);
  };
  Wait(300);
  EXPECT_GE(asked, 1);
  EXPECT_TRUE(isFromKeeper);
  EXPECT_EQ("7", Value("a"));
  EXPECT_THAT(Take(station), ElementsAre(HasSubstr(R"("Value":"7")")));
}

TEST_F(SharedDialogTest, NobodyElseProposes) {
  StartSite();
  mCarrier->SetCut(true);
  Wait(5000);
  int asked = 0;
  TheDialog().keep = [&asked](Panel&) { ++asked; };
  Wait(1000);
  EXPECT_EQ(0, asked);
  EXPECT_FALSE(TheDialog().Propose(*Proposal("a", "7")));
}

TEST_F(SharedDialogTest, AHostThatComesLaterHasTheTreesAndTheMembers) {
  StartSite();
  Station station = Enter("u1");
  TheDialog().apply = [](Panel& panel, const Panel::Change& change) {
    ++panel.count;
    panel.SharedDialog::OnApply(change);
  };
  Set(station, "a", "5");
  Set(station, "b", "6");
  // Until there is a snapshot with both.
  Wait(70000);
  station.peer.Close();
  Pass();
  mSite.reset();
  app.DialogList()->Remove("panel");
  StartSite();
  EXPECT_EQ("5", Value("a"));
  EXPECT_EQ("6", Value("b"));
  EXPECT_EQ(2, TheDialog().count);
}

TEST_F(SharedDialogTest, AppliedTwiceItIsTheSame) {
  mOptions.appliesTwice = true;
  StartSite();
  Station mine = Enter("u1");
  Station other = Enter("u2");
  TheDialog().apply = [](Panel& panel, const Panel::Change& change) {
    ++panel.count;
    panel.SharedDialog::OnApply(change);
  };
  // Both come in one pass: the second trial must not lose what the first has left to be sent.
  mCarrier->SetCut(true);
  Set(mine, "a", "2");
  Set(mine, "b", "3");
  mCarrier->SetCut(false);
  Pass();
  EXPECT_EQ(2, TheDialog().count);
  EXPECT_EQ("2", Value("a"));
  EXPECT_THAT(Take(other), ElementsAre(HasSubstr(R"("Value":"2")"), HasSubstr(R"("Value":"3")")));
  EXPECT_THAT(Take(mine), IsEmpty());
  EXPECT_EQ(0U, mSite->Status().unequal);
}

TEST_F(SharedDialogTest, WhatIsNotSavedShowsWhenItIsAppliedTwice) {
  mOptions.appliesTwice = true;
  StartSite();
  Station mine = Enter("u1");
  TheDialog().apply = [](Panel& panel, const Panel::Change& change) {
    ++panel.unsaved;
    panel.GetResourceShare()->SearchName("a")->SetValue("Value", panel.unsaved, -1, change.mark);
  };
  testing::internal::CaptureStderr();
  Set(mine, "a", "2");
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("dorn-site: dialog \"panel\" does not do the same twice"));
  EXPECT_EQ(1U, mSite->Status().unequal);
}

TEST_F(SharedDialogTest, WithoutASiteNothingHappens) {
  Panel panel;
  EXPECT_FALSE(panel.Propose(*Proposal("a", "7")));
  EXPECT_FALSE(dorn::site::SessionData("S1").has_value());
}

}  // namespace
