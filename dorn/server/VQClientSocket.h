// The server's end of one connection from a station: framing, log-in, command dispatch, sending.
// Loop thread only: the record's data semaphore is held only while the receive buffer is searched
// or trimmed, never while a command executes, so hooks may send and close freely.
#ifndef DORN_SERVER_VQCLIENTSOCKET_H_
#define DORN_SERVER_VQCLIENTSOCKET_H_

#include <sys/socket.h>

#include <memory>

#include "dorn/base/Export.h"
#include "dorn/base/KZLog.h"
#include "dorn/base/KZString.h"
#include "dorn/net/KZClientSocket.h"

class VQJsonCommand;

namespace dorn {
class Connection;
}  // namespace dorn

// A message is STX text ETX (0x02, UTF-8 JSON, 0x03), in both directions. There is no length field
// and no escaping, so the text holds none of 0x02, 0x03 and 0x00.
//
// Connections are made by VQStationSocket and owned by the descriptor list, which destroys them in
// the pass after Close(). Each takes an id B from the application and owns the timer ids B to B+9:
//   B+0  connection time-out, 10 s, cancelled by Authentication()
//   B+1  idle timer, 180 s, counted anew whenever bytes arrive; then a KEEPALIVE is sent
//   B+2  answer timer, 10 s after that KEEPALIVE; no other command cancels it than the station's
//        "KEEPALIVE". While queued bytes go out it counts anew, five times at most
//   B+3  delay of a log-in that has to wait: see VQApplication::SetLoginGuard()
//
// What the socket does not take at once is queued. A station that lets 8 MiB pile up, or with the
// next text 10 MB, is closed; but one for which less than 64 KiB wait is sent a text of any length.
// Files that wait count with their names only. Nothing that was accepted is ever cut or reordered.
class DORN_EXPORT VQClientSocket : public KZClientSocket {
 public:
  // An unauthenticated connection with a fresh id and no descriptor yet; see Create(). Neither
  // `stream` (the sink of the socket's log) nor `list` is owned.
  VQClientSocket(KZStream* stream, KZFdDataList* list);

  // Prints "socket delete". Does not close the descriptor.
  ~VQClientSocket() override;

  VQClientSocket(const VQClientSocket&) = delete;
  VQClientSocket& operator=(const VQClientSocket&) = delete;

  // As in KZClientSocket. An object that was closed is a new connection then: nobody is logged in,
  // it shows no dialog, and its timers are cancelled.
  int Open(const char* host, int port, int buffersize);
  int Create(int sd, int buffersize);

  // Receives as every socket does. A station that finished sending while bytes are still queued for
  // it is closed when they are out, not at once.
  void ReadyToRead() override;

  // Called instead of ReadyToRead() while such a station takes its last bytes, and, as in
  // KZClientSocket, when a connect ends.
  void ReadyToWrite() override;

  // Notices that the receive buffer was emptied.
  int OnNotice(int code, int value) override;

  // Raw bytes without framing. One send() as in KZSocket when nothing is queued: a short or failed
  // send is the caller's to deal with. Otherwise the bytes queue up behind what was accepted before
  // and `length` is returned, or -1 when the queue is full and the connection was closed for it.
  int Send(const void* data, int length) override;

  // Called by Close(). Drops what is still queued and logs. Closing a connection neither ends its
  // session nor tells its dialog; both are still known here, and until the object is opened again.
  void OnClose() override;

  // Called by the loop when bytes were appended to the receive buffer, and in every pass as long as
  // an incomplete message stays in it. Executes all complete messages in order, in several calls if
  // a pile has come behind a log-in that waited, and returns 0. Bytes before the first STX are
  // dropped, once for each call: what lies between an ETX and the next STX of the same call becomes
  // the start of the next message's text. A buffer full without an ETX closes the connection.
  int OnReceive(sockaddr* addr, unsigned int addrlen) override;
  using KZClientSocket::OnReceive;

  // Prints one trace line, frames the text and writes it with a single write. Returns what the
  // write returned, or -1 without a descriptor. When the socket takes only a part, or when earlier
  // bytes are still queued, the rest is queued and the framed length is returned; -1 when the
  // connection was closed because the queue is full.
  // While another complete message of the station that is being served has already arrived, the
  // kernel is told that more will follow: it may send such frames together, in order, at the latest
  // when that station's messages are executed.
  // The bytes 0x00, 0x02 and 0x03 inside the text would end or forge messages: they are sent as
  // blanks. Quotes are not touched: what a station may put into a text, other stations receive.
  virtual int SendData(const KZString& text);

  // Writes what the socket still takes of the queue, then closes as KZSocket does. Returns 0, or -1
  // when it was closed before. The command being executed is finished, nothing after it is.
  int Close();

  // Empty until authenticated. The reference is valid as long as the connection.
  KZString& GetSessionId() { return mSessionId; }

  // Whether a text for session `sid` is for this connection: "SessionIdShared" addresses everyone,
  // also connections that never logged in.
  bool CompareSessionId(const KZString& sid) const;

  // Whether a text for dialog `name` is for this connection; the empty name addresses everyone.
  bool CompareDialogName(const KZString& name) const;

  // Binds the connection to session `sid`, or to none when it is empty, and cancels the connection
  // time-out. A host's OnAuth() calls it after CreateSession(). While the log-in is held the
  // time-out goes on: see dorn::HoldLogIn().
  // Kept: the time-out is cancelled for an empty `sid` too. A host that calls this to refuse a
  // log-in keeps the connection open for as long as the station sends something now and then; on
  // failure call nothing.
  void Authentication(KZString sid);

  // Executes all commands of one message, in order, until one of them closed the connection.
  // Returns 1. Text that cannot be parsed does nothing.
  int DoCommand(const KZString& text);

  // Answers one GETFILE: with the dialog's tree when `file` is the resource file of a dialog that
  // exists, else with the file below `resources`. Does not block: what the socket does not take is
  // sent when it has room, in order with everything else. A file that is overwritten during a long
  // transfer may arrive mixed. If one is shortened while it waits, or replaced while it waits
  // behind others, the connection is closed when its turn comes: fewer bytes than announced would
  // be followed by something else.
  void OnGetfile(KZString file, KZString date, KZString objectName);

  KZString mDialogName;         // The dialog that the station shows; empty before the first one.
  KZString mSessionId;          // Empty until authenticated.
  bool mAuth = false;           // Authenticated.
  KZStream* mStream = nullptr;  // Not owned.

 private:
  friend class dorn::Connection;

  std::unique_ptr<dorn::Connection> mConnection;
  [[maybe_unused]] void* mReserved[6] = {};  // Hosts have the size of this class compiled in.
};

// Whoever uses a connection also builds or reads its commands.
#include "dorn/model/VQJsonCommand.h"

#endif  // DORN_SERVER_VQCLIENTSOCKET_H_
