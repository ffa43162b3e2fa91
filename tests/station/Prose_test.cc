// Random prose in texts written as hosts write them, without escaping anything, comes out of the
// literal reading as it went in.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>

#include "station/Reader.h"

namespace dorn::station {
namespace {

// The longer run of script/soak asks for more.
constexpr unsigned kUsualTexts = 3000;

std::size_t BehindSpace(std::string_view text, std::size_t at) {
  return std::min(text.find_first_not_of(" \n\t\r", at), text.size());
}

bool MayStartAValue(std::string_view text) {
  if (text.empty()) return false;
  for (const std::string_view word : {"true", "false", "null"}) {
    if (text.substr(0, word.size()) == word) return true;
  }
  return std::string_view("\"'{[,]+-.0123456789").find(text.front()) != std::string_view::npos;
}

// A quoted word and a colon; what a single quote begins may end anywhere behind the value, and what
// the value's own end begins as well.
bool MayStartAMember(std::string_view text) {
  if (text.empty() || (text.front() != '"' && text.front() != '\'')) return false;
  const std::size_t end = text.find('"', 1);
  if (text.front() == '\'' || end == std::string_view::npos) return true;
  const std::size_t behind = BehindSpace(text, end + 1);
  return behind < text.size() && text[behind] == ':';
}

// Whether behind some quote of the value goes on what could as well be the structure around it:
// nobody can tell these values from structure.
bool Imitates(const std::string& value, bool isElement) {
  const std::string text = value + '"';
  for (std::size_t quote = value.find('"'); quote != std::string::npos;
       quote = value.find('"', quote + 1)) {
    const std::size_t at = BehindSpace(text, quote + 1);
    const std::string_view behind =
        std::string_view(text).substr(BehindSpace(text, std::min(at + 1, text.size())));
    if (text[at] == ',' && (isElement ? MayStartAValue(behind) : MayStartAMember(behind))) {
      return true;
    }
    if (text[at] != '}' && text[at] != ']') continue;
    if (behind.empty() || behind.front() == '}' || behind.front() == ']') return true;
    if (behind.front() == ',' && MayStartAValue(behind.substr(BehindSpace(behind, 1)))) return true;
  }
  return false;
}

// Writes random texts, and remembers what they say.
class Prose {
 public:
  explicit Prose(unsigned seed) : mRandom(seed) {}

  // As updates and trees come: objects in a list, some with more of them inside.
  void Write() {
    mText = Below(2) == 0 ? "{ " : "{";
    mSays = Json::MakeObject();
    AppendString(mSays, "Command", "UPDATE");
    if (Below(3) == 0) {
      AppendComma();
      AppendString(mSays, "Title", Value(false));
    }
    AppendComma();
    AppendKey("Objects");
    mSays.mMembers["Objects"] = Objects(0);
    mText += Below(2) == 0 ? "}\n" : "}";
  }

  const std::string& Text() const { return mText; }
  const Json& Says() const { return mSays; }

 private:
  int Below(int bound) { return static_cast<int>(mRandom() % static_cast<unsigned>(bound)); }

  template <std::size_t N>
  const char* OneOf(const char* const (&words)[N]) {
    return words[Below(static_cast<int>(N))];
  }

  std::string Word() {
    static const char* const kWords[] = {
        "pump",      "valve",    "日本語",  "\"so\"",  "3/4\"",    "5\" x 3/4\"", "C:\\new",
        "\\\\srv\\", "it's",     "'n'",     "{x}",     "{\"x\"}",  "[\"x\"]",     "[1, 2]",
        "100 %",     "\"",       "\\",      "\\\"",    "}",        "]",           "{",
        "[",         "},",       ",",       ":",       "\": \"",   "\n",          "\r\n",
        "C:\\temp",  "said \"a", "no\", I", "\"tr\"u", "\\u0041",  "a\tb",        "\", she said",
        "l1\nl2",    "x;y",      "true",    "12",      "\"a\" b,", "\"{\"",       "“ok”"};
    if (Below(4) != 0) return OneOf(kWords);
    std::string word;
    for (int i = Below(6); i >= 0; --i) word += static_cast<char>(' ' + Below(95));
    return word;
  }

  std::string Value(bool isElement) {
    static const char* const kBetween[] = {" ", " ", " ", "", ", ", "\n"};
    for (;;) {
      std::string value;
      for (int words = Below(8); words > 0; --words) value += Word() + OneOf(kBetween);
      if (Below(2) == 0 && !value.empty()) value += Word();
      if (!Imitates(value, isElement)) return value;
    }
  }

  void AppendComma() {
    static const char* const kCommas[] = {",", ",", ", ", " ,\n"};
    if (mText.back() != '{' && mText.back() != '[') mText += OneOf(kCommas);
  }

  void AppendKey(const std::string& key) {
    const char quote = Below(4) == 0 ? '\'' : '"';
    mText += quote + key + quote + ':';
  }

  void AppendString(Json& object, const std::string& key, const std::string& value) {
    AppendKey(key);
    mText += '"' + value + '"';
    object.mMembers[key] = Json::String(value);
  }

  Json Objects(int depth) {
    Json objects = Json::MakeArray();
    mText += '[';
    for (int i = Below(3); i >= 0; --i) {
      AppendComma();
      objects.mElements.push_back(AnObject(depth));
    }
    mText += ']';
    return objects;
  }

  Json AnObject(int depth) {
    static const char* const kKeys[] = {"Value", "Text", "Label", "Hint", "Label:ja"};
    Json object = Json::MakeObject();
    mText += '{';
    for (int i = Below(4); i >= 0; --i) {
      AppendComma();
      AppendString(object, OneOf(kKeys) + std::to_string(i), Value(false));
    }
    if (Below(3) == 0) {
      AppendComma();
      AppendKey("Rows");
      object.mMembers["Rows"] = Rows();
    }
    if (Below(5) == 0) {
      AppendComma();
      AppendKey("Data");  // Without a value.
      object.mHadEmptyData = true;
    }
    if (depth < 3 && Below(4) == 0) {
      AppendComma();
      AppendKey("Objects");
      object.mMembers["Objects"] = Objects(depth + 1);
    } else if (depth < 3 && Below(6) == 0) {
      AppendComma();
      AppendKey("Own");
      object.mMembers["Own"] = AnObject(3);
    }
    if (Below(2) == 0) {
      AppendComma();
      AppendString(object, "Name", "b" + std::to_string(Below(9)));
    }
    mText += '}';
    return object;
  }

  Json Rows() {
    Json rows = Json::MakeArray();
    mText += '[';
    for (int i = Below(3); i >= 0; --i) {
      AppendComma();
      Json row = Json::MakeArray();
      mText += '[';
      for (int j = Below(3); j >= 0; --j) {
        AppendComma();
        const std::string value = Value(true);
        mText += '"' + value + '"';
        row.mElements.push_back(Json::String(value));
      }
      mText += ']';
      rows.mElements.push_back(std::move(row));
    }
    mText += ']';
    return rows;
  }

  std::mt19937 mRandom;
  std::string mText;
  Json mSays;
};

TEST(ProseTest, IsReadLiterallyAsItWasWritten) {
  const char* asked = std::getenv("DORN_STATION_TEXTS");
  const unsigned texts =
      asked == nullptr ? kUsualTexts : static_cast<unsigned>(std::strtoul(asked, nullptr, 10));
  const Reader reader(Reader::Strings::kLiteral);
  unsigned notJson = 0;
  for (unsigned seed = 1; seed <= texts; ++seed) {
    Prose prose(seed);
    prose.Write();
    const ReadText read = reader.Read(prose.Text());
    ASSERT_NE(read.mReading, Reading::kUnreadable) << "text " << seed << ": " << prose.Text();
    ASSERT_EQ(read.mJson.Written(), prose.Says().Written())
        << "text " << seed << ": " << prose.Text();
    if (Reader().Read(prose.Text()).mReading != Reading::kStrict) ++notJson;
  }
  EXPECT_GE(notJson, texts / 2) << "The prose is too tame to show anything.";
}

// What the test leaves out is what cannot be told from structure, and no more than that.
TEST(ProseTest, LeavesOutWhatImitatesStructure) {
  for (const char* value :
       {"a\",\"b\":\"c", "x\"},{\"Value\":\"9", "x\"}]}", "so\", 'tis", "x\", "}) {
    EXPECT_TRUE(Imitates(value, false)) << value;
  }
  for (const char* value : {"a\",\"b", "a\", 12", "x\"],[\"y", "x\"]]", "x\","}) {
    EXPECT_TRUE(Imitates(value, true)) << value;
  }
  for (const char* value : {"", "\"", "say \"so\", he said", "5\" x 3/4\", steel", "{\"x\"}, y",
                            "C:\\new", "[\"x\"]", "\"\n\"", "a\"b"}) {
    EXPECT_FALSE(Imitates(value, false)) << value;
    EXPECT_FALSE(Imitates(value, true)) << value;
  }
}

}  // namespace
}  // namespace dorn::station
