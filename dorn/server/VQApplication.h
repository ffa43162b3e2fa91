// The application object of a dialog server. Including this file also gives VQDialogMaker.
// Loop thread only, except what is marked "any thread".
#ifndef DORN_SERVER_VQAPPLICATION_H_
#define DORN_SERVER_VQAPPLICATION_H_

#include <sys/time.h>

#include <functional>
#include <string>

#include "dorn/base/Export.h"
#include "dorn/base/KZLog.h"
#include "dorn/base/KZString.h"
#include "dorn/base/Trace.h"
#include "dorn/loop/KZApplication.h"
#include "dorn/server/Statistics.h"
#include "dorn/server/VQDialogList.h"
#include "dorn/server/VQDialogMaker.h"
#include "dorn/server/VQSessionList.h"
#include "dorn/server/VQStationSocket.h"

class VQClientSocket;
class VQDialog;

// A host derives its own class, defines OnInit() and OnAuth(), and has one global object of it:
//
//   MyMaker maker;
//   MyApp app(maker);
//   int main(int argc, char** argv) {
//     if (app.Initialize(argc, argv) < 0 || !app.IsListening()) return 1;
//     app.Run();  // Until Stop() is called; AppMain() never returns.
//   }
//
// No header of the library declares `app`, and a host with several files writes `extern MyApp app;`
// in a header of its own. The library could not declare it: its type is the host's, and any
// declaration with another type would be in conflict with the host's definition; a library that
// merely referred to the symbol could not be linked by a program without one, nor with a host
// that hides its symbols. Instead the constructor registers the object, and the library reaches
// the first one that was constructed and still exists, through its virtual functions.
//
// Timer ids are routed by range: 0x8000000 to 0xCFFFFFF belong to connections, 0xD000000 to
// 0xFFFFFFF to sessions; all others are the host's.
class DORN_EXPORT VQApplication : public KZApplication {
 public:
  // Where stations connect unless SetStationAddress() says otherwise.
  static constexpr int kStationPort = 5000;

  // Bounds of the id ranges; kTimerIdEnd is the first id behind them.
  static constexpr unsigned int kFirstSocketId = 0x8000000;
  static constexpr unsigned int kFirstSessionTimerId = 0xD000000;
  static constexpr unsigned int kTimerIdEnd = 0x10000000;

  // `maker` must outlive the application. Safe before main(), whatever else is constructed then.
  explicit VQApplication(VQDialogMaker& maker);

  // Deletes neither dialogs nor sessions nor connections.
  ~VQApplication() override;

  VQApplication(const VQApplication&) = delete;
  VQApplication& operator=(const VQApplication&) = delete;

  // Routes a timer without a name: to a session, to a connection, or else to OnTimer(). Also the
  // timer of a connection that is gone goes to OnTimer().
  void ApplicationTimer(timeval time, unsigned int id) override;

  // Routes a timer with a name to the OnTimer() of that dialog, if it exists.
  void DialogTimer(timeval time, unsigned int id, KZString name) override;

  // Called by Initialize() after the station port was opened. Its result is that of Initialize(),
  // a negative one meaning failure.
  virtual int OnInit() = 0;

  // Called when an unauthenticated station logs in. With the right password: choose a session id
  // that cannot be guessed, CreateSession(), then client->Authentication(session id). With a wrong
  // one: do nothing; the station gets an error and may try again until its time-out. Who has to
  // ask somebody else first calls dorn::HoldLogIn() and answers later. May close the connection.
  // One message may bring thousands of attempts: count them, or close.
  virtual void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) = 0;

  // Called when an unauthenticated station presents a session id. By default binds the connection
  // to that session and returns true if it exists; else makes it unauthenticated and returns false,
  // and it is closed. Never called with "SessionIdShared", which names no log-in.
  virtual bool OnAuthCheck(const KZString& sid, VQClientSocket* client);

  // Called when an authenticated station says HELLO (or CHANGE) without naming a dialog. By default
  // has it open "Top.json".
  // Kept: the vertical resolution comes first.
  virtual void OnStart(VQClientSocket* client, KZString& type, int resolutionV, int resolutionH);

  // Called with each timer of the host's own. Does nothing by default.
  virtual void OnTimer(timeval time, unsigned int id);

  // Where Initialize() listens for stations: on `address` of this machine (null or empty: on every
  // one), at TCP port `port` (0: at one that the system chooses; see GetStationPort()). Without a
  // call: on every address, at kStationPort. The environment variable DORN_STATION, if it is set,
  // has the last word; it reads "address:port", such as "127.0.0.1:0" or ":6000".
  void SetStationAddress(const char* address, int port);

  // The port at which stations can connect; 0 while there is none.
  int GetStationPort();

  // Opens the station port and calls OnInit(). Returns OnInit()'s result, or a negative number if
  // the port's address could not even be resolved, or DORN_STATION cannot be read.
  // Once the port is open, "address:port" is written to the file that the environment variable
  // DORN_STATION_FILE names, if it is set: that is how a test finds a host with port 0.
  // Kept: a port that cannot be bound (another process has it) does not end this; one line on
  // standard error says so, OnInit() runs, and IsListening() is false.
  int Initialize(int argc, char** argv);

  // Whether stations can connect.
  bool IsListening();

  // The loop until Stop() is called, before or meanwhile. Then the port is closed, stations get
  // what is queued for them for up to a second (nothing is received and no timer fires meanwhile),
  // and every connection is closed, with its hooks. Dialogs, sessions and timers stay as they are,
  // and so do records of the host's own: they are for whoever called this to look at, save or
  // remove. AppMain() is not called.
  void Run();

  // Makes Run() return. Any thread, and also a signal handler, on whatever thread it runs:
  //   std::signal(SIGTERM, [](int) { app.Stop(); });
  void Stop();

  // How much of the ordinary work appears on standard output: dorn::Trace::kAll by default, so that
  // every message is printed with the passwords and session ids in it. With kNoSecrets the value of
  // a "Pass" is printed as "***" and session ids with their first 8 characters, wherever they
  // stand; with kNone nothing but failures and refusals is printed. For the whole process. Any
  // thread.
  void SetTrace(dorn::Trace trace);

  // Slows down whoever guesses passwords; off by default. After 5 wrong ones for one "Id", or from
  // one connection, the next attempt waits a second before OnAuth() is asked and the answer sent,
  // then two, four and at last eight. Only that connection waits, with all that it sends behind the
  // attempt; its 10 s for the log-in go on. Attempts for one id wait beside each other, and those
  // for another id do not wait at all, wherever they come from. The right password makes its id and
  // its connection start anew. The last 1,024 ids and connections that failed are remembered.
  void SetLoginGuard(bool isOn);

  // What the application does at the moment and has done so far. From the first call on the loop
  // also looks at the clock in every pass.
  dorn::Statistics Statistics();

  // Offers the same as text for Prometheus at a UNIX socket of that path: whoever connects gets the
  // text and is disconnected. Only the own user may connect. A socket that is left over from before
  // is replaced; with null or "" the one that is offered is taken away again, as it is at the end
  // of Run(). False, with a line on standard error, when it cannot be had.
  bool ServeStatistics(const char* path);

  // What `text` returns is offered behind that: lines of the same kind, complete, of a library or a
  // host that counts more. It is asked whenever somebody connects. An empty function ends it.
  void SetMoreStatistics(std::function<std::string()> text);

  // Sends the log of the station socket and of every later connection to `stream`, which is not
  // owned and must outlive them. Null: nowhere, as it is by default.
  void SetLogStream(KZStream* stream);

  // Whether `name`, relative to `resources`, stays below it, as GETFILE judges it: it holds no zero
  // byte, does not climb above `resources` through "..", nor out of a linked folder on its way.
  // Links alone are followed wherever they lead. Looks at the disk, as it is now, for a name with
  // ".." only. The file need not exist.
  static bool IsInsideResources(const KZString& name);

  // Prints and hands out the next id of a connection, a multiple of 10 above the first. The caller
  // owns it and the nine ids behind it.
  unsigned int MakeSocketId();

  // Prints and hands out the next id of a session's timer.
  unsigned int MakeSessionTimerId();

  // Has the maker create the dialog and adds it to the dialog list. Null if the maker knows no such
  // name.
  VQDialog* CreateDialog(const char* name);

  // Creates a session that expires `interval` milliseconds after its last command, never if that is
  // 0 or less. Returns false, and leaves the session alone, if there is one of that id.
  bool CreateSession(const KZString& sid, int interval);

  // The registries. The application owns them.
  VQDialogList* DialogList() { return &mDialogList; }
  VQSessionList* SessionList() { return &mSessionList; }

  // The directory of the running executable, or "." if it cannot be found out. Valid until the next
  // call; at most 1023 bytes of the executable's path count.
  char* GetModuleDirectory();

  // Sends `text` to every connection of session `sid` that shows dialog `dname`.
  // "SessionIdShared" addresses every session, the empty name every dialog.
  // Kept: both together also reach connections that never logged in.
  void SendDataList(const KZString& sid, const KZString& dname, const KZString& text);

  // Unbinds and closes the first connection of session `sid`, if any.
  void RemoveSocketBySession(const KZString& sid);

  // Finds the connection that owns timer `id` and returns which of its ten timers that is.
  // `*client` becomes null, and the result 0, if there is none. A closed connection is found until
  // the loop's next pass has unlinked it.
  int GetSocket(unsigned int id, VQClientSocket** client);

  const VQDialogMaker& mDialogMaker;
  VQStationSocket mStationSocket;
  VQDialogList mDialogList;
  VQSessionList mSessionList;
  KZStream mLog;                 // The default sink: writes nothing.
  unsigned int mSocketId;        // Next id of a connection.
  unsigned int mSessionTimerId;  // Next id of a session's timer.

 private:
  friend class VQClientSocket;
  friend class VQSession;

  unsigned int NextSocketId();
  bool HasSocketTimer(unsigned int socketId);
  unsigned int NextSessionTimerId();
  void CloseDown();
  void DrainQueues();

  // Once ids have started again from the first one, those still in use are skipped.
  bool mSocketIdsWrapped = false;
  bool mSessionTimerIdsWrapped = false;
};

// What its hooks and lists hand out.
#include "dorn/server/VQClientSocket.h"
#include "dorn/server/VQDialog.h"
#include "dorn/server/VQSession.h"

#endif  // DORN_SERVER_VQAPPLICATION_H_
