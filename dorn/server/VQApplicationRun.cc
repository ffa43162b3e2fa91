// The loop of an application that ends in order.
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <vector>

#include "dorn/loop/LoopPass.h"
#include "dorn/loop/SharedInt.h"
#include "dorn/server/ApplicationState.h"
#include "dorn/server/Connection.h"
#include "dorn/server/Connections.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQClientSocket.h"

namespace {

using Clock = std::chrono::steady_clock;

// How long stations have for what is queued for them when the application stops.
constexpr std::chrono::milliseconds kLastWords{1000};

int LeftMs(Clock::time_point end) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

}  // namespace

void VQApplication::Run() {
  if (dorn::IsInPassOf(this)) {
    RunPass();  // Says that it is refused.
    return;
  }
  dorn::ApplicationState& state = dorn::StateOf(*this);
  while (!state.isStopping) RunPass();
  CloseDown();
  state.isStopping = false;
}

// The byte is written here, whatever WakeUp() makes of being called on the thread of the loop: a
// signal may come after the loop's last look at everything else and before it waits. A full pipe
// ends the wait as well.
void VQApplication::Stop() {
  const int error = errno;
  if (dorn::ApplicationState* state = dorn::FindState(*this)) state->isStopping = true;
  [[maybe_unused]] const ssize_t ignored = write(dorn::LoadShared(mFdList.mPipeFd), "!", 1);
  errno = error;
}

// The first pass links the connections that were accepted last, the second one takes all that are
// closed out of the loop. Neither waits.
void VQApplication::CloseDown() {
  mStationSocket.Close();
  static_cast<void>(ServeStatistics(nullptr));  // Taking it away cannot fail.
  WakeUp();
  RunPass();
  DrainQueues();
  for (KZFdData* record : *GetFdDataList()) {
    if (VQClientSocket* client = dorn::AsLivingConnection(record)) client->Close();
  }
  WakeUp();
  RunPass();
}

// Nothing is received meanwhile, and no timer fires.
void VQApplication::DrainQueues() {
  const auto awaitsRoom = [](VQClientSocket* client) {
    return client != nullptr && dorn::Connection::Of(*client).Out().AwaitsRoom();
  };
  const Clock::time_point end = Clock::now() + kLastWords;
  std::vector<pollfd> waiting;
  for (;;) {
    waiting.clear();
    for (KZFdData* record : *GetFdDataList()) {
      VQClientSocket* client = dorn::AsLivingConnection(record);
      if (awaitsRoom(client)) waiting.push_back({client->GetFD(), POLLOUT, 0});
    }
    const int leftMs = LeftMs(end);
    if (waiting.empty() || leftMs == 0) return;
    if (poll(waiting.data(), waiting.size(), leftMs) < 0 && errno != EINTR) return;
    for (KZFdData* record : *GetFdDataList()) {
      VQClientSocket* client = dorn::AsLivingConnection(record);
      if (awaitsRoom(client)) dorn::Connection::Of(*client).Out().Drain();
    }
  }
}
