// Who may use the panel, and what belongs to a log-in.
#ifndef FILLER_USERS_H_
#define FILLER_USERS_H_

#include <dorn/dorn.h>

struct User {
  const char* name;
  const char* pass;
  bool mayOperate;
};

// The user, or null where name or password are wrong.
const User* FindUser(const KZString& name, const KZString& pass);

// A session that knows whose it is. It lives as long as the log-in, whatever its connection does.
class UserSession : public VQSession {
 public:
  UserSession(const KZString& sessionId, int intervalMs, const User& user)
      : VQSession(sessionId, intervalMs), mUser(user) {}

  const User& mUser;
  int mTouches = 0;
};

// The session of that id: every session of this host is one of these.
UserSession* FindSession(const KZString& sessionId);

#endif  // FILLER_USERS_H_
