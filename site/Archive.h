// What a shared dialog remembers beside its tree, written down and read back.
#ifndef SITE_ARCHIVE_H_
#define SITE_ARCHIVE_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "dorn/base/KZString.h"
#include "site/Export.h"

namespace dorn::site {

// Takes numbers and texts one after the other, for a Reader that asks for the same in the same
// order. The same values give the same bytes on every host.
class DORN_SITE_EXPORT Writer {
 public:
  void WriteInt(std::int64_t number);
  void WriteBool(bool isTrue);
  // Any bytes, also zeros.
  void WriteText(const KZString& text);

  const std::string& Bytes() const { return mBytes; }

 private:
  std::string mBytes;
};

// Reads what a Writer has written. Behind the first thing that is not there, or is something else
// than what is asked for, every number is 0, every truth false and every text empty.
class DORN_SITE_EXPORT Reader {
 public:
  // The bytes must outlive the reader.
  explicit Reader(std::string_view bytes) : mLeft(bytes) {}

  std::int64_t ReadInt();
  bool ReadBool();
  KZString ReadText();

  // Whether all that was asked for was there.
  bool IsSound() const { return mIsSound; }
  bool IsAtEnd() const { return mLeft.empty(); }

 private:
  std::string_view Cut(std::size_t size);
  bool Expect(char kind);
  std::uint64_t Number();

  std::string_view mLeft;
  bool mIsSound = true;
};

}  // namespace dorn::site

#endif  // SITE_ARCHIVE_H_
