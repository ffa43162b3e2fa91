// What a host sends to a session.
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "station/Session.h"
#include "station/SessionTimes.h"

namespace dorn::station {

void Session::OnText(std::string_view) {
  // A text before may have ended the line: what comes behind it is nobody's.
  if (!mIsConnected) return;
  const unsigned line = mLine;
  const ReadText& read = mFraming->Read();
  switch (read.mReading) {
    case Reading::kStrict:
      ++mCounts.mStrict;
      break;
    case Reading::kTolerant:
      ++mCounts.mTolerant;
      break;
    case Reading::kUnreadable:
      ++mCounts.mUnreadable;
      return;
  }
  const Json* commands = read.mJson.Find("Commands");
  if (commands == nullptr || !commands->IsArray()) {
    Execute(read.mJson);
  } else {
    for (const Json& command : commands->mElements) {
      if (mLine == line) Execute(command);
    }
  }
  if (!mReplica.TakeWantsEntry() || mEnterAgainAt) return;
  // Hosts answer an entry with updates to everybody: stations must not call each other in turn.
  const Ms rested = mAskedAgainAt ? *mAskedAgainAt + kEnterAgainRest : mNow;
  mEnterAgainAt = std::max(mNow + kEnterAgain, rested);
}

void Session::Execute(const Json& command) {
  const std::string_view word = command.TextOf("Command");
  if (word == "OPEN") {
    OnOpen(command);
  } else if (word == "ERROR") {
    OnError(command);
  } else if (word == "KEEPALIVE") {
    Send(KeepaliveText());
  } else if (word == "PUTFILE") {
    OnPutfile(command);
  } else {
    mReplica.Receive(command);
  }
}

// May come at any time, and is followed.
void Session::OnOpen(const Json& command) {
  if (const auto id = command.TextOf("SessionId"); !id.empty()) mSessionId = id;
  mOpened = {};
  mOpened.mDialog = command.Find("DialogName") != nullptr
                        ? std::string(command.TextOf("DialogName"))
                        : DialogOfFile(command.TextOf("File"));
  mOpened.mFromStation = command.TextOf("FileSource") == "STATION";
  const long interval = std::strtol(std::string(command.TextOf("Interval")).c_str(), nullptr, 10);
  mOpened.mIntervalSeconds = std::clamp(interval, 0L, kLongestInterval);
  mOpened.mLanguage = command.TextOf("Language");
  if (const Json* menu = command.Find("Menu"); menu != nullptr) {
    for (const Json& entry : menu->mElements) mOpened.mMenu.emplace_back(entry.Text());
  }
  const bool isLogIn = mState == State::kLoggingIn;
  const std::string dialog =
      isLogIn && !mReturnTo.empty() ? std::exchange(mReturnTo, {}) : mOpened.mDialog;
  mAliveAt = mNow;
  if (!dialog.empty()) return StartEntry(dialog, false);
  // What is shown already stays: hosts may tell of a new menu alone.
  if (mDialog.empty()) ShowNothing();
}

void Session::ShowNothing() {
  mReplica.Enter("", std::nullopt);
  OnTree(Json(), false);
}

void Session::OnError(const Json& command) {
  const std::string_view status = command.TextOf("Status");
  std::string message(command.TextOf("Message"));
  if (status == "InvalidSessionId") {
    EndSession(Cause::kSessionEnded, std::move(message));
  } else if (status == "Authentication" && mState == State::kLoggingIn) {
    EndSession(Cause::kWrongPassword, std::move(message));
  } else {
    mMessage = std::move(message);
  }
}

void Session::OnPutfile(const Json& command) {
  const std::string file(command.TextOf("File"));
  if (const auto fence = FenceOf(file); fence) return OnFence(*fence);
  const std::string_view status = command.TextOf("Status");
  if (mAsked.empty()) return;
  mHead = command;
  mBytes.clear();
  if (status == "LATEST") {
    const FileCache::Held copy = mAsked.front().mCopy;
    if (copy == nullptr) return OnNoFile();
    mBytes = copy->mBytes;
    OnFileEnd();
  } else if (!status.empty() || command.Find("Length") == nullptr) {
    OnNoFile();
  }
}

void Session::OnFence(unsigned long fence) {
  while (!mAwaited.empty() && mAwaited.front().mNumber <= fence) mAwaited.pop_front();
  mFenceAt = mNow;
  mReplica.ReceiveFence(fence);
  if (const auto action = mActions.find(fence); action != mActions.end()) {
    mBefore[action->second] = mNow;
    mActions.erase(action);
  }
  if (const auto before = mBefore.find(fence); before != mBefore.end()) {
    mQuality = mNow - before->second;
    mBefore.erase(before);
  }
  if (mLocalFence == fence) {
    mLocalFence.reset();
    const Json tree = std::move(mLocalTree);
    OnTree(tree, false);
  }
}

void Session::OnPayload(std::string_view piece, bool last) {
  if (mHead.IsNull()) return;
  mBytes += piece;
  if (last) OnFileEnd();
}

void Session::OnNoPayload() {
  if (!mHead.IsNull()) OnNoFile();
}

void Session::OnFileEnd() {
  const Asked asked = mAsked.front();
  mAsked.pop_front();
  const std::string date(mHead.TextOf("Date"));
  mHead = Json();
  if (asked.mUse == Asked::Use::kTree) {
    const ReadText read = mReader.Read(std::exchange(mBytes, {}));
    if (read.mReading == Reading::kUnreadable) ++mCounts.mUnreadable;
    return OnTree(read.mJson, IsLiveDate(date));
  }
  if (asked.mUse == Asked::Use::kNone) return;
  if (!IsLiveDate(date) && !date.empty()) mCache.Keep(asked.mFile, date, mBytes);
  mFiles.push_back({asked.mFile, true, std::exchange(mBytes, {})});
}

void Session::OnNoFile() {
  const Asked asked = mAsked.front();
  mAsked.pop_front();
  mHead = Json();
  mBytes.clear();
  if (asked.mUse == Asked::Use::kTree) {
    OnTree(Json(), false);
  } else if (asked.mUse == Asked::Use::kFile) {
    mFiles.push_back({asked.mFile, false, ""});
  }
}

// What is no object stands for no file. Only the last of several entries ends in a tree.
void Session::OnTree(const Json& tree, bool isLive) {
  if (tree.IsObject()) {
    mReplica.ReceiveTree(tree, isLive);
  } else {
    mReplica.ReceiveNoTree();
  }
  const auto state = mReplica.GetState();
  if (state != Replica::State::kLive && state != Replica::State::kNothing) return;
  mState = State::kShowing;
  mShown = mDialog;
  mCause = Cause::kNone;
  mMessage.clear();
  mRetries = 0;
  mLostAt.reset();
}

}  // namespace dorn::station
