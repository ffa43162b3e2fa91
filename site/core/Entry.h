// The entries of a site's log: what its hosts tell each other. Pure data and its exact bytes.
//
// The log is one ordered sequence of entries, delivered to every host in the same order. The engine
// below promises no more: an entry may come late, twice, or after its sender has given it up. So
// each kind says in itself whether it still counts; see State, which decides that from nothing but
// the entries before it.
//
// Bytes of an entry: the version of this format, the kind, then the members in the order below.
// Whole numbers are little-endian; texts and lists carry their length before them. An entry of
// another version, or with a byte too few or too many, is refused as a whole.
#ifndef SITE_CORE_ENTRY_H_
#define SITE_CORE_ENTRY_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace dorn::site {

// Hosts of one site speak one version: all are stopped before the first of a newer one starts.
inline constexpr unsigned char kEntryVersion = 1;

// What goes into one batch at most.
inline constexpr std::size_t kMaxBatchItems = 64;
inline constexpr std::size_t kMaxBatchBytes = std::size_t{64} * 1024;

// The longest entry that is read at all.
inline constexpr std::size_t kMaxEntryBytes = std::size_t{1} << 20;

// The most that CreateSession() takes with a session.
inline constexpr std::size_t kMaxSessionData = 4096;

using Sequence = std::uint64_t;  // Place of an entry in the log; the first is 1, 0 is before all.
using OriginId = std::array<unsigned char, 16>;  // 128 random bits for each start of a host.
using Digest = std::array<unsigned char, 32>;    // SHA-256.

// A change of one shared dialog. A station's has the token 0; a keeper's proposal names the token
// under which it was made, and counts while that is still the site's.
struct Change {
  std::string dialog;
  Sequence session = 0;  // The entry that made the session of the station; 0: none.
  Sequence token = 0;
  std::int64_t timeUs = 0;  // When it was made, by its origin's clock, since 1970.
  std::string command;      // As written by EncodeCommand().
};

// A session is known by the digest of its identifier: the log holds no secret.
struct SessionStart {
  Digest sid{};
  std::uint32_t intervalMs = 0;  // 0: it never ends by itself.
  std::string data;
};

struct SessionExtend {
  Sequence session = 0;
};

using Item = std::variant<Change, SessionStart, SessionExtend>;

// Consecutive items of one origin: the first has the number `first`, which is one more than that of
// the item before it in this generation; the very first is 1.
struct Batch {
  OriginId origin{};
  std::uint32_t generation = 0;
  std::uint64_t first = 0;
  std::vector<Item> items;
};

// From here on nothing of an older generation of that origin counts; numbers begin anew at 1.
struct NewGeneration {
  OriginId origin{};
  std::uint32_t generation = 0;
};

// Makes the origin the keeper if the token is still `expected` (0: nobody has ever kept). The
// sequence of this entry is the new token.
struct Take {
  OriginId origin{};
  Sequence expected = 0;
};

// The keeper is alive. `count` grows with each, so that a doubled one renews nothing.
struct Renew {
  Sequence token = 0;
  std::uint64_t count = 0;
};

// Every host takes the digest of its state behind this entry; the keeper also keeps the bytes.
struct Mark {
  Sequence token = 0;
  std::uint64_t count = 0;
};

// The bytes of the state behind the mark at `mark` are stored, in `pieces` pieces.
struct Manifest {
  Sequence token = 0;
  Sequence mark = 0;
  Digest digest{};
  std::uint64_t bytes = 0;
  std::uint32_t pieces = 0;
  Digest resources{};  // Of the resource files of the host that made it.
};

// Counts only while the entry that started or extended the session last is still the one that the
// keeper knew: an end that comes late must not end a session that has been used meanwhile.
struct SessionEnd {
  Sequence token = 0;
  Sequence session = 0;
  Sequence extended = 0;
};

using Entry = std::variant<Batch, NewGeneration, Take, Renew, Mark, Manifest, SessionEnd>;

std::string Encode(const Entry& entry);

// Nothing when the bytes are not exactly one entry of this version.
std::optional<Entry> DecodeEntry(std::string_view bytes);

// Whether the bytes of an entry are those of a manifest, which the log keeps apart so that the
// newest is found.
bool IsManifest(std::string_view bytes);

}  // namespace dorn::site

#endif  // SITE_CORE_ENTRY_H_
