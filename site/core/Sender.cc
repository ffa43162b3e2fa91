#include "site/core/Sender.h"

#include <algorithm>
#include <utility>
#include <variant>

namespace dorn::site {
namespace {

// No less than what Encode() writes for an item: its kind, numbers, lengths and digest.
constexpr std::size_t kItemOverhead = 64;
// The same for the batch around the items.
constexpr std::size_t kBatchOverhead = 64;

std::size_t BytesOf(const Change& change) { return change.dialog.size() + change.command.size(); }
std::size_t BytesOf(const SessionStart& start) { return start.data.size(); }
std::size_t BytesOf(const SessionExtend& /*extend*/) { return 0; }

void AddTicket(Ticket ticket, std::vector<Ticket>& tickets) {
  if (ticket != 0) tickets.push_back(ticket);
}

bool IsSessionStart(const Item& item) { return std::holds_alternative<SessionStart>(item); }

}  // namespace

Sender::Sender(const OriginId& origin, Transport& transport, const Rules& rules)
    : mOrigin(origin), mTransport(transport), mRules(rules) {}

bool Sender::IsOpen(Ms now) const {
  if (mIsClosed || mWaiting.size() >= kMaxWaiting) return false;
  return mWaiting.empty() || now - mWaiting.front().since < kMaxWait;
}

std::optional<Ticket> Sender::Add(Item item, Ms now) {
  const std::size_t bytes =
      kItemOverhead + std::visit([](const auto& kind) { return BytesOf(kind); }, item);
  if (!IsOpen(now) || mWaitingBytes + bytes > kMaxWaitingBytes) return std::nullopt;
  if (bytes + kBatchOverhead > kMaxEntryBytes) return std::nullopt;
  // Nobody asks what became of an extension.
  const Ticket ticket = std::holds_alternative<SessionExtend>(item) ? 0 : ++mLastTicket;
  mWaitingBytes += bytes;
  mWaiting.push_back({ticket, std::move(item), bytes, now, false, false});
  return ticket;
}

void Sender::Flush(Ms now) {
  if (mIsClosed || mSent == mWaiting.size()) return;
  // The pause counts from what is published into a quiet log, not from the last change of
  // yesterday.
  if (mSent == 0) mQuietSince = now;
  while (mSent < mWaiting.size() && PublishBatch(mSent)) {
  }
}

// Whether it was handed over; then it goes on behind it. When it was not, there is no room for what
// follows either.
bool Sender::PublishBatch(std::size_t& begin) {
  const std::size_t end = BatchEnd(begin);
  Batch batch{mOrigin, mGeneration, mFirst + begin, {}};
  batch.items.reserve(end - begin);
  for (std::size_t i = begin; i < end; ++i) batch.items.push_back(mWaiting[i].item);
  if (!mTransport.Publish(Encode(batch))) return false;
  for (; begin < end; ++begin) mWaiting[begin].wasHandedOver = true;
  return true;
}

std::size_t Sender::BatchEnd(std::size_t begin) const {
  std::size_t end = begin;
  std::size_t bytes = kBatchOverhead;
  bool hasSession = false;
  for (; end < mWaiting.size() && end - begin < kMaxBatchItems; ++end) {
    const Pending& next = mWaiting[end];
    bytes += next.bytes;
    if (end > begin && bytes > kMaxBatchBytes) break;
    // A session is named by its entry: there is but one in each.
    if (hasSession && IsSessionStart(next.item)) break;
    hasSession |= IsSessionStart(next.item);
  }
  return end;
}

void Sender::Tick(Ms now) {
  if (!mWaiting.empty() && now - mWaiting.front().since >= kMaxWait) GiveUp(now);
  if (mIsClosed) {
    if (now - mAskedAt < kAskAgain) return;
    mAskedAt = now;
    // Whether it was handed over does not matter: it is asked again until it has come back.
    static_cast<void>(mTransport.Publish(Encode(NewGeneration{mOrigin, mGeneration + 1})));
    return;
  }
  if (mSent > 0 && now - mQuietSince >= mPause) {
    mPause = std::min(2 * mPause, kLongestPause);
    SendAgain(now);
  }
  Flush(now);
}

void Sender::SendAgain(Ms now) {
  mQuietSince = now;
  mSentAgainAt = now;
  if (!mRules.goBackN) return;
  // Fewer entries than before, where many small ones wait.
  for (std::size_t i = 0; i < mSent && PublishBatch(i); ++mSentAgain) {
    if (i > mSent) mSent = i;  // Some were sent for the first time.
  }
}

void Sender::SawGap(Ms now) {
  // Everything behind a gap shows it, too: once is enough.
  if (mIsClosed || mSent == 0 || now - mSentAgainAt < kFirstPause) return;
  SendAgain(now);
}

void Sender::Fence(Ms now) {
  Withdraw();
  mIsClosed = true;
  mAskedAt = now - kAskAgain;
}

void Sender::GiveUp(Ms now) {
  if (mIsClosed) return;
  Withdraw();
  if (!mRules.generation) {
    for (const Ticket ticket : TakeAll()) AddTicket(ticket, mRefused);
  }
  if (mWaiting.empty()) return;
  mIsClosed = true;
  mAskedAt = now - kAskAgain;
}

// What was never handed over, and nothing behind it either, has never been: its numbers are free.
void Sender::Withdraw() {
  std::size_t kept = mWaiting.size();
  while (kept > 0 && !mWaiting[kept - 1].wasHandedOver) --kept;
  for (std::size_t i = kept; i < mWaiting.size(); ++i) AddTicket(mWaiting[i].ticket, mRefused);
  for (; mWaiting.size() > kept; mWaiting.pop_back()) mWaitingBytes -= mWaiting.back().bytes;
  mSent = std::min(mSent, kept);
}

std::optional<Ticket> Sender::CameBack(std::uint32_t generation, std::uint64_t number, Ms now) {
  if (generation != mGeneration || number != mFirst || mSent == 0) return std::nullopt;
  const Ticket ticket = TakeFront();
  Progress(now);
  return ticket;
}

Ticket Sender::TakeFront() {
  const Ticket ticket = mWaiting.front().ticket;
  mWaitingBytes -= mWaiting.front().bytes;
  mWaiting.pop_front();
  ++mFirst;
  --mSent;
  return ticket;
}

void Sender::Progress(Ms now) {
  mQuietSince = now;
  mPause = kFirstPause;
}

std::vector<Ticket> Sender::CameBack(const NewGeneration& next, Ms now) {
  if (next.generation <= mGeneration) return {};
  mGeneration = next.generation;
  mIsClosed = false;
  Progress(now);
  std::vector<Ticket> refused = TakeAll();
  mFirst = 1;  // Numbers begin anew.
  return refused;
}

Sender::Settled Sender::Settle(std::uint32_t generation, std::uint64_t last, std::uint64_t before,
                               Ms now) {
  Settled settled;
  if (generation < mGeneration) return settled;
  const std::uint64_t applied = generation == mGeneration ? last : before;
  while (mSent > 0 && mFirst <= applied) {
    AddTicket(TakeFront(), settled.passed);
  }
  if (!settled.passed.empty()) Progress(now);
  if (generation > mGeneration) {
    settled.refused = CameBack(NewGeneration{mOrigin, generation}, now);
    mFirst = last + 1;
  }
  return settled;
}

std::vector<Ticket> Sender::TakeAll() {
  std::vector<Ticket> tickets;
  for (const Pending& pending : mWaiting) AddTicket(pending.ticket, tickets);
  mWaiting.clear();
  mWaitingBytes = 0;
  mSent = 0;
  return tickets;
}

std::vector<Ticket> Sender::TakeUnknown(Ms now) {
  std::vector<Ticket> unknown;
  for (Pending& pending : mWaiting) {
    if (now - pending.since < kUnknownAfter) break;  // Those behind it are younger.
    if (pending.isUnknown) continue;
    pending.isUnknown = true;
    AddTicket(pending.ticket, unknown);
  }
  return unknown;
}

std::vector<Ticket> Sender::TakeRefused() { return std::exchange(mRefused, {}); }

}  // namespace dorn::site
