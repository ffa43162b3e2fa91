#ifndef DORN_SERVER_VQCLIENTSOCKET_H_
#define DORN_SERVER_VQCLIENTSOCKET_H_
#include <sys/socket.h>
#include <cstddef>
#include <memory>
#include <string>
#include "dorn/base/Export.h"
#include "dorn/base/KZLog.h"
#include "dorn/base/KZString.h"
#include "dorn/net/KZClientSocket.h"
class VQJsonCommand;
class VQJsonObject;
namespace dorn {
class FrameHold;
class OutgoingDrainer;
class OutgoingQueue;
}  // namespace dorn
class DORN_EXPORT VQClientSocket : public KZClientSocket {
 public:
  VQClientSocket(KZStream* stream, KZFdDataList* list);
  ~VQClientSocket() override;
  VQClientSocket(const VQClientSocket&) = delete;
  VQClientSocket& operator=(const VQClientSocket&) = delete;
  void ReadyToRead() override;
  void ReadyToWrite() override;
  int OnNotice(int code, int value) override;
  int Send(const void* data, int length) override;
  void OnClose() override;
  int OnReceive(sockaddr* addr, unsigned int addrlen) override;
  using KZClientSocket::OnReceive;
  virtual int SendData(const KZString& text);
  int Close();
  KZString& GetSessionId() { return mSessionId; }
  bool CompareSessionId(const KZString& sid) const;
  bool CompareDialogName(const KZString& name) const;
  void Authentication(KZString sid);
  int DoCommand(const KZString& text);
  void OnGetfile(KZString file, KZString date, KZString objectName);
  KZString mDialogName;
  KZString mSessionId;
  bool mAuth = false;
  KZStream* mStream = nullptr;

 private:
  friend class VQApplication;
  friend class VQDialog;
  friend class dorn::FrameHold;
  friend class dorn::OutgoingDrainer;
  bool IsRemoved();
  bool HasNoDescriptor();
  void ExecuteMessages();
  void RestartIdleTimer();
  void ForgetSearches();
  void Resynchronise();
  int FindMessageEnd();
  KZString TakeMessage(int length);
  void DropFront(int length);
  int HeldLength() const;
  void CloseIfFull();
  void Execute(VQJsonObject* entry);
  void CheckSessionId(VQJsonObject* entry);
  void Greet(VQJsonCommand* command);
  void SwitchDialog(VQJsonCommand* command);
  void Start(VQJsonCommand* command);
  void ExecuteAuthenticated(VQJsonObject* entry);
  void Condition(VQJsonCommand* command);
  void SendError(const char* status, const char* message);
  bool HasBacklog() const;
  bool TakeProgress();
  bool HasPeerFinished();
  int Transmit(const char* bytes, std::size_t length);
  bool Hold(const char* bytes, std::size_t length);
  void FlushHeld();
  static void FlushBeforeUse(KZFdData& record);
  int WriteOrQueue(const char* bytes, std::size_t length);
  bool Enqueue(const char* bytes, std::size_t length);
  bool EnqueueFile(const KZString& path, int file, long long offset, long long end);
  bool PrepareQueue();
  bool WatchBacklog();
  void DrainBacklog();
  bool WaitForRoom();
  bool SendPayload(const char* bytes, std::size_t length, std::size_t blockSize);
  void SendFile(const KZString& path, int length);
  void SendPutfileError(const KZString& file, const char* info);
  bool AnswerFromDialog(const KZString& file, const KZString& date, const KZString& objectName);
  int mNoEnd = 0;
  int mNoStart = 0;
  int mLeft = -1;
  bool mFinishing = false;
  std::unique_ptr<dorn::OutgoingQueue> mOutgoing;
  std::string mHeld;
};
#include "dorn/model/VQJsonCommand.h"
#endif
