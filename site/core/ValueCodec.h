// The exact bytes of attribute values, as the codec of trees needs them.
//
//   value      kind, i32 and text unless it is a container, [objects' contents], [array's contents]
//   kind       one byte: VQValue's kind, + 8 with an object's contents, + 16 with an array's
//   contents   u32 0, u32 count, and what it holds: (text key, value) in key order, or values
//              u32 n: the contents of that kind that were complete as the n-th are shared here
//
// Containers never change, so that sharing them shows in comparisons alone; but there it does.
#ifndef SITE_CORE_VALUECODEC_H_
#define SITE_CORE_VALUECODEC_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "dorn/json/VQValue.h"
#include "site/core/Bytes.h"

namespace dorn::site {

// Writes the values of one tree, which must not change meanwhile.
class ValueWriter {
 public:
  explicit ValueWriter(ByteWriter& out) : mOut(out) {}

  void Put(const VQValue& value);
  void Put(const VQJObject& members);
  void Put(const VQJArray& elements);

 private:
  // The containers of one kind that are complete; those that nobody shares are only counted.
  struct Written {
    std::uint32_t count = 0;
    std::unordered_map<const void*, std::uint32_t> shared;
  };

  template <typename Container>
  void PutContents(const std::shared_ptr<Container>& contents, Written& written);

  ByteWriter& mOut;
  Written mObjects;
  Written mArrays;
};

// Reads them in the same order. What is broken leaves the bytes unsound, and the values anyhow.
class ValueReader {
 public:
  explicit ValueReader(ByteReader& in) : mIn(in) {}

  void Get(VQJObject& members) { GetInside(members, 0); }
  void Get(VQJArray& elements) { GetInside(elements, 0); }

 private:
  // What a value holds, at any depth; what is shared counts wherever it is.
  struct Extent {
    int height = 0;
    std::size_t values = 0;

    void Include(const Extent& inside);
  };

  template <typename Container>
  struct Read {
    std::shared_ptr<Container> contents;
    Extent extent;
  };

  Extent GetValue(VQValue& value, int depth);
  Extent GetInside(VQJObject& members, int depth);
  Extent GetInside(VQJArray& elements, int depth);
  template <typename Container>
  Extent GetContents(std::shared_ptr<Container>& contents, std::vector<Read<Container>>& complete,
                     int depth);
  void Account(std::size_t values);

  ByteReader& mIn;
  std::vector<Read<VQJObject>> mObjects;
  std::vector<Read<VQJArray>> mArrays;
  std::size_t mValues = 0;
};

}  // namespace dorn::site

#endif  // SITE_CORE_VALUECODEC_H_
