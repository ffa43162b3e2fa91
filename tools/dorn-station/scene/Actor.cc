#include "tools/dorn-station/scene/Actor.h"

#include <algorithm>
#include <climits>
#include <utility>

namespace dorn::scene {

namespace {

using dorn::station::Framed;
using dorn::tools::Line;
using State = dorn::station::Session::State;

// The shortest times between attempts to come back, the same in every run.
dorn::station::Session::Options WithoutChance(dorn::station::Session::Options options) {
  options.mRandom = [] { return 0.0; };
  return options;
}

}  // namespace

Actor::Actor(const ActorOptions& options, Ms began)
    : mBegan(began),
      mConnectLimit(options.mConnectLimit),
      mSession(WithoutChance(options.mSession)) {
  mSession.SetLooking(false, Now());
}

void Actor::LogIn(const std::string& user, const std::string& password) {
  mIsPlain = mIsAway = false;
  mSession.LogIn(user, password, Now());
  Obey();
}

void Actor::Connect() {
  Leave();
  mIsPlain = true;
  mLog.StartLine();
  mLine.Open(mAddress.mHost, mAddress.mPort, mConnectLimit, Now());
}

void Actor::Send(const std::string& text) {
  const std::string framed = Framed(text);
  mLog.AddSent(framed, At());
  mLine.Send(framed);
}

void Actor::Close() {
  mLine.Close();
  mLog.AddNote("[closed by this station]", At());
  mIsAway = !mIsPlain;
  mSession.Closed(std::exchange(mLineNumber, 0), Now());
}

void Actor::Return() {
  mIsAway = false;
  Obey();
}

void Actor::Leave() {
  mIsPlain = mIsAway = false;
  mSession.LogOut();
  mLine.Close();
  mLineNumber = 0;
  mLog.AddNote("[logged out]", At());
}

bool Actor::StartSync() {
  if (!IsConnected() || mIsPlain) return false;
  const auto fence = mSession.Fence(Now());
  if (!fence) return false;
  mSync = *fence;
  Obey();
  return true;
}

void Actor::Run(short revents) {
  mLine.Ready(revents, Now());
  // Whoever plays a scene is always there: the host alone decides when a session ends.
  mSession.Touched(Now());
  if (!mIsAway) mSession.Tick(Now());
  CollectFiles();
  Obey();
}

int Actor::PollTimeout() const {
  const int line = mLine.PollTimeout(Now());
  const auto next = mIsAway ? std::nullopt : mSession.NextTick();
  if (!next) return line;
  const int session = static_cast<int>(std::clamp<Ms>(*next - Now(), 0, INT_MAX));
  return line < 0 ? session : std::min(line, session);
}

void Actor::Mark() {
  mMark = mQuietMark = mLog.End();
  mEnded.clear();
}

std::optional<dorn::station::Session::File> Actor::TakeFile(const std::string& name) {
  const auto found = mFiles.find(name);
  if (found == mFiles.end()) return std::nullopt;
  auto file = std::move(found->second);
  mFiles.erase(found);
  return file;
}

void Actor::OnOpen() {
  if (!mIsPlain) mSession.Connected(mLineNumber, Now());
}

void Actor::OnReceive(std::string_view bytes) {
  mLog.AddReceived(bytes, At());
  if (!mIsPlain) mSession.Received(mLineNumber, bytes, Now());
}

void Actor::OnEnd(Line::End, const std::string& why) {
  mEnded = why;
  mLog.AddNote("[" + why + "]", At());
  if (!mIsPlain) mSession.Closed(std::exchange(mLineNumber, 0), Now());
}

// Opens and closes the line as the session wants it, and sends what it has to say.
void Actor::Obey() {
  if (mIsPlain || mIsAway) return;
  if (mSession.Line() != mLineNumber) {
    mLineNumber = mSession.Line();
    if (mLineNumber == 0) {
      mLine.Close();
    } else {
      mLog.StartLine();
      mLine.Open(mAddress.mHost, mAddress.mPort, mConnectLimit, Now());
    }
  }
  const std::string output = mSession.TakeOutput();
  if (output.empty()) return;
  mLog.AddSent(output, At());
  mLine.Send(output);
}

void Actor::CollectFiles() {
  for (auto& file : mSession.TakeFiles()) mFiles[file.mName] = std::move(file);
}

}  // namespace dorn::scene
