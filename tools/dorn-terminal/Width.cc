#include "tools/dorn-terminal/Width.h"

#include <algorithm>
#include <iterator>

#include "station/Utf8.h"

namespace dorn::terminal {

namespace {

struct Range {
  char32_t mFirst;
  char32_t mLast;
};

constexpr Range kWide[] = {
    {0x1100, 0x115F},   {0x231A, 0x231B},   {0x2329, 0x232A},   {0x23E9, 0x23EC},
    {0x23F0, 0x23F0},   {0x23F3, 0x23F3},   {0x25FD, 0x25FE},   {0x2614, 0x2615},
    {0x2648, 0x2653},   {0x267F, 0x267F},   {0x2693, 0x2693},   {0x26A1, 0x26A1},
    {0x26AA, 0x26AB},   {0x26BD, 0x26BE},   {0x26C4, 0x26C5},   {0x26CE, 0x26CE},
    {0x26D4, 0x26D4},   {0x26EA, 0x26EA},   {0x26F2, 0x26F3},   {0x26F5, 0x26F5},
    {0x26FA, 0x26FA},   {0x26FD, 0x26FD},   {0x2705, 0x2705},   {0x270A, 0x270B},
    {0x2728, 0x2728},   {0x274C, 0x274C},   {0x274E, 0x274E},   {0x2753, 0x2755},
    {0x2757, 0x2757},   {0x2795, 0x2797},   {0x27B0, 0x27B0},   {0x27BF, 0x27BF},
    {0x2B1B, 0x2B1C},   {0x2B50, 0x2B50},   {0x2B55, 0x2B55},   {0x2E80, 0x303E},
    {0x3041, 0x3247},   {0x3250, 0x4DBF},   {0x4E00, 0xA4CF},   {0xA960, 0xA97F},
    {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE10, 0xFE19},   {0xFE30, 0xFE6F},
    {0xFF01, 0xFF60},   {0xFFE0, 0xFFE6},   {0x16FE0, 0x18CFF}, {0x1AFF0, 0x1B2FF},
    {0x1F004, 0x1F004}, {0x1F0CF, 0x1F0CF}, {0x1F18E, 0x1F18E}, {0x1F191, 0x1F19A},
    {0x1F200, 0x1F320}, {0x1F32D, 0x1F335}, {0x1F337, 0x1F37C}, {0x1F37E, 0x1F393},
    {0x1F3A0, 0x1F3CA}, {0x1F3CF, 0x1F3D3}, {0x1F3E0, 0x1F3F0}, {0x1F3F4, 0x1F3F4},
    {0x1F3F8, 0x1F43E}, {0x1F440, 0x1F440}, {0x1F442, 0x1F4FC}, {0x1F4FF, 0x1F53D},
    {0x1F54B, 0x1F54E}, {0x1F550, 0x1F567}, {0x1F57A, 0x1F57A}, {0x1F595, 0x1F596},
    {0x1F5A4, 0x1F5A4}, {0x1F5FB, 0x1F64F}, {0x1F680, 0x1F6C5}, {0x1F6CC, 0x1F6CC},
    {0x1F6D0, 0x1F6D2}, {0x1F6D5, 0x1F6DF}, {0x1F6EB, 0x1F6EC}, {0x1F6F4, 0x1F6FC},
    {0x1F7E0, 0x1F7F0}, {0x1F90C, 0x1F93A}, {0x1F93C, 0x1F945}, {0x1F947, 0x1F9FF},
    {0x1FA70, 0x1FAFF}, {0x20000, 0x2FFFD}, {0x30000, 0x3FFFD}};

constexpr Range kMarks[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD},   {0x05BF, 0x05BF},  {0x05C1, 0x05C2},
    {0x05C4, 0x05C5}, {0x05C7, 0x05C7}, {0x0610, 0x061A},   {0x064B, 0x065F},  {0x0670, 0x0670},
    {0x06D6, 0x06DC}, {0x06DF, 0x06E4}, {0x06E7, 0x06E8},   {0x06EA, 0x06ED},  {0x0711, 0x0711},
    {0x0730, 0x074A}, {0x07A6, 0x07B0}, {0x0900, 0x0902},   {0x093A, 0x093A},  {0x093C, 0x093C},
    {0x0941, 0x0948}, {0x094D, 0x094D}, {0x0951, 0x0957},   {0x0962, 0x0963},  {0x0E31, 0x0E31},
    {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E}, {0x0EB1, 0x0EB1},   {0x0EB4, 0x0EBC},  {0x0EC8, 0x0ECD},
    {0x1160, 0x11FF}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},   {0x20D0, 0x20F0},  {0x302A, 0x302D},
    {0x3099, 0x309A}, {0xFE20, 0xFE2F}, {0x1F3FB, 0x1F3FF}, {0xE0100, 0xE01EF}};

// They take no room, or turn the direction of what follows.
constexpr Range kDropped[] = {
    {0x00AD, 0x00AD}, {0x061C, 0x061C}, {0x180B, 0x180F}, {0x200B, 0x200F}, {0x202A, 0x202E},
    {0x2060, 0x206F}, {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0000, 0xE01EF}};

template <std::size_t size>
bool IsIn(const Range (&ranges)[size], char32_t character) {
  const Range* found =
      std::upper_bound(std::begin(ranges), std::end(ranges), character,
                       [](char32_t wanted, const Range& range) { return wanted < range.mFirst; });
  return found != std::begin(ranges) && character <= std::prev(found)->mLast;
}

constexpr char kReplacement[] = "\uFFFD";
constexpr char kEllipsis[] = "…";
constexpr int kMostMarks = 2;

bool IsBlank(char32_t c) {
  return c == '\n' || c == '\t' || c == '\r' || c == 0x2028 || c == 0x2029;
}

bool IsControl(char32_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0); }

bool IsLineEnd(std::string_view text, std::size_t at) {
  return text[at] == '\n' || text.substr(at, 3) == "\u2028";
}

}  // namespace

char32_t CharacterAt(std::string_view text) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned first = byte(0);
  if (first < 0x80) return first;
  const int more = first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
  char32_t code = first & (0x3FU >> more);
  for (int i = 1; i <= more; ++i) code = code << 6 | (byte(static_cast<std::size_t>(i)) & 0x3F);
  return code;
}

int WidthOf(char32_t character) {
  if (character < 0x300) return 1;
  if (IsIn(kMarks, character)) return 0;
  return IsIn(kWide, character) ? 2 : 1;
}

// Skips what is dropped.
bool ClusterReader::NextCharacter(std::string& character, char32_t& code) {
  while (mAt < mText.size()) {
    const std::size_t length = station::SequenceAt(mText, mAt);
    if (length == 0) {
      ++mAt;
      code = 0xFFFD;
      character = kReplacement;
      return true;
    }
    code = CharacterAt(mText.substr(mAt, length));
    character.assign(mText.substr(mAt, length));
    mAt += length;
    if (IsIn(kDropped, code)) continue;
    if (IsBlank(code)) {
      code = ' ';
      character = " ";
    } else if (IsControl(code)) {
      code = 0xFFFD;
      character = kReplacement;
    }
    return true;
  }
  return false;
}

bool ClusterReader::Next(Cluster& out) {
  char32_t code = 0;
  out.mAt = mAt;
  if (!NextCharacter(out.mText, code)) return false;
  out.mWidth = WidthOf(code);
  if (out.mWidth == 0) {  // A mark that stands on nothing.
    out.mText.insert(0, " ");
    out.mWidth = 1;
  }
  std::string mark;
  for (int marks = 0;;) {
    const std::size_t before = mAt;
    if (!NextCharacter(mark, code)) return true;
    if (WidthOf(code) != 0) {
      mAt = before;
      return true;
    }
    if (++marks <= kMostMarks) out.mText += mark;
  }
}

int TextWidth(std::string_view text, int most) {
  int width = 0;
  Cluster cluster;
  for (ClusterReader reader(text); width < most && reader.Next(cluster);) width += cluster.mWidth;
  return width;
}

std::string Cut(std::string_view text, int width) {
  if (width <= 0) return {};
  std::string whole;
  std::string shorter;  // What fits beside an ellipsis.
  int used = 0;
  Cluster cluster;
  for (ClusterReader reader(text); reader.Next(cluster);) {
    if (used + cluster.mWidth > width) return shorter + kEllipsis;
    used += cluster.mWidth;
    whole += cluster.mText;
    if (used < width) shorter = whole;
  }
  return whole;
}

std::vector<std::string> Wrapped(std::string_view text, int width, std::size_t most) {
  std::vector<std::string> lines;
  if (width <= 0 || most == 0) return lines;
  std::size_t start = 0;
  while (start < text.size()) {
    if (lines.size() + 1 == most) {
      lines.push_back(Cut(text.substr(start), width));
      return lines;
    }
    ClusterReader reader(text.substr(start));
    Cluster cluster;
    std::size_t end = text.size();
    std::size_t next = text.size();
    std::size_t blank = 0;  // Behind which the line may be broken; 0: nowhere.
    for (int used = 0; reader.Next(cluster);) {
      const std::size_t at = start + cluster.mAt;
      if (IsLineEnd(text, at)) {
        end = at;
        next = at + (text[at] == '\n' ? 1 : 3);
        break;
      }
      if (used + cluster.mWidth > width) {
        end = next = blank > start ? blank : std::max(at, start + 1);
        break;
      }
      used += cluster.mWidth;
      if (cluster.mText == " ") blank = at + 1;
    }
    lines.push_back(Cut(text.substr(start, end - start), width));
    start = next;
  }
  return lines;
}

}  // namespace dorn::terminal
