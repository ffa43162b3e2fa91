#ifndef DORN_SERVER_VQSESSIONLIST_H_
#define DORN_SERVER_VQSESSIONLIST_H_
#include <map>
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
class VQSession;
class DORN_EXPORT VQSessionList {
 public:
  VQSessionList();
  virtual ~VQSessionList();
  VQSessionList(const VQSessionList&) = delete;
  VQSessionList& operator=(const VQSessionList&) = delete;
  bool Has(const KZString& sessionId) const;
  VQSession* Search(const KZString& sessionId) const;
  void Add(const KZString& sessionId, VQSession* session);
  void Remove(const KZString& sessionId);
  void Expire(unsigned int timerId);
  std::map<KZString, VQSession*> mSessionList;

 private:
  void End(const KZString& key, VQSession* session);
};
#endif
