#include "dorn/model/VQJsonGrid.h"

#include <gtest/gtest.h>

#include <climits>
#include <locale>
#include <sstream>
#include <string>

#include "tests/model/Trees.h"

namespace {

void Fill(VQJsonGrid& grid) {
  grid.SetDataSize(2, 2);
  grid.SetData(0, 0, "a");
  grid.SetData(1, 0, "b");
  grid.SetData(0, 1, "c");
  grid.SetData(1, 1, "d");
}

std::string DataOf(VQJsonGrid& grid) {
  int count = 0;
  return Written([&](std::ostream& out) { grid.OutJsonData(out, count); });
}

TEST(VQJsonGridTest, StartsWithAnEmptyTable) {
  VQJsonObject parent(nullptr);
  VQJsonGrid grid(&parent);
  EXPECT_TRUE(grid.mData.empty());
  EXPECT_EQ(grid.GetParent(), &parent);
  EXPECT_FALSE(grid.HasGroup());
  EXPECT_FALSE(grid.IsDirty());
  EXPECT_EQ(DataOf(grid), "\"Data\":[]");
}

TEST(VQJsonGridTest, SetDataSizeMakesRowsOfEmptyValuesAndMarksData) {
  VQJsonGrid grid(nullptr);
  grid.SetDataSize(3, 2);
  ASSERT_EQ(grid.mData.size(), 2u);
  EXPECT_EQ(grid.mData[0].size(), 3u);
  EXPECT_EQ(grid.mData[1].size(), 3u);
  EXPECT_EQ(grid.mData[1][2].GetType(), VQValue::TYPE_NONE);
  EXPECT_EQ(DirtyOf(grid), (Texts{"Data"}));
  EXPECT_FALSE(grid.HasKey("Data"));
  EXPECT_EQ(DataOf(grid), "\"Data\":[[,,],\n[,,]]");
}

TEST(VQJsonGridTest, ResizingKeepsWhatLiesInside) {
  VQJsonGrid grid(nullptr);
  Fill(grid);
  grid.SetDataSize(3, 3);
  EXPECT_EQ(DataOf(grid), "\"Data\":[[\"a\",\"b\",],\n[\"c\",\"d\",],\n[,,]]");
  grid.SetDataSize(1, 2);
  EXPECT_EQ(DataOf(grid), "\"Data\":[[\"a\"],\n[\"c\"]]");
  grid.SetDataSize(2, 1);
  EXPECT_EQ(DataOf(grid), "\"Data\":[[\"a\",]]");
}

TEST(VQJsonGridTest, SizesOfZero) {
  VQJsonGrid grid(nullptr);
  Fill(grid);
  grid.SetDataSize(3, 0);
  EXPECT_TRUE(grid.mData.empty());
  EXPECT_EQ(DataOf(grid), "\"Data\":[]");
  grid.SetDataSize(0, 2);
  EXPECT_EQ(grid.mData.size(), 2u);
  EXPECT_EQ(DataOf(grid), "\"Data\":[[],\n[]]");
}

TEST(VQJsonGridTest, SetDataMarksNothing) {
  VQJsonGrid grid(nullptr);
  grid.SetDataSize(1, 1);
  grid.ResetDirty();
  grid.SetData(0, 0, "x");
  EXPECT_FALSE(grid.IsDirty());
}

TEST(VQJsonGridTest, AddressesColumnThenRow) {
  VQJsonGrid grid(nullptr);
  grid.SetDataSize(3, 2);
  grid.SetData(2, 1, "corner");
  EXPECT_STREQ(grid.mData[1][2].GetChar(), "corner");
  EXPECT_EQ(Plain(grid.GetData(2, 1)), "corner");
  EXPECT_EQ(Plain(grid.GetData(0, 0)), "");
}

TEST(VQJsonGridTest, ValuesAreTexts) {
  VQJsonGrid grid(nullptr);
  grid.SetDataSize(3, 1);
  grid.SetData(0, 0, "12");
  grid.SetData(1, 0, "");
  grid.SetData(2, 0, "a\"b");
  EXPECT_EQ(DataOf(grid), "\"Data\":[[\"12\",\"\",\"a\"b\"]]");
}

TEST(VQJsonGridTest, ValuesThatAHostPutsInDirectlyAreWrittenByTheirKind) {
  VQJsonGrid grid(nullptr);
  grid.SetDataSize(4, 1);
  grid.mData[0][0] = 1234567;
  grid.mData[0][1] = true;
  grid.mData[0][2] = VQJArray{VQValue(1), VQValue("x")};
  grid.mData[0][3] = VQJObject{{"k", VQValue(1)}};
  EXPECT_EQ(DataOf(grid), "\"Data\":[[1234567,true,[1,\"x\"],{\"k\":\"1\"}]]");
  EXPECT_EQ(Plain(grid.GetData(0, 0)), "1234567");
  EXPECT_EQ(Plain(grid.GetData(1, 0)), "true");
}

TEST(VQJsonGridTest, WritesRowsOnLinesOfTheirOwn) {
  VQJsonGrid grid(nullptr);
  Fill(grid);
  EXPECT_EQ(DataOf(grid), "\"Data\":[[\"a\",\"b\"],\n[\"c\",\"d\"]]");
}

TEST(VQJsonGridTest, TheCommaBeforeDataIsFollowedByAnEndOfLine) {
  VQJsonGrid grid(nullptr);
  Fill(grid);
  std::ostringstream out;
  out << "x";
  int count = 2;
  grid.OutJsonData(out, count);
  EXPECT_EQ(out.str(), "x,\n\"Data\":[[\"a\",\"b\"],\n[\"c\",\"d\"]]");
  EXPECT_EQ(count, 3);
}

TEST(VQJsonGridTest, DataIsOneItemOfItsLevel) {
  VQJsonGrid grid(nullptr);
  int count = 0;
  EXPECT_EQ(Written([&](std::ostream& out) {
              grid.OutJsonData(out, count);
              grid.OutJsonData(out, count);
            }),
            "\"Data\":[],\n\"Data\":[]");
  EXPECT_EQ(count, 2);
}

TEST(VQJsonGridTest, MembersComeBeforeTheTable) {
  VQJsonGrid grid(nullptr);
  Named(&grid, "t");
  grid.SetValue("Zoom", 2, 0, "");
  Fill(grid);
  int count = 0;
  EXPECT_EQ(Written([&](std::ostream& out) { grid.OutJsonMember(out, count); }),
            "\"Name\":\"t\",\"Zoom\":2,\n\"Data\":[[\"a\",\"b\"],\n[\"c\",\"d\"]]");
  EXPECT_EQ(count, 3);
  EXPECT_EQ(Plain(grid.GetJson()),
            "{\"Name\":\"t\",\"Zoom\":2,\n\"Data\":[[\"a\",\"b\"],\n[\"c\",\"d\"]]}");
}

TEST(VQJsonGridTest, WithoutAttributesTheTableComesFirst) {
  VQJsonGrid grid(nullptr);
  EXPECT_EQ(Plain(grid.GetJson()), "{\"Data\":[]}");
}

TEST(VQJsonGridTest, AnAttributeDataIsWrittenBesidesTheTable) {
  VQJsonGrid grid(nullptr);
  grid.SetValue("Data", "attribute", 0, "");
  EXPECT_EQ(Plain(grid.GetJson()), "{\"Data\":\"attribute\",\n\"Data\":[]}");
}

TEST(VQJsonGridTest, ItsOwnDirtyWriterWritesEverything) {
  VQJsonGrid grid(nullptr);
  Named(&grid, "t");
  Fill(grid);
  grid.ResetDirty();
  int count = 1;
  EXPECT_EQ(Written([&](std::ostream& out) { grid.OutJsonDirtyMember(out, count); }),
            ",\"Name\":\"t\",\n\"Data\":[[\"a\",\"b\"],\n[\"c\",\"d\"]]");
  EXPECT_EQ(count, 3);
}

TEST(VQJsonGridTest, TheInheritedDirtyWriterWritesTheAttributeNotTheTable) {
  VQJsonGrid grid(nullptr);
  Named(&grid, "t");
  Fill(grid);
  int count = 0;
  EXPECT_EQ(Written([&](std::ostream& out) { grid.OutJsonDirtyMember(out, count, "S1"); }),
            "\"Data\":,\"Name\":\"t\"");
  EXPECT_EQ(KeysOf(grid), (Texts{"Name"}));
  grid.SetValue("Data", "attribute", 0, "");
  count = 0;
  VQJsonObject* base = &grid;
  EXPECT_EQ(Written([&](std::ostream& out) { base->OutJsonDirtyMember(out, count, "S1"); }),
            "\"Data\":\"attribute\",\"Name\":\"t\"");
}

// An update of the changes must not leave an empty attribute behind that spoils full output.
TEST(VQJsonGridTest, FullOutputIsWholeAfterAnUpdateOfTheChanges) {
  VQJsonGrid grid(nullptr);
  Named(&grid, "t");
  grid.SetDataSize(1, 1);
  grid.SetData(0, 0, "a");
  for (const char* session : {"", "S1"}) {
    int count = 0;
    std::ostringstream out;
    grid.OutJsonDirtyMember(out, count, session);
  }
  EXPECT_EQ(Plain(grid.GetJson()), "{\"Name\":\"t\",\n\"Data\":[[\"a\"]]}");
}

TEST(VQJsonGridTest, IgnoresAddressesOutsideTheTable) {
  VQJsonGrid grid(nullptr);
  Fill(grid);
  const struct {
    int x, y;
  } outside[] = {{2, 0},    {0, 2},       {-1, 0},      {0, -1},
                 {2, 2},    {INT_MAX, 0}, {0, INT_MAX}, {INT_MIN, INT_MIN},
                 {1, 1000}, {1000, 1}};
  for (const auto& at : outside) {
    grid.SetData(at.x, at.y, "lost");
    EXPECT_EQ(Plain(grid.GetData(at.x, at.y)), "") << at.x << ' ' << at.y;
  }
  EXPECT_EQ(DataOf(grid), "\"Data\":[[\"a\",\"b\"],\n[\"c\",\"d\"]]");
  VQJsonGrid empty(nullptr);
  empty.SetData(0, 0, "lost");
  EXPECT_EQ(Plain(empty.GetData(0, 0)), "");
}

TEST(VQJsonGridTest, RowsOfUnequalLengthAreGuardedEach) {
  VQJsonGrid grid(nullptr);
  Fill(grid);
  grid.mData[1].resize(1);
  grid.SetData(1, 1, "lost");
  EXPECT_EQ(Plain(grid.GetData(1, 1)), "");
  EXPECT_EQ(DataOf(grid), "\"Data\":[[\"a\",\"b\"],\n[\"c\"]]");
}

TEST(VQJsonGridTest, IgnoresNegativeSizes) {
  VQJsonGrid grid(nullptr);
  Fill(grid);
  grid.SetDataSize(-1, 2);
  grid.SetDataSize(2, -1);
  grid.SetDataSize(INT_MIN, INT_MIN);
  EXPECT_EQ(DataOf(grid), "\"Data\":[[\"a\",\"b\"],\n[\"c\",\"d\"]]");
}

TEST(VQJsonGridTest, ANullTextIsTheEmptyText) {
  VQJsonGrid grid(nullptr);
  Fill(grid);
  grid.SetData(0, 0, nullptr);
  EXPECT_EQ(DataOf(grid), "\"Data\":[[\"\",\"b\"],\n[\"c\",\"d\"]]");
}

TEST(VQJsonGridTest, ArraysInTheTableDoNotGrowByBeingWritten) {
  VQJsonGrid grid(nullptr);
  grid.SetDataSize(1, 1);
  grid.mData[0][0] = VQJArray{VQValue(1), VQValue(2)};
  for (int round = 0; round < 3; ++round) EXPECT_EQ(DataOf(grid), "\"Data\":[[[1,2]]]");
  EXPECT_STREQ(grid.mData[0][0].GetChar(), "[]");
}

// A host's locale must not reach the bytes.
class Grouping : public std::numpunct<char> {
 protected:
  char do_thousands_sep() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
  char do_decimal_point() const override { return ';'; }
};

TEST(VQJsonGridTest, NumbersAreWrittenWithoutTheHostsGrouping) {
  const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
  VQJsonGrid grid(nullptr);
  grid.SetDataSize(1, 1);
  grid.mData[0][0] = 1234567;
  grid.SetValue("n", -7654321, 0, "");
  const std::string text = grid.GetJson();
  std::locale::global(before);
  EXPECT_EQ(text, "{\"n\":-7654321,\n\"Data\":[[1234567]]}");
}

}  // namespace
