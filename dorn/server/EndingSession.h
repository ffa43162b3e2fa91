// Sessions of which the end is being told. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_ENDINGSESSION_H_
#define DORN_SERVER_ENDINGSESSION_H_

class VQSession;

namespace dorn {

// Tells the observer that the session ends; stands while that is done, and while hooks may run
// before it is gone. The observer may remove that session and others, whose end it hears of
// meanwhile: of each one once.
class EndingSession {
 public:
  explicit EndingSession(VQSession& session);
  ~EndingSession();

  EndingSession(const EndingSession&) = delete;
  EndingSession& operator=(const EndingSession&) = delete;

  // Whether the session still exists.
  bool IsAlive() const { return mSession != nullptr; }

  // Called by the destructor of every session: another one may be made at its address.
  static void NoteDestroyed(const VQSession& session);

 private:
  static EndingSession* sInnermost;

  const VQSession* mSession;
  EndingSession* mOuter;
};

}  // namespace dorn

#endif  // DORN_SERVER_ENDINGSESSION_H_
