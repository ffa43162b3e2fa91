#include "station/Tree.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "station/Reader.h"
#include "tests/station/Growth.h"

namespace dorn::station {
namespace {

Json Read(const std::string& text) { return Reader().Read(text).mJson; }

std::string Member(const std::string& name) {
  return name.empty() ? R"("Value":1)" : R"("Name":")" + name + "\"";
}

const Object* FirstOf(const Object& object, const std::string& name) {
  if (object.mName == name) return &object;
  for (const auto& child : object.mChildren) {
    if (const Object* found = FirstOf(*child, name); found != nullptr) return found;
  }
  return nullptr;
}

// Commands as they come, with names that are there twice, that are the root's or missing.
class Chance {
 public:
  explicit Chance(unsigned seed) : mRandom(seed) {}

  std::string Tree() { return "{" + Member("d") + "," + Objects(0) + "}"; }
  std::string Add() { return R"({"Command":"ADD",)" + Member(Name()) + "," + Objects(1) + "}"; }
  std::string Delete() {
    const char* what = Below(3) == 0 ? "CHILD" : "THIS";
    return R"({"Command":"DELETE","Delete":")" + std::string(what) + "\"," + Member(Name()) + "}";
  }
  unsigned Below(unsigned count) { return static_cast<unsigned>(mRandom() % count); }

 private:
  std::string Name() { return Names()[Below(static_cast<unsigned>(Names().size()))]; }
  std::string Objects(int depth) {
    std::string text;
    for (unsigned count = Below(4); count > 0; --count) {
      text += (text.empty() ? "{" : ",{") + Member(Name()) + R"(,"Type":"GROUP")";
      text += (depth < 3 ? "," + Objects(depth + 1) : "") + "}";
    }
    return R"("Objects":[)" + text + "]";
  }

 public:
  static const std::vector<std::string>& Names() {
    static const std::vector<std::string> names{"",  "d", "a", "b", "c", "e", "f",
                                                "g", "h", "i", "j", "k", "l", "m"};
    return names;
  }

 private:
  std::mt19937 mRandom;
};

TEST(TreeTest, FindsTheFirstOfANameWhateverCameBefore) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    Chance chance(seed);
    Tree tree = Tree::FromLive(Read(chance.Tree()));
    for (int step = 0; step < 12; ++step) {
      if (chance.Below(4) == 0) {
        tree.Delete(Read(chance.Delete()));
      } else {
        tree.Add(Read(chance.Add()));
      }
      if (chance.Below(3) == 0) continue;  // Nobody has looked in between.
      for (const std::string& name : Chance::Names()) {
        ASSERT_EQ(tree.Find(name), FirstOf(tree.Root(), name))
            << "seed " << seed << " step " << step << " name '" << name << "'";
      }
    }
  }
}

// Every second one without a name if they are mixed.
std::string Objects(int count, bool isMixed) {
  std::string text = R"({"Command":"ADD","Name":"g","Objects":[)";
  for (int i = 0; i < count; ++i) {
    const bool isUnnamed = isMixed && i % 2 == 1;
    text += (i > 0 ? ",{" : "{") + Member(isUnnamed ? "" : "n" + std::to_string(i)) + "}";
  }
  return text + "]}";
}

constexpr int kFew = 250;
constexpr int kMany = 8 * kFew;

double SecondsToAdd(int count, bool isMixed) {
  const Json command = Read(Objects(count, isMixed));
  return SecondsOf([&command] {
    Tree tree = Tree::FromLive(
        Read(R"({"Name":"d","Objects":[{"Name":"g","Type":"GROUP"},{"Type":"LABEL"}]})"));
    tree.Add(command);
    EXPECT_NE(tree.Find("n0"), nullptr);
  });
}

TEST(TreeTest, AddsInTimeThatGrowsWithTheObjectsAlone) {
  for (const bool isMixed : {false, true}) {
    const double few = SecondsToAdd(kFew, isMixed);
    EXPECT_LT(SecondsToAdd(kMany, isMixed), kMostGrowth * few) << isMixed;
  }
}

TEST(TreeTest, AddsAgainWhatIsThereInTimeThatGrowsWithTheObjectsAlone) {
  const auto secondsFor = [](int count) {
    const Json command = Read(Objects(count, false));
    Tree tree = Tree::FromLive(Read(R"({"Name":"d","Objects":[{"Name":"g","Type":"GROUP"}]})"));
    tree.Add(command);
    return SecondsOf([&] { tree.Add(command); });
  };
  const double few = secondsFor(kFew);
  EXPECT_LT(secondsFor(kMany), kMostGrowth * few);
}

TEST(TreeTest, MakesATreeOfUpdatesInTimeThatGrowsWithTheObjectsAlone) {
  const auto secondsFor = [](int count) {
    const std::vector<Json> updates{Read(Objects(count, false))};
    return SecondsOf([&updates] { EXPECT_NE(Tree::Flat("d", updates).Find("n0"), nullptr); });
  };
  const double few = secondsFor(kFew);
  EXPECT_LT(secondsFor(kMany), kMostGrowth * few);
}

}  // namespace
}  // namespace dorn::station
