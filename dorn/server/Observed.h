// What is told to the host's observer. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_OBSERVED_H_
#define DORN_SERVER_OBSERVED_H_

class KZString;
class VQClientSocket;

namespace dorn {

class Observer;

// Null if the host has none.
Observer* TheObserver();

// The connection is bound to this session, or to none.
void NoteSession(VQClientSocket* client, const KZString& sid);

// The connection was closed: the observer hears of it at the end of the pass.
void NoteClosed(VQClientSocket* client);

// The object of a closed connection is about to become another one: what is still to be told is
// about the former station.
void NoteOpenedAgain(VQClientSocket* client);

// The connection is being destroyed: the observer hears of it now unless it has already.
void NoteDestroyed(VQClientSocket* client);

}  // namespace dorn

#endif  // DORN_SERVER_OBSERVED_H_
