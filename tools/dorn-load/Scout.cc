#include "tools/dorn-load/Scout.h"

#include <poll.h>

#include <algorithm>

#include "tools/dorn-station/scene/Actor.h"

namespace dorn::load {

namespace {

using dorn::scene::Actor;
using dorn::station::Replica;
using dorn::station::Session;

bool Shows(const Actor& actor) {
  const auto dialog = actor.Session().Dialog().GetState();
  return actor.Session().GetState() == Session::State::kShowing &&
         (dialog == Replica::State::kLive || dialog == Replica::State::kNothing);
}

Scouted Failed(std::string why, std::optional<Error> error) {
  return {{}, {}, std::move(why), error};
}

// Why it has come to nothing; nothing while it may still come to something.
std::optional<Scouted> Failure(const Actor& actor) {
  if (actor.Session().GetCause() == Session::Cause::kWrongPassword) {
    return Failed("the log-in was refused; name a user with --id and --pass", Error::kRefusedLogIn);
  }
  if (actor.Ended().empty()) return std::nullopt;
  const bool isRefused = actor.Ended().rfind("cannot ", 0) == 0;
  return Failed(actor.Ended(), isRefused ? Error::kRefusedConnect : Error::kClosedByHost);
}

class Ahead {
 public:
  Ahead(const Options& options, const std::function<bool()>& isStopped)
      : mOptions(options), mIsStopped(isStopped), mActor(ActorOf(options), SteadyUs() / 1000) {}

  Scouted Go() {
    const auto logIn = mOptions.LogInOf(1);
    mActor.SetAddress(mOptions.mAt);
    mActor.LogIn(logIn.mId, logIn.mPass);
    if (auto failure = AwaitDialog()) return *failure;
    if (!mOptions.mDialog.empty()) {
      mActor.Session().Enter(mOptions.mDialog, mActor.Now());
      mActor.Run(0);  // Sends it.
      if (auto failure = AwaitDialog()) return *failure;
    }
    const Replica& dialog = mActor.Session().Dialog();
    if (dialog.GetState() == Replica::State::kNothing) {
      return Failed("there is no dialog '" + dialog.DialogName() + "', or nothing to show in it",
                    {});
    }
    return {dorn::station::MakeScreen(dialog, {}), dialog.DialogName(), {}, {}};
  }

 private:
  static dorn::scene::ActorOptions ActorOf(const Options& options) {
    dorn::scene::ActorOptions actor;
    actor.mSession.mType = options.mType;
    actor.mConnectLimit = options.mTimeout / kMillisecond;
    return actor;
  }

  std::optional<Scouted> AwaitDialog() {
    const Us last = SteadyUs() + mOptions.mTimeout;
    do {
      if (mIsStopped()) return Failed("stopped", {});
      if (SteadyUs() >= last) return Failed("the host does not answer", Error::kTimeOut);
      pollfd watched = mActor.Watched();
      const int left = static_cast<int>((last - SteadyUs()) / kMillisecond) + 1;
      const int timeout = mActor.PollTimeout();
      if (poll(&watched, 1, timeout < 0 ? left : std::min(timeout, left)) < 0) watched.revents = 0;
      mActor.Run(watched.revents);
      if (auto failure = Failure(mActor)) return failure;
    } while (!Shows(mActor));
    return std::nullopt;
  }

  const Options& mOptions;
  const std::function<bool()>& mIsStopped;
  Actor mActor;
};

}  // namespace

Scouted Scout(const Options& options, const std::function<bool()>& isStopped) {
  return Ahead(options, isStopped).Go();
}

}  // namespace dorn::load
