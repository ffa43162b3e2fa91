// The library against a plain reference, over random trees, changes and sessions.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "dorn/model/NameIndex.h"
#include "dorn/model/UpdateComposer.h"
#include "dorn/model/VQJsonParser.h"
#include "tests/model/TreePair.h"

namespace {

constexpr unsigned kTrees = 150;
constexpr int kRounds = 12;

void ChangeSome(TreePair& pair) {
  for (int i = pair.Below(15); i > 0; --i) pair.Change();
}

TEST(RandomTreeTest, ChangesLeaveTheSameTreeAndRecords) {
  for (unsigned seed = 0; seed < kTrees; ++seed) {
    TreePair pair(seed, true);
    for (int round = 0; round < 100; ++round) {
      pair.Change();
      ASSERT_EQ(pair.Difference(), "") << "seed " << seed << " round " << round;
    }
  }
}

TEST(RandomTreeTest, UpdateCommandsAreThoseOfTheReference) {
  size_t withSide = 0;
  size_t empty = 0;
  for (unsigned seed = 0; seed < kTrees; ++seed) {
    TreePair pair(seed, seed % 2 == 0);
    for (int round = 0; round < kRounds; ++round) {
      ChangeSome(pair);
      for (int recipient = pair.Below(4); recipient >= 0; --recipient) {
        const bool all = pair.Below(3) == 0;
        const std::string session = pair.AnySession();
        const std::string side = RefSide(pair.mReference);
        const std::string update = RefUpdate(pair.mReference, all, session);
        const bool any = !side.empty() || update != "{ \"Command\":\"UPDATE\", \"Objects\":[]}\n";
        withSide += !side.empty();
        empty += !any;
        KZString json;
        ASSERT_EQ(VQJsonParser().MakeUpdateCommand(json, &pair.mTree, all, session), any);
        ASSERT_EQ(std::string(json), RefJoin(update, side)) << "seed " << seed;
        ASSERT_EQ(pair.Difference(), "") << "seed " << seed;
      }
      if (pair.Below(2) == 0) {
        pair.mTree.ResetDirty();
        pair.mReference.ResetDirty();
      }
    }
  }
  // The trees are random; that they reach both kinds of text is not.
  EXPECT_GT(withSide, 100u);
  EXPECT_GT(empty, 100u);
}

TEST(RandomTreeTest, TheRecursiveWritersAppendWhatTheReferenceWrites) {
  VQJsonParser parser;
  for (unsigned seed = 0; seed < kTrees; ++seed) {
    TreePair pair(seed, true);
    ChangeSome(pair);
    const bool all = pair.Below(2) == 0;
    const std::string session = pair.AnySession();
    const std::string entries = RefEntries(pair.mReference, all, session);
    const std::string side = RefSide(pair.mReference);

    std::ostringstream out;
    out << "before";
    int comma = 1;
    parser.OutUpdateCommandRaw(out, &pair.mTree, comma, all, session);
    out << "<end>";
    EXPECT_EQ(out.str(), "before" + (entries.empty() ? "" : "," + entries) + "<end>");

    std::ostringstream commands;
    int count = 0;
    int indent = 0;
    parser.OutDeleteCommandRaw(commands, &pair.mTree, count);
    parser.OutAddCommandRaw(commands, &pair.mTree, count, indent, all);
    EXPECT_EQ(commands.str(), side);
    EXPECT_EQ(indent, 0);
    EXPECT_EQ(pair.Difference(), "");
  }
}

// --- Many recipients of one tree ------------------------------------------------------------

std::string TextOf(const dorn::UpdateComposer::Text& text) {
  return text == nullptr ? "<nothing>" : std::string(*text);
}

std::string Expected(const std::string& update, const std::string& side) {
  const bool any = !side.empty() || update != "{ \"Command\":\"UPDATE\", \"Objects\":[]}\n";
  return any ? RefJoin(update, side) : "<nothing>";
}

TEST(RandomTreeTest, TheComposerGivesWhatSingleCallsWouldGive) {
  for (unsigned seed = 0; seed < kTrees; ++seed) {
    TreePair pair(seed, seed % 3 == 0);
    for (int round = 0; round < kRounds; ++round) {
      ChangeSome(pair);
      const bool all = pair.Below(4) == 0;
      dorn::UpdateComposer composer(&pair.mTree, all, dorn::SideCommands::kFirst);
      for (int recipient = pair.Below(8); recipient >= 0; --recipient) {
        // A hook may change the tree between two recipients.
        if (pair.Below(6) == 0) pair.Change();
        const std::string session = pair.AnySession();
        const std::string side = RefSide(pair.mReference);
        const std::string update = RefUpdate(pair.mReference, all, session);
        ASSERT_EQ(TextOf(composer.Compose(session)), Expected(update, side))
            << "seed " << seed << " session " << session;
        ASSERT_EQ(pair.Difference(), "") << "seed " << seed;
      }
      composer.ResetDirty(pair.Below(4) != 0);
      pair.mReference.ResetDirty();
      ASSERT_EQ(pair.Difference(), "") << "seed " << seed;
    }
  }
}

TEST(RandomTreeTest, TheComposerGivesSideCommandsToEveryoneIfAsked) {
  for (unsigned seed = 0; seed < kTrees; ++seed) {
    TreePair pair(seed, seed % 3 == 0);
    for (int round = 0; round < kRounds; ++round) {
      ChangeSome(pair);
      const bool all = pair.Below(4) == 0;
      dorn::UpdateComposer composer(&pair.mTree, all, dorn::SideCommands::kEveryone);
      const std::string side = RefSide(pair.mReference);
      for (int recipient = pair.Below(8); recipient >= 0; --recipient) {
        const std::string session = pair.AnySession();
        const std::string update = RefUpdate(pair.mReference, all, session);
        ASSERT_EQ(TextOf(composer.Compose(session)), Expected(update, side))
            << "seed " << seed << " session " << session;
      }
      ASSERT_EQ(pair.Difference(), "") << "seed " << seed;
      composer.ResetDirty(pair.Below(4) != 0);
      pair.mReference.ResetDirty();
      ASSERT_EQ(pair.Difference(), "") << "seed " << seed;
    }
  }
}

TEST(RandomTreeTest, SessionsWithoutAChangeOfTheirOwnShareOneText) {
  VQJsonResource tree;
  auto* object = new VQJsonObject(&tree);
  tree.AddObject(object, 0);
  object->SetValue("Name", "b", 0, "");
  object->SetValue("Value", "ON", -1, "S1");
  dorn::UpdateComposer composer(&tree, false, dorn::SideCommands::kFirst);
  const auto first = composer.Compose("S2");
  EXPECT_EQ(composer.Compose("S3"), first);
  EXPECT_EQ(composer.Compose("S1"), nullptr);
  EXPECT_EQ(composer.Compose("S2"), first);
  EXPECT_NE(composer.Compose(""), first);
}

TEST(RandomTreeTest, EverySessionSharesTheTextOfAll) {
  VQJsonResource tree;
  auto* object = new VQJsonObject(&tree);
  tree.AddObject(object, 0);
  object->SetValue("Name", "b", -1, "S1");
  dorn::UpdateComposer composer(&tree, true, dorn::SideCommands::kFirst);
  const auto first = composer.Compose("S1");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(composer.Compose("S2"), first);
  EXPECT_EQ(composer.Compose(""), first);
}

// --- Finding by name ------------------------------------------------------------------------

TEST(RandomTreeTest, TheNameIndexAnswersAsSearchNameDoes) {
  for (unsigned seed = 0; seed < kTrees; ++seed) {
    TreePair pair(seed, seed % 4 == 0);
    dorn::NameIndex index(&pair.mTree);
    for (int round = 0; round < 40; ++round) {
      if (pair.Below(3) == 0) ChangeSome(pair);
      for (int asked = 0; asked < 20; ++asked) {
        const std::string name = pair.Below(9) == 0 ? "absent" : pair.AnyName();
        ASSERT_EQ(index.Find(name), pair.mTree.SearchName(name)) << "seed " << seed;
      }
    }
  }
}

TEST(RandomTreeTest, TheNameIndexSeesTheLastFoundObjectRenamedDirectly) {
  VQJsonResource tree;
  for (const char* name : {"a", "b", "c", "b"}) {
    auto* object = new VQJsonObject(&tree);
    object->mName = name;
    tree.AddObject(object, 0);
  }
  dorn::NameIndex index(&tree);
  for (int asked = 0; asked < 20; ++asked) index.Find("c");
  VQJsonObject* found = index.Find("b");
  EXPECT_EQ(found, tree.mObjectList[1]);
  found->mName = "renamed";
  EXPECT_EQ(index.Find("b"), tree.mObjectList[3]);
  EXPECT_EQ(index.Find("renamed"), found);
}

TEST(RandomTreeTest, TheNameIndexFindsTheLastFoundObjectUnderTheNameItWasGivenDirectly) {
  VQJsonResource tree;
  for (const char* name : {"a", "b"}) {
    auto* object = new VQJsonObject(&tree);
    object->mName = name;
    tree.AddObject(object, 0);
  }
  dorn::NameIndex index(&tree);
  for (int asked = 0; asked < 20; ++asked) index.Find("b");
  tree.mObjectList[1]->mName = "renamed";
  EXPECT_EQ(index.Find("renamed"), tree.mObjectList[1]);
}

class Deaf : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
  VQJsonObject* SearchName(const KZString&) override { return nullptr; }
};

TEST(RandomTreeTest, TheNameIndexAsksAHostsClass) {
  VQJsonResource tree;
  auto* deaf = new Deaf(&tree);
  deaf->mName = "x";
  tree.AddObject(deaf, 0);
  dorn::NameIndex index(&tree);
  for (int asked = 0; asked < 20; ++asked) EXPECT_EQ(index.Find("x"), nullptr);
  auto* object = new VQJsonObject(&tree);
  object->mName = "x";
  tree.AddObject(object, 0);
  for (int asked = 0; asked < 20; ++asked) EXPECT_EQ(index.Find("x"), object);
}

}  // namespace
