#include "tools/dorn-gateway/PageSession.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <utility>

#include "station/Commands.h"

namespace dorn::gateway {

namespace {

// Fences that a host never answered are not remembered for ever.
constexpr std::size_t kMaxFences = 1'000;
constexpr std::string_view kTooManyLogIns =
    "too many log-ins have failed here: try again in a minute";
constexpr std::string_view kNoTurn =
    "the host has not answered those who log in here before you: try again in a minute";

std::size_t PagesWithHost(const Shared& shared) {
  return static_cast<std::size_t>(std::count_if(shared.mPages.begin(), shared.mPages.end(),
                                                [](const auto& page) { return page->HasHost(); }));
}

template <class Stream>
void Open(Shared& shared, Stream&& stream, const Request& request, const Address& browser,
          std::shared_ptr<void> slot) {
  const auto page = std::make_shared<PageSession>(shared, browser);
  shared.mPages.insert(page);
  page->Open(std::forward<Stream>(stream), request, std::move(slot));
}

}  // namespace

PageSession::PageSession(Shared& shared, const Address& browser)
    : mShared(shared), mBrowser(browser), mPlace(PlaceOf(browser)), mName(browser.to_string()) {}

void PageSession::OnPageOpen() {
  mIsOpen = true;
  mStrangerSince = mShared.Now();
  ++mShared.mMetrics.mPages;
  ++mShared.mMetrics.mPagesTotal;
  mShared.mLog.Info("page opened", {{"browser", mName}});
  SendText(HelloFrame(mShared.mOptions.mMenu, !mShared.mOptions.mLocalFolder.empty()));
}

void PageSession::OnPageGone() {
  const auto self = shared_from_this();
  LeaveHost();
  if (mIsOpen) {
    --mShared.mMetrics.mPages;
    mShared.mLog.Info("page closed", {{"browser", mName}});
  }
  mShared.mPages.erase(self);
}

void PageSession::Stop() {
  LeaveHost();
  SendText(DownFrame("the gateway is being stopped"));
  mLine->Close(CloseCode::kGoingAway, "the gateway is being stopped", true);
}

void PageSession::Tick(Ms now) {
  if (mFraming && mFraming->IsAwaitingPayload() &&
      now - mPayloadAt > mShared.mOptions.mTimes.mPayload) {
    LoseHost("a file that the host announced does not come");
  }
  TickLogIn(now);
  TickStranger(now);
  mLine->Tick(now);
}

// Pages open their WebSocket to log in, and the host has answered long ago or will not: this one
// would only take the place of others.
void PageSession::TickStranger(Ms now) {
  if (!mStrangerSince || now - *mStrangerSince <= mShared.mOptions.mTimes.mStranger) return;
  mStrangerSince.reset();
  ++mShared.mMetrics.mRejected;
  mLine->Close(CloseCode::kPolicy, "nobody has logged in", true);
}

// Hosts need not answer every good log-in.
void PageSession::TickLogIn(Ms now) {
  const Times& times = mShared.mOptions.mTimes;
  if (mHasTurn && !mDelay && now - mTurnAt > times.mLogInTurn) EndTurn();
  if (mWaitingLogIn && now - mWaitingLogIn->mSince > times.mLogInQueue) {
    Refuse(kNoTurn, std::exchange(mWaitingLogIn, std::nullopt)->mNumber);
  }
}

bool PageSession::IsLeftAlone() const {
  return !mFences.empty() && Clock::now() - mFences.front().mAt > mShared.mOptions.mTimes.mFence;
}

void PageSession::OnPageText(std::string_view text) {
  ++mTexts;
  PageText read = ReadPageText(text, mShared.mOptions.mQuotes);
  if (read.mText.empty()) return Refuse(read.mReason);
  if (read.mLogsIn) return LogIn(std::move(read));
  if (mHost) return PassOn(read);
  if (mDelay || mWaitingLogIn) return Refuse("a log-in has not been sent yet");
  if (!read.mAttaches) return Refuse("there is no connection to the host");
  ++mShared.mMetrics.mReconnects;
  ConnectWith(read);
}

void PageSession::Refuse(std::string_view why, std::size_t number) {
  ++mShared.mMetrics.mRefused;
  SendText(RefusedFrame(why, number));
}

// Too many wrong passwords from one place make everybody there wait.
void PageSession::LogIn(PageText text) {
  LeaveHost();
  mWaitingLogIn = WaitingLogIn{std::move(text), mTexts, mShared.Now()};
  TakeTurn();
}

// Whether the log-in that waits need not wait for others any more.
bool PageSession::TakeTurn() {
  const Ms now = mShared.Now();
  if (!mShared.mLoginDelay.Enter(mPlace, now)) return false;
  WaitingLogIn logIn = *std::exchange(mWaitingLogIn, std::nullopt);
  mHasTurn = true;
  mTurnAt = now;
  const auto delay = mShared.mLoginDelay.Begin(mPlace, now);
  if (!delay) {
    EndTurn();
    mShared.mLog.Warn("log-in refused: too many failures", {{"browser", mName}});
    Refuse(kTooManyLogIns, logIn.mNumber);
    return true;
  }
  mIsLoggingIn = true;
  if (*delay == Ms(0)) {
    ConnectWith(logIn.mText);
    return true;
  }
  mDelayed = logIn.mNumber;
  mDelay = std::make_unique<boost::asio::steady_timer>(mShared.mIo, *delay);
  mDelay->async_wait([self = shared_from_this(), attempt = logIn.mNumber,
                      late = std::move(logIn.mText)](const boost::system::error_code& error) {
    // It may be due already when it is given up.
    if (error || !self->mDelay || self->mDelayed != attempt) return;
    self->mDelay.reset();
    self->mTurnAt = self->mShared.Now();
    self->ConnectWith(late);
  });
  return true;
}

// Others may go on, but not in the midst of what this page is doing.
void PageSession::EndTurn() {
  if (!std::exchange(mHasTurn, false)) return;
  mShared.mLoginDelay.Leave(mPlace);
  boost::asio::post(mShared.mIo, [&shared = mShared, place = mPlace] { LetLogIn(shared, place); });
}

// Those of the place that wait, as many as may, in the order in which they came.
void PageSession::LetLogIn(Shared& shared, const std::string& place) {
  while (true) {
    std::shared_ptr<PageSession> first;
    for (const auto& page : shared.mPages) {
      if (!page->mWaitingLogIn || page->mPlace != place) continue;
      if (!first || page->mWaitingLogIn->mSince < first->mWaitingLogIn->mSince) first = page;
    }
    if (!first || !first->TakeTurn()) return;
  }
}

void PageSession::ConnectWith(const PageText& text) {
  if (PagesWithHost(mShared) >= mShared.mOptions.mLimits.mLoggedIn) {
    ++mShared.mMetrics.mRejected;
    mIsLoggingIn = false;
    EndTurn();
    return SendText(DownFrame("as many pages as are allowed are logged in"));
  }
  mFraming.emplace(static_cast<station::Framing::Sink&>(*this));
  mHost = std::make_shared<HostConnection>(mShared, static_cast<HostConnection::Owner&>(*this));
  PassOn(text);
  mHost->Connect(mBrowser);
}

void PageSession::PassOn(const PageText& text) {
  const std::string framed = station::Framed(text.mText);
  if (!mHost->IsUp()) {
    if (mWaiting.size() + framed.size() > mShared.mOptions.mLimits.mHostQueue) {
      return Refuse("the host does not answer");
    }
    mWaiting += framed;
  } else if (!mHost->Send(framed)) {
    return Refuse("the host does not take what is sent to it");
  }
  for (const std::string& fence : text.mFences) {
    if (mFences.size() < kMaxFences) mFences.push_back({fence, Clock::now()});
  }
}

void PageSession::OnHostUp() {
  SendText(UpFrame());
  for (SentFence& fence : mFences) fence.mAt = Clock::now();
  static_cast<void>(mHost->Send(std::exchange(mWaiting, {})));  // Nothing waits there yet.
}

void PageSession::OnHostBytes(std::string_view bytes) {
  if (!mFraming->Feed(bytes)) return LoseHost("the host has announced a file that is too long");
  // The next attempt has a connection of its own: this one would only take somebody's place.
  if (mIsRefused) LeaveHost();
}

void PageSession::LoseHost(const std::string& why) {
  mHost->Close();
  OnHostDown(why);
}

void PageSession::OnHostDown(const std::string& why) {
  ++mShared.mMetrics.mHostLosses;
  mShared.mLog.Info("connection to the host ended", {{"browser", mName}, {"why", why}});
  LeaveHost();
  SendText(DownFrame(why));
}

// Whatever was going on with the host is over.
void PageSession::LeaveHost() {
  mDelay.reset();
  mWaitingLogIn.reset();
  EndTurn();
  if (mHost) mHost->Close();
  mHost.reset();
  mFraming.reset();
  mWaiting.clear();
  mIsLoggingIn = false;
  mIsRefused = false;
  SetServed(false);
  mFences.clear();
  mFile.reset();
  mFileBytes = {};
}

void PageSession::SetServed(bool isServed) {
  if (isServed) {
    mStrangerSince.reset();
  } else if (mIsServed) {
    mStrangerSince = mShared.Now();
  }
  mIsServed = isServed;
  mLine->SetServed(isServed);
}

void PageSession::OnText(std::string_view text) {
  const auto converted = mShared.mConversion.Text(text);
  if (converted->mReading == station::Reading::kUnreadable) return CountUnreadable();
  mShared.mMetrics.CountText(converted->mReading);
  TakeNotes(*converted);
  for (const Frame& frame : converted->mFrames) SendText(frame);
  if (converted->mFile) {
    mFile = converted->mFile;
    mPayloadAt = mShared.Now();
  }
}

void PageSession::TakeNotes(const Converted& converted) {
  if (converted.mAsksAlive) {
    // A host that takes nothing closes the connection by itself.
    static_cast<void>(mHost->Send(station::Framed(station::KeepaliveText())));
  }
  for (const std::string& fence : converted.mFences) OnFence(fence);
  if (converted.mRefusesLogIn && std::exchange(mIsLoggingIn, false)) {
    ++mShared.mMetrics.mLogInFailures;
    mIsRefused = true;
    mShared.mLoginDelay.CountFailure(mPlace, mShared.Now());
    EndTurn();
    mShared.mLog.Warn("log-in failed", {{"browser", mName}});
  }
  if (converted.mOpens && std::exchange(mIsLoggingIn, false)) {
    ++mShared.mMetrics.mLogIns;
    mShared.mLoginDelay.CountSuccess(mPlace);
    EndTurn();
    mShared.mLog.Info("logged in", {{"browser", mName}});
  }
  // Hosts say these to none but those who are logged in.
  if (converted.mOpens || !converted.mFences.empty() || converted.mFile) SetServed(true);
}

void PageSession::CountUnreadable() {
  mShared.mMetrics.CountText(station::Reading::kUnreadable);
  if (++mUnreadable == 1) {
    mShared.mLog.Warn("a text of the host cannot be read", {{"browser", mName}});
  }
  SendText(BadFrame(mUnreadable));
}

// Answers come in the order of the fences; those before it were lost with their commands.
void PageSession::OnFence(const std::string& file) {
  const auto found = std::find_if(mFences.begin(), mFences.end(),
                                  [&](const SentFence& fence) { return fence.mFile == file; });
  if (found == mFences.end()) return;
  const std::chrono::duration<double> taken = Clock::now() - found->mAt;
  mShared.mMetrics.CountFence(taken.count());
  mFences.erase(mFences.begin(), found + 1);
}

void PageSession::OnPayload(std::string_view piece, bool last) {
  mPayloadAt = mShared.Now();
  if (!mFile) return;
  mFileBytes += piece;
  if (last) FinishFile();
}

void PageSession::OnNoPayload() {
  if (!mFile) return;
  SendText(Conversion::Missing(*mFile));
  mFile.reset();
  mFileBytes = {};
}

void PageSession::FinishFile() {
  const auto file = mShared.mConversion.File(*mFile, std::exchange(mFileBytes, {}));
  mFile.reset();
  if (!file->mIsReadable) CountUnreadable();
  if (!file->mBytes) return mLine->Send(file->mHead, WebSocketLine::Kind::kFile);
  SendText(file->mHead);
  mLine->Send(file->mBytes, WebSocketLine::Kind::kBinary);
}

void OpenPage(Shared& shared, TcpStream&& stream, const Request& request, const Address& browser,
              std::shared_ptr<void> slot) {
  Open(shared, std::move(stream), request, browser, std::move(slot));
}

void OpenPage(Shared& shared, TlsStream&& stream, const Request& request, const Address& browser,
              std::shared_ptr<void> slot) {
  Open(shared, std::move(stream), request, browser, std::move(slot));
}

std::size_t PagesOf(const Shared& shared, const Address& browser) {
  const std::string place = PlaceOf(browser);
  return static_cast<std::size_t>(
      std::count_if(shared.mPages.begin(), shared.mPages.end(),
                    [&place](const auto& page) { return page->Place() == place; }));
}

std::optional<bool> HostAsPagesSeeIt(const Shared& shared) {
  std::optional<bool> isUp;
  for (const auto& page : shared.mPages) {
    if (!page->IsServed()) continue;
    if (page->IsLeftAlone()) return false;
    isUp = true;
  }
  return isUp;
}

}  // namespace dorn::gateway
