#ifndef DORN_SERVER_VQDIALOG_H_
#define DORN_SERVER_VQDIALOG_H_
#include <sys/time.h>
#include <map>
#include <vector>
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonResource.h"
class VQClientSocket;
class DORN_EXPORT VQDialog {
 public:
  VQDialog();
  virtual ~VQDialog();
  VQDialog(const VQDialog&) = delete;
  VQDialog& operator=(const VQDialog&) = delete;
  virtual void OnInit();
  virtual void OnChangeBefore(VQClientSocket* client, VQJsonCommand* command);
  virtual void OnChange(VQClientSocket* client, VQJsonCommand* command);
  virtual void OnCondition(VQClientSocket* client, VQJsonCommand* command);
  virtual void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid);
  virtual void OnTouch(VQClientSocket* client, VQJsonObject* object, KZString actionType);
  virtual void OnTimer(timeval time, unsigned int id);
  virtual void OnFinal();
  virtual int OnGetfile(VQClientSocket* client, KZString file, KZString date, KZString objectName);
  void Init(const KZString& name, const char* file);
  static bool IsInsideResources(const KZString& file);
  int LoadJsonShare();
  int LoadJsonUnique(const KZString& sid);
  void LoadJson(const KZString& file, const KZString& sid);
  VQJsonResource* GetResourceShare();
  VQJsonResource* GetResourceUnique(const KZString& sid);
  void UpdateResourceShare(VQJsonCommand* command, const KZString& sid);
  void UpdateResourceUnique(VQJsonCommand* command, const KZString& sid);
  void UpdateResource(VQJsonCommand* command, VQJsonResource* tree, const KZString& sid);
  bool SendUpdateShare(bool all);
  bool SendUpdateShareToAll(bool all);
  bool SendSnapshot(VQClientSocket* client);
  bool SendUpdateUnique(const KZString& sid, bool all);
  int AddSession(const KZString& sid);
  int RemoveSession(const KZString& sid);
  void SetTimerInterval(int interval, unsigned int id);
  void SetSingleTimerInterval(int interval, unsigned int id);
  KZString mDialogName;
  KZString mFileName;
  std::map<KZString, VQJsonResource> mSessionResourceList;
};
#include "dorn/server/VQClientSocket.h"
#include "dorn/server/VQDialogList.h"
#endif
