// Which sessions belong to which user, and how many of them one user may have.
#ifndef PUMPHOUSE_USERSESSIONS_H_
#define PUMPHOUSE_USERSESSIONS_H_

#include <dorn/dorn.h>

#include <map>
#include <string>

class UserSessions {
 public:
  static constexpr int kMostOfOneUser = 20;

  // A session that was just created. If the user has too many now, one of the others ends: the
  // oldest that no station is connected with, else the oldest.
  void Add(const KZString& sessionId, const std::string& user);

  // The user that a session belongs to; empty for an unknown session.
  KZString UserOf(const KZString& sessionId) const;

  // Forgets those that have expired.
  void Sweep();

 private:
  struct Owner {
    std::string user;
    unsigned long order;  // Of creation.
  };

  KZString OldestOf(const std::string& user, bool idleOnly, const KZString& except) const;
  int CountOf(const std::string& user) const;

  std::map<KZString, Owner> mOwners;
  unsigned long mCreated = 0;
};

#endif  // PUMPHOUSE_USERSESSIONS_H_
