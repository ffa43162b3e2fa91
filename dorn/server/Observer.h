// What a host may want to hear beyond its hooks.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_SERVER_OBSERVER_H_
#define DORN_SERVER_OBSERVER_H_

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

class VQClientSocket;

namespace dorn {

// Hears of stations that go and of sessions. A host derives its own class, overrides what it needs
// and calls SetObserver(). Each function does nothing by default, is called without a lock, and may
// do what a hook may do; sessions of connections are changed by Authentication() alone meanwhile.
class DORN_EXPORT Observer {
 public:
  Observer();
  virtual ~Observer();

  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;

  // Called once for each connection that was ever logged in, at the end of the pass in which it
  // closed or was replaced, or before that when it is destroyed earlier in the pass. `sid` is the
  // last session that it was bound to. `client` is valid during the call, and usually closed. One
  // that is replaced, or whose descriptor was closed behind the loop's back, is not, and its number
  // may be another record's by now; one that was opened again meanwhile is another station's. Do
  // not close it here.
  virtual void OnStationGone(VQClientSocket* client, const KZString& sid);

  // Called when a session was added to the session list, with the interval after which it expires,
  // 0 or less meaning never.
  virtual void OnSessionStart(const KZString& sid, int intervalMs);

  // Called when the interval of a session that can expire counts anew.
  virtual void OnSessionExtend(const KZString& sid);

  // Called once for each session that ends: when it expires, before its trees and connections go,
  // and when it is removed from the list.
  virtual void OnSessionEnd(const KZString& sid);

 private:
  // Room for more, so that hosts that are compiled today can be told more some day.
  virtual void Spare1();
  virtual void Spare2();
  virtual void Spare3();
  virtual void Spare4();
  virtual void Spare5();
  virtual void Spare6();
  virtual void Spare7();
  virtual void Spare8();
};

// Has `observer` hear of everything from now on instead of the one before. Not owned; null: nobody,
// as it is by default.
DORN_EXPORT void SetObserver(Observer* observer);

}  // namespace dorn

#endif  // DORN_SERVER_OBSERVER_H_
