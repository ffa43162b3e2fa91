// The quick reader gives up at whatever is not usual, and the other one reads the same. So only
// here is it seen that it does take what is usual.
#include "dorn/json/QuickReader.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/Allocations.h"

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
       {"", "{", "[", "[1", "{\"a\"", "{\"a\":", "{\"a\":1", "{\"a\" 1}", "{a:1}", "{xax:1}",
        "[1 2]", "[1}", "{\"a\":1]", "[nul]", "[tru]", "[+1]", "\"x\"", "1"}) {
    value out;
    EXPECT_EQ(nullptr, dorn::ReadQuickly(out, text.data(), text.data() + text.size())) << text;
  }
}

// The document is not made a second time by the other reader.
TEST(QuickReaderTest, WhatIsUsualIsReadOnceInAll) {
  for (const std::string text :
       {"[]", "{}", "[1,2]", "{\"a\":[true,{\"b\":\"a text that needs memory of its own\"}]}"}) {
    const char* const last = text.data() + text.size();
    value quick;
    value whole;
    const auto once = AllocationsOf([&] { dorn::ReadQuickly(quick, text.data(), last); });
    const auto all = AllocationsOf([&] { value::parse(whole, text.data(), last, nullptr); });
    EXPECT_GT(once.times, 0u) << text;
    EXPECT_EQ(all.times, once.times) << text;
    EXPECT_EQ(all.bytes, once.bytes) << text;
  }
}

TEST(QuickReaderTest, EachTextIsMadeOnce) {
  const std::string text =
      R"({"a key that needs memory":'a text that is so long that it would grow more than once'})";
  value out;
  const auto used =
      AllocationsOf([&] { dorn::ReadQuickly(out, text.data(), text.data() + text.size()); });
  EXPECT_EQ(used.times, 5u) << "the map, its node, the key, the string, the text";
}

TEST(QuickReaderTest, AShortArrayTakesItsRoomAtOnce) {
  const auto bytesOf = [](const std::string& text) {
    value out;
    return AllocationsOf([&] { dorn::ReadQuickly(out, text.data(), text.data() + text.size()); })
        .bytes;
  };
  for (const char* const text : {"[1]", "[1,2]", "[1,2,3]", "[1,2,3,4]"}) {
    EXPECT_EQ(bytesOf(text), sizeof(value::array) + 4 * sizeof(value)) << text;
  }
  EXPECT_EQ(bytesOf("[]"), sizeof(value::array));
}

}  // namespace
