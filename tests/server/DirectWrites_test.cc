// Hooks of a host that write names, lists and change records directly while the library walks over
// them: what is found and sent is what a walk finds, each time.
#include <sys/socket.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tests/server/ServerTest.h"

namespace {

using testing::ElementsAre;

// Applies what it is given as the library does, and then writes somewhere in the tree.
class WritingDialog : public VQDialog {
 public:
  WritingDialog(VQJsonResource& tree, unsigned seed) : mTree(tree), mRandom(seed) {}

  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) override {
    VQDialog::OnUpdate(target, source, sid);
    target->mList["Hits"] = target->mList["Hits"].GetInt() + 1;
    auto& list = mTree.mObjectList;
    const auto any = [&] { return list[mRandom() % list.size()]; };
    switch (mRandom() % 4) {
      case 0:
        any()->mName = "n" + std::to_string(mRandom() % 12);
        return;
      case 1:
        std::swap(list[mRandom() % list.size()], list[mRandom() % list.size()]);
        return;
      case 2: {
        auto* late = new VQJsonObject(&mTree);
        late->mName = "n" + std::to_string(mRandom() % 12);
        list.insert(list.begin(), late);
        return;
      }
      default:
        any()->mDirty.insert("Value");
    }
  }

 private:
  VQJsonResource& mTree;
  std::mt19937 mRandom;
};

std::string Everything(VQJsonResource& tree) {
  std::string text;
  for (VQJsonObject* object : tree.mObjectList) {
    text += object->mName + (object->IsDirty() ? "* " : " ") + object->GetJson() + "\n";
  }
  return text;
}

class DirectWritesTest : public ServerTest {};

TEST_F(DirectWritesTest, ACommandIsAppliedToWhatTheTreeIsAtEachOfItsObjects) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    VQJsonResource tree;
    VQJsonResource literal;
    VQJsonCommand command("CONDITION");
    for (int i = 0; i < 10; ++i) {
      for (VQJsonObjectHasList* group : {static_cast<VQJsonObjectHasList*>(&tree),
                                         static_cast<VQJsonObjectHasList*>(&literal)}) {
        auto* object = new VQJsonObject(group);
        object->mName = "n" + std::to_string(i);
        group->AddObject(object, 0);
      }
    }
    for (unsigned i = 0; i < 40; ++i) {
      auto* source = new VQJsonObject(&command);
      source->mName = "n" + std::to_string((i * 7 + seed) % 12);
      source->SetValue("Value", static_cast<int>(i), 0, "");
      command.AddObject(source, 0);
    }
    WritingDialog dialog(tree, seed);
    WritingDialog other(literal, seed);
    CapturedStdout captured;
    dialog.UpdateResource(&command, &tree, "S1");
    captured.Text();
    for (VQJsonObject* source : command.mObjectList) {
      VQJsonObject* target = literal.SearchName(source->mName);
      if (target != nullptr) other.OnUpdate(target, source, "S1");
    }
    ASSERT_EQ(Everything(tree), Everything(literal)) << "seed " << seed;
  }
}

// A connection that writes a mark, a name and a list while it is sent to.
class WritingClient : public VQClientSocket {
 public:
  using VQClientSocket::VQClientSocket;
  int SendData(const KZString& text) override {
    if (mTree != nullptr) {
      mTree->SearchName("l1")->mDirty.insert("Value");
      mTree->SearchName("b1")->mName = "renamed";
      std::reverse(mTree->mObjectList.begin(), mTree->mObjectList.end());
    }
    return VQClientSocket::SendData(text);
  }
  VQJsonResource* mTree = nullptr;
};

TEST_F(DirectWritesTest, EachStationIsSentWhatTheTreeIsWhenItsTurnComes) {
  VQDialog* dialog = Shared("top", kTree);
  int pair[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
  auto* first = new WritingClient(&app.mLog, app.GetFdDataList());
  first->Create(pair[0], 3000);
  Station station(pair[1]);
  Pass();
  first->mDialogName = "top";
  first->mSessionId = "S1";
  first->mTree = dialog->GetResourceShare();
  Link second = LoggedIn("S2", "top");
  first->mTree->SearchName("b1")->SetValue("Value", VQValue("ON"), -1, "");
  EXPECT_TRUE(dialog->SendUpdateShare(false));
  EXPECT_THAT(station.Messages(), ElementsAre("{ \"Command\":\"UPDATE\", \"Objects\":"
                                              "[{\"Value\":\"ON\",\"Name\":\"b1\"}]}\n"));
  EXPECT_THAT(second.station.Messages(),
              ElementsAre("{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":1,\"Name\":\"l1\"},"
                          "{\"Value\":\"ON\",\"Name\":\"b1\"}]}\n"));
  for (VQJsonObject* object : first->mTree->mObjectList) EXPECT_FALSE(object->IsDirty());
}

}  // namespace
