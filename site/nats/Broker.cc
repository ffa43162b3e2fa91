#include "site/nats/Broker.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

#include "site/nats/Answers.h"

namespace dorn::site {
namespace {

using std::chrono::milliseconds;

// How the client library behaves; found by trial with brokers killed, stopped and cut off.
constexpr int kPingIntervalMs = 500;
constexpr int kMaxPingsOut = 2;
constexpr int kReconnectWaitMs = 100;
constexpr int kReconnectJitterMs = 50;
constexpr int kForEver = -1;
constexpr int kTimeoutMs = 1000;
constexpr int kWriteDeadlineMs = 200;

constexpr milliseconds kTick{50};
constexpr milliseconds kProbesApart{300};
constexpr milliseconds kSnapshotsProbesApart{5000};
constexpr milliseconds kPieceTakes{1500};  // To be acknowledged.

Exchange& ExchangeOf(void* closure) { return *static_cast<Exchange*>(closure); }

// An answer of whoever leads the log at the moment; without a leader there is none.
void OnProbeAnswered(natsConnection* /*connection*/, natsSubscription* /*subscription*/,
                     natsMsg* message, void* closure) {
  const Nats<natsMsg> owned(message);
  const std::optional<Sequence> last = NumberIn(DataOf(owned), R"("last_seq":)");
  if (last) ExchangeOf(closure).AnswerLast(*last);
}

// Of the stream of the snapshots: that it is not there, or empty.
void OnSnapshotsAnswered(natsConnection* /*connection*/, natsSubscription* /*subscription*/,
                         natsMsg* message, void* closure) {
  const Nats<natsMsg> owned(message);
  const std::string_view json = DataOf(owned);
  constexpr std::string_view kNoStream = R"("err_code":10059)";
  const bool isMissing = json.find(kNoStream) != std::string_view::npos;
  if (isMissing || NumberIn(json, R"("messages":)") == 0) ExchangeOf(closure).SayNoSnapshots();
}

// To the address of a piece: INBOX.TRY.PIECE. What is stored has a place in its stream; whatever
// else the answer says, it is not.
void OnPieceAnswered(natsConnection* /*connection*/, natsSubscription* /*subscription*/,
                     natsMsg* message, void* closure) {
  const Nats<natsMsg> owned(message);
  const std::string subject = natsMsg_GetSubject(message);
  const std::size_t piece = subject.rfind('.');
  const std::size_t storing = subject.rfind('.', piece - 1);
  const auto number = [&subject](std::size_t dot) {
    return static_cast<unsigned>(std::strtoul(subject.c_str() + dot + 1, nullptr, 10));
  };
  ExchangeOf(closure).PieceDone(number(storing), number(piece),
                                NumberIn(DataOf(owned), R"("seq":)").value_or(0) != 0);
}

// What goes wrong shows by what does not come; without this the library writes to standard error.
void OnError(natsConnection* /*connection*/, natsSubscription* /*subscription*/,
             natsStatus /*status*/, void* /*closure*/) {}

const char* OrNull(const std::string& text) { return text.empty() ? nullptr : text.c_str(); }

}  // namespace

Broker::Broker(const NatsOptions& options, Exchange& exchange)
    : mOptions(options),
      mExchange(exchange),
      mLog("DORN_" + options.site),
      mSnapshots(mLog + "_SNAP"),
      mLogSubject("dorn." + options.site + ".log"),
      mManifestSubject("dorn." + options.site + ".manifest"),
      mSnapshotPrefix("dorn." + options.site + ".snap.") {}

void Broker::Run() {
  while (!mExchange.IsStopped()) {
    if (mConnection == nullptr && !Connect()) {
      mExchange.Wait(milliseconds(kAskedMs), false);
      continue;
    }
    const bool canSend = IsConnected();
    mExchange.Wait(kTick, canSend && mIsOpen);
    mExchange.GiveUpStoring(kPieceTakes);
    if (IsConnected() && !mExchange.IsStopped()) Step();
  }
  End();
}

void Broker::End() {
  StopReading();
  mProbing.reset();
  mProbingSnapshots.reset();
  mPieces.reset();
  mContext.reset();
  mConnection.reset();
}

// Only wrong options fail; brokers may come later.
bool Broker::Connect() {
  std::string wrong;
  const Nats<natsOptions> options = ConnectOptions(wrong);
  if (options != nullptr) {
    natsConnection* connection = nullptr;
    const natsStatus status = natsConnection_Connect(&connection, options.get());
    mConnection.reset(connection);
    if ((status == NATS_OK || status == NATS_NOT_YET_CONNECTED) && MakeContext()) return true;
    wrong = natsStatus_GetText(status);
  }
  mContext.reset();
  mConnection.reset();
  TellWrongOptions(wrong);
  return false;
}

// They are tried for ever, since files can be mended; it is said once for each reason.
void Broker::TellWrongOptions(const std::string& why) {
  if (std::exchange(mToldWrong, why) == why) return;
  std::fprintf(
      stderr,
      "dorn-site: The options for the site's brokers do not work (%s), which are tried on: "
      "see its servers, user and files.\n",
      why.c_str());
}

// Null if some are wrong: the first that is, and what is wrong with it.
Nats<natsOptions> Broker::ConnectOptions(std::string& wrong) const {
  natsOptions* made = nullptr;
  if (natsOptions_Create(&made) != NATS_OK) {
    wrong = natsStatus_GetText(NATS_NO_MEMORY);
    return nullptr;
  }
  Nats<natsOptions> options(made);
  std::vector<const char*> servers;
  for (const std::string& server : mOptions.servers) servers.push_back(server.c_str());
  const auto set = [&wrong](natsStatus status, const std::string& what = "") {
    if (status == NATS_OK || !wrong.empty()) return;
    wrong = what + (what.empty() ? "" : ": ") + natsStatus_GetText(status);
  };
  set(natsOptions_SetServers(made, servers.data(), static_cast<int>(servers.size())), "servers");
  set(natsOptions_SetPingInterval(made, kPingIntervalMs));
  set(natsOptions_SetMaxPingsOut(made, kMaxPingsOut));
  set(natsOptions_SetReconnectWait(made, kReconnectWaitMs));
  set(natsOptions_SetReconnectJitter(made, kReconnectJitterMs, kReconnectJitterMs));
  set(natsOptions_SetMaxReconnect(made, kForEver));
  set(natsOptions_SetRetryOnFailedConnect(made, true, nullptr, nullptr));
  set(natsOptions_SetTimeout(made, kTimeoutMs));
  set(natsOptions_SetWriteDeadline(made, kWriteDeadlineMs));
  set(natsOptions_SetSendAsap(made, true));
  set(natsOptions_SetErrorHandler(made, OnError, nullptr));
  if (!mOptions.user.empty()) {
    set(natsOptions_SetUserInfo(made, mOptions.user.c_str(), mOptions.password.c_str()));
  }
  if (!mOptions.credentialsFile.empty()) {
    set(natsOptions_SetUserCredentialsFromFiles(made, mOptions.credentialsFile.c_str(), nullptr));
  }
  if (!mOptions.caFile.empty() || !mOptions.certificateFile.empty()) {
    set(natsOptions_SetSecure(made, true));
  }
  if (!mOptions.caFile.empty()) {
    set(natsOptions_LoadCATrustedCertificates(made, mOptions.caFile.c_str()), mOptions.caFile);
  }
  if (!mOptions.certificateFile.empty()) {
    set(natsOptions_LoadCertificatesChain(made, mOptions.certificateFile.c_str(),
                                          OrNull(mOptions.keyFile)),
        mOptions.certificateFile);
  }
  return wrong.empty() ? std::move(options) : nullptr;
}

bool Broker::MakeContext() {
  jsOptions options;
  jsOptions_Init(&options);
  options.Wait = kAskedMs;
  jsCtx* context = nullptr;
  if (natsConnection_JetStream(&context, mConnection.get(), &options) != NATS_OK) return false;
  mContext.reset(context);
  return true;
}

bool Broker::IsConnected() const {
  return mConnection != nullptr &&
         natsConnection_Status(mConnection.get()) == NATS_CONN_STATUS_CONNECTED;
}

// Whether the connection is another one than at the last call.
bool Broker::HasReconnected() {
  if (mStatistics == nullptr) {
    natsStatistics* made = nullptr;
    if (natsStatistics_Create(&made) != NATS_OK) return false;
    mStatistics.reset(made);
  }
  std::uint64_t reconnects = 0;
  if (natsConnection_GetStats(mConnection.get(), mStatistics.get()) != NATS_OK ||
      natsStatistics_GetCounts(mStatistics.get(), nullptr, nullptr, nullptr, nullptr,
                               &reconnects) != NATS_OK) {
    return false;
  }
  return std::exchange(mReconnects, reconnects) != reconnects;
}

void Broker::Step() {
  if (!mIsOpen) {
    if (Clock::now() < mNextTry) return;
    mIsOpen = Open();
    TryLater();
    if (!mIsOpen) return;
  }
  SendWaiting();
  Serve();
  LookAfterReading();
  Probe();
}

// No more at once than that the other things to be done have their turn.
void Broker::SendWaiting() {
  constexpr int kSentAtOnce = 256;
  for (int i = 0; i < kSentAtOnce && IsConnected(); ++i) {
    std::optional<Outgoing> next = mExchange.Next();
    if (!next) return;
    if (!Send(*next)) return mExchange.PutBack(std::move(*next));
  }
}

// False if it must be tried again: the link has broken.
bool Broker::Send(const Outgoing& outgoing) {
  const bool isPiece = outgoing.mark != 0;
  if (isPiece && !Listen(mPieces, mPieceInbox, ".*.*", OnPieceAnswered)) return false;
  const natsStatus status = isPiece ? SendPiece(outgoing) : SendEntry(outgoing.bytes);
  if (status == NATS_OK) return true;
  // Too long for these brokers, whoever sends it.
  if (status == NATS_MAX_PAYLOAD || status == NATS_INVALID_ARG) {
    mExchange.GiveUp(outgoing);
    return true;
  }
  return false;
}

// Nobody is asked whether it is in the log: that shows when it comes back. The client library has a
// list of its own of what is to be acknowledged, and frees what has waited too long, even while it
// is still being sent.
natsStatus Broker::SendEntry(const std::string& entry) {
  const std::string& subject = IsManifest(entry) ? mManifestSubject : mLogSubject;
  return natsConnection_Publish(mConnection.get(), subject.c_str(), entry.data(),
                                static_cast<int>(entry.size()));
}

natsStatus Broker::SendPiece(const Outgoing& piece) {
  const std::string number = std::to_string(piece.piece);
  const std::string subject = mSnapshotPrefix + std::to_string(piece.mark) + '.' + number;
  const std::string answer = mPieceInbox + '.' + std::to_string(piece.storing) + '.' + number;
  return natsConnection_PublishRequest(mConnection.get(), subject.c_str(), answer.c_str(),
                                       piece.bytes.data(), static_cast<int>(piece.bytes.size()));
}

// Asks who leads the log for its end. Nobody waits for the answer.
void Broker::Probe() {
  if (Clock::now() < mNextProbe) return;
  mNextProbe = Clock::now() + kProbesApart;
  if (Listen(mProbing, mProbeInbox, "", OnProbeAnswered)) Ask(mLog, mProbeInbox);
  ProbeSnapshots();
}

// Asks whether there are any.
void Broker::ProbeSnapshots() {
  if (Clock::now() < mNextSnapshotsProbe) return;
  mNextSnapshotsProbe = Clock::now() + kSnapshotsProbesApart;
  if (Listen(mProbingSnapshots, mSnapshotsInbox, "", OnSnapshotsAnswered)) {
    Ask(mSnapshots, mSnapshotsInbox);
  }
}

// A question that is lost is asked again.
void Broker::Ask(const std::string& stream, const std::string& inbox) {
  const std::string question = "$JS.API.STREAM.INFO." + stream;
  static_cast<void>(natsConnection_PublishRequest(mConnection.get(), question.c_str(),
                                                  inbox.c_str(), nullptr, 0));
}

// At an address of its own and what is below it, once. False while that cannot be.
bool Broker::Listen(Nats<natsSubscription>& subscription, std::string& inbox, const char* below,
                    natsMsgHandler handler) {
  if (subscription != nullptr) return true;
  inbox = NewInbox();
  if (inbox.empty()) return false;
  natsSubscription* made = nullptr;
  static_cast<void>(natsConnection_Subscribe(&made, mConnection.get(), (inbox + below).c_str(),
                                             handler, &mExchange));
  subscription.reset(made);
  return made != nullptr;
}

}  // namespace dorn::site
