#include "station/Utf8.h"

#include <gtest/gtest.h>

namespace dorn::station {
namespace {

TEST(Utf8Test, KeepsWhatIsValid) {
  for (const std::string text : {"", "abc", "é", "日本語", "\xF0\x9F\x98\x80", "\xEF\xBF\xBF",
                                 "\xED\x9F\xBF", "\xEE\x80\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_TRUE(IsValidUtf8(text)) << text;
    EXPECT_EQ(ValidUtf8(text), text);
  }
}

TEST(Utf8Test, WritesOutWhatATerminalWouldObey) {
  EXPECT_EQ(Printable("a\x1b[2J\x07\r\n\x7f\xc2\x9b\xc2\x80\x9b z"),
            "a\\u001b[2J\\u0007\\u000d\\u000a\\u007f\\u009b\\u0080\uFFFD z");
  EXPECT_EQ(Printable(std::string_view("\0", 1)), "\\u0000");
  EXPECT_EQ(Printable("\u00A0é日本語\\"), "\u00A0é日本語\\");
  EXPECT_EQ(Printable(""), "");
  EXPECT_EQ(PrintableLines("\n\x1b[A\n\nend\t"), "\n\\u001b[A\n\nend\\u0009");
  EXPECT_EQ(PrintableLines("end\n"), "end\n");
}

TEST(Utf8Test, ReplacesEachLongestBeginningOnce) {
  const struct {
    std::string bytes, text;
  } cases[] = {
      {"a\xFF"
       "b",
       "a\uFFFDb"},
      {"\x80\xBF", "\uFFFD\uFFFD"},
      {"\xC3", "\uFFFD"},
      {"\xC3(", "\uFFFD("},
      {"\xC0\xAF", "\uFFFD\uFFFD"},
      {"\xE2\x82", "\uFFFD"},
      {"\xE2\x82"
       "x",
       "\uFFFDx"},
      {"\xE0\x80\x80", "\uFFFD\uFFFD\uFFFD"},
      {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
      {"\xF0\x9F\x98", "\uFFFD"},
      {"\xF0\x9F\x98\xC3\xA9", "\uFFFDé"},
      {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xF8\x88\x80\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
      {std::string("\x00\xFE", 2), std::string("\0", 1) + "\uFFFD"},
  };
  for (const auto& each : cases) {
    EXPECT_FALSE(IsValidUtf8(each.bytes));
    EXPECT_EQ(ValidUtf8(each.bytes), each.text);
  }
}

TEST(Utf8Test, CountsAndAppendsCharacters) {
  EXPECT_EQ(CharactersOf("aé日\xF0\x9F\x98\x80"), 4u);
  std::string out;
  for (const unsigned code : {0x41u, 0xE9u, 0x65E5u, 0x1F600u}) AppendUtf8(out, code);
  EXPECT_EQ(out, "Aé日\xF0\x9F\x98\x80");
}

}  // namespace
}  // namespace dorn::station
