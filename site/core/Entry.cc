#include "site/core/Entry.h"

#include <tuple>
#include <utility>

#include "site/core/Bytes.h"

namespace dorn::site {
namespace {

// The members of each part, in the order of their bytes: written and read by the same list.
constexpr auto MembersOf(const Change&) {
  return std::make_tuple(&Change::dialog, &Change::session, &Change::token, &Change::timeUs,
                         &Change::command);
}
constexpr auto MembersOf(const SessionStart&) {
  return std::make_tuple(&SessionStart::sid, &SessionStart::intervalMs, &SessionStart::data);
}
constexpr auto MembersOf(const SessionExtend&) { return std::make_tuple(&SessionExtend::session); }
constexpr auto MembersOf(const Batch&) {
  return std::make_tuple(&Batch::origin, &Batch::generation, &Batch::first, &Batch::items);
}
constexpr auto MembersOf(const NewGeneration&) {
  return std::make_tuple(&NewGeneration::origin, &NewGeneration::generation);
}
constexpr auto MembersOf(const Take&) { return std::make_tuple(&Take::origin, &Take::expected); }
constexpr auto MembersOf(const Renew&) { return std::make_tuple(&Renew::token, &Renew::count); }
constexpr auto MembersOf(const Mark&) { return std::make_tuple(&Mark::token, &Mark::count); }
constexpr auto MembersOf(const Manifest&) {
  return std::make_tuple(&Manifest::token, &Manifest::mark, &Manifest::digest, &Manifest::bytes,
                         &Manifest::pieces, &Manifest::resources);
}
constexpr auto MembersOf(const SessionEnd&) {
  return std::make_tuple(&SessionEnd::token, &SessionEnd::session, &SessionEnd::extended);
}

template <typename Part>
void WriteMembers(const Part& part, ByteWriter& out);
template <typename Part>
void ReadMembers(ByteReader& in, Part& part);

// The kind is the place in the list of kinds; new ones are added behind it.
template <typename... Kinds>
void WriteKind(const std::variant<Kinds...>& part, ByteWriter& out) {
  out.Put(static_cast<unsigned char>(part.index()));
  std::visit([&out](const auto& kind) { WriteMembers(kind, out); }, part);
}

template <typename Kinds, std::size_t... kPlaces>
void ReadKind(ByteReader& in, Kinds& part, std::index_sequence<kPlaces...> /*all*/) {
  const auto kind = in.Number<unsigned char>();
  if (kind >= sizeof...(kPlaces)) in.Fail();
  // One after the other, until it is that place's turn.
  static_cast<void>(
      ((kind == kPlaces && (ReadMembers(in, part.template emplace<kPlaces>()), true)) || ...));
}

template <typename Kinds>
void ReadKind(ByteReader& in, Kinds& part) {
  ReadKind(in, part, std::make_index_sequence<std::variant_size_v<Kinds>>());
}

template <typename Member>
void Write(const Member& member, ByteWriter& out) {
  out.Put(member);
}
void Write(const std::vector<Item>& items, ByteWriter& out) {
  out.Put(static_cast<std::uint32_t>(items.size()));
  for (const Item& item : items) WriteKind(item, out);
}

template <typename Member>
void Read(ByteReader& in, Member& member) {
  in.Get(member);
}
void Read(ByteReader& in, std::vector<Item>& items) {
  constexpr std::size_t kLeastItem = 1 + sizeof(Sequence);
  const std::size_t count = in.Count(kLeastItem);
  if (count == 0 || count > kMaxBatchItems) return in.Fail();
  items.reserve(count);
  for (std::size_t i = 0; i < count && in.IsSound(); ++i) ReadKind(in, items.emplace_back());
}

template <typename Part>
void WriteMembers(const Part& part, ByteWriter& out) {
  std::apply([&](auto... member) { (Write(part.*member, out), ...); }, MembersOf(part));
}

template <typename Part>
void ReadMembers(ByteReader& in, Part& part) {
  std::apply([&](auto... member) { (Read(in, part.*member), ...); }, MembersOf(part));
  if constexpr (std::is_same_v<Part, SessionStart>) {
    if (part.data.size() > kMaxSessionData) in.Fail();
  }
}

}  // namespace

std::string Encode(const Entry& entry) {
  ByteWriter out;
  out.Put(kEntryVersion);
  WriteKind(entry, out);
  return out.Take();
}

std::optional<Entry> DecodeEntry(std::string_view bytes) {
  if (bytes.size() > kMaxEntryBytes) return std::nullopt;
  ByteReader in(bytes);
  if (in.Number<unsigned char>() != kEntryVersion) return std::nullopt;
  Entry entry;
  ReadKind(in, entry);
  if (!in.IsSound() || !in.IsAtEnd()) return std::nullopt;
  return entry;
}

bool IsManifest(std::string_view bytes) {
  static const auto kKind = static_cast<char>(Entry(Manifest()).index());
  return bytes.size() > 1 && bytes[0] == kEntryVersion && bytes[1] == kKind;
}

}  // namespace dorn::site
