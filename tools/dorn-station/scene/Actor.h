// One station of a scene: a session on a line, with everything that goes over it written down.
//
// It sends nothing of its own accord: no heartbeat, no fetching again after a while, nothing that
// would keep its session alive. What is sent comes from the scene and from the fences behind it.
#ifndef TOOLS_DORN_STATION_SCENE_ACTOR_H_
#define TOOLS_DORN_STATION_SCENE_ACTOR_H_

#include <poll.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "station/Session.h"
#include "tools/dorn-station/scene/MessageLog.h"
#include "tools/line/Line.h"

namespace dorn::scene {

struct ActorOptions {
  dorn::station::Session::Options mSession;
  Ms mConnectLimit = 10'000;
};

class Actor : private dorn::tools::Line::Hooks {
 public:
  // `began`: when the scene did.
  Actor(const ActorOptions& options, Ms began);

  // Where the host is from now on.
  void SetAddress(const dorn::tools::HostAndPort& address) { mAddress = address; }

  void LogIn(const std::string& user, const std::string& password);
  void Connect();                      // Without a session.
  void Send(const std::string& text);  // As it is.
  void Close();                        // Keeps the session and stays away until Return().
  void Return();
  void Leave();

  // A fence of its own: what the host had sent before is here once it has passed. False where there
  // is nobody to ask.
  bool StartSync();
  bool IsSynced() const { return !mSession.IsAwaited(mSync); }

  // Lets time and bytes pass.
  pollfd Watched() const { return {mLine.Descriptor(), mLine.Events(), 0}; }
  void Run(short revents);
  int PollTimeout() const;

  dorn::station::Session& Session() { return mSession; }
  const dorn::station::Session& Session() const { return mSession; }
  const MessageLog& Log() const { return mLog; }
  bool IsConnected() const { return mLine.GetState() == dorn::tools::Line::State::kOpen; }
  bool IsPlain() const { return mIsPlain; }
  // Why the line last ended from the other side; empty when it did not since the mark.
  const std::string& Ended() const { return mEnded; }

  // Looking back ends here.
  void Mark();
  std::size_t MarkedAt() const { return mMark; }
  // Looking back for what must not come ends here: what entering brings is no surprise.
  void MarkQuiet() { mQuietMark = mLog.End(); }
  std::size_t MarkedQuietAt() const { return mQuietMark; }

  // A file that Session().GetFile() asked for, once it is there.
  std::optional<dorn::station::Session::File> TakeFile(const std::string& name);

  Ms Now() const { return dorn::tools::SteadyMs(); }

 private:
  void OnOpen() override;
  void OnReceive(std::string_view bytes) override;
  void OnEnd(dorn::tools::Line::End end, const std::string& why) override;
  void Obey();
  void CollectFiles();
  Ms At() const { return Now() - mBegan; }

  const Ms mBegan;
  const Ms mConnectLimit;
  dorn::tools::HostAndPort mAddress{"127.0.0.1", dorn::tools::kStationPort};
  dorn::station::Session mSession;
  dorn::tools::Line mLine{*this};
  unsigned mLineNumber = 0;  // As the session counts; 0: none, or one without a session.
  bool mIsPlain = false;
  bool mIsAway = false;
  std::string mEnded;

  MessageLog mLog;
  std::size_t mMark = 0;
  std::size_t mQuietMark = 0;
  unsigned long mSync = 0;  // The latest fence of its own.
  std::map<std::string, dorn::station::Session::File> mFiles;
};

}  // namespace dorn::scene

#endif  // TOOLS_DORN_STATION_SCENE_ACTOR_H_
