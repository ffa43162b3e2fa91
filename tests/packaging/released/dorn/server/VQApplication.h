#ifndef DORN_SERVER_VQAPPLICATION_H_
#define DORN_SERVER_VQAPPLICATION_H_
#include <sys/time.h>
#include "dorn/base/Export.h"
#include "dorn/base/KZLog.h"
#include "dorn/base/KZString.h"
#include "dorn/loop/KZApplication.h"
#include "dorn/server/VQDialogList.h"
#include "dorn/server/VQDialogMaker.h"
#include "dorn/server/VQSessionList.h"
#include "dorn/server/VQStationSocket.h"
class VQClientSocket;
class VQDialog;
class DORN_EXPORT VQApplication : public KZApplication {
 public:
  static constexpr int kStationPort = 5000;
  static constexpr unsigned int kFirstSocketId = 0x8000000;
  static constexpr unsigned int kFirstSessionTimerId = 0xD000000;
  static constexpr unsigned int kTimerIdEnd = 0x10000000;
  explicit VQApplication(VQDialogMaker& maker);
  ~VQApplication() override;
  VQApplication(const VQApplication&) = delete;
  VQApplication& operator=(const VQApplication&) = delete;
  void ApplicationTimer(timeval time, unsigned int id) override;
  void DialogTimer(timeval time, unsigned int id, KZString name) override;
  virtual int OnInit() = 0;
  virtual void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) = 0;
  virtual bool OnAuthCheck(const KZString& sid, VQClientSocket* client);
  virtual void OnStart(VQClientSocket* client, KZString& type, int resolutionV, int resolutionH);
  virtual void OnTimer(timeval time, unsigned int id);
  int Initialize(int argc, char** argv);
  bool IsListening();
  void SetLogStream(KZStream* stream);
  static bool IsInsideResources(const KZString& name);
  unsigned int MakeSocketId();
  unsigned int MakeSessionTimerId();
  VQDialog* CreateDialog(const char* name);
  bool CreateSession(const KZString& sid, int interval);
  VQDialogList* DialogList() { return &mDialogList; }
  VQSessionList* SessionList() { return &mSessionList; }
  char* GetModuleDirectory();
  void SendDataList(const KZString& sid, const KZString& dname, const KZString& text);
  void RemoveSocketBySession(const KZString& sid);
  int GetSocket(unsigned int id, VQClientSocket** client);
  const VQDialogMaker& mDialogMaker;
  VQStationSocket mStationSocket;
  VQDialogList mDialogList;
  VQSessionList mSessionList;
  KZStream mLog;
  unsigned int mSocketId;
  unsigned int mSessionTimerId;

 private:
  friend class VQClientSocket;
  friend class VQSession;
  unsigned int NextSocketId();
  bool HasSocketTimer(unsigned int socketId);
  unsigned int NextSessionTimerId();
  void ConnectionTimer(VQClientSocket* client, int kind);
  bool mSocketIdsWrapped = false;
  bool mSessionTimerIdsWrapped = false;
};
#include "dorn/server/VQClientSocket.h"
#include "dorn/server/VQDialog.h"
#include "dorn/server/VQSession.h"
#endif
