#include "dorn/server/VQDialog.h"

#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <type_traits>

#include "dorn/model/VQJsonParser.h"

#include "tests/server/ServerTest.h"
#include "tests/support/Deadline.h"
#include "tests/support/MemberOrder.h"
#include "tests/support/VirtualSlot.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class VQDialogTest : public ServerTest {
 protected:
  static std::string Path(const std::string& file) { return FolderPath() + "/" + file; }
};

// Layout

TEST_F(VQDialogTest, KeepsTheSlotOrderThatHostsDeriveFrom) {
  EXPECT_EQ(2, VirtualSlot(&VQDialog::OnInit));
  EXPECT_EQ(3, VirtualSlot(&VQDialog::OnChangeBefore));
  EXPECT_EQ(4, VirtualSlot(&VQDialog::OnChange));
  EXPECT_EQ(5, VirtualSlot(&VQDialog::OnCondition));
  EXPECT_EQ(6, VirtualSlot(&VQDialog::OnUpdate));
  EXPECT_EQ(7, VirtualSlot(&VQDialog::OnTouch));
  EXPECT_EQ(8, VirtualSlot(&VQDialog::OnTimer));
  EXPECT_EQ(9, VirtualSlot(&VQDialog::OnFinal));
  EXPECT_EQ(10, VirtualSlot(&VQDialog::OnGetfile));
}

TEST_F(VQDialogTest, HasNoOtherVirtualOperations) {
  EXPECT_EQ(-1, VirtualSlot(&VQDialog::Init));
  EXPECT_EQ(-1, VirtualSlot(&VQDialog::LoadJson));
  EXPECT_EQ(-1, VirtualSlot(&VQDialog::UpdateResource));
  EXPECT_EQ(-1, VirtualSlot(&VQDialog::SendUpdateShare));
  EXPECT_EQ(-1, VirtualSlot(&VQDialog::SendUpdateShareToAll));
  EXPECT_EQ(-1, VirtualSlot(&VQDialog::SendSnapshot));
  EXPECT_EQ(-1, VirtualSlot(&VQDialog::AddSession));
}

TEST_F(VQDialogTest, KeepsItsMembersInOrderBehindTheTable) {
  const VQDialog dialog;
  EXPECT_EQ(MemberAddress(dialog) + sizeof(void*), MemberAddress(dialog.mDialogName));
  EXPECT_TRUE(AreInOrder({MemberAddress(dialog.mDialogName), MemberAddress(dialog.mFileName),
                          MemberAddress(dialog.mSessionResourceList)}));
  static_assert(!std::is_copy_constructible_v<VQDialog>);
}

TEST_F(VQDialogTest, StartsWithoutNameFileAndTrees) {
  const VQDialog dialog;
  EXPECT_EQ("", Str(dialog.mDialogName));
  EXPECT_EQ("", Str(dialog.mFileName));
  EXPECT_TRUE(dialog.mSessionResourceList.empty());
}

// Init

TEST_F(VQDialogTest, InitSetsNameAndPathAndThenCallsTheHook) {
  HookedDialog dialog;
  std::string shown;
  dialog.init = [&](HookedDialog& self) {
    shown = Str(self.mDialogName) + " " + Str(self.mFileName);
  };
  dialog.Init("top", "top.json");
  EXPECT_EQ("top " + std::string(app.GetModuleDirectory()) + "/resources/top.json", shown);
  EXPECT_THAT(Calls(), ElementsAre("OnInit top"));
}

TEST_F(VQDialogTest, EverySignInTheFileNameIsAFolder) {
  HookedDialog dialog;
  dialog.Init("a@b", "sub@deep@top.json");
  EXPECT_EQ("a@b", Str(dialog.mDialogName));
  EXPECT_EQ(std::string(app.GetModuleDirectory()) + "/resources/sub/deep/top.json",
            Str(dialog.mFileName));
}

TEST_F(VQDialogTest, AFileNameLongerThanAnyFixedBufferIsKeptWhole) {
  HookedDialog dialog;
  const std::string name(400000, 'n');
  dialog.Init("long", name.c_str());
  EXPECT_EQ(std::string(app.GetModuleDirectory()) + "/resources/" + name, Str(dialog.mFileName));
}

TEST_F(VQDialogTest, AFileNameIsNeverTakenForAFormat) {
  HookedDialog dialog;
  dialog.Init("d", "%s%n%d.json");
  EXPECT_EQ(std::string(app.GetModuleDirectory()) + "/resources/%s%n%d.json",
            Str(dialog.mFileName));
}

TEST_F(VQDialogTest, HooksDoNothingByDefault) {
  VQDialog dialog;
  VQJsonCommand command("A");
  CapturedStdout console;
  dialog.OnInit();
  dialog.OnChangeBefore(nullptr, &command);
  dialog.OnChange(nullptr, &command);
  dialog.OnCondition(nullptr, &command);
  dialog.OnTouch(nullptr, &command, "T");
  dialog.OnTimer(timeval{}, 1);
  dialog.OnFinal();
  EXPECT_EQ("", console.Text());
}

// Loading

TEST_F(VQDialogTest, LoadJsonShareCreatesTheSharedSessionAndLoadsTheFile) {
  HookedDialog dialog;
  dialog.Init("top", WriteResource("top.json", kTree).c_str());
  CapturedStdout console;
  EXPECT_EQ(1, dialog.LoadJsonShare());
  EXPECT_EQ("VQApplication::MakeSessionTimerId = d000000\nLoad:" + Path("top.json") + "\n",
            console.Text());
  ASSERT_TRUE(app.SessionList()->Has("SessionIdShared"));
  EXPECT_EQ(0, app.SessionList()->Search("SessionIdShared")->mInterval);
  EXPECT_THAT(DueIn(0xD000000), IsEmpty());
  EXPECT_EQ(kTree, Str(dialog.GetResourceShare()->GetJson()));
}

TEST_F(VQDialogTest, ASecondSharedDialogUsesTheSameSession) {
  app.CreateSession("SessionIdShared", 0);
  HookedDialog dialog;
  dialog.Init("top", WriteResource("top.json", kTree).c_str());
  CapturedStdout console;
  EXPECT_EQ(1, dialog.LoadJsonShare());
  EXPECT_EQ("Load:" + Path("top.json") + "\n", console.Text());
}

TEST_F(VQDialogTest, LoadingTheSharedTreeAgainAppendsTheFileAgain) {
  HookedDialog dialog;
  dialog.Init("top", WriteResource("top.json", kTree).c_str());
  dialog.LoadJsonShare();
  EXPECT_EQ(1, dialog.LoadJsonShare());
  EXPECT_EQ(4U, dialog.GetResourceShare()->mObjectList.size());
}

TEST_F(VQDialogTest, LoadJsonUniqueLoadsOnceForASession) {
  HookedDialog dialog;
  dialog.Init("top", WriteResource("top.json", kTree).c_str());
  EXPECT_EQ(1, dialog.LoadJsonUnique("S1"));
  CapturedStdout console;
  EXPECT_EQ(0, dialog.LoadJsonUnique("S1"));
  EXPECT_EQ("", console.Text());
  EXPECT_EQ(2U, dialog.GetResourceUnique("S1")->mObjectList.size());
  EXPECT_EQ(1, dialog.LoadJsonUnique("S2"));
  EXPECT_FALSE(app.SessionList()->Has("S1"));
}

TEST_F(VQDialogTest, LoadJsonUniqueOfTheSharedIdLoadsASharedTreeWithoutItsSession) {
  HookedDialog dialog;
  dialog.Init("top",
              WriteResource("top.json", R"({"Command":"DIALOG","NotifyList":"Alias","Title":"t"})")
                  .c_str());
  EXPECT_EQ(1, dialog.LoadJsonUnique("SessionIdShared"));
  EXPECT_TRUE(dialog.GetResourceShare()->HasKey("Title"));
  EXPECT_FALSE(app.SessionList()->Has("SessionIdShared"));
  EXPECT_EQ(0, dialog.LoadJsonUnique("SessionIdShared"));
}

TEST_F(VQDialogTest, LoadJsonUniqueDoesNotReloadATreeThatWasMadeEmpty) {
  HookedDialog dialog;
  dialog.Init("top", WriteResource("top.json", kTree).c_str());
  dialog.AddSession("S1");
  EXPECT_EQ(0, dialog.LoadJsonUnique("S1"));
  EXPECT_TRUE(dialog.GetResourceUnique("S1")->mObjectList.empty());
}

TEST_F(VQDialogTest, OnlyTheSharedTreeKeepsAttributesThatItsNotifyListLeavesOut) {
  const std::string text =
      R"({"Command":"DIALOG","Objects":[{"Name":"a","NotifyList":"Value,Attr","Attr":"x","Color":"red","Type":"T","Value":1}]})";
  HookedDialog dialog;
  dialog.Init("top", WriteResource("top.json", text).c_str());
  dialog.LoadJsonShare();
  dialog.LoadJsonUnique("S1");
  EXPECT_EQ(R"({"Command":"DIALOG","Objects":[{"Attr":"x","Color":"red","Name":"a",)"
            R"("NotifyList":"Value,Attr","Type":"T","Value":1}]})",
            Str(dialog.GetResourceShare()->GetJson()));
  EXPECT_EQ(R"({"Command":"DIALOG","Objects":[{"Attr":"x","Type":"T","Value":1}]})",
            Str(dialog.GetResourceUnique("S1")->GetJson()));
}

TEST_F(VQDialogTest, SubfoldersAreReached) {
  ASSERT_EQ(0, mkdir(Path("sub").c_str(), 0755));
  WriteResource("sub/top.json", kTree);
  HookedDialog dialog;
  dialog.Init("top", (Folder() + "@sub@top.json").c_str());
  CapturedStdout console;
  dialog.LoadJsonUnique("S1");
  EXPECT_EQ("Load:" + Path("sub/top.json") + "\n", console.Text());
}

struct LoadFailure {
  const char* name;
  const char* file;
  const char* text;  // Null: not written.
  const char* line;  // Behind the path.
};

TEST_F(VQDialogTest, FilesThatCannotBeLoadedAreReportedAndLeaveTheTree) {
  ASSERT_EQ(0, mkdir(Path("folder").c_str(), 0755));
  const LoadFailure table[] = {
      {"missing", "missing.json", nullptr, " is non\n"},
      {"a directory cannot be read", "folder", nullptr, " is fail\n"},
      {"no dialog", "other.json", R"({"Command":"OTHER"})", " is not dialog\n"},
      {"no object", "array.json", "[1]", " is not dialog\n"},
      {"no command", "plain.json", "{}", " is not dialog\n"},
      {"no dialog among the commands", "c.json", R"({"Commands":[{"Command":"A"}]})",
       " is not dialog\n"},
  };
  HookedDialog dialog;
  dialog.Init("top", WriteResource("top.json", kTree).c_str());
  dialog.LoadJsonShare();
  for (const LoadFailure& row : table) {
    if (row.text != nullptr) WriteResource(row.file, row.text);
    CapturedStdout console;
    dialog.LoadJson(KZString(Path(row.file)), "SessionIdShared");
    EXPECT_EQ(Path(row.file) + row.line, console.Text()) << row.name;
    EXPECT_EQ(kTree, Str(dialog.GetResourceShare()->GetJson())) << row.name;
  }
}

TEST_F(VQDialogTest, ASyntaxErrorIsReportedWithItsLine) {
  WriteResource("bad.json", "{\n \"a\":tru,\n \"b\":1}");
  HookedDialog dialog;
  CapturedStdout console;
  dialog.LoadJson(KZString(Path("bad.json")), "S1");
  EXPECT_EQ("Parse error:syntax error at line 2 near: ,\n" + Path("bad.json") + " is not dialog\n",
            console.Text());
  EXPECT_EQ(1U, dialog.mSessionResourceList.size());
}

TEST_F(VQDialogTest, AnEmptyFileIsNoDialog) {
  WriteResource("empty.json", "");
  HookedDialog dialog;
  CapturedStdout console;
  dialog.LoadJson(KZString(Path("empty.json")), "S1");
  EXPECT_THAT(console.Text(), testing::AnyOf(Path("empty.json") + " is fail\n",
                                             "Parse error:syntax error at line 1 near: \n" +
                                                 Path("empty.json") + " is not dialog\n"));
}

TEST_F(VQDialogTest, AFileEndsAtItsFirstZeroByte) {
  WriteResource("zero.json", kTree + std::string("\0 nonsense", 10));
  HookedDialog dialog;
  dialog.LoadJson(KZString(Path("zero.json")), "S1");
  EXPECT_EQ(kTree, Str(dialog.GetResourceUnique("S1")->GetJson()));
}

TEST_F(VQDialogTest, LoadingAMissingFileStillReturnsOneAndMakesAnEmptyTree) {
  HookedDialog dialog;
  dialog.Init("top", "there/is/no/such.json");
  EXPECT_EQ(1, dialog.LoadJsonShare());
  EXPECT_EQ(1, dialog.LoadJsonUnique("S1"));
  EXPECT_EQ(2U, dialog.mSessionResourceList.size());
  EXPECT_EQ("{}", Str(dialog.GetResourceUnique("S1")->GetJson()));
}

TEST_F(VQDialogTest, ABigFileIsLoadedWhole) {
  std::string text = R"({"Command":"DIALOG","Objects":[)";
  for (int i = 0; i < 20000; ++i) text += R"({"Name":"object)" + std::to_string(i) + R"("},)";
  text += R"({"Name":"last"}]})";
  WriteResource("big.json", text);
  HookedDialog dialog;
  dialog.LoadJson(KZString(Path("big.json")), "S1");
  EXPECT_EQ(text, Str(dialog.GetResourceUnique("S1")->GetJson()));
}

// Trees

TEST_F(VQDialogTest, AskingForATreeMakesIt) {
  HookedDialog dialog;
  VQJsonResource* share = dialog.GetResourceShare();
  VQJsonResource* unique = dialog.GetResourceUnique("S1");
  EXPECT_NE(nullptr, share);
  EXPECT_NE(share, unique);
  EXPECT_EQ(share, dialog.GetResourceShare());
  EXPECT_EQ(share, dialog.GetResourceUnique("SessionIdShared"));
  EXPECT_EQ(&dialog.mSessionResourceList["S1"], unique);
  EXPECT_EQ(2U, dialog.mSessionResourceList.size());
}

TEST_F(VQDialogTest, AddingAndRemovingSessionsCountsTheTrees) {
  HookedDialog dialog;
  EXPECT_EQ(1, dialog.AddSession("S1"));
  EXPECT_EQ(1, dialog.AddSession("S1"));
  EXPECT_EQ(2, dialog.AddSession("S2"));
  EXPECT_EQ(2, dialog.RemoveSession("S3"));
  EXPECT_EQ(1, dialog.RemoveSession("S1"));
  EXPECT_EQ(0, dialog.RemoveSession("S2"));
  EXPECT_EQ(0, dialog.RemoveSession("S2"));
}

TEST_F(VQDialogTest, AddingASessionKeepsATreeThatIsThere) {
  HookedDialog dialog;
  dialog.Init("top", WriteResource("top.json", kTree).c_str());
  dialog.LoadJsonUnique("S1");
  EXPECT_EQ(1, dialog.AddSession("S1"));
  EXPECT_EQ(2U, dialog.GetResourceUnique("S1")->mObjectList.size());
}

// Timers

TEST_F(VQDialogTest, TimersCarryTheDialogsName) {
  Offer("a", "unused");
  app.CreateDialog("a");
  Calls().clear();
  Dialog("a")->SetTimerInterval(100, 5);
  Dialog("a")->SetSingleTimerInterval(150, 6);
  Wait(100);
  Wait(100);
  Wait(100);
  EXPECT_THAT(Calls(), ElementsAre("OnTimer a 5", "OnTimer a 6", "OnTimer a 5", "OnTimer a 5"));
  Dialog("a")->SetTimerInterval(0, 5);
  EXPECT_TRUE(app.mTimerList.empty());
}

TEST_F(VQDialogTest, ADialogsTimerReachesALaterDialogOfTheName) {
  Offer("a", "unused");
  app.CreateDialog("a");
  Dialog("a")->SetSingleTimerInterval(100, 5);
  app.DialogList()->Remove("a");
  app.CreateDialog("a");
  Calls().clear();
  Wait(100);
  EXPECT_THAT(Calls(), ElementsAre("OnTimer a 5"));
}

// Applying commands

class ApplyTest : public VQDialogTest {
 protected:
  // The command object of a station's text; the result lives as long as `mCommands`.
  VQJsonCommand* Command(const std::string& objects) {
    VQJsonParser parser;
    const KZString text(R"({"Command":"CONDITION","Objects":[)" + objects + "]}");
    EXPECT_TRUE(parser.ParseCommand(&mCommands, text));
    return dynamic_cast<VQJsonCommand*>(mCommands.mObjectList.back());
  }

  VQJsonCommands mCommands;
};

TEST_F(ApplyTest, EachObjectOfTheCommandReachesItsNamesake) {
  HookedDialog* dialog = Shared("top", kTree);
  dialog->UpdateResourceShare(Command(R"({"Name":"l1","Value":2},{"Name":"b1","Value":"ON"})"),
                              "S1");
  EXPECT_THAT(Calls(), ElementsAre("OnUpdate l1 S1", "OnUpdate b1 S1"));
  EXPECT_TRUE(dialog->GetResourceShare()->SearchName("b1")->GetValue("Value") == "ON");
  EXPECT_TRUE(dialog->GetResourceShare()->SearchName("l1")->GetValue("Value") == 2);
}

// The dialog is of no class of a host, so nothing changes the names meanwhile.
TEST_F(ApplyTest, VeryManyObjectsReachTheirNamesakesQuickly) {
  std::string objects;
  for (int i = 0; i < 40000; ++i) {
    objects += (i == 0 ? "" : ",") + (R"({"Name":"o)" + std::to_string(i) + R"(","V":1})");
  }
  const std::string tree = R"({"Command":"DIALOG","Name":"d","Objects":[)" + objects + "]}";
  VQDialog dialog;
  dialog.Init("d", WriteResource("many.json", tree).c_str());
  dialog.LoadJsonShare();
  VQJsonCommand* command = Command(objects);
  dialog.GetResourceShare()->mObjectList.back()->SetValue("V", 0, 0, "");
  const HangGuard guard;
  dialog.UpdateResourceShare(command, "S1");
  EXPECT_TRUE(dialog.GetResourceShare()->mObjectList.back()->IsDirty());
}

// A host's class that overrides OnUpdate() and nothing else. It renames an object late, when what
// a command names is looked up in an index.
class RenamingDialog : public VQDialog {
 public:
  void OnUpdate(VQJsonObject*, VQJsonObject* source, KZString) override {
    mUpdated.push_back(source->mName);
    if (mUpdated.size() != 6) return;
    GetResourceShare()->SearchName("l1")->SetValue("Name", VQValue("renamed"), 0, "");
  }
  std::vector<std::string> mUpdated;  // As the command names them.
};

TEST_F(ApplyTest, ObjectsAreLookedForAsTheHookHasNamedThem) {
  RenamingDialog dialog;
  dialog.Init("top", WriteResource("top.json", kTree).c_str());
  dialog.LoadJsonShare();
  const std::string six =
      R"({"Name":"b1"},{"Name":"b1"},{"Name":"b1"},{"Name":"b1"},{"Name":"b1"},{"Name":"b1"})";
  dialog.UpdateResourceShare(Command(six + R"(,{"Name":"l1"},{"Name":"renamed"})"), "S1");
  EXPECT_THAT(dialog.mUpdated, ElementsAre("b1", "b1", "b1", "b1", "b1", "b1", "renamed"));
}

TEST_F(ApplyTest, NamesThatTheTreeDoesNotHaveAreSkippedWithALine) {
  HookedDialog* dialog = Shared("top", kTree);
  CapturedStdout console;
  dialog->UpdateResourceShare(Command(R"({"Name":"zz %s"},{"Value":1},{"Name":"b1","Value":"ON"})"),
                              "S1");
  EXPECT_EQ("?? Not found. Name:zz %s skip!\n?? Not found. Name: skip!\n", console.Text());
  EXPECT_THAT(Calls(), ElementsAre("OnUpdate b1 S1"));
}

TEST_F(ApplyTest, OnlyTheObjectsOfTheFirstLevelAreApplied) {
  HookedDialog* dialog = Shared("top", kTree);
  CapturedStdout console;
  dialog->UpdateResourceShare(
      Command(R"({"Name":"g","Type":"GROUP","Objects":[{"Name":"b1","Value":"ON"}]})"), "S1");
  EXPECT_EQ("?? Not found. Name:g skip!\n", console.Text());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ApplyTest, TheRootIsFoundByItsNameToo) {
  HookedDialog* dialog = Shared("top", kTree);
  dialog->UpdateResourceShare(Command(R"({"Name":"top","Title":"x"})"), "S1");
  EXPECT_TRUE(dialog->GetResourceShare()->GetValue("Title") == "x");
}

TEST_F(ApplyTest, NestedObjectsAreFoundDepthFirst) {
  HookedDialog* dialog =
      Shared("top", R"({"Command":"DIALOG","Objects":[{"Name":"g","Type":"GROUP","Objects":[)"
                    R"({"Name":"x","Value":1}]},{"Name":"x","Value":1}]})");
  dialog->UpdateResourceShare(Command(R"({"Name":"x","Value":2})"), "S1");
  EXPECT_EQ(R"({"Command":"DIALOG","Objects":[{"Name":"g","Type":"GROUP","Objects":[)"
            R"({"Name":"x","Value":2}]},{"Name":"x","Value":1}]})",
            Str(dialog->GetResourceShare()->GetJson()));
}

TEST_F(ApplyTest, AnObjectWithoutANameReachesTheFirstThatHasNone) {
  HookedDialog* dialog = Shared("top", R"({"Command":"DIALOG","Name":"top","Objects":[)"
                                       R"({"Name":"b1"},{"Value":1},{"Value":2}]})");
  dialog->UpdateResourceShare(Command(R"({"Value":3})"), "S1");
  EXPECT_THAT(Calls(), ElementsAre("OnUpdate  S1"));
  EXPECT_EQ(
      R"({"Command":"DIALOG","Name":"top","Objects":[{"Name":"b1"},{"Value":3},{"Value":2}]})",
      Str(dialog->GetResourceShare()->GetJson()));
}

TEST_F(ApplyTest, EveryOtherAttributeIsCopied) {
  HookedDialog* dialog = Shared("top", kTree);
  dialog->UpdateResourceShare(Command(R"({"Name":"b1","Alias":"x","Layout":"y","Type":"LAMP"})"),
                              "S1");
  EXPECT_EQ(R"({"Alias":"x","Layout":"y","Name":"b1","Type":"LAMP","Value":"OFF"})",
            Str(dialog->GetResourceShare()->SearchName("b1")->GetJson()));
}

TEST_F(ApplyTest, NameIsNeverCopied) {
  HookedDialog* dialog = Shared("top", kTree);
  VQJsonObject* button = dialog->GetResourceShare()->SearchName("b1");
  VQJsonObject source(nullptr);
  source.SetValue("Name", VQValue("renamed"), 0, "");
  source.SetValue("Value", VQValue("ON"), 0, "");
  dialog->VQDialog::OnUpdate(button, &source, "S1");
  EXPECT_EQ("b1", Str(button->mName));
  EXPECT_TRUE(button->GetValue("Name") == "b1");
  EXPECT_TRUE(button->GetValue("Value") == "ON");
}

TEST_F(ApplyTest, WithASharedTreeChangesAreMarkedWithTheSession) {
  HookedDialog* dialog = Shared("top", kTree);
  dialog->UpdateResourceShare(Command(R"({"Name":"b1","Type":"BUTTON","Value":"ON","New":1})"),
                              "S1");
  EXPECT_THAT(dialog->GetResourceShare()->SearchName("b1")->mDirty,
              ElementsAre(KZString("New|:|S1"), KZString("Value|:|S1")));
}

TEST_F(ApplyTest, WithoutASharedTreeNothingIsMarked) {
  HookedDialog dialog;
  dialog.Init("top", WriteResource("top.json", kTree).c_str());
  dialog.LoadJsonUnique("S1");
  dialog.UpdateResourceUnique(Command(R"({"Name":"b1","Value":"ON"})"), "S1");
  VQJsonObject* button = dialog.GetResourceUnique("S1")->SearchName("b1");
  EXPECT_TRUE(button->GetValue("Value") == "ON");
  EXPECT_FALSE(button->IsDirty());
}

TEST_F(ApplyTest, UniqueUpdatesReachTheTreeOfTheirSessionAlone) {
  HookedDialog dialog;
  dialog.Init("top", WriteResource("top.json", kTree).c_str());
  dialog.LoadJsonShare();
  dialog.LoadJsonUnique("S1");
  dialog.LoadJsonUnique("S2");
  dialog.UpdateResourceUnique(Command(R"({"Name":"b1","Value":"ON"})"), "S1");
  const auto value = [&](const char* sid) {
    return Str(dialog.GetResourceUnique(sid)->SearchName("b1")->GetValue("Value").GetString());
  };
  EXPECT_EQ("ON", value("S1"));
  EXPECT_EQ("OFF", value("S2"));
  EXPECT_EQ("OFF", value("SessionIdShared"));
  EXPECT_TRUE(dialog.GetResourceUnique("S1")->SearchName("b1")->IsDirty());
}

TEST_F(ApplyTest, RadioButtonsOfTheTreeSwitchEachOtherOff) {
  HookedDialog* dialog = Shared(
      "top",
      R"({"Command":"DIALOG","Objects":[{"Name":"r","Type":"GROUP","Layout":"RADIO","Objects":[)"
      R"({"Name":"m","Type":"RADIOBTN","Attr":"ON"},{"Name":"a","Type":"RADIOBTN","Attr":"OFF"}]}]})");
  dialog->UpdateResourceShare(Command(R"({"Name":"a","Attr":"ON"})"), "S1");
  EXPECT_TRUE(dialog->GetResourceShare()->SearchName("m")->GetValue("Attr") == "OFF");
  EXPECT_TRUE(dialog->GetResourceShare()->SearchName("a")->GetValue("Attr") == "ON");
}

TEST_F(ApplyTest, ManyUnknownNamesAgainstABigTreeTakeNoTime) {
  std::string tree = R"({"Command":"DIALOG","Objects":[)", names;
  for (int i = 0; i < 5000; ++i) tree += R"({"Name":"object)" + std::to_string(i) + R"("},)";
  for (int i = 0; i < 20000; ++i) names += R"({"Name":"unknown)" + std::to_string(i) + R"("},)";
  HookedDialog* dialog = Shared("top", tree + R"({"Name":"last"}]})");
  VQJsonCommand* command = Command(names + R"({"Name":"last","Value":1})");
  std::string lines;
  const clock_t start = clock();
  {
    CapturedStdout console;
    dialog->UpdateResourceShare(command, "S1");
    lines = console.Text();
  }
  // 10^8 comparisons of texts take several seconds in any build.
  EXPECT_LT(clock() - start, 2 * CLOCKS_PER_SEC);
  EXPECT_EQ(20000, std::count(lines.begin(), lines.end(), '\n'));
  EXPECT_THAT(Calls(), ElementsAre("OnUpdate last S1"));
}

}  // namespace
