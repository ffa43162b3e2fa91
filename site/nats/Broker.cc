#include "site/nats/Broker.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

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
constexpr int kAckMs = 1500;  // For an acknowledgement, so that what waits for one is bounded.
constexpr int kStallMs = 1;

constexpr milliseconds kTick{50};
constexpr milliseconds kProbesApart{300};

Exchange& ExchangeOf(void* closure) { return *static_cast<Exchange*>(closure); }

// An answer of whoever leads the log at the moment; without a leader there is none.
void OnProbeAnswered(natsConnection* /*connection*/, natsSubscription* /*subscription*/,
                     natsMsg* message, void* closure) {
  const Nats<natsMsg> owned(message);
  const std::optional<Sequence> last = NumberIn(DataOf(owned), R"("last_seq":)");
  if (last) ExchangeOf(closure).AnswerLast(*last);
}

// The mark behind the last but one dot of a piece's subject.
Sequence MarkOf(std::string_view subject) {
  const std::size_t number = subject.rfind('.');
  if (number == std::string_view::npos || number == 0) return 0;
  const std::size_t mark = subject.rfind('.', number - 1) + 1;
  return std::strtoull(std::string(subject.substr(mark, number - mark)).c_str(), nullptr, 10);
}

void OnAcknowledged(jsCtx* /*context*/, natsMsg* message, jsPubAck* acknowledgement,
                    jsPubAckErr* /*error*/, void* closure) {
  const Nats<natsMsg> owned(message);
  Exchange& exchange = ExchangeOf(closure);
  const std::string_view subject = message != nullptr ? natsMsg_GetSubject(message) : "";
  if (subject.find(".snap.") != std::string_view::npos) {
    exchange.PieceDone(MarkOf(subject), acknowledgement != nullptr);
  }
  if (acknowledgement != nullptr) exchange.Answer();
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
    if (IsConnected() && !mExchange.IsStopped()) Step();
  }
  End();
}

void Broker::End() {
  StopReading();
  mProbing.reset();
  mContext.reset();
  mConnection.reset();
}

// Only wrong options fail; brokers may come later.
bool Broker::Connect() {
  const Nats<natsOptions> options = ConnectOptions();
  natsConnection* connection = nullptr;
  const natsStatus status =
      options != nullptr ? natsConnection_Connect(&connection, options.get()) : NATS_INVALID_ARG;
  mConnection.reset(connection);
  if ((status == NATS_OK || status == NATS_NOT_YET_CONNECTED) && MakeContext()) return true;
  mContext.reset();
  mConnection.reset();
  std::printf("The options for the site's brokers do not work (%s): see its servers and files.\n",
              natsStatus_GetText(status));
  return false;
}

Nats<natsOptions> Broker::ConnectOptions() const {
  natsOptions* made = nullptr;
  if (natsOptions_Create(&made) != NATS_OK) return nullptr;
  Nats<natsOptions> options(made);
  std::vector<const char*> servers;
  for (const std::string& server : mOptions.servers) servers.push_back(server.c_str());
  bool isGood = true;
  const auto set = [&isGood](natsStatus status) { isGood = isGood && status == NATS_OK; };
  set(natsOptions_SetServers(made, servers.data(), static_cast<int>(servers.size())));
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
    set(natsOptions_LoadCATrustedCertificates(made, mOptions.caFile.c_str()));
  }
  if (!mOptions.certificateFile.empty()) {
    set(natsOptions_LoadCertificatesChain(made, mOptions.certificateFile.c_str(),
                                          OrNull(mOptions.keyFile)));
  }
  return isGood ? std::move(options) : nullptr;
}

bool Broker::MakeContext() {
  jsOptions options;
  jsOptions_Init(&options);
  options.Wait = kAskedMs;
  options.PublishAsync.AckHandler = OnAcknowledged;
  options.PublishAsync.AckHandlerClosure = &mExchange;
  options.PublishAsync.StallWait = kStallMs;
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

// False if it must be tried again: too many acknowledgements are awaited, or the link has broken.
bool Broker::Send(const Outgoing& outgoing) {
  const bool isPiece = outgoing.mark != 0;
  const std::string subject = isPiece ? mSnapshotPrefix + std::to_string(outgoing.mark) + '.' +
                                            std::to_string(outgoing.piece)
                              : IsManifest(outgoing.bytes) ? mManifestSubject
                                                           : mLogSubject;
  jsPubOptions options;
  jsPubOptions_Init(&options);
  options.MaxWait = kAckMs;
  const natsStatus status = js_PublishAsync(mContext.get(), subject.c_str(), outgoing.bytes.data(),
                                            static_cast<int>(outgoing.bytes.size()), &options);
  if (status == NATS_OK) return true;
  // Too long for these brokers, whoever sends it.
  if (status == NATS_MAX_PAYLOAD || status == NATS_INVALID_ARG) {
    mExchange.GiveUp(outgoing);
    return true;
  }
  return false;
}

// Asks who leads the log for its end. Nobody waits for the answer.
void Broker::Probe() {
  if (Clock::now() < mNextProbe) return;
  mNextProbe = Clock::now() + kProbesApart;
  if (mProbing == nullptr) {
    mProbeInbox = NewInbox();
    if (mProbeInbox.empty()) return;
    natsSubscription* subscription = nullptr;
    static_cast<void>(natsConnection_Subscribe(&subscription, mConnection.get(),
                                               mProbeInbox.c_str(), OnProbeAnswered, &mExchange));
    mProbing.reset(subscription);
  }
  const std::string question = "$JS.API.STREAM.INFO." + mLog;
  // One that is lost is asked again.
  static_cast<void>(natsConnection_PublishRequest(mConnection.get(), question.c_str(),
                                                  mProbeInbox.c_str(), nullptr, 0));
}

}  // namespace dorn::site
