// Whatever somebody does to a resource file, each finding stands inside it, and what can be read of
// it can be shown.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "station/Utf8.h"
#include "tools/dorn-lint/Lint.h"
#include "tools/dorn-lint/Preview.h"

namespace dorn::lint {
namespace {

std::string Gallery() {
  std::ifstream in(DORN_SOURCE_DIR "/examples/gallery/resources/gallery.json", std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void Mutate(std::string& text, std::mt19937& random) {
  static const std::string kPieces[] = {"\"",
                                        "'",
                                        "\\",
                                        "{",
                                        "}",
                                        "[",
                                        "]",
                                        ",",
                                        ":",
                                        "null",
                                        "1.5",
                                        "99999999999",
                                        "\n",
                                        "\x01",
                                        "\xff",
                                        "\"Objects\":[",
                                        "あ",
                                        "\"Type\": \"GRID\",",
                                        "\"Type\": \"RADIOBTN\",",
                                        "\"X\": 1,"};
  const std::size_t at = random() % (text.size() + 1);
  const std::size_t length = std::min<std::size_t>(random() % 40, text.size() - at);
  switch (random() % 4) {
    case 0:
      text.erase(at, length);
      break;
    case 1:
      text.insert(at, kPieces[random() % std::size(kPieces)]);
      break;
    case 2:
      text.insert(random() % (text.size() + 1), text.substr(at, length));
      break;
    default:
      if (at < text.size()) text[at] = static_cast<char>(random());
  }
}

// The characters of each line, and one place behind its last.
std::vector<std::size_t> WidthsOf(const std::string& text) {
  std::vector<std::size_t> widths{1};
  for (const char c : text) {
    if (c == '\n') {
      widths.push_back(1);
    } else if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
      ++widths.back();
    }
  }
  return widths;
}

TEST(LintMutationsTest, FindingsStandInsideTheFile) {
  const std::string gallery = Gallery();
  ASSERT_GT(gallery.size(), 5000U);
  std::mt19937 random(7);
  std::size_t findings = 0;
  int readable = 0;
  for (int round = 0; round < 1000; ++round) {
    std::string text = gallery;
    for (unsigned i = random() % 6; i > 0; --i) Mutate(text, random);
    const std::vector<std::size_t> widths = WidthsOf(text);
    const auto found = Lint({{"resources/gallery.json", "resources/gallery.json", text}},
                            [](const std::string&) { return true; });
    bool isRead = true;
    bool isDialog = true;
    for (const Finding& each : found) {
      ASSERT_GE(each.mLine, 1U);
      ASSERT_LE(each.mLine, widths.size()) << each.mText;
      ASSERT_GE(each.mColumn, 1U);
      ASSERT_LE(each.mColumn, widths[each.mLine - 1]) << each.mText;
      ASSERT_TRUE(station::IsValidUtf8(each.mText));
      ASSERT_EQ(each.mText.find('\n'), std::string::npos);
      isRead = isRead && each.mRule != "syntax";
      const bool isAboutAll = each.mText.compare(0, 9, "no dialog") == 0;
      isDialog = isDialog && isRead && !isAboutAll;
    }
    if (round % 10 == 0) {
      const auto picture = Preview(ReadDocument(text), {80, 24}, "ja");
      ASSERT_EQ(picture.has_value(), isDialog);
      ASSERT_TRUE(!picture || station::IsValidUtf8(*picture));
    }
    findings += found.size();
    readable += isRead ? 1 : 0;
  }
  EXPECT_GT(findings, 1000U);
  EXPECT_GT(readable, 200);
}

TEST(LintMutationsTest, ShowsWhatIsAsDeepAsMayBe) {
  std::string text = "{\"Command\":\"DIALOG\",\"Name\":\"d\"";
  std::string end = "}";
  for (int depth = 3; depth <= kMaxDepth; depth += 2) {
    text += ",\"Objects\":[{\"Name\":\"g\",\"Type\":\"GROUP\"";
    end += "]}";
  }
  const Document read = ReadDocument(text + end);
  ASSERT_TRUE(read.IsRead()) << read.mReason;
  EXPECT_EQ(read.mDepth, kMaxDepth - 1);
  EXPECT_TRUE(Preview(read, {80, 0}, "").has_value());
}

}  // namespace
}  // namespace dorn::lint
