// What the broker thread does with the streams themselves: to make, read, fetch and forget.
#include <cstdlib>
#include <set>
#include <string_view>

#include "site/nats/Broker.h"

namespace dorn::site {
namespace {

using std::chrono::milliseconds;

constexpr std::int64_t kHeartbeatNs = 500'000'000;
constexpr milliseconds kStuck{3000};
constexpr int kTimesLeftOut = 2;  // Then it is worth asking for what was left out.

std::string_view DataOf(const Nats<natsMsg>& message) {
  return {natsMsg_GetData(message.get()),
          static_cast<std::size_t>(natsMsg_GetDataLength(message.get()))};
}

void OnMessage(natsConnection* /*connection*/, natsSubscription* /*subscription*/, natsMsg* message,
               void* closure) {
  const Nats<natsMsg> owned(message);
  jsMsgMetaData* data = nullptr;
  if (natsMsg_GetMetaData(&data, message) != NATS_OK) return;
  const Sequence sequence = data->Sequence.Stream;
  jsMsgMetaData_Destroy(data);
  const auto& subscription = *static_cast<const Subscription*>(closure);
  subscription.exchange->Arrive(subscription, sequence, DataOf(owned));
}

// Whether the brokers have said that there is no such thing.
bool IsMissing(natsStatus status) { return status == NATS_NOT_FOUND; }

}  // namespace

// False: to be tried again.
bool Broker::Open() {
  const char* log[] = {mLogSubject.c_str(), mManifestSubject.c_str()};
  const std::string pieces = mSnapshotPrefix + ">";
  const char* snapshots[] = {pieces.c_str()};
  return HasStream(mLog, log, 2) && HasStream(mSnapshots, snapshots, 1) && TellNewest();
}

// Makes it if it is missing; another host may be doing the same, and that is as good.
bool Broker::HasStream(const std::string& name, const char** subjects, int count) {
  jsStreamInfo* info = nullptr;
  const natsStatus status = js_GetStreamInfo(&info, mContext.get(), name.c_str(), nullptr, nullptr);
  const Nats<jsStreamInfo> found(info);
  if (status == NATS_OK) return true;
  if (!IsMissing(status)) return false;
  jsStreamConfig config;
  jsStreamConfig_Init(&config);
  config.Name = name.c_str();
  config.Subjects = subjects;
  config.SubjectsLen = count;
  config.Storage = js_FileStorage;
  config.Replicas = mOptions.replicas;
  info = nullptr;
  const natsStatus added = js_AddStream(&info, mContext.get(), &config, nullptr, nullptr);
  const Nats<jsStreamInfo> made(info);
  return added == NATS_OK;
}

Broker::Outcome Broker::LastOf(const std::string& stream, const std::string& subject,
                               TransportListener::NewestManifest& found) {
  natsMsg* message = nullptr;
  const natsStatus status =
      js_GetLastMsg(&message, mContext.get(), stream.c_str(), subject.c_str(), nullptr, nullptr);
  const Nats<natsMsg> last(message);
  if (IsMissing(status)) return Outcome::kMissing;
  if (status != NATS_OK) return Outcome::kAgain;
  found.sequence = natsMsg_GetSequence(last.get());
  found.entry = DataOf(last);
  return Outcome::kDone;
}

bool Broker::TellNewest() {
  TransportListener::NewestManifest newest;
  const Outcome outcome = LastOf(mLog, mManifestSubject, newest);
  if (outcome == Outcome::kAgain) return false;
  if (outcome == Outcome::kDone) {
    mExchange.Put(Opened{std::move(newest)});
  } else {
    mExchange.Put(Opened{});
  }
  return true;
}

// What fails is tried again a little later, so that what waits to be sent is not held up by it.
void Broker::Serve() {
  Requests asked = mExchange.TakeRequests();
  if (asked.read) {
    mAsked.read = asked.read;
    mMustReopen = false;
    StopReading();
    static_cast<void>(mExchange.Interrupt());
  }
  for (const FetchRequest& fetch : asked.fetches) mAsked.fetches.push_back(fetch);
  if (asked.forget) mAsked.forget = asked.forget;
  if (Clock::now() < mNextTry) return;
  if (mMustReopen) mMustReopen = !TellNewest();
  if (mAsked.read) StartReading();
  if (!mAsked.fetches.empty()) FetchPieces();
  if (mAsked.forget) ForgetOld();
}

// Whether the log has lost that entry, rather than that it went astray on the way.
bool Broker::IsHole(Sequence next) const {
  if (mGap.next != next || mGap.times < kTimesLeftOut) return false;
  natsMsg* message = nullptr;
  const natsStatus status =
      js_GetMsg(&message, mContext.get(), mLog.c_str(), next, nullptr, nullptr);
  const Nats<natsMsg> owned(message);
  return IsMissing(status);
}

void Broker::StartReading() {
  // Asked before the log is asked where it begins: what is gone and not before that was not
  // forgotten.
  const bool isHole = IsHole(mAsked.read->last + 1);
  jsStreamInfo* info = nullptr;
  const natsStatus status = js_GetStreamInfo(&info, mContext.get(), mLog.c_str(), nullptr, nullptr);
  const Nats<jsStreamInfo> found(info);
  if (status != NATS_OK) {
    mNextTry = Clock::now() + kTriesApart;
    return;
  }
  const Sequence first = info->State.FirstSeq;
  if (mAsked.read->last == 0 && first > 1) mAsked.read->last = first - 1;
  if (first > mAsked.read->last + 1) {
    // The next entry is gone: the host begins anew, with a snapshot that the log still continues.
    mAsked.read.reset();
    mMustReopen = true;
    mNextTry = Clock::now() + kTriesApart;
    return;
  }
  if (isHole && first <= mGap.next) mAsked.read = mExchange.SkipHole(*mAsked.read, mGap.came);
  Subscription& subscription = mExchange.Subscribe(*mAsked.read, info->State.LastSeq);
  jsOptions options;
  jsOptions_Init(&options);
  jsSubOptions wanted;
  jsSubOptions_Init(&wanted);
  wanted.Stream = mLog.c_str();
  wanted.Ordered = true;  // Which acknowledges nothing.
  wanted.Config.DeliverPolicy = js_DeliverByStartSequence;
  wanted.Config.OptStartSeq = mAsked.read->last + 1;
  wanted.Config.Heartbeat = kHeartbeatNs;
  natsSubscription* made = nullptr;
  const std::string all = "dorn." + mOptions.site + ".>";
  const natsStatus subscribed = js_Subscribe(&made, mContext.get(), all.c_str(), OnMessage,
                                             &subscription, &options, &wanted, nullptr);
  mReading.reset(made);
  // No limit: whoever is slow is held back, not left out.
  if (subscribed != NATS_OK || natsSubscription_SetPendingLimits(made, -1, -1) != NATS_OK) {
    StopReading();
    mAsked.read = mExchange.Interrupt();
    mNextTry = Clock::now() + kTriesApart;
    return;
  }
  mAsked.read.reset();
}

// The client library resumes by itself. Should it ever not, reading begins anew where it stands.
void Broker::LookAfterReading() {
  const Sequence next = mExchange.NextExpected();
  const bool isBehind = next != 0 && next <= mExchange.LastKnown().value_or(0);
  if (!isBehind || next != mStuckAt || mExchange.IsFull()) {
    mStuckAt = next;
    mStuckSince = Clock::now();
  }
  const bool isStuck = Clock::now() - mStuckSince > kStuck && isBehind;
  const Sequence came = mExchange.BehindGap();
  if (!isStuck && came == 0) return;
  mStuckSince = Clock::now();
  StopReading();
  const std::optional<ReadRequest> again = mExchange.Interrupt();
  mNextTry = Clock::now() + kTriesApart;
  if (again && came != 0) {
    const bool isSame = mGap.next == again->last + 1 && mGap.came == came;
    mGap = {again->last + 1, came, isSame ? mGap.times + 1 : 1};
  }
  if (!mAsked.read) mAsked.read = again;
}

void Broker::FetchPieces() {
  const FetchRequest& fetch = mAsked.fetches.front();
  Outcome outcome = Outcome::kDone;
  if (mFetchedPieces < fetch.pieces) {
    TransportListener::NewestManifest piece;
    const std::string subject =
        mSnapshotPrefix + std::to_string(fetch.mark) + '.' + std::to_string(mFetchedPieces);
    outcome = LastOf(mSnapshots, subject, piece);
    mFetched += piece.entry;
  }
  if (outcome == Outcome::kAgain) {
    mNextTry = Clock::now() + kTriesApart;
    return;
  }
  const bool isMissing = outcome == Outcome::kMissing;
  if (!isMissing && ++mFetchedPieces < fetch.pieces) return;
  SnapshotFetched fetched{fetch.mark, std::nullopt};
  if (!isMissing) fetched.bytes = std::move(mFetched);
  mExchange.Put(std::move(fetched));
  mFetched.clear();
  mFetchedPieces = 0;
  mAsked.fetches.pop_front();
}

// Once: the next snapshot brings the next occasion.
void Broker::ForgetOld() {
  const Sequence first = *mAsked.forget;
  mAsked.forget.reset();
  if (first <= 1) return;
  jsOptions options;
  jsOptions_Init(&options);
  options.Stream.Purge.Sequence = first;
  static_cast<void>(js_PurgeStream(mContext.get(), mLog.c_str(), &options, nullptr));
  ForgetSnapshots(first);
}

void Broker::ForgetSnapshots(Sequence first) {
  jsOptions options;
  jsOptions_Init(&options);
  const std::string all = mSnapshotPrefix + ">";
  options.Stream.Info.SubjectsFilter = all.c_str();
  jsStreamInfo* info = nullptr;
  static_cast<void>(js_GetStreamInfo(&info, mContext.get(), mSnapshots.c_str(), &options, nullptr));
  const Nats<jsStreamInfo> found(info);
  if (found == nullptr || info->State.Subjects == nullptr) return;
  std::set<Sequence> old;
  for (int i = 0; i < info->State.Subjects->Count; ++i) {
    const char* const mark = info->State.Subjects->List[i].Subject + mSnapshotPrefix.size();
    const Sequence number = std::strtoull(mark, nullptr, 10);
    if (number < first) old.insert(number);
  }
  for (const Sequence mark : old) {
    const std::string pieces = mSnapshotPrefix + std::to_string(mark) + ".>";
    jsOptions_Init(&options);
    options.Stream.Purge.Subject = pieces.c_str();
    static_cast<void>(js_PurgeStream(mContext.get(), mSnapshots.c_str(), &options, nullptr));
  }
}

}  // namespace dorn::site
