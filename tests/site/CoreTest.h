// What the tests of the core share: short words for entries, and a transport that only writes down
// what it is told.
#ifndef TESTS_SITE_CORETEST_H_
#define TESTS_SITE_CORETEST_H_

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "site/core/Entry.h"
#include "site/core/Transport.h"

namespace dorn::site {

inline OriginId Origin(unsigned char number) {
  OriginId origin{};
  origin[0] = number;
  return origin;
}

inline Digest Sid(unsigned char number) {
  Digest digest{};
  digest[0] = number;
  return digest;
}

inline Change ChangeOf(const std::string& command, Sequence token = 0) {
  return Change{"d", 0, token, 0, command};
}

class RecordingTransport final : public Transport {
 public:
  bool Publish(std::string entry) override {
    if (!takes || room == 0) {
      ++refused;
      return false;
    }
    --room;
    published.push_back(*DecodeEntry(entry));
    return true;
  }
  void Read(Sequence last) override { reads.push_back(last); }
  void Store(Sequence mark, std::string bytes) override { stored.emplace_back(mark, bytes); }
  void Fetch(Sequence mark, std::uint32_t /*pieces*/) override { fetched.push_back(mark); }
  void Forget(Sequence first) override { forgotten.push_back(first); }

  // What was published since the last call.
  std::vector<Entry> TakePublished() { return std::exchange(published, {}); }
  template <typename Kind>
  std::vector<Kind> TakePublished() {
    std::vector<Kind> ofKind;
    for (const Entry& entry : TakePublished()) {
      if (const auto* kind = std::get_if<Kind>(&entry)) ofKind.push_back(*kind);
    }
    return ofKind;
  }

  bool takes = true;
  std::size_t room = std::numeric_limits<std::size_t>::max();  // So many entries are taken yet.
  std::size_t refused = 0;
  std::vector<Entry> published;
  std::vector<Sequence> reads, fetched, forgotten;
  std::vector<std::pair<Sequence, std::string>> stored;
};

}  // namespace dorn::site

#endif  // TESTS_SITE_CORETEST_H_
