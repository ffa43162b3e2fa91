// The application's sessions by identifier.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_SERVER_VQSESSIONLIST_H_
#define DORN_SERVER_VQSESSIONLIST_H_

#include <map>

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

class VQSession;

// Owns the sessions and deletes those that it removes or expires. Identifiers are compared byte for
// byte.
class DORN_EXPORT VQSessionList {
 public:
  VQSessionList();

  // Destroys no session; the process is about to end.
  virtual ~VQSessionList();

  VQSessionList(const VQSessionList&) = delete;
  VQSessionList& operator=(const VQSessionList&) = delete;

  bool Has(const KZString& sessionId) const;

  // The session or null.
  VQSession* Search(const KZString& sessionId) const;

  // Stores `session` and owns it from then on; null is ignored. A session that had the identifier
  // before is forgotten, not deleted.
  void Add(const KZString& sessionId, VQSession* session);

  // Deletes the session without cancelling its timer. Its connections stay open and authenticated.
  void Remove(const KZString& sessionId);

  // Called when the session timer `timerId` has fired: removes the session's trees and every dialog
  // that is left without one, closes the session's connections, then deletes the session. The
  // dialogs' OnFinal() runs meanwhile and may do anything, also remove this session.
  void Expire(unsigned int timerId);

  std::map<KZString, VQSession*> mSessionList;

 private:
  void End(const KZString& key, VQSession* session);
};

#endif  // DORN_SERVER_VQSESSIONLIST_H_
