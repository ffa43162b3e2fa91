// The bytes of one fuzz input, read from front to back as numbers and texts.
#ifndef FUZZ_FUZZINPUT_H_
#define FUZZ_FUZZINPUT_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

// Behind the end every number is 0 and every text is empty, so that a short input means something
// too.
class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, size_t size)
      : mData(reinterpret_cast<const char*>(data)), mSize(size) {}

  bool IsEmpty() const { return mNext == mSize; }

  unsigned Byte() { return IsEmpty() ? 0 : static_cast<unsigned char>(mData[mNext++]); }

  bool Flag() { return (Byte() & 1) != 0; }

  // 0 to `bound` - 1.
  unsigned Below(unsigned bound) { return Byte() % bound; }

  // `bytes` bytes, the first being the highest.
  uint64_t Number(int bytes) {
    uint64_t number = 0;
    for (int i = 0; i < bytes; ++i) number = number << 8 | Byte();
    return number;
  }

  // The bytes before the next `end`, which is taken too; all that is left when there is none.
  std::string Until(char end) {
    const char* begin = mData + mNext;
    const char* found = std::find(begin, mData + mSize, end);
    const auto length = static_cast<size_t>(found - begin);
    mNext = std::min(mSize, mNext + length + 1);
    return std::string(begin, length);
  }

  // A length byte and so many bytes.
  std::string Text() { return Take(Byte()); }

  std::string Take(size_t length) {
    const size_t taken = std::min(length, mSize - mNext);
    std::string text(mData + mNext, taken);
    mNext += taken;
    return text;
  }

  std::string Rest() { return Take(mSize); }

 private:
  const char* mData;
  size_t mSize;
  size_t mNext = 0;
};

#endif  // FUZZ_FUZZINPUT_H_
