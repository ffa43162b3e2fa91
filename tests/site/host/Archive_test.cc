#include "site/Archive.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using dorn::site::Reader;
using dorn::site::Writer;

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

std::string Written() {
  Writer out;
  out.WriteInt(kLeast);
  out.WriteBool(true);
  out.WriteText(KZString(std::string("a\0b", 3)));
  out.WriteInt(-1);
  return out.Bytes();
}

TEST(ArchiveTest, ReadsBackWhatWasWritten) {
  const std::string bytes = Written();
  Reader in(bytes);
  EXPECT_EQ(kLeast, in.ReadInt());
  EXPECT_TRUE(in.ReadBool());
  EXPECT_EQ(std::string("a\0b", 3), in.ReadText());
  EXPECT_FALSE(in.IsAtEnd());
  EXPECT_EQ(-1, in.ReadInt());
  EXPECT_TRUE(in.IsSound());
  EXPECT_TRUE(in.IsAtEnd());
}

TEST(ArchiveTest, TakesNothingForSomethingElse) {
  const std::string bytes = Written();
  Reader in(bytes);
  EXPECT_EQ("", in.ReadText());
  EXPECT_FALSE(in.IsSound());
  EXPECT_EQ(0, in.ReadInt()) << "behind the first mistake nothing is read";
}

TEST(ArchiveTest, ReadsNothingBehindTheEnd) {
  Reader in("");
  EXPECT_FALSE(in.ReadBool());
  EXPECT_FALSE(in.IsSound());
}

TEST(ArchiveTest, ReadsNoMoreThanThereIsWhereverItIsCut) {
  const std::string bytes = Written();
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    Reader in(std::string_view(bytes).substr(0, length));
    in.ReadInt();
    in.ReadBool();
    in.ReadText();
    in.ReadInt();
    EXPECT_FALSE(in.IsSound()) << length;
  }
}

TEST(ArchiveTest, BelievesNoLengthThatIsNotThere) {
  Writer out;
  out.WriteText(KZString("text"));
  std::string bytes = out.Bytes();
  for (int i = 1; i <= 8; ++i) bytes[static_cast<std::size_t>(i)] = '\xff';
  Reader in(bytes);
  EXPECT_EQ("", in.ReadText());
  EXPECT_FALSE(in.IsSound());
}

}  // namespace
