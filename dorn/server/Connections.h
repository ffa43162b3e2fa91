// Which records of the loop are connections of stations.
// Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_CONNECTIONS_H_
#define DORN_SERVER_CONNECTIONS_H_

#include <cstdint>

#include "dorn/base/KZString.h"

class KZFdData;
class VQClientSocket;

namespace dorn {

// Called by the constructor and the destructor of every connection: a host's record may have an id
// in the range of connections without being one. Any thread.
void NoteConnection(VQClientSocket& client);
void ForgetConnection(VQClientSocket& client);

// The record as a connection, or null.
VQClientSocket* AsConnection(KZFdData* record);

// Whether it is of no class that a host derived, so that no operation is overridden.
bool IsPlainConnection(const VQClientSocket& client);

// The same, but null for a connection whose removal was requested. Such a record stays linked until
// the loop's next pass. It must not be served: nothing reaches it, and as the first recipient it
// would use up the records of changes that a living station then never gets.
VQClientSocket* AsLivingConnection(KZFdData* record);

// The first living connection of session `sid`, or null.
VQClientSocket* FindConnectionOf(const KZString& sid);

// Stands while a session expires whose timer has fired. When many sessions are due at once, most of
// them without a connection, FindConnectionOf() walks over the connections once for all of them,
// and again only after something else may have bound a connection to a session.
class ExpiryScope {
 public:
  ExpiryScope();
  ~ExpiryScope();

  ExpiryScope(const ExpiryScope&) = delete;
  ExpiryScope& operator=(const ExpiryScope&) = delete;
};

// For whoever binds a connection to a session, or calls a hook that may.
void ForgetSurvey();

// How many records FindConnectionOf() has looked at so far.
std::uint64_t SearchSteps();

}  // namespace dorn

#endif  // DORN_SERVER_CONNECTIONS_H_
