#include "tools/dorn-top/Table.h"

#include <gtest/gtest.h>

namespace dorn::top {

namespace {

TEST(TableTest, ShortensNumbers) {
  const struct {
    double mNumber;
    const char* mText;
  } rows[] = {
      {0, "0"},          {7, "7"},         {7.46, "7.5"},   {9.94, "9.9"},        {9.96, "10"},
      {812.4, "812"},    {999.4, "999"},   {999.6, "1.0K"}, {1000, "1.0K"},       {9140, "9.1K"},
      {64000000, "64M"}, {999600, "1.0M"}, {2.5e9, "2.5G"}, {1.8e19, "18000000T"}};
  for (const auto& row : rows) EXPECT_EQ(ShortNumber(row.mNumber), row.mText) << row.mNumber;
}

TEST(TableTest, ShortensTimes) {
  EXPECT_EQ(ShortTime(0), "0us");
  EXPECT_EQ(ShortTime(812), "812us");
  EXPECT_EQ(ShortTime(12345), "12.3ms");
  EXPECT_EQ(ShortTime(1250000), "1.25s");
}

TEST(TableTest, SaysWhyThereIsNothingToTell) {
  const Source source("/nowhere");
  EXPECT_EQ(RowOf(source).substr(0, 17), "not asked yet    ");
  EXPECT_EQ(RowOf(source).substr(HeadLine().find("HOST")), "/nowhere");
  EXPECT_EQ(ConnectionsOf(source), "");
}

TEST(TableTest, TellsHostsInJson) {
  std::vector<Source> sources;
  sources.emplace_back("/a\"b");
  sources.emplace_back("/c");
  EXPECT_EQ(AsJson(sources),
            "[{\"host\":\"/a\\\"b\",\"error\":\"not asked yet\"},\n"
            " {\"host\":\"/c\",\"error\":\"not asked yet\"}]\n");
}

}  // namespace

}  // namespace dorn::top
