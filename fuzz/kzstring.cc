// Strings against models that are as plain as they can be.
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "dorn/base/KZString.h"
#include "fuzz/FuzzTarget.h"

namespace {

unsigned Unsigned(char ch) { return static_cast<unsigned char>(ch); }

// The bytes of the character at `at`, 0 where the walk ends.
size_t CharacterAt(const std::string& text, size_t at, unsigned* code) {
  if (at >= text.size()) return 0;
  const unsigned first = Unsigned(text[at]);
  if (first == 0 || first > 0xFD) return 0;
  size_t length = 1;
  unsigned keep = 0xFF;
  if (first >= 0xFC) {
    length = 6;
    keep = 0x01;
  } else if (first >= 0xF8) {
    length = 5;
    keep = 0x03;
  } else if (first >= 0xF0) {
    length = 4;
    keep = 0x07;
  } else if (first >= 0xE0) {
    length = 3;
    keep = 0x0F;
  } else if (first >= 0xC0) {
    length = 2;
    keep = 0x1F;
  }
  *code = first & keep;
  for (size_t i = 1; i < length; ++i) {
    if (at + i >= text.size() || (Unsigned(text[at + i]) >> 6) != 2) return 0;
    *code = *code * 64 + Unsigned(text[at + i]) % 64;
  }
  return length;
}

// The characters up to the first invalid sequence.
std::vector<std::string> Characters(const std::string& text) {
  std::vector<std::string> characters;
  unsigned code = 0;
  for (size_t at = 0; const size_t length = CharacterAt(text, at, &code); at += length) {
    characters.push_back(text.substr(at, length));
  }
  return characters;
}

void CheckCode(const std::string& text, size_t at) {
  unsigned expected = 0;
  unsigned code = 0;
  const KZString any;
  const size_t length = CharacterAt(text, at, &expected);
  // Zero-terminated and of exactly that size, so that a byte read behind it is found.
  std::vector<unsigned char> bytes(text.begin(), text.end());
  bytes.push_back(0);
  const int got = any.GetUTF8Code(bytes.data(), static_cast<int>(at), &code);
  FUZZ_CHECK(static_cast<size_t>(got) == length);
  if (length > 0) FUZZ_CHECK(code == expected);
}

std::string ExpectedChar(const std::string& text, int start, int length) {
  const std::vector<std::string> characters = Characters(text);
  if (length == 0 || start < 0 || start >= static_cast<int>(characters.size())) return "";
  size_t from = 0;
  for (int i = 0; i < start; ++i) from += characters[static_cast<size_t>(i)].size();
  if (length < 0) return text.substr(from);
  std::string taken;
  for (size_t i = static_cast<size_t>(start); i < characters.size() && length > 0; ++i, --length) {
    taken += characters[i];
  }
  return taken;
}

void CheckCharacters(const std::string& text, int start, int length) {
  KZString subject(text);
  FUZZ_CHECK(subject.GetCharLength() == static_cast<int>(Characters(text).size()));
  FUZZ_CHECK(subject.GetChar(start, length) == ExpectedChar(text, start, length));
  std::string upper;
  for (std::string character : Characters(text)) {
    if (character.size() == 1) {
      character[0] = static_cast<char>(std::toupper(static_cast<int>(Unsigned(character[0]))));
    }
    upper += character;
  }
  FUZZ_CHECK(subject.MakeUpper() == upper);
}

void CheckSeparate(const std::string& text, char separator) {
  std::vector<std::string> expected{"before"};
  std::string piece;
  size_t pieces = 0;
  for (size_t i = 0; i < text.size() && pieces < 100; ++i) {
    if (text[i] != separator) {
      piece += text[i];
      continue;
    }
    expected.push_back(piece);
    piece.clear();
    ++pieces;
  }
  if (pieces < 100 && !piece.empty()) expected.push_back(piece);

  KZStringArray array;
  array += KZString("before");
  KZString(text).Separate(separator, array);
  FUZZ_CHECK(array.Size() == static_cast<int>(expected.size()));
  for (int i = 0; i < array.Size(); ++i) {
    FUZZ_CHECK(array[i] == expected[static_cast<size_t>(i)]);
    FUZZ_CHECK(array.Find(array[i]) <= i);
  }
  FUZZ_CHECK(array[array.Size()].empty());
  // Splitting an element into the very array that holds it.
  array[0].Separate('f', array);
  FUZZ_CHECK(array[0] == "before" && array[array.Size() - 1] == "ore");
}

void CheckTrim(const std::string& text, const std::string& set) {
  std::string expected = text;
  const auto isIn = [&set](char ch) { return std::strchr(set.c_str(), ch) != nullptr && ch != 0; };
  while (!expected.empty() && isIn(expected.back())) expected.pop_back();
  while (!expected.empty() && isIn(expected.front())) expected.erase(0, 1);
  KZString subject(text);
  subject.Trim(set.c_str());
  FUZZ_CHECK(subject == expected);
}

void CheckReplace(const std::string& text, const std::string& from, const std::string& to) {
  std::string expected;
  for (size_t i = 0; i < text.size();) {
    if (!from.empty() && text.compare(i, from.size(), from) == 0) {
      expected += to;
      i += from.size();
    } else {
      expected += text[i++];
    }
  }
  KZString subject(text);
  FUZZ_CHECK(subject.Replace(from, to) == expected);
  FUZZ_CHECK(subject == expected);
}

void CheckFileName(const std::string& text) {
  std::string name = text;
  std::string extension;
  for (size_t i = text.size(); i-- > 0;) {
    if (text[i] != '.') continue;
    if (i + 1 < text.size()) {
      name = text.substr(0, i);
      extension = text.substr(i + 1);
    }
    break;
  }
  const KZString subject(text);
  FUZZ_CHECK(subject.GetFileNameWithoutExtension() == name);
  FUZZ_CHECK(subject.GetFileExtension() == extension);
}

void CheckFormat(const std::string& text, int number) {
  const std::string visible = text.c_str();
  KZString subject;
  subject.Format("%s|%d|%s", text.c_str(), number, "end");
  FUZZ_CHECK(subject == visible + "|" + std::to_string(number) + "|end");
  subject = text;
  // The argument lies in the string that is replaced.
  subject.Format("<%s>", static_cast<const char*>(subject));
  FUZZ_CHECK(subject == "<" + visible + ">");
}

void CheckRest(const std::string& text) {
  KZString subject(text);
  FUZZ_CHECK(subject.GetLength() == static_cast<int>(text.size()));
  FUZZ_CHECK(subject == text && !(subject != text));
  FUZZ_CHECK((subject == text.c_str()) == (text.find('\0') == std::string::npos));
  FUZZ_CHECK(std::hash<KZString>()(subject) == std::hash<std::string>()(text));
  static_cast<void>(subject.ToInt());
  static_cast<void>(subject.ToDouble());
  const KZString copy(subject);
  subject.Clear();
  FUZZ_CHECK(subject.empty() && copy == text);
}

}  // namespace

// The first bytes choose numbers and the operands, the rest is the text.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  const int start = static_cast<int>(in.Byte()) - 2;
  const int length = static_cast<int>(in.Byte()) - 2;
  const char separator = static_cast<char>(in.Byte());
  const std::string first = in.Take(in.Below(16));
  const std::string second = in.Take(in.Below(16));
  const std::string text = in.Rest();
  for (size_t at = 0; at <= text.size() && at < 64; ++at) CheckCode(text, at);
  CheckCharacters(text, start, length);
  CheckSeparate(text, separator);
  CheckTrim(text, first);
  CheckReplace(text, first, second);
  CheckFileName(text);
  CheckFormat(text, start * 8000000 + length);
  CheckRest(text);
  return 0;
}
