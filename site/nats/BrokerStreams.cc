// What the broker thread does with the streams themselves: to make them, fetch from them and
// forget.
#include <cstdlib>
#include <set>
#include <string_view>
#include <utility>

#include "site/nats/Answers.h"
#include "site/nats/Broker.h"

namespace dorn::site {

// False: to be tried again.
bool Broker::Open() { return HasLog() && HasSnapshots() && TellNewest(); }

bool Broker::HasLog() {
  const char* subjects[] = {mLogSubject.c_str(), mManifestSubject.c_str()};
  return HasStream(mLog, subjects, 2);
}

bool Broker::HasSnapshots() {
  const std::string pieces = mSnapshotPrefix + ">";
  const char* subjects[] = {pieces.c_str()};
  return HasStream(mSnapshots, subjects, 1);
}

// Makes it if it is missing; another host may be doing the same, and that is as good.
bool Broker::HasStream(const std::string& name, const char** subjects, int count) {
  const natsStatus status = AskOf(name, *mContext).status;
  if (status == NATS_OK) return true;
  if (status != NATS_NOT_FOUND) return false;
  jsStreamConfig config;
  jsStreamConfig_Init(&config);
  config.Name = name.c_str();
  config.Subjects = subjects;
  config.SubjectsLen = count;
  config.Storage = js_FileStorage;
  config.Replicas = mOptions.replicas;
  return js_AddStream(nullptr, mContext.get(), &config, nullptr, nullptr) == NATS_OK;
}

// Null if nobody answers.
Nats<natsMsg> Broker::AskForMessage(const std::string& stream, const std::string& which) const {
  const std::string asked = "$JS.API.STREAM.MSG.GET." + stream;
  natsMsg* answer = nullptr;
  static_cast<void>(natsConnection_RequestString(&answer, mConnection.get(), asked.c_str(),
                                                 which.c_str(), kAskedMs));
  return Nats<natsMsg>(answer);
}

Broker::Outcome Broker::LastOf(const std::string& stream, const std::string& subject,
                               StoredMessage& found) {
  const Nats<natsMsg> answer = AskForMessage(stream, R"({"last_by_subj":")" + subject + R"("})");
  if (answer == nullptr) return Outcome::kAgain;
  if (SaysMissing(DataOf(answer))) return Outcome::kMissing;
  std::optional<StoredMessage> last = MessageIn(DataOf(answer));
  if (!last) return Outcome::kAgain;
  found = *std::move(last);
  return Outcome::kDone;
}

// By it the log is known again, before anything of it is read.
bool Broker::TellNewest() {
  StoredMessage newest;
  const Outcome outcome = LastOf(mLog, mManifestSubject, newest);
  if (outcome == Outcome::kAgain) return false;
  Opened opened{std::nullopt, std::exchange(mIsOtherLog, false)};
  if (outcome == Outcome::kDone) {
    mExchange.Know({newest.sequence, 0, newest.stamp});
    opened.newest = {newest.sequence, std::move(newest.data)};
  }
  mExchange.Put(std::move(opened));
  return true;
}

void Broker::FetchPieces() {
  const FetchRequest& fetch = mAsked.fetches.front();
  Outcome outcome = Outcome::kDone;
  if (mFetchedPieces < fetch.pieces) {
    StoredMessage piece;
    const std::string subject =
        mSnapshotPrefix + std::to_string(fetch.mark) + '.' + std::to_string(mFetchedPieces);
    outcome = LastOf(mSnapshots, subject, piece);
    mFetched += piece.data;
  }
  if (outcome == Outcome::kAgain) {
    TryLater();
    return;
  }
  const bool isMissing = outcome == Outcome::kMissing;
  if (!isMissing && ++mFetchedPieces < fetch.pieces) return;
  if (isMissing) static_cast<void>(HasSnapshots());  // Somebody may have deleted them all.
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
  const Nats<jsStreamInfo> info = AskOf(mSnapshots, *mContext, &options).info;
  if (info == nullptr || info->State.Subjects == nullptr) return;
  std::set<Sequence> old;
  for (int i = 0; i < info->State.Subjects->Count; ++i) {
    const std::string subject = info->State.Subjects->List[i].Subject;
    if (subject.compare(0, mSnapshotPrefix.size(), mSnapshotPrefix) != 0) continue;
    const Sequence mark = std::strtoull(subject.c_str() + mSnapshotPrefix.size(), nullptr, 10);
    if (mark != 0 && mark < first) old.insert(mark);
  }
  for (const Sequence mark : old) {
    const std::string pieces = mSnapshotPrefix + std::to_string(mark) + ".>";
    jsOptions_Init(&options);
    options.Stream.Purge.Subject = pieces.c_str();
    static_cast<void>(js_PurgeStream(mContext.get(), mSnapshots.c_str(), &options, nullptr));
  }
}

}  // namespace dorn::site
