#include "site/Archive.h"

#include <cstddef>

namespace dorn::site {

namespace {

// Before each value, so that a number is never read as a text.
constexpr char kInt = 'i';
constexpr char kBool = 'b';
constexpr char kText = 't';

constexpr int kNumberBytes = 8;
constexpr int kBitsOfByte = 8;

void Append(std::string& bytes, std::uint64_t number) {
  for (int i = 0; i < kNumberBytes; ++i) {
    bytes.push_back(static_cast<char>(number >> (kBitsOfByte * i) & 0xff));
  }
}

}  // namespace

void Writer::WriteInt(std::int64_t number) {
  mBytes.push_back(kInt);
  Append(mBytes, static_cast<std::uint64_t>(number));
}

void Writer::WriteBool(bool isTrue) {
  mBytes.push_back(kBool);
  mBytes.push_back(isTrue ? '\1' : '\0');
}

void Writer::WriteText(const KZString& text) {
  mBytes.push_back(kText);
  Append(mBytes, text.size());
  mBytes.append(text);
}

std::int64_t Reader::ReadInt() { return Expect(kInt) ? static_cast<std::int64_t>(Number()) : 0; }

bool Reader::ReadBool() { return Expect(kBool) && Cut(1) == "\1"; }

KZString Reader::ReadText() {
  if (!Expect(kText)) return {};
  return KZString(std::string(Cut(Number())));
}

bool Reader::Expect(char kind) {
  if (!mLeft.empty() && mLeft.front() == kind) {
    mLeft.remove_prefix(1);
    return true;
  }
  mIsSound = false;
  mLeft = {};
  return false;
}

std::uint64_t Reader::Number() {
  std::uint64_t number = 0;
  const std::string_view bytes = Cut(kNumberBytes);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    number |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << (kBitsOfByte * i);
  }
  return number;
}

std::string_view Reader::Cut(std::size_t size) {
  if (size > mLeft.size()) {
    mIsSound = false;
    mLeft = {};
    return {};
  }
  const std::string_view cut = mLeft.substr(0, size);
  mLeft.remove_prefix(size);
  return cut;
}

}  // namespace dorn::site
