// A session is a time-limited grant that station connections authenticate against. Including this
// file also gives VQSessionList.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_SERVER_VQSESSION_H_
#define DORN_SERVER_VQSESSION_H_

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

// One session and its expiry timer. Owned by the VQSessionList that it is added to; dies when its
// timer fires, or when the host removes it from the list.
class DORN_EXPORT VQSession {
 public:
  // An empty identifier and no timer; give it an id with SetSessionId().
  VQSession();

  // Starts a session that expires `interval` milliseconds after the last Extend(). An interval of 0
  // or less never expires. A timer id is taken from the application in either case, so ids count
  // sessions, not timers.
  VQSession(const KZString& sessionId, int interval);

  // Leaves the timer armed. Kept: after Remove() it still fires and prints one error line.
  virtual ~VQSession();

  VQSession(const VQSession&) = delete;
  VQSession& operator=(const VQSession&) = delete;

  // Counts the interval anew from now. Does nothing on a session that never expires. Every command
  // of an authenticated connection but HELLO and CHANGE calls it.
  void Extend();

  // Renames the session; the key in its list stays.
  void SetSessionId(const KZString& sessionId);

  // The reference is valid as long as the session.
  KZString& GetSessionId() { return mSessionId; }

  // Public for hosts and tests, written by this class alone.
  unsigned int mTimerId = 0;  // Unique in the process; its range routes the timer.
  KZString mSessionId;
  int mInterval = 0;  // Milliseconds; 0 or less: never expires.
};

// At the end because the list holds sessions.
#include "dorn/server/VQSessionList.h"

#endif  // DORN_SERVER_VQSESSION_H_
