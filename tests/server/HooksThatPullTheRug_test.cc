// Hooks that take away what the library is working with: their dialog, its tree, the session, the
// connection. Mostly of value under AddressSanitizer; the order of the calls is shown everywhere.
#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class HooksThatPullTheRugTest : public ServerTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    mDialog = Shared("top", kTree);
    mLink = LoggedIn("S1", "top");
  }

  static constexpr char kCondition[] =
      R"({"Command":"CONDITION","ActionName":"b1","ActionType":"T",)"
      R"("Objects":[{"Name":"b1","Value":"ON"},{"Name":"l1","Value":5}]})";

  HookedDialog* mDialog = nullptr;
  Link mLink;
};

// A dialog that removes itself

TEST_F(HooksThatPullTheRugTest, ConditionThatRemovesItsDialogGetsNoTouch) {
  mDialog->condition = [](HookedDialog& dialog, VQClientSocket*, VQJsonCommand*) {
    app.DialogList()->Remove("top");
    Calls().push_back("still " + Str(dialog.mDialogName));
  };
  Tell(mLink, kCondition);
  EXPECT_THAT(Calls(), ElementsAre("OnCondition top S1", "OnFinal top", "still top"));
  EXPECT_EQ(0, HookedDialog::sAlive);
  EXPECT_EQ(nullptr, Dialog("top"));
}

TEST_F(HooksThatPullTheRugTest, ConditionThatReplacesItsDialogHasTheNewOneTouched) {
  mDialog->condition = [](HookedDialog& dialog, VQClientSocket*, VQJsonCommand*) {
    app.DialogList()->Remove("top");
    app.CreateDialog("top");
    EXPECT_NE(&dialog, Dialog("top"));
  };
  Tell(mLink, kCondition);
  EXPECT_THAT(Calls(), ElementsAre("OnCondition top S1", "OnFinal top", "CreateDialog top",
                                   "OnInit top", "OnTouch top b1 T"));
  EXPECT_EQ(1, HookedDialog::sAlive);
}

TEST_F(HooksThatPullTheRugTest, EveryHookMayRemoveItsDialog) {
  const auto remove = [] { app.DialogList()->Remove("top"); };
  const auto fresh = [&] {
    app.DialogList()->Remove("top");
    HookedDialog* dialog = Shared("top", kTree);
    dialog->changeBefore = [=](HookedDialog&, VQClientSocket*, VQJsonCommand*) { remove(); };
    dialog->change = dialog->changeBefore;
    dialog->touch = [=](HookedDialog&, VQClientSocket*, VQJsonObject*, KZString) { remove(); };
    dialog->timer = [=](HookedDialog&, unsigned int) { remove(); };
    dialog->getfile = [=](HookedDialog& self, VQClientSocket* client, KZString file, KZString,
                          KZString) {
      remove();
      return self.VQDialog::OnGetfile(client, file, "", "");
    };
    return dialog;
  };
  fresh();
  Tell(mLink, R"({"Command":"CHANGE","DialogName":"zz"})");
  EXPECT_EQ(0, HookedDialog::sAlive) << "OnChangeBefore";
  fresh();
  Find(mLink)->mDialogName = "";
  Tell(mLink, R"({"Command":"CHANGE","DialogName":"top"})");
  EXPECT_EQ(0, HookedDialog::sAlive) << "OnChange";
  fresh();
  Tell(mLink, kCondition);
  EXPECT_EQ(0, HookedDialog::sAlive) << "OnTouch";
  fresh()->SetSingleTimerInterval(1, 5);
  Wait(1);
  EXPECT_EQ(0, HookedDialog::sAlive) << "OnTimer";
  fresh()->VQDialog::OnInit();
  Tell(mLink, R"({"Command":"GETFILE","File":"top.json"})");  // Not there: the hook is not asked.
  EXPECT_EQ(1, HookedDialog::sAlive);
}

TEST_F(HooksThatPullTheRugTest, AFileRequestMayRemoveTheDialogThatServesIt) {
  const std::string name = Folder() + "/top";
  Offer(name, WriteResource("top.json", kTree));
  auto* dialog = dynamic_cast<HookedDialog*>(app.CreateDialog(name.c_str()));
  dialog->LoadJsonShare();
  dialog->getfile = [&](HookedDialog& self, VQClientSocket* client, KZString file, KZString date,
                        KZString object) {
    app.DialogList()->Remove(KZString(name));
    return self.VQDialog::OnGetfile(client, file, date, object);
  };
  Tell(mLink, R"({"Command":"GETFILE","File":")" + name + R"(.json"})");
  EXPECT_EQ(1U, mLink.station.Messages().size());
  EXPECT_EQ(kTree, mLink.station.Bytes());
  EXPECT_EQ(1, HookedDialog::sAlive);
}

TEST_F(HooksThatPullTheRugTest, SwitchingAwayMayRemoveTheOldDialogAndTheNewName) {
  Offer("next", "unused");
  mDialog->changeBefore = [](HookedDialog&, VQClientSocket*, VQJsonCommand*) {
    app.CreateDialog("next");
    app.DialogList()->Remove("top");
    app.DialogList()->Remove("next");
  };
  Tell(mLink, R"({"Command":"CHANGE","DialogName":"next"})");
  EXPECT_THAT(Calls(), ElementsAre("OnChangeBefore top S1", "CreateDialog next", "OnInit next",
                                   "OnFinal top", "OnFinal next", "CreateDialog next",
                                   "OnInit next", "OnChange next S1"));
}

TEST_F(HooksThatPullTheRugTest, ADialogRemovedTwiceByItsHookIsDeletedOnce) {
  mDialog->condition = [](HookedDialog&, VQClientSocket*, VQJsonCommand*) {
    app.DialogList()->Remove("top");
    app.DialogList()->Remove("top");
    app.DialogList()->RemoveBySession("S1");
  };
  Tell(mLink, kCondition);
  EXPECT_THAT(Calls(), ElementsAre("OnCondition top S1", "OnFinal top"));
  EXPECT_EQ(0, HookedDialog::sAlive);
}

TEST_F(HooksThatPullTheRugTest, NestedHooksKeepTheDialogUntilTheOuterOneReturns) {
  mDialog->condition = [&](HookedDialog& dialog, VQClientSocket* client, VQJsonCommand* command) {
    dialog.update = [](HookedDialog&, VQJsonObject*, VQJsonObject*, KZString) {
      app.DialogList()->Remove("top");
    };
    dialog.UpdateResourceShare(command, client->GetSessionId());
    EXPECT_EQ(1, HookedDialog::sAlive);
    dialog.SendUpdateShare(true);
  };
  Tell(mLink, kCondition);
  EXPECT_EQ(0, HookedDialog::sAlive);
}

// Trees

TEST_F(HooksThatPullTheRugTest, UpdateMayEraseTheTreeThatIsWalked) {
  mDialog->LoadJsonUnique("S1");
  mDialog->update = [](HookedDialog& dialog, VQJsonObject* target, VQJsonObject* source,
                       KZString sid) {
    dialog.RemoveSession("S1");
    dialog.VQDialog::OnUpdate(target, source, sid);
  };
  mDialog->condition = [](HookedDialog& dialog, VQClientSocket*, VQJsonCommand* command) {
    dialog.UpdateResourceUnique(command, "S1");
  };
  Tell(mLink, kCondition);
  EXPECT_EQ(1U, mDialog->mSessionResourceList.size());
}

TEST_F(HooksThatPullTheRugTest, UpdateMayEraseTheTreeOutsideAnyOtherHook) {
  mDialog->LoadJsonUnique("S1");
  mDialog->update = [](HookedDialog& dialog, VQJsonObject* target, VQJsonObject* source,
                       KZString sid) {
    dialog.RemoveSession("S1");
    dialog.VQDialog::OnUpdate(target, source, sid);
  };
  VQJsonCommand command("A");
  for (const char* name : {"b1", "l1"}) {
    auto* object = new VQJsonObject(&command);
    object->SetValue("Name", VQValue(name), 0, "");
    object->SetValue("Value", VQValue("x"), 0, "");
    command.AddObject(object, 0);
  }
  mDialog->UpdateResourceUnique(&command, "S1");
  EXPECT_EQ(1U, mDialog->mSessionResourceList.size());
}

// An object that says whether it is still there.
class MortalObject : public VQJsonObject {
 public:
  MortalObject(VQJsonObject* parent, bool& isAlive) : VQJsonObject(parent), mIsAlive(isAlive) {
    mIsAlive = true;
  }
  ~MortalObject() override { mIsAlive = false; }

 private:
  bool& mIsAlive;
};

TEST_F(HooksThatPullTheRugTest, ATreeThatIsTakenAwayStaysUntilTheHookHasReturned) {
  bool isAlive = false;
  VQJsonResource* tree = mDialog->GetResourceUnique("S1");
  tree->AddObject(new MortalObject(tree, isAlive), 0);
  mDialog->condition = [&isAlive](HookedDialog& dialog, VQClientSocket*, VQJsonCommand*) {
    EXPECT_EQ(1, dialog.RemoveSession("S1"));
    EXPECT_TRUE(isAlive);
  };
  Tell(mLink, kCondition);
  EXPECT_FALSE(isAlive);
}

TEST_F(HooksThatPullTheRugTest, UpdateMayDeleteTheTargetOrItsNeighbour) {
  mDialog->update = [](HookedDialog& dialog, VQJsonObject* target, VQJsonObject*, KZString) {
    if (VQJsonObject* other = dialog.GetResourceShare()->SearchName("l1")) other->Delete("THIS");
    target->Delete("THIS");
  };
  mDialog->condition = [](HookedDialog& dialog, VQClientSocket*, VQJsonCommand* command) {
    dialog.UpdateResourceShare(command, "S1");
  };
  CapturedStdout console;
  Tell(mLink, kCondition);
  EXPECT_THAT(console.Text(), testing::EndsWith("?? Not found. Name:l1 skip!\n"));
  EXPECT_TRUE(mDialog->GetResourceShare()->mObjectList.empty());
}

TEST_F(HooksThatPullTheRugTest, UpdateMayEmptyTheCommandThatIsApplied) {
  mDialog->condition = [](HookedDialog& dialog, VQClientSocket*, VQJsonCommand* command) {
    dialog.update = [=](HookedDialog&, VQJsonObject*, VQJsonObject*, KZString) {
      command->Delete("CHILD");
    };
    dialog.UpdateResourceShare(command, "S1");
  };
  Tell(mLink, kCondition);
  EXPECT_THAT(Calls(), ElementsAre("OnCondition top S1", "OnUpdate b1 S1"));
}

TEST_F(HooksThatPullTheRugTest, UpdateMayRenameWhatLaterObjectsAreLookedUpBy) {
  mDialog->update = [](HookedDialog& dialog, VQJsonObject* target, VQJsonObject*, KZString) {
    VQJsonResource* tree = dialog.GetResourceShare();
    if (Str(target->mName) != "b1") return;
    tree->SearchName("l1")->SetValue("Name", VQValue("gone"), 0, "");
    auto* added = new VQJsonObject(tree);
    added->SetValue("Name", VQValue("new"), 0, "");
    tree->AddObject(added, 1);
  };
  mDialog->condition = [](HookedDialog& dialog, VQClientSocket*, VQJsonCommand* command) {
    dialog.UpdateResourceShare(command, "S1");
  };
  Tell(mLink, R"({"Command":"CONDITION","Objects":[{"Name":"b1"},{"Name":"l1"},{"Name":"gone"},)"
              R"({"Name":"new"}]})");
  EXPECT_THAT(Calls(), ElementsAre("OnCondition top S1", "OnUpdate b1 S1", "OnUpdate gone S1",
                                   "OnUpdate new S1"));
}

// The end of a dialog

TEST_F(HooksThatPullTheRugTest, FinalMayDoWhateverItLikes) {
  mDialog->final = [](HookedDialog& dialog) {
    dialog.SendUpdateShare(true);
    app.DialogList()->Remove("top");
    app.DialogList()->RemoveBySession("S1");
    app.CreateDialog("top");
  };
  app.DialogList()->Remove("top");
  EXPECT_THAT(Calls(), ElementsAre("OnFinal top", "CreateDialog top", "OnInit top"));
  EXPECT_EQ(1U, mLink.station.Messages().size());
  EXPECT_EQ(1, HookedDialog::sAlive);
  EXPECT_TRUE(app.DialogList()->Has("top"));
}

TEST_F(HooksThatPullTheRugTest, FinalMayRemoveTheNextDialogOfTheWalk) {
  for (const char* name : {"a", "b", "c", "d"}) {
    Offer(name, "unused");
    app.CreateDialog(name);
    Dialog(name)->AddSession("S1");
  }
  Calls().clear();
  Dialog("a")->final = [](HookedDialog&) {
    app.DialogList()->Remove("b");
    app.CreateDialog("bb");
  };
  Offer("bb", "unused", [](HookedDialog& dialog) { dialog.GetResourceShare(); });
  Dialog("c")->final = [](HookedDialog&) { app.CreateDialog("a"); };
  app.DialogList()->RemoveBySession("S1");
  EXPECT_THAT(Calls(), ElementsAre("OnFinal a", "OnFinal b", "CreateDialog bb", "OnInit bb",
                                   "OnFinal c", "CreateDialog a", "OnInit a", "OnFinal d"));
  EXPECT_TRUE(app.DialogList()->Has("bb"));
}

// Sessions

TEST_F(HooksThatPullTheRugTest, FinalMayRemoveTheSessionThatExpires) {
  Offer("d", "unused");
  app.CreateDialog("d");
  app.CreateSession("S9", 30000);
  Dialog("d")->AddSession("S9");
  Link link = LoggedIn("S9", "d");
  Dialog("d")->final = [](HookedDialog&) { app.SessionList()->Remove("S9"); };
  app.SessionList()->Expire(app.SessionList()->Search("S9")->mTimerId);
  EXPECT_FALSE(app.SessionList()->Has("S9"));
  EXPECT_EQ(nullptr, Find(link));
}

TEST_F(HooksThatPullTheRugTest, FinalMayReplaceTheSessionThatExpires) {
  Offer("d", "unused");
  app.CreateDialog("d");
  app.CreateSession("S9", 30000);
  const unsigned int timer = app.SessionList()->Search("S9")->mTimerId;
  Dialog("d")->AddSession("S9");
  Dialog("d")->final = [](HookedDialog&) {
    app.SessionList()->Remove("S9");
    app.CreateSession("S9", 50000);
  };
  app.SessionList()->Expire(timer);
  ASSERT_TRUE(app.SessionList()->Has("S9"));
  EXPECT_EQ(50000, app.SessionList()->Search("S9")->mInterval);
}

// The session that expires lives on then, with its timer, but in nobody's list.
TEST_F(HooksThatPullTheRugTest, FinalMayPutAnotherSessionInThePlaceOfTheOneThatExpires) {
  Offer("d", "unused");
  app.CreateDialog("d");
  app.CreateSession("S9", 30000);
  const std::unique_ptr<VQSession> expiring(app.SessionList()->Search("S9"));
  Dialog("d")->AddSession("S9");
  auto* const other = new VQSession("S9", 50000);
  Dialog("d")->final = [other](HookedDialog&) { app.SessionList()->Add("S9", other); };
  app.SessionList()->Expire(expiring->mTimerId);
  EXPECT_EQ(other, app.SessionList()->Search("S9"));
}

TEST_F(HooksThatPullTheRugTest, FinalMayExpireTheSessionAgain) {
  Offer("d", "unused");
  app.CreateDialog("d");
  app.CreateSession("S9", 30000);
  const unsigned int timer = app.SessionList()->Search("S9")->mTimerId;
  Dialog("d")->AddSession("S9");
  Dialog("d")->final = [=](HookedDialog&) { app.SessionList()->Expire(timer); };
  app.SessionList()->Expire(timer);
  EXPECT_FALSE(app.SessionList()->Has("S9"));
}

TEST_F(HooksThatPullTheRugTest, ConditionMayExpireItsOwnSession) {
  Offer("d", "unused");
  app.CreateDialog("d");
  app.CreateSession("S9", 30000);
  Dialog("d")->AddSession("S9");
  Dialog("d")->condition = [](HookedDialog&, VQClientSocket*, VQJsonCommand*) {
    app.SessionList()->Expire(app.SessionList()->Search("S9")->mTimerId);
  };
  Link link = LoggedIn("S9", "d");
  Calls().clear();
  Tell(link, R"({"Commands":[{"Command":"CONDITION","ActionName":"CONDITION"},)"
             R"({"Command":"CONDITION"}]})");
  EXPECT_THAT(Calls(), ElementsAre("OnCondition d S9", "OnFinal d"));
  EXPECT_EQ(1, HookedDialog::sAlive);
  EXPECT_EQ(nullptr, Find(link));
}

// Connections

TEST_F(HooksThatPullTheRugTest, AHookMayCloseTheConnectionThatIsServed) {
  mDialog->condition = [](HookedDialog&, VQClientSocket* client, VQJsonCommand*) {
    client->Close();
  };
  mLink.station.SendRaw("\x02" + std::string(kCondition) + "\x03\x02" + kCondition + "\x03");
  Pass(3);
  // The command that closed it is finished; no further message is executed.
  EXPECT_THAT(Calls(), ElementsAre("OnCondition top S1", "OnTouch top b1 T"));
  EXPECT_EQ(0U, Connections());
}

TEST_F(HooksThatPullTheRugTest, LogInHookMayCloseTheConnection) {
  Link link = Connect();
  app.auth = [](const KZString&, const KZString&, VQClientSocket* client) { client->Close(); };
  Tell(link, R"({"Commands":[{"Command":"HELLO","Id":"u1"},{"Command":"HELLO","Id":"u2"}]})");
  EXPECT_EQ(1U, Calls().size());
  EXPECT_TRUE(link.station.IsClosed());
}

TEST_F(HooksThatPullTheRugTest, AHookMayCloseAnotherConnectionOfTheSamePass) {
  Link other = LoggedIn("S2", "top");
  mDialog->condition = [&](HookedDialog&, VQClientSocket* client, VQJsonCommand*) {
    VQClientSocket* victim = Find(client == Find(mLink) ? other : mLink);
    if (victim != nullptr) victim->Close();
  };
  mLink.station.Send(kCondition);
  other.station.Send(kCondition);
  Pass(3);
  EXPECT_EQ(1U, Connections());
}

TEST_F(HooksThatPullTheRugTest, ATimerMayRemoveTheDialogOfTheNextTimer) {
  Offer("d", "unused");
  app.CreateDialog("d");
  mDialog->SetSingleTimerInterval(10, 1);
  Dialog("d")->SetSingleTimerInterval(20, 2);
  mDialog->timer = [](HookedDialog&, unsigned int) { app.DialogList()->Remove("d"); };
  Calls().clear();
  Wait(50);
  EXPECT_THAT(Calls(), ElementsAre("OnTimer top 1", "OnFinal d"));
}

// Objects of commands, which are used again for the next message

TEST_F(HooksThatPullTheRugTest, WhatAHookKeepsOfACommandStaysAsItIs) {
  VQJsonObjectHasList kept("Objects", nullptr);
  mDialog->condition = [&](HookedDialog&, VQClientSocket*, VQJsonCommand* command) {
    kept.AddObject(command->mObjectList.front(), 0);
    kept.AddObject(new VQJsonCommand(*command), 0);
    mDialog->condition = nullptr;
  };
  Tell(mLink, R"({"Command":"CONDITION","Objects":[{"Name":"one"}]})");
  Tell(mLink, R"({"Command":"CONDITION","Objects":[{"Name":"two"}]})");
  Tell(mLink, R"({"Command":"CONDITION","Objects":[{"Name":"six"}]})");
  EXPECT_EQ(kept.GetJson(),
            R"({"Objects":[{"Name":"one"},{"Command":"CONDITION","Objects":[{"Name":"one"}]}]})");
}

TEST_F(HooksThatPullTheRugTest, AMessageInsideAHookLeavesTheOuterOneAlone) {
  Tell(mLink, R"({"Command":"CONDITION","Objects":[{"Name":"first"}]})");
  std::string seen;
  mDialog->condition = [&](HookedDialog&, VQClientSocket* client, VQJsonCommand* command) {
    mDialog->condition = [&](HookedDialog&, VQClientSocket*, VQJsonCommand* inner) {
      seen += inner->GetJson();
    };
    client->DoCommand(R"({"Command":"CONDITION","Objects":[{"Name":"inner"}]})");
    seen += command->GetJson();
  };
  Tell(mLink, R"({"Command":"CONDITION","Objects":[{"Name":"outer"}]})");
  EXPECT_EQ(seen, R"({"Command":"CONDITION","Objects":[{"Name":"inner"}]})"
                  R"({"Command":"CONDITION","Objects":[{"Name":"outer"}]})");
}

// Records and loop

TEST_F(HooksThatPullTheRugTest, AHookMayAddAndRemoveRecordsAndTimers) {
  KZFdData record(2, -1, -1, app.GetFdDataList());
  mDialog->condition = [&](HookedDialog& dialog, VQClientSocket*, VQJsonCommand*) {
    record.AddEvent();
    dialog.SetSingleTimerInterval(5, 1);
    dialog.SetSingleTimerInterval(0, 1);
    record.RemoveEvent();
  };
  Tell(mLink, kCondition);
  Pass(2);
  EXPECT_EQ(1U, Connections());
}

}  // namespace
