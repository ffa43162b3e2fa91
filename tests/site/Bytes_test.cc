#include "site/core/Bytes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace dorn::site {
namespace {

TEST(BytesTest, NumbersAreLittleEndianAndAsLongAsTheirType) {
  ByteWriter out;
  out.Put(static_cast<unsigned char>(0xfe));
  out.Put(std::uint32_t{0x01020304});
  out.Put(std::int64_t{-2});

  EXPECT_EQ(out.Size(), 13U);
  EXPECT_EQ(out.Take(), std::string("\xfe\x04\x03\x02\x01\xfe\xff\xff\xff\xff\xff\xff\xff", 13));
  EXPECT_EQ(out.Size(), 0U);
}

TEST(BytesTest, TextsCarryTheirLengthAndMayHoldZeroBytes) {
  ByteWriter out;
  out.Put(std::string("a\0b", 3));
  out.Put(std::string_view());

  EXPECT_EQ(out.Take(), std::string("\x03\0\0\0a\0b\0\0\0\0", 11));
}

TEST(BytesTest, WhatWasWrittenIsReadBack) {
  const std::array<unsigned char, 3> raw = {0, 1, 255};
  ByteWriter out;
  out.Put(std::numeric_limits<std::int64_t>::min());
  out.Put(std::numeric_limits<std::uint64_t>::max());
  out.Put(-1);
  out.Put(std::string("text"));
  out.Put(raw);
  const std::string bytes = out.Take();

  ByteReader in(bytes);
  EXPECT_EQ(in.Number<std::int64_t>(), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(in.Number<std::uint64_t>(), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(in.Number<int>(), -1);
  std::string text;
  in.Get(text);
  EXPECT_EQ(text, "text");
  std::array<unsigned char, 3> read{};
  in.Get(read);
  EXPECT_EQ(read, raw);
  EXPECT_TRUE(in.IsSound());
  EXPECT_TRUE(in.IsAtEnd());
}

TEST(BytesTest, NothingIsReadBehindWhatIsMissing) {
  ByteReader in(std::string_view("\x05\0\0\0abcd\x01", 9));

  std::string text = "before";
  in.Get(text);
  EXPECT_EQ(text, "abcd\x01");

  ByteReader shorter(std::string_view("\x06\0\0\0abcd\x01", 9));
  shorter.Get(text);
  EXPECT_EQ(text, "");
  EXPECT_FALSE(shorter.IsSound());
  EXPECT_EQ(shorter.Number<unsigned char>(), 0);
  EXPECT_TRUE(shorter.IsAtEnd());
}

TEST(BytesTest, ACountThatCannotFollowIsNone) {
  ByteReader enough(std::string_view("\x02\0\0\0abcdef", 10));
  EXPECT_EQ(enough.Count(3), 2U);
  EXPECT_TRUE(enough.IsSound());

  ByteReader tooMany(
      std::string_view("\xff\xff\xff\xff"
                       "abcdef",
                       10));
  EXPECT_EQ(tooMany.Count(1), 0U);
  EXPECT_FALSE(tooMany.IsSound());
}

}  // namespace
}  // namespace dorn::site
