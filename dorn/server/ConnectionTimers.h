// When a connection's timers are armed and cancelled, and what happens when they fire.
// Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_CONNECTIONTIMERS_H_
#define DORN_SERVER_CONNECTIONTIMERS_H_

class VQClientSocket;

namespace dorn {

class Outgoing;

// The timers of one connection, whose id B is their first one:
//   B+0  armed by the listener, and anew by LimitLogIn() if need be; cancelled by Authentication()
//   B+1  armed anew whenever bytes arrive
//   B+2  armed when a KEEPALIVE is sent, cancelled by the station's KEEPALIVE; armed anew, five
//        times at most, when it fires and queued bytes have gone out meanwhile
//   B+3  armed when the answer to a log-in is delayed, cancelled when the connection is closed
// Closing cancels none of the first three: those of a connection that is gone fire all the same,
// and the application routes them to the host. An object that is opened again cancels them then.
class ConnectionTimers {
 public:
  // What is added to the connection's id.
  enum Kind { kLogIn = 0, kIdle = 1, kAnswer = 2, kDelayedLogIn = 3 };

  ConnectionTimers(VQClientSocket& socket, Outgoing& outgoing)
      : mSocket(socket), mOutgoing(outgoing) {}

  ConnectionTimers(const ConnectionTimers&) = delete;
  ConnectionTimers& operator=(const ConnectionTimers&) = delete;

  // The station has ten seconds to log in.
  void AwaitLogIn();
  void LoggedIn();
  // The host holds the log-in: what is left of the ten seconds counts, or ten begin.
  void LimitLogIn();
  void HeldLogInIsGood();

  // The station has three minutes for its next bytes.
  void BytesArrived();

  void Answered();

  // The connection was closed: no answer is expected any more. Its timers stay.
  void Forget();

  // The object is opened again, for another station. B+3 is not among them: see ForgetLogIn().
  void CancelAll();

  // The log-in that has come is to be looked at so much later.
  void DelayLogIn(unsigned long ms);
  void ForgetLogIn();

  // The timer of this kind has fired: asks an idle station for an answer; closes one that did not
  // log in or did not answer; looks at a delayed log-in.
  void Expire(int kind);

 private:
  void Restart(Kind kind, unsigned long ms);
  void Cancel(Kind kind);
  unsigned int IdOf(Kind kind) const;
  void AskForAnswer();
  void MissAnswer();

  VQClientSocket& mSocket;
  Outgoing& mOutgoing;
  bool mIsAsked = false;         // A KEEPALIVE was sent and not answered.
  int mDelays = 0;               // How often in a row the end was put off since.
  unsigned long mResumedIn = 0;  // The round of timers in which a log-in that waited went on.
};

}  // namespace dorn

#endif  // DORN_SERVER_CONNECTIONTIMERS_H_
