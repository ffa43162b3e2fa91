// The library against a plain reference, over random trees, changes and sessions.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "dorn/model/NameIndex.h"
#include "dorn/model/UpdateComposer.h"
#include "dorn/model/UpdateText.h"
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
        if (pair.Below(6) == 0) {
          pair.Change();
          if (pair.Below(2) == 0) pair.ChangeByHand();
          composer.HostCodeRan();
        }
        const std::string session = pair.AnySession();
        const std::string side = RefSide(pair.mReference);
        const std::string update = RefUpdate(pair.mReference, all, session);
        ASSERT_EQ(TextOf(composer.Compose(session)), Expected(update, side))
            << "seed " << seed << " session " << session;
        ASSERT_EQ(pair.Difference(), "") << "seed " << seed;
      }
      if (pair.Below(4) == 0) {
        pair.ChangeByHand();
        composer.HostCodeRan();
      }
      composer.ResetDirty();
      pair.mReference.ResetDirty();
      ASSERT_EQ(pair.Difference(), "") << "seed " << seed;
    }
  }
}

// The same tree twice: one is composed, the other is walked for each text and each part of it.
std::string Literally(TreePair& pair, bool all, const std::string& session) {
  std::string side;
  std::string update;
  int commands = 0;
  dorn::AppendSideCommands(side, pair.mTree, commands);
  const int objects = dorn::AppendUpdateCommand(update, pair.mTree, all, session);
  return commands + objects > 0 ? std::string(dorn::JoinCommands(update, side)) : "<nothing>";
}

TEST(RandomTreeTest, TheComposerGivesWhatTheLiteralWritersGive) {
  for (unsigned seed = 0; seed < kTrees; ++seed) {
    TreePair composed(seed, seed % 3 == 0);
    TreePair walked(seed, seed % 3 == 0);
    const auto changeBoth = [&](void (TreePair::*change)()) {
      (composed.*change)();
      (walked.*change)();
    };
    for (int round = 0; round < kRounds; ++round) {
      for (int i = composed.Below(15) + 0 * walked.Below(15); i > 0; --i) {
        changeBoth(&TreePair::Change);
        changeBoth(&TreePair::ChangeByHand);
      }
      const bool all = composed.Below(4) == 0;
      static_cast<void>(walked.Below(4));
      dorn::UpdateComposer composer(&composed.mTree, all, dorn::SideCommands::kFirst);
      for (int recipient = 0; recipient < 5; ++recipient) {
        const std::string session = composed.AnySession();
        ASSERT_EQ(session, walked.AnySession());
        ASSERT_EQ(TextOf(composer.Compose(session)), Literally(walked, all, session)) << seed;
        if (recipient != 2) continue;
        changeBoth(&TreePair::ChangeByHand);
        composer.HostCodeRan();
      }
      composer.ResetDirty();
      walked.mTree.ResetDirty();
      ASSERT_EQ(composed.mTree.GetJson(), walked.mTree.GetJson()) << seed;
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
      if (pair.Below(4) == 0) {
        pair.ChangeByHand();
        composer.HostCodeRan();
      }
      composer.ResetDirty();
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
      if (pair.Below(3) == 0) {
        ChangeSome(pair);
        pair.ChangeByHand();
        index.Forget();
      }
      for (int asked = 0; asked < 20; ++asked) {
        const std::string name = pair.Below(9) == 0 ? "absent" : pair.AnyName();
        ASSERT_EQ(index.Find(name), pair.mTree.SearchName(name)) << "seed " << seed;
      }
    }
  }
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
  index.Forget();
  for (int asked = 0; asked < 20; ++asked) EXPECT_EQ(index.Find("x"), object);
}

}  // namespace
