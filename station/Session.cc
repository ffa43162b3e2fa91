#include "station/Session.h"

#include <algorithm>
#include <utility>

#include "station/SessionTimes.h"

namespace dorn::station {

namespace {

// The time before each attempt to come back, before a fifth of it is added or taken away.
Session::Ms PauseBefore(int attempt, double random) {
  constexpr Session::Ms kPauses[] = {500, 1000, 2000, 3000};
  const auto pause = static_cast<double>(kPauses[std::min(attempt, 3)]);
  return static_cast<Session::Ms>(pause * (0.8 + 0.4 * random));
}

bool HasExtension(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  return dot != std::string::npos && dot + 1 < name.size() &&
         name.find('/', dot) == std::string::npos;
}

}  // namespace

Session::Session(Options options) : mOptions(std::move(options)), mReader(mOptions.mReading) {}

void Session::LogIn(const std::string& id, const std::string& pass, Ms now) {
  mNow = mTouched = now;
  if (id != mUser) mReturnTo.clear();
  mUser = id;
  mLogIn = {id, pass, mOptions.mType, mOptions.mWidth, mOptions.mHeight};
  mSessionId.clear();
  mCause = Cause::kNone;
  mMessage.clear();
  mState = State::kLoggingIn;
  OpenLine(now);
}

void Session::LogOut() {
  EndSession(Cause::kNone, "");
  mReturnTo.clear();
  mUser.clear();
}

void Session::Enter(const std::string& dialog, Ms now) {
  mNow = mTouched = now;
  if (mState != State::kEntering && mState != State::kShowing) return;
  StartEntry(dialog, false);
}

void Session::Refresh(Ms now) {
  mNow = now;
  if (mState == State::kShowing && !mDialog.empty()) StartEntry(mDialog, false);
}

void Session::SetLooking(bool isLooking, Ms now) {
  const bool comesBack = isLooking && !mIsLooking;
  mIsLooking = isLooking;
  mNow = now;
  if (comesBack && IsAlive()) Refresh(now);
}

void Session::SetStayLoggedIn(bool stays, Ms now) {
  mNow = now;
  mStays = stays;
  if (!stays) mTouched = now;  // The switch was touched.
}

bool Session::Act(const std::string& actionName, const std::string& actionType,
                  const std::vector<SetObject>& objects, Ms now) {
  mNow = mTouched = now;
  if (!IsShowingDialog()) return false;
  const std::string condition = ConditionText(actionName, actionType, objects, mOptions.mQuotes);
  if (condition.empty()) return false;
  const std::string text = ActText(mFences + 1, condition, mFences + 2);
  if (text.size() > kMaxSentText) return false;
  const unsigned long before = NextFence();
  const unsigned long after = NextFence();
  Await(before);
  Await(after);
  mActions[before] = after;
  mReplica.Act(objects, before, after);
  mFenceAt = mAliveAt = now;
  mMessage.clear();
  Send(text);
  return true;
}

bool Session::GetFile(const std::string& name, Ms now) {
  mNow = now;
  if (!HasExtension(name) || !IsSendable(name)) return false;
  if (mState != State::kEntering && mState != State::kShowing) return false;
  FileCache::Held copy = mCache.Find(name);
  Send(GetFileText(name, copy == nullptr ? "" : copy->mDate));
  mAsked.push_back({name, Asked::Use::kFile, std::move(copy)});
  SendFence();
  return true;
}

std::optional<unsigned long> Session::Fence(Ms now) {
  mNow = now;
  if (mState != State::kEntering && mState != State::kShowing) return std::nullopt;
  return SendFence();
}

bool Session::IsAwaited(unsigned long fence) const {
  return std::any_of(mAwaited.begin(), mAwaited.end(),
                     [fence](const SentFence& sent) { return sent.mNumber == fence; });
}

void Session::Connected(unsigned line, Ms now) {
  if (line != mLine || line == 0 || mIsConnected) return;
  mNow = now;
  mIsConnected = true;
  mFraming.emplace(static_cast<Framing::Sink&>(*this), mReader);
  mIsBroken = false;
  if (mSessionId.empty()) {
    Send(HelloText(mLogIn));
  } else if (mDialog.empty()) {
    Send(HelloAgainText(mSessionId, mLogIn));
  } else {
    mState = State::kEntering;
    StartEntry(mDialog, true);
  }
}

void Session::Received(unsigned line, std::string_view bytes, Ms now) {
  if (line != mLine || !mIsConnected) return;
  mNow = now;
  mPayloadAt = now;
  mIsBroken = !mFraming->Feed(bytes);
  // A text may have ended the line; what it said about a file does not count any more.
  if (mLine == line && mIsBroken) LoseLine(now);
}

void Session::Closed(unsigned line, Ms now) {
  if (line == mLine && line != 0) LoseLine(now);
}

std::string Session::TakeOutput() { return mIsConnected ? std::exchange(mOutput, {}) : ""; }

std::vector<Session::File> Session::TakeFiles() { return std::exchange(mFiles, {}); }

Session::Cause Session::GetCause() const {
  if (mCause != Cause::kNone || mAwaited.empty()) return mCause;
  return mNow - mAwaited.front().mSent >= kAnswerLimit ? Cause::kNoAnswer : Cause::kNone;
}

std::optional<Session::Ms> Session::StaleSince() const {
  if (mState == State::kWaiting || (mState == State::kEntering && mLostAt)) return mLostAt;
  if (GetCause() == Cause::kNoAnswer) return mAwaited.front().mSent;
  return std::nullopt;
}

void Session::OpenLine(Ms now) {
  DropLine();
  mLine = ++mLines;
  mLineSince = now;
}

void Session::DropLine() {
  mLine = 0;
  mIsConnected = false;
  mOutput.clear();
  mRetryAt.reset();
  mAwaited.clear();
  mActions.clear();
  mBefore.clear();
  mAsked.clear();
  mHead = Json();
  mBytes.clear();
  mLocalFence.reset();
  mEnterAgainAt.reset();
  mReplica.ForgetActions();
}

void Session::LoseLine(Ms now) {
  mNow = now;
  if (mState == State::kLoggingIn && mSessionId.empty()) {
    EndSession(Cause::kCannotConnect, "");
    return;
  }
  DropLine();
  if (mState != State::kWaiting && !mLostAt) mLostAt = now;
  mState = State::kWaiting;
  mCause = Cause::kLineLost;
  mRetryAt = now + PauseBefore(mRetries++, mOptions.mRandom());
}

// The dialog is remembered for the same user.
void Session::EndSession(Cause cause, std::string message) {
  DropLine();
  mState = State::kLoggedOut;
  mCause = cause;
  mMessage = std::move(message);
  if (!mDialog.empty()) mReturnTo = mDialog;
  mDialog.clear();
  mShown.clear();
  mSessionId.clear();
  mLogIn.mPass.clear();
  mRetries = 0;
  mLostAt.reset();
  mQuality.reset();
  mStays = false;
}

unsigned long Session::SendFence() {
  const unsigned long fence = NextFence();
  Await(fence);
  Send(FenceText(fence));
  mFenceAt = mAliveAt = mNow;
  return fence;
}

// The fence behind it makes sure that something follows the file, even where nothing does.
void Session::StartEntry(const std::string& dialog, bool isNewLine) {
  mDialog = dialog;
  mState = State::kEntering;
  mEnteredAt = mNow;
  mEnterAgainAt.reset();
  mLocalFence.reset();
  const std::string file = FileOfDialog(dialog);
  std::optional<std::string> local;
  if (mOpened.mFromStation && mOpened.mDialog == dialog && mOptions.mLocalFile) {
    local = mOptions.mLocalFile(file);
  }
  std::optional<unsigned long> fence;
  if (isNewLine) {
    Send(EnterAgainText(mSessionId, dialog));
  } else {
    fence = NextFence();
    Await(*fence);
    Send(local ? CommandsText({FenceText(*fence), ChangeText(dialog)}) : EnterText(*fence, dialog));
  }
  mReplica.Enter(dialog, fence);
  const unsigned long behind = SendFence();
  // A new line asks for the host's file in one text with the session; it is passed over then.
  if (local) {
    mLocalFence = behind;
    mLocalTree = mReader.Read(*local).mJson;
  }
  if (!local || isNewLine) {
    mAsked.push_back({file, local ? Asked::Use::kNone : Asked::Use::kTree, nullptr});
  }
}

Session::Ms Session::IdleAfter() const {
  return mOpened.mIntervalSeconds > 0 ? mOpened.mIntervalSeconds * 1000 : kAssumedInterval;
}

// Whether what extends the session may be sent without a touch.
bool Session::IsAlive() const { return mStays || mNow - mTouched < IdleAfter(); }

// Entering the same dialog again is no hindrance: what is sent then comes behind it.
bool Session::IsShowingDialog() const {
  if (mState == State::kShowing) return true;
  return mState == State::kEntering && mIsConnected && mShown == mDialog;
}

void Session::Tick(Ms now) {
  mNow = now;
  TickLine();
  if (mState == State::kShowing || mState == State::kEntering) TickIdle();
  if (mState == State::kShowing) TickEntries();
}

void Session::TickLine() {
  if (mRetryAt && mNow >= *mRetryAt) OpenLine(mNow);
  if (mState == State::kLoggingIn && mNow - mLineSince >= kLogInLimit) {
    EndSession(Cause::kCannotConnect, "");
    return;
  }
  const bool isUnanswered = mLine != 0 && !mIsConnected && mNow - mLineSince >= kLogInLimit;
  const bool isCut =
      mIsConnected && mFraming->IsAwaitingPayload() && mNow - mPayloadAt >= kPayloadLimit;
  if (isUnanswered || isCut) LoseLine(mNow);
}

void Session::TickIdle() {
  const bool hasInterval = mOpened.mIntervalSeconds > 0;
  if (hasInterval && !mStays && !IsAlive()) return EndSession(Cause::kIdle, "");
  if (hasInterval && mStays && mNow - mAliveAt >= IdleAfter() / 3) {
    Send(KeepaliveText());
    mAliveAt = mNow;
  }
  const bool isHeartbeatDue = mAwaited.empty() && mNow - mFenceAt >= kHeartbeat;
  if (isHeartbeatDue && mIsLooking && mNow - mTouched < IdleAfter()) SendFence();
}

void Session::TickEntries() {
  const bool isOld = !mDialog.empty() && mNow - mEnteredAt >= kRefetch && mIsLooking && IsAlive();
  if (mEnterAgainAt && mNow >= *mEnterAgainAt) {
    mAskedAgainAt = mNow;
    StartEntry(mDialog, false);
  } else if (isOld) {
    StartEntry(mDialog, false);
  }
}

std::optional<Session::Ms> Session::NextTick() const {
  std::optional<Ms> next;
  const auto at = [&next](Ms time) { next = next ? std::min(*next, time) : time; };
  if (mRetryAt) at(*mRetryAt);
  if (mState == State::kLoggingIn || (mLine != 0 && !mIsConnected)) at(mLineSince + kLogInLimit);
  if (mIsConnected && mFraming->IsAwaitingPayload()) at(mPayloadAt + kPayloadLimit);
  if (mState != State::kShowing && mState != State::kEntering) return next;
  if (!mAwaited.empty() && GetCause() != Cause::kNoAnswer)
    at(mAwaited.front().mSent + kAnswerLimit);
  if (mOpened.mIntervalSeconds > 0) {
    at(mStays ? mAliveAt + IdleAfter() / 3 : mTouched + IdleAfter());
  }
  if (mAwaited.empty() && mIsLooking && mNow - mTouched < IdleAfter()) at(mFenceAt + kHeartbeat);
  if (mState == State::kShowing && mEnterAgainAt) at(*mEnterAgainAt);
  const bool isRefetched = mState == State::kShowing && !mDialog.empty();
  if (isRefetched && mIsLooking && IsAlive()) at(mEnteredAt + kRefetch);
  return next;
}

}  // namespace dorn::station
