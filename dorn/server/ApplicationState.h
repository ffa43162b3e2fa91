// What the library remembers about an application object beside its members. Hosts have the size of
// that object compiled in, so none can be added there. Internal: not installed.
#ifndef DORN_SERVER_APPLICATIONSTATE_H_
#define DORN_SERVER_APPLICATIONSTATE_H_

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "dorn/model/KeptCommands.h"
#include "dorn/server/LoginGuard.h"
#include "dorn/server/StationAddress.h"

class KZFdDataList;
class VQApplication;

namespace dorn {

class OutgoingDrainer;
class StatisticsServer;

// Loop thread only, except what is marked.
struct ApplicationState {
  // Asks Run() to return. Any thread, signal handlers included.
  std::atomic<bool> isStopping{false};

  // Where stations connect.
  StationAddress stationAddress;

  // Null: nobody is slowed down.
  std::unique_ptr<LoginGuard> loginGuard;

  // What the commands of stations are read into.
  KeptCommands keptCommands;

  // Null: nobody asked for it. The loop's list owns it.
  StatisticsServer* statisticsServer = nullptr;
  std::function<std::string()> moreStatistics;  // Empty: there are no more.

  // Null until a connection waits for room in its socket.
  std::unique_ptr<OutgoingDrainer> drainer;

  ApplicationState();
  ~ApplicationState();
};

// Each application object has one from its constructor to its destructor. Finding it takes no lock,
// so that a signal handler may ask; null before and after.
void MakeState(const VQApplication& app);
void DropState(const VQApplication& app);
ApplicationState* FindState(const VQApplication& app);

// That of the application whose loop has this list; null if it is of none.
ApplicationState* FindStateOfList(const KZFdDataList* list);

// The same where there must be one.
inline ApplicationState& StateOf(const VQApplication& app) { return *FindState(app); }

}  // namespace dorn

#endif  // DORN_SERVER_APPLICATIONSTATE_H_
