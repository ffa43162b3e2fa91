#ifndef DORN_SERVER_VQSESSION_H_
#define DORN_SERVER_VQSESSION_H_
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
class DORN_EXPORT VQSession {
 public:
  VQSession();
  VQSession(const KZString& sessionId, int interval);
  virtual ~VQSession();
  VQSession(const VQSession&) = delete;
  VQSession& operator=(const VQSession&) = delete;
  void Extend();
  void SetSessionId(const KZString& sessionId);
  KZString& GetSessionId() { return mSessionId; }
  unsigned int mTimerId = 0;
  KZString mSessionId;
  int mInterval = 0;
};
#include "dorn/server/VQSessionList.h"
#endif
