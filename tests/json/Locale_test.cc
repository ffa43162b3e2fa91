// Numbers in JSON and in dialog values under a host's locale with a decimal comma.
#include <cstdlib>
#include <sstream>
#include <string>

#include "dorn/json/JsonParser.h"
#include "dorn/json/VQValue.h"
#include "gtest/gtest.h"
#include "tests/support/CommaLocale.h"

namespace {

TEST(LocaleTest, NumbersKeepTheirPointUnderADecimalComma) {
  const CommaLocale locale;
  ASSERT_TRUE(locale.IsSet()) << "install the package locales: script/setup does";
  ASSERT_EQ(std::strtod("1,5", nullptr), 1.5) << "the locale is in force";

  JsonParser parser;
  ASSERT_TRUE(parser.Parse("{\"d\":1.5,\"list\":[1,5],\"e\":-0.25e1}"));
  EXPECT_EQ(parser.mValue.get("d").get<double>(), 1.5);
  EXPECT_EQ(parser.mValue.get("list").get<array>().size(), 2u);
  EXPECT_EQ(parser.mValue.get("e").get<double>(), -2.5);
  EXPECT_EQ(parser.mValue.get("d").to_str(), "1.500000");
  EXPECT_EQ(value(1234567.5).to_str(), "1234567.500000");

  EXPECT_STREQ(VQValue(1234567).GetChar(), "1234567");
  std::ostringstream out;
  out << VQValue(1234567);
  EXPECT_EQ(out.str(), "1234567");
}

}  // namespace
