#include "site/core/Snapshots.h"

#include <algorithm>
#include <utility>

#include "site/core/Bytes.h"

namespace dorn::site {
namespace {

// Marks follow each other after 5 s at the earliest, and a manifest its mark soon.
constexpr std::size_t kMostKnown = 16;

constexpr Ms kStoreAgain{1000};

}  // namespace

std::string WriteSnapshot(const State& state, std::string_view dialogs) {
  ByteWriter out;
  out.Put(kEntryVersion);
  state.Save(out);
  out.Put(dialogs);
  return out.Take();
}

std::optional<SnapshotParts> ReadSnapshot(std::string_view bytes, const Rules& rules) {
  ByteReader in(bytes);
  if (in.Number<unsigned char>() != kEntryVersion) return std::nullopt;
  SnapshotParts parts{State(rules), {}};
  parts.state.Load(in);
  in.Get(parts.dialogs);
  if (!in.IsSound() || !in.IsAtEnd()) return std::nullopt;
  return parts;
}

void Snapshots::Remember(Sequence mark, const Digest& digest) {
  mKnown.push_back({mark, digest});
  if (mKnown.size() > kMostKnown) mKnown.pop_front();
}

std::optional<Digest> Snapshots::DigestAt(Sequence mark) const {
  // The last word: a host that has loaded a snapshot passes marks a second time.
  const auto found = std::find_if(mKnown.rbegin(), mKnown.rend(),
                                  [mark](const Known& known) { return known.mark == mark; });
  if (found == mKnown.rend()) return std::nullopt;
  return found->digest;
}

void Snapshots::OnMark(Ms now) {
  mChanges = 0;
  mAreGone = false;
  mMarkedAt = now;
}

void Snapshots::Store(Sequence mark, std::string bytes, const Digest& digest,
                      const Digest& resources, Ms now) {
  Making making;
  making.manifest.mark = mark;
  making.manifest.digest = digest;
  making.manifest.bytes = bytes.size();
  making.manifest.pieces = static_cast<std::uint32_t>(
      std::max<std::size_t>(1, (bytes.size() + kPieceBytes - 1) / kPieceBytes));
  making.manifest.resources = resources;
  making.since = now;
  making.askedAt = now;
  making.bytes = std::move(bytes);
  mMaking = std::move(making);
  mTransport.Store(mark, mMaking->bytes);
}

void Snapshots::OnStored(Sequence mark, bool isStored) {
  if (!mMaking || mMaking->manifest.mark != mark) return;
  mMaking->isStoring = false;
  mMaking->isStored |= isStored;
  if (isStored) mMaking->askedAt -= kStoreAgain;
}

void Snapshots::OnManifest(Sequence newest, Sequence older, Ms now) {
  mAreGone = false;
  if (mMaking && mMaking->manifest.mark <= newest) mMaking.reset();
  if (older != 0) mOld.push_back({older, now + kForgetAfter});
}

void Snapshots::OnTake() {
  mMaking.reset();
  mAskedAt.reset();
  mOld.clear();
}

std::optional<Entry> Snapshots::Tick(const State& state, Ms now) {
  if (mMaking && now - mMaking->since >= kStoringAtMost) mMaking.reset();
  if (mMaking) return GoOnMaking(state, now);
  if (!IsMarkDue(state, now)) return std::nullopt;
  mAskedAt = now;
  return Mark{state.Token(), state.Marks() + 1};
}

bool Snapshots::IsMarkDue(const State& state, Ms now) const {
  if (mAskedAt && now - *mAskedAt < kMarkAtMostEach) return false;
  if (!state.HasBegun()) return true;
  if (now - mMarkedAt < kMarkAtMostEach) return false;
  if (mAreGone || mChanges >= kMarkAfterChanges) return true;
  return mChanges != 0 && now - mMarkedAt >= kMarkAfter;
}

std::optional<Entry> Snapshots::GoOnMaking(const State& state, Ms now) {
  if (mMaking->isStoring || now - mMaking->askedAt < kStoreAgain) return std::nullopt;
  mMaking->askedAt = now;
  if (mMaking->isStored) {
    mMaking->manifest.token = state.Token();
    return mMaking->manifest;
  }
  mMaking->isStoring = true;
  mTransport.Store(mMaking->manifest.mark, mMaking->bytes);
  return std::nullopt;
}

void Snapshots::Forget(Ms now) {
  while (!mOld.empty() && now >= mOld.front().from) {
    mTransport.Forget(mOld.front().first);
    mOld.pop_front();
  }
}

}  // namespace dorn::site
