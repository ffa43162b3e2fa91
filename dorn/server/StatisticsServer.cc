#include "dorn/server/StatisticsServer.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <utility>

#include "dorn/server/ApplicationState.h"
#include "dorn/server/VQApplication.h"

namespace dorn {

namespace {

constexpr int kBacklog = 8;
constexpr useconds_t kPauseUs = 10000;

// `address` is empty before.
bool FillAddress(const std::string& path, sockaddr_un& address) {
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    return false;
  }
  path.copy(address.sun_path, path.size());
  return true;
}

const sockaddr* Plain(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

// The node of the socket at `path`, or 0 if there is none.
unsigned long long NodeOf(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode) ? status.st_ino : 0;
}

// A socket of that name at which nobody listens any more is what a process left behind that was
// killed.
void RemoveLeftOver(const std::string& path, const sockaddr_un& address) {
  if (NodeOf(path) == 0) return;
  const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (probe < 0) return;
  const bool isDead = connect(probe, Plain(address), sizeof address) != 0 && errno == ECONNREFUSED;
  close(probe);
  if (isDead) unlink(path.c_str());
}

// The socket gets its permissions before its name.
int Listen(const std::string& path) {
  sockaddr_un address{};
  if (!FillAddress(path, address)) return -1;
  RemoveLeftOver(path, address);
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (listener < 0) return -1;
  const bool isListening = fchmod(listener, S_IRUSR | S_IWUSR) == 0 &&
                           bind(listener, Plain(address), sizeof address) == 0 &&
                           listen(listener, kBacklog) == 0;
  if (isListening) return listener;
  const int error = errno;
  close(listener);
  errno = error;
  return -1;
}

}  // namespace

StatisticsServer* StatisticsServer::Open(VQApplication& app, const std::string& path) {
  const int listener = Listen(path);
  if (listener < 0) {
    std::fprintf(stderr, "dorn: no statistics at %s: %s\n", path.c_str(), std::strerror(errno));
    return nullptr;
  }
  auto* server = new StatisticsServer(app, listener, path);  // The loop owns it from here.
  server->AddEvent();
  return server;
}

StatisticsServer::StatisticsServer(VQApplication& app, int listener, std::string path)
    : KZFdData(kTypeListener, listener, -1, app.GetFdDataList()),
      mApp(app),
      mPath(std::move(path)),
      mNode(NodeOf(mPath)) {
  SetFDStatus(kStatusActive);
  SetAutoDelete(1);
}

// The loop removes it also by itself, when its descriptor turns out to be closed.
StatisticsServer::~StatisticsServer() {
  ApplicationState* const state = FindStateOfList(GetFdDataList());
  if (state != nullptr && state->statisticsServer == this) state->statisticsServer = nullptr;
  RemoveName();
  if (GetFD() >= 0) close(GetFD());
}

// The text is much shorter than what a new socket takes at once. If others add more than it takes,
// the rest is cut off.
void StatisticsServer::ReadyToRead() {
  const int peer = accept4(GetFD(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (peer < 0) {
    // It has given up; or it waits for a descriptor, and the loop must not spin meanwhile.
    if (errno == EMFILE || errno == ENFILE) usleep(kPauseUs);
    return;
  }
  std::string text = mApp.Statistics().Text();
  const std::function<std::string()> more = StateOf(mApp).moreStatistics;
  if (more) text += more();
  static_cast<void>(send(peer, text.data(), text.size(), MSG_NOSIGNAL));  // Its loss if it is gone.
  close(peer);
}

void StatisticsServer::Stop() {
  RemoveName();
  RemoveEvent();
}

void StatisticsServer::RemoveName() {
  if (mPath.empty()) return;
  if (NodeOf(mPath) == mNode) unlink(mPath.c_str());
  mPath.clear();
}

}  // namespace dorn

void VQApplication::SetMoreStatistics(std::function<std::string()> text) {
  dorn::StateOf(*this).moreStatistics = std::move(text);
}

bool VQApplication::ServeStatistics(const char* path) {
  dorn::StatisticsServer*& server = dorn::StateOf(*this).statisticsServer;
  if (server != nullptr) std::exchange(server, nullptr)->Stop();
  if (path == nullptr || *path == '\0') return true;
  static_cast<void>(Statistics());  // From now on passes are timed.
  server = dorn::StatisticsServer::Open(*this, path);
  return server != nullptr;
}
