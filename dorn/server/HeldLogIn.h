// Answering a log-in later: when somebody else has to be asked whether it is good.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_SERVER_HELDLOGIN_H_
#define DORN_SERVER_HELDLOGIN_H_

#include "dorn/base/Export.h"

class VQClientSocket;

namespace dorn {

// For OnAuth(): the log-in that it was called for is not answered when it returns, but when
// FinishLogIn() is called with the number that comes back. Meanwhile whatever the station sends
// waits behind the log-in, unread, and other stations are served. Closing the connection forgets
// the log-in: keep the number, not the connection.
//
// The ten seconds for the log-in go on, or begin if they had ended before, and Authentication()
// does not end them while the log-in is held. When they are over the station is told that the
// log-in failed, as if the host had said so, and the connection is closed.
//
// Returns 0, and nothing is held, outside OnAuth(), when the connection was closed, when it is
// authenticated already, and for a message that the host executes itself while another log-in of
// the connection waits. Called again, the same number comes back.
DORN_EXPORT unsigned int HoldLogIn();

// Goes on with a held log-in as if OnAuth() returned only now: a station that was authenticated
// before this call goes on to its dialog, another one gets the error. With the rest of what the
// station has sent hooks run as always, some of them before this function returns. False, and
// nothing is done, if no log-in of that number is held, such as because the station has gone.
DORN_EXPORT bool FinishLogIn(unsigned int held);

// The connection whose log-in is held under that number, to authenticate it; null if there is none.
DORN_EXPORT VQClientSocket* ConnectionOfHeldLogIn(unsigned int held);

}  // namespace dorn

#endif  // DORN_SERVER_HELDLOGIN_H_
