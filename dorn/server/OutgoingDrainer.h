// Tells those who wait for room in a socket that there is some.
// Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_OUTGOINGDRAINER_H_
#define DORN_SERVER_OUTGOINGDRAINER_H_

#include <unordered_map>

#include "dorn/loop/KZFdData.h"

namespace dorn {

class Drainable;

// One record for all connections of an application. The loop watches a connected socket for reading
// only, and does not tell a record which of the two it found. But an epoll descriptor is itself
// readable as soon as one of the sockets that it watches can be written, so one descriptor more
// serves any number of waiting connections.
//
// Each registration reports once and is renewed when there is still something to write: a
// registration that outlived its connection cannot keep the loop busy.
class OutgoingDrainer : public KZFdData {
 public:
  // A negative id: outside all ranges, and none of the ids that the list hands out to hosts.
  static constexpr int kId = -2;

  // The drainer of the application whose loop has this list, made at the first call. Null without
  // such an application, and when there is no descriptor for it.
  static OutgoingDrainer* Of(KZFdDataList* list);

  // Forgets who waits, also one that it does not know. `list` may be null.
  static void Forget(KZFdDataList* list, const Drainable* waiting);

  ~OutgoingDrainer() override;

  // Calls Drain() once, when the socket `fd` has room. False when that cannot be arranged.
  bool Watch(int fd, Drainable* waiting);

  void ReadyToRead() override;

 private:
  OutgoingDrainer(int epoll, KZFdDataList* list);

  static OutgoingDrainer* Find(KZFdDataList* list);
  void Unwatch(const Drainable* waiting);
  bool IsInList();
  bool Register(int fd);
  bool IsUsable();
  bool Renew();

  std::unordered_map<int, Drainable*> mWatched;  // By descriptor.
};

}  // namespace dorn

#endif  // DORN_SERVER_OUTGOINGDRAINER_H_
