#include "site/core/Entry.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace dorn::site {
namespace {

OriginId SomeOrigin() {
  OriginId origin{};
  for (std::size_t i = 0; i < origin.size(); ++i) origin[i] = static_cast<unsigned char>(i + 0xf0);
  return origin;
}

Digest SomeDigest(unsigned char first) {
  Digest digest{};
  digest.front() = first;
  digest.back() = 0xff;
  return digest;
}

Batch SomeBatch() {
  return {SomeOrigin(),
          7,
          300,
          {Change{"pump", 12, 34, -5, std::string("com\0mand", 8)},
           SessionStart{SomeDigest(3), 60000, "data"}, SessionExtend{99}}};
}

// One of each kind.
std::vector<Entry> SomeEntries() {
  return {SomeBatch(),
          NewGeneration{SomeOrigin(), 2},
          Take{SomeOrigin(), 3},
          Renew{4, 5},
          Mark{6, 7},
          Manifest{8, 9, SomeDigest(1), 10, 11, SomeDigest(2)},
          SessionEnd{12, 13, 11}};
}

std::string BytesOf(std::initializer_list<int> bytes) {
  std::string text;
  for (const int byte : bytes) text.push_back(static_cast<char>(byte));
  return text;
}

TEST(EntryTest, BytesAreVersionKindAndMembersInTheirOrder) {
  EXPECT_EQ(Encode(Renew{0x0102, 3}),
            BytesOf({1, 3, 2, 1, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0}));

  const Batch batch{OriginId{}, 2, 3, {Change{"d", 4, 5, -1, "cc"}}};
  EXPECT_EQ(Encode(batch), BytesOf({1, 0}) + std::string(16, '\0') + BytesOf({2, 0, 0, 0}) +
                               BytesOf({3, 0, 0, 0, 0, 0, 0, 0}) + BytesOf({1, 0, 0, 0}) +
                               BytesOf({0, 1, 0, 0, 0, 'd', 4, 0, 0, 0, 0, 0, 0, 0}) +
                               BytesOf({5, 0, 0, 0, 0, 0, 0, 0}) + std::string(8, '\xff') +
                               BytesOf({2, 0, 0, 0, 'c', 'c'}));
}

TEST(EntryTest, EachKindHasANumberOfItsOwnThatStays) {
  int kind = 0;
  for (const Entry& entry : SomeEntries()) EXPECT_EQ(Encode(entry)[1], kind++);
}

TEST(EntryTest, ABatchIsReadBack) {
  const std::optional<Entry> read = DecodeEntry(Encode(SomeBatch()));

  ASSERT_TRUE(read && std::holds_alternative<Batch>(*read));
  const auto& batch = std::get<Batch>(*read);
  EXPECT_EQ(batch.origin, SomeOrigin());
  EXPECT_EQ(batch.generation, 7U);
  EXPECT_EQ(batch.first, 300U);
  ASSERT_EQ(batch.items.size(), 3U);
  const auto& change = std::get<Change>(batch.items[0]);
  EXPECT_EQ(change.dialog, "pump");
  EXPECT_EQ(change.session, 12U);
  EXPECT_EQ(change.token, 34U);
  EXPECT_EQ(change.timeUs, -5);
  EXPECT_EQ(change.command, std::string("com\0mand", 8));
  const auto& start = std::get<SessionStart>(batch.items[1]);
  EXPECT_EQ(start.sid, SomeDigest(3));
  EXPECT_EQ(start.intervalMs, 60000U);
  EXPECT_EQ(start.data, "data");
  EXPECT_EQ(std::get<SessionExtend>(batch.items[2]).session, 99U);
}

TEST(EntryTest, AManifestIsReadBack) {
  const std::optional<Entry> read =
      DecodeEntry(Encode(Manifest{8, 9, SomeDigest(1), 10, 11, SomeDigest(2)}));

  ASSERT_TRUE(read && std::holds_alternative<Manifest>(*read));
  const auto& manifest = std::get<Manifest>(*read);
  EXPECT_EQ(manifest.token, 8U);
  EXPECT_EQ(manifest.mark, 9U);
  EXPECT_EQ(manifest.digest, SomeDigest(1));
  EXPECT_EQ(manifest.bytes, 10U);
  EXPECT_EQ(manifest.pieces, 11U);
  EXPECT_EQ(manifest.resources, SomeDigest(2));
}

TEST(EntryTest, EveryKindIsReadBackWithAllItsMembers) {
  for (const Entry& entry : SomeEntries()) {
    const std::string bytes = Encode(entry);
    const std::optional<Entry> read = DecodeEntry(bytes);
    ASSERT_TRUE(read) << entry.index();
    EXPECT_EQ(read->index(), entry.index());
    EXPECT_EQ(Encode(*read), bytes) << entry.index();
  }
}

TEST(EntryTest, AManifestIsKnownByItsBytes) {
  for (const Entry& entry : SomeEntries()) {
    EXPECT_EQ(IsManifest(Encode(entry)), std::holds_alternative<Manifest>(entry));
  }
  EXPECT_FALSE(IsManifest(""));
  EXPECT_FALSE(IsManifest("\1"));
}

TEST(EntryTest, AByteTooFewOrTooManyIsRefused) {
  for (const Entry& entry : SomeEntries()) {
    const std::string bytes = Encode(entry);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      EXPECT_FALSE(DecodeEntry(std::string_view(bytes).substr(0, size)))
          << entry.index() << ", cut at " << size;
    }
    EXPECT_FALSE(DecodeEntry(bytes + '\0')) << entry.index();
  }
}

// What is read of other bytes is at least what they say.
TEST(EntryTest, EveryFlippedBitIsRefusedOrReadExactly) {
  for (const Entry& entry : SomeEntries()) {
    const std::string bytes = Encode(entry);
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
      std::string flipped = bytes;
      flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << (bit % 8)));
      const std::optional<Entry> read = DecodeEntry(flipped);
      if (read) {
        EXPECT_EQ(Encode(*read), flipped) << entry.index() << ", bit " << bit;
      }
    }
  }
}

TEST(EntryTest, AnotherVersionOrKindIsRefused) {
  std::string bytes = Encode(Renew{1, 2});
  bytes[0] = 2;
  EXPECT_FALSE(DecodeEntry(bytes));
  bytes[0] = 1;
  ASSERT_TRUE(DecodeEntry(bytes));
  bytes[1] = 7;
  EXPECT_FALSE(DecodeEntry(bytes));
  EXPECT_FALSE(DecodeEntry(BytesOf({1, 7})));
}

TEST(EntryTest, ABatchHolds1To64Items) {
  Batch batch{SomeOrigin(), 0, 1, {}};
  EXPECT_FALSE(DecodeEntry(Encode(batch)));
  batch.items.assign(64, SessionExtend{1});
  EXPECT_TRUE(DecodeEntry(Encode(batch)));
  batch.items.assign(65, SessionExtend{1});
  EXPECT_FALSE(DecodeEntry(Encode(batch)));
}

TEST(EntryTest, TooMuchSessionDataIsRefused) {
  Batch batch{SomeOrigin(), 0, 1, {SessionStart{SomeDigest(1), 0, std::string(4096, 'x')}}};
  EXPECT_TRUE(DecodeEntry(Encode(batch)));
  batch.items = {SessionStart{SomeDigest(1), 0, std::string(4097, 'x')}};
  EXPECT_FALSE(DecodeEntry(Encode(batch)));
}

TEST(EntryTest, MoreThanAMegabyteIsRefused) {
  Batch batch{SomeOrigin(), 0, 1, {Change{}}};
  const std::size_t without = Encode(batch).size();
  std::get<Change>(batch.items[0]).command.assign((std::size_t{1} << 20) - without, 'x');
  EXPECT_TRUE(DecodeEntry(Encode(batch)));
  std::get<Change>(batch.items[0]).command += 'x';
  EXPECT_FALSE(DecodeEntry(Encode(batch)));
}

}  // namespace
}  // namespace dorn::site
