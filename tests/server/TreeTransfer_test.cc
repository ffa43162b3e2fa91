// GETFILE of a dialog's resource file: the dialog's tree.
#include <unistd.h>

#include <fstream>

#include "tests/server/FileTransferTest.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class TreeTransferTest : public FileTransferTest {
 protected:
  // A dialog whose name is that of its resource file, as stations ask for it.
  HookedDialog* Serve(const std::string& file, const std::string& text) {
    const std::string name = Folder() + "/" + file;
    Offer(name, File(file + ".json", text));
    auto* dialog = dynamic_cast<HookedDialog*>(app.CreateDialog(name.c_str()));
    Calls().clear();
    return dialog;
  }

  static std::string TreeFollows(const std::string& name, size_t length) {
    // One minute before the made-up time.
    return R"({"Command":"PUTFILE","Date":"23-11-14 22:12:20","File":")" + name + R"(","Length":)" +
           std::to_string(length) + "}";
  }
};

TEST_F(TreeTransferTest, ADialogsFileIsServedFromItsSharedTree) {
  HookedDialog* dialog = Serve("top", kTree);
  dialog->LoadJsonShare();
  dialog->GetResourceShare()->SearchName("b1")->SetValue("Value", VQValue("ON"), 0, "");
  const std::string name = Folder() + "/top.json";
  const std::string tree = Str(dialog->GetResourceShare()->GetJson());
  Get(name, R"(,"Date":"2020-01-02 03:04:05")");
  EXPECT_THAT(Calls(),
              ElementsAre("OnGetfile " + Folder() + "/top " + name + " [2020-01-02 03:04:05] []"));
  EXPECT_THAT(tree, HasSubstr(R"("Value":"ON")"));
  EXPECT_EQ(Frame(TreeFollows(name, tree.size())) + tree, mLink.station.Bytes());
}

TEST_F(TreeTransferTest, TheTreesReplyEchoesTheObjectName) {
  Serve("top", kTree)->LoadJsonShare();
  const std::string name = Folder() + "/top.json";
  Get(name, R"(,"ObjectName":"o1")");
  EXPECT_THAT(mLink.station.Messages(),
              ElementsAre(R"({"Command":"PUTFILE","Date":"23-11-14 22:12:20","File":")" + name +
                          R"(","Length":)" + std::to_string(std::string(kTree).size()) +
                          R"(,"ObjectName":"o1"})"));
}

TEST_F(TreeTransferTest, TheExtensionCountsInAnyCase) {
  Serve("top", kTree)->LoadJsonShare();
  for (const char* extension : {"JSON", "Json", "jSoN"}) {
    const std::string name = Folder() + "/top." + extension;
    std::ofstream(Path(name)) << "the file";
    Get(name);
    EXPECT_EQ(Frame(TreeFollows(name, std::string(kTree).size())) + kTree,
              mLink.station.Take(10000));
  }
}

TEST_F(TreeTransferTest, WithoutTheFileTheTreeIsNotServed) {
  Serve("top", kTree)->LoadJsonShare();
  const std::string name = Folder() + "/top.json";
  unlink(Path(name).c_str());
  Get(name);
  EXPECT_THAT(mLink.station.Messages(), ElementsAre(Error(name, "FILE NOT FOUND")));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TreeTransferTest, ADialogWithoutSharedTreeHasItsFileSent) {
  HookedDialog* dialog = Serve("top", kTree);
  dialog->LoadJsonUnique("S1");
  const std::string name = Folder() + "/top.json";
  Get(name);
  EXPECT_EQ(Frame(Follows(name, std::string(kTree).size())) + kTree, mLink.station.Bytes());
  EXPECT_EQ(1U, dialog->mSessionResourceList.size());
  EXPECT_EQ(1U, Calls().size());
}

TEST_F(TreeTransferTest, AnEmptySharedTreeIsServedToo) {
  Serve("top", kTree)->GetResourceShare();
  const std::string name = Folder() + "/top.json";
  Get(name);
  EXPECT_EQ(Frame(TreeFollows(name, 2)) + "{}", mLink.station.Bytes());
}

TEST_F(TreeTransferTest, ANameWithASignIsNotThatOfTheFileBelowAFolder) {
  const std::string file = File("top.json", kTree);
  Offer(Folder() + "@top", Folder() + "@top.json");
  app.CreateDialog((Folder() + "@top").c_str())->LoadJsonShare();
  Calls().clear();
  Get(file);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(Frame(Follows(file, std::string(kTree).size())) + kTree, mLink.station.Bytes());
}

TEST_F(TreeTransferTest, OtherExtensionsAreFiles) {
  Serve("top", kTree)->LoadJsonShare();
  for (const char* file : {"top.jsonx", "top.js", "top"}) {
    const std::string name = File(file, "abc");
    Get(name);
    EXPECT_EQ(Frame(Follows(name, 3)) + "abc", mLink.station.Take(1000)) << file;
  }
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TreeTransferTest, AnUnknownDialogsFileIsAFileAndTheMakerIsNotAsked) {
  const std::string name = File("zz.json", "{}");
  Get(name);
  EXPECT_EQ(Frame(Follows(name, 2)) + "{}", mLink.station.Bytes());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TreeTransferTest, AHostMayServeTheFileItself) {
  HookedDialog* dialog = Serve("top", kTree);
  dialog->getfile = [](HookedDialog&, VQClientSocket* client, KZString, KZString, KZString) {
    client->SendData("mine");
    return 7;
  };
  Get(Folder() + "/top.json");
  EXPECT_EQ(Frame("mine"), mLink.station.Bytes());
}

TEST_F(TreeTransferTest, AnyResultButZeroSaysThatTheHostHasServedIt) {
  Serve("top", kTree)->getfile = [](HookedDialog&, VQClientSocket*, KZString, KZString, KZString) {
    return -1;
  };
  Get(Folder() + "/top.json");
  EXPECT_EQ("", mLink.station.Bytes());
}

TEST_F(TreeTransferTest, AHostThatDeclinesHasTheFileSent) {
  HookedDialog* dialog = Serve("top", kTree);
  dialog->LoadJsonShare();
  dialog->getfile = [](HookedDialog&, VQClientSocket*, KZString, KZString, KZString) { return 0; };
  const std::string name = Folder() + "/top.json";
  Get(name);
  EXPECT_EQ(Frame(Follows(name, std::string(kTree).size())) + kTree, mLink.station.Take(10000));
  Get(name, R"(,"Date":"2020-01-02 03:04:05")");
  EXPECT_THAT(mLink.station.Bytes(), HasSubstr("LATEST"));
}

TEST_F(TreeTransferTest, ABigTreeArrivesWholeAndInOrder) {
  std::string text = R"({"Command":"DIALOG","Objects":[)";
  for (int i = 0; i < 60000; ++i) text += R"({"Name":"object)" + std::to_string(i) + R"("},)";
  text += R"({"Name":"last"}]})";
  Serve("top", text)->LoadJsonShare();
  const std::string name = Folder() + "/top.json";
  Get(name);
  SendMarker();
  const std::string expected = Frame(TreeFollows(name, text.size())) + text + Frame("marker");
  EXPECT_TRUE(expected == Received(expected.size()));
}

TEST_F(TreeTransferTest, DefaultHookReturnsWhetherItServed) {
  HookedDialog* dialog = Serve("top", kTree);
  EXPECT_EQ(0, dialog->VQDialog::OnGetfile(Find(mLink), "f", "", ""));
  EXPECT_EQ("", mLink.station.Bytes());
  dialog->LoadJsonShare();
  EXPECT_EQ(1, dialog->VQDialog::OnGetfile(Find(mLink), "f", "", ""));
}

}  // namespace
