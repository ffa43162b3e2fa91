#include "dorn/server/Connections.h"

#include <cstddef>
#include <typeinfo>

#include "dorn/loop/KZFdData.h"
#include "dorn/loop/SharedInt.h"
#include "dorn/server/App.h"
#include "dorn/server/VQApplication.h"
#include "dorn/server/VQClientSocket.h"

namespace dorn {

VQClientSocket* AsConnection(KZFdData* record) {
  const auto id = static_cast<unsigned int>(record->GetId());
  const bool inRange =
      id >= VQApplication::kFirstSocketId && id < VQApplication::kFirstSessionTimerId;
  if (!inRange) return nullptr;
  // The usual class needs no search through its bases.
  if (typeid(*record) == typeid(VQClientSocket)) return static_cast<VQClientSocket*>(record);
  return dynamic_cast<VQClientSocket*>(record);
}

VQClientSocket* AsLivingConnection(KZFdData* record) {
  VQClientSocket* client = AsConnection(record);
  if (client == nullptr || LoadShared(record->mStatus) == KZFdData::kStatusRemove) return nullptr;
  return client;
}

// The record may be of another class: the addresses are not read, only fetched.
void PrefetchConnection(const KZFdData* record) {
  constexpr std::size_t kCacheLine = 64;
  const char* const start = reinterpret_cast<const char*>(record);
  const char* const end = start + sizeof(VQClientSocket);
  __builtin_prefetch(start);
  // The members of the class itself lie at the end.
  for (const char* line = start + sizeof(KZClientSocket); line < end; line += kCacheLine) {
    __builtin_prefetch(line);
  }
}

VQClientSocket* FindConnectionOf(const KZString& sid) {
  for (KZFdData* record : *App().GetFdDataList()) {
    VQClientSocket* client = AsLivingConnection(record);
    if (client != nullptr && client->mSessionId == sid) return client;
  }
  return nullptr;
}

}  // namespace dorn
