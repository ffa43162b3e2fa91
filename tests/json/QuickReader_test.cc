// The quick reader gives up at whatever is not usual, and the other one reads the same. So only
// here is it seen that it does take what is usual.
#include "dorn/json/QuickReader.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(QuickReaderTest, TakesWhatIsUsual) {
  for (const std::string text :
       {"{}", "[]", "{\"a\":1}", "{'a':'b'}", "{ \"a\" : \"b\" , \"c\" : [ ] }",
        "[1,-2,[3,{}],\"x\"]", "{\"a\":true,\"b\":false,\"c\":null}",
        "{\"b\":{\"a\":[\"x\",\"y\"]},\"a\":123456789}", "{\"\\u0061\":\"a\\\"b\"}", "[1234567890]",
        "[1.5]"}) {
    value out;
    const std::string behind = text + ",";
    const char* const first = behind.data();
    EXPECT_EQ(first + text.size(), dorn::ReadQuickly(out, first, first + behind.size())) << text;
  }
}

TEST(QuickReaderTest, TakesWhatIsNoDeeperThanTheOtherReaderDoes) {
  for (const bool isArray : {false, true}) {
    std::string text = "{}";
    const auto isTaken = [&text] {
      value out;
      return dorn::ReadQuickly(out, text.data(), text.data() + text.size()) != nullptr;
    };
    const auto enclose = [&] { text = isArray ? "[" + text + "]" : "{\"a\":" + text + "}"; };
    for (int depth = 1; depth < input::kMaxDepth; ++depth) enclose();
    EXPECT_TRUE(isTaken()) << isArray;
    enclose();
    EXPECT_FALSE(isTaken()) << isArray;
  }
}

TEST(QuickReaderTest, GivesUpAtWhatIsBroken) {
  for (const std::string text :
       {"", "{", "[", "[1", "{\"a\"", "{\"a\":", "{\"a\":1", "{\"a\" 1}", "{a:1}", "[1 2]", "[1}",
        "{\"a\":1]", "[nul]", "[tru]", "[+1]", "\"x\"", "1"}) {
    value out;
    EXPECT_EQ(nullptr, dorn::ReadQuickly(out, text.data(), text.data() + text.size())) << text;
  }
}

}  // namespace
