// Exact bytes of numbers and texts: written here, and read back with every bound checked.
//
// Whole numbers are little-endian and as long as their type; a text is its length in four bytes and
// then itself; an array of bytes is itself.
#ifndef SITE_CORE_BYTES_H_
#define SITE_CORE_BYTES_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace dorn::site {

class ByteWriter {
 public:
  template <typename Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
  void Put(Number number) {
    const auto bits = static_cast<std::uint64_t>(number);
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
      mBytes.push_back(static_cast<char>(bits >> (8 * i) & 0xff));
    }
  }

  // Of less than 4 GB.
  void Put(std::string_view text) {
    Put(static_cast<std::uint32_t>(text.size()));
    mBytes.append(text);
  }
  void Put(const std::string& text) { Put(std::string_view(text)); }
  void Put(const char* text) { Put(std::string_view(text)); }

  template <std::size_t N>
  void Put(const std::array<unsigned char, N>& bytes) {
    mBytes.append(bytes.begin(), bytes.end());
  }

  std::size_t Size() const { return mBytes.size(); }

  // Leaves the writer empty.
  std::string Take() { return std::exchange(mBytes, {}); }

 private:
  std::string mBytes;
};

// Behind the first thing that is not there every number is 0 and every text is empty, and IsSound()
// says so: it need be asked only once, at the end, as long as no loop trusts a number that was
// read.
class ByteReader {
 public:
  explicit ByteReader(std::string_view bytes) : mLeft(bytes) {}

  template <typename Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
  void Get(Number& number) {
    const std::string_view bytes = Cut(sizeof(Number));
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bits |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
    }
    number = static_cast<Number>(bits);
  }

  // Valid as long as the bytes that are read.
  void Get(std::string_view& text) { text = Cut(Number<std::uint32_t>()); }
  void Get(std::string& text) { text = Cut(Number<std::uint32_t>()); }

  template <std::size_t N>
  void Get(std::array<unsigned char, N>& bytes) {
    const std::string_view read = Cut(N);
    bytes = {};
    std::copy(read.begin(), read.end(), bytes.begin());
  }

  template <typename Type>
  Type Number() {
    Type number{};
    Get(number);
    return number;
  }

  // How many of something follow, each of which takes `least` bytes at least; 0, and not sound,
  // when so many cannot follow. So nothing is reserved for what is not there.
  std::size_t Count(std::size_t least) {
    const std::size_t count = Number<std::uint32_t>();
    if (count <= mLeft.size() / least) return count;
    Fail();
    return 0;
  }

  // What was read makes no sense: nothing more is read.
  void Fail() {
    mIsSound = false;
    mLeft = {};
  }

  bool IsSound() const { return mIsSound; }
  bool IsAtEnd() const { return mLeft.empty(); }
  std::size_t Left() const { return mLeft.size(); }

 private:
  // Empty if there are not so many.
  std::string_view Cut(std::size_t size) {
    if (size > mLeft.size()) {
      Fail();
      return {};
    }
    const std::string_view cut = mLeft.substr(0, size);
    mLeft.remove_prefix(size);
    return cut;
  }

  std::string_view mLeft;
  bool mIsSound = true;
};

}  // namespace dorn::site

#endif  // SITE_CORE_BYTES_H_
