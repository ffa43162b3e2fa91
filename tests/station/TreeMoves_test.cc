// Objects that an ADD finds in another group, and moves.
#include <gtest/gtest.h>

#include <string>

#include "station/Reader.h"
#include "station/Tree.h"
#include "tests/station/Growth.h"

namespace dorn::station {
namespace {

Json Read(const std::string& text) { return Reader().Read(text).mJson; }

std::string NamesIn(const Object& group) {
  std::string names;
  for (const auto& child : group.mChildren) names += child->mName + " ";
  return names;
}

std::string Objects(int count) {
  std::string objects;
  for (int i = 0; i < count; ++i) {
    objects += (i > 0 ? ",{\"Name\":\"n" : "{\"Name\":\"n") + std::to_string(i) + "\"}";
  }
  return "\"Objects\":[" + objects + "]";
}

Tree TwoGroups(const std::string& objects) {
  return Tree::FromLive(Read(R"({"Name":"d","Objects":[{"Name":"a","Type":"GROUP",)" + objects +
                             R"(},{"Name":"b","Type":"GROUP"}]})"));
}

Json AddTo(const std::string& group, const std::string& objects) {
  return Read(R"({"Command":"ADD","Name":")" + group + "\"," + objects + "}");
}

// From one group to the other one, and back.
double SecondsToMove(int count) {
  const std::string objects = Objects(count);
  Tree tree = TwoGroups(objects);
  const Json there = AddTo("b", objects);
  const Json back = AddTo("a", objects);
  EXPECT_NE(tree.Find("n0"), nullptr);
  return SecondsOf([&] {
    tree.Add(there);
    EXPECT_EQ(tree.Find("b")->mChildren.size(), static_cast<std::size_t>(count));
    tree.Add(back);
    EXPECT_EQ(tree.Find("b")->mChildren.size(), 0u);
  });
}

// Neither is the index rebuilt for each of them, nor do all behind it step forward.
TEST(TreeMovesTest, TakeTimeThatGrowsWithTheObjectsAlone) {
  constexpr int kFew = 1000;
  EXPECT_LT(SecondsToMove(8 * kFew), kMostGrowth * SecondsToMove(kFew));
}

// Some of many, out of order, and one of them twice: the others keep their order.
TEST(TreeMovesTest, LeaveTheOthersInTheirOrder) {
  Tree tree = TwoGroups(Objects(6));
  tree.Add(AddTo("b", R"("Objects":[{"Name":"n4"},{"Name":"n1"},{"Name":"n4"}])"));
  tree.Delete(Read(R"({"Command":"DELETE","Delete":"THIS","Name":"n2"})"));
  tree.Add(AddTo("b", R"("Objects":[{"Name":"n3"}])"));
  tree.Add(AddTo("a", R"("Objects":[{"Name":"n1"}])"));
  EXPECT_EQ(NamesIn(*tree.Find("a")), "n0 n5 n1 ");
  EXPECT_EQ(NamesIn(*tree.Find("b")), "n4 n3 ");
}

// An ADD may name an object in two groups: it ends in the last one.
TEST(TreeMovesTest, MayGoAndComeBackWithinOneAdd) {
  Tree tree = TwoGroups(Objects(3));
  tree.Add(AddTo("d", R"("Objects":[{"Name":"b","Objects":[{"Name":"n1"},{"Name":"n0"}]},)"
                      R"({"Name":"a","Objects":[{"Name":"n1"}]}])"));
  EXPECT_EQ(NamesIn(*tree.Find("a")), "n2 n1 ");
  EXPECT_EQ(NamesIn(*tree.Find("b")), "n0 ");
  EXPECT_EQ(tree.Find("n1")->mParent, tree.Find("a"));
}

// Of several of one name another one may be the first now; those below what is moved count as well.
TEST(TreeMovesTest, TellAnewWhichOfOneNameIsTheFirst) {
  Tree tree = Tree::FromLive(Read(
      R"({"Name":"d","Objects":[{"Name":"a","Objects":[{"Name":"g","Objects":[{"Name":"x","V":1}]}]},)"
      R"({"Name":"b","Objects":[{"Name":"x","V":2}]}]})"));
  EXPECT_EQ(tree.Find("x")->TextOf("V"), "1");
  tree.Add(Read(R"({"Command":"ADD","Name":"b","Objects":[{"Name":"g"}]})"));
  EXPECT_EQ(tree.Find("g")->mParent, tree.Find("b"));
  EXPECT_EQ(tree.Find("x")->TextOf("V"), "2");
}

// What an ADD brings a second time shares its name from then on.
TEST(TreeMovesTest, KnowOfNamesThatCameLater) {
  Tree tree = Tree::FromLive(Read(
      R"({"Name":"d","Objects":[{"Name":"a","Objects":[{"Name":"g","Objects":[{"Name":"d","V":1}]}]},{"Name":"b"}]})"));
  EXPECT_EQ(tree.Find("d"), &tree.Root());
  tree.Add(Read(R"({"Command":"ADD","Name":"b","Objects":[{"Name":"g"}]})"));
  EXPECT_EQ(tree.Find("d"), &tree.Root());
}

}  // namespace
}  // namespace dorn::station
