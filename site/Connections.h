// The connections that can be sent something. Internal: not installed.
#ifndef SITE_CONNECTIONS_H_
#define SITE_CONNECTIONS_H_

#include "dorn/server/VQApplication.h"
#include "dorn/server/VQClientSocket.h"

namespace dorn::site {

// `visit` may close connections, and must not run a pass of the loop.
template <class Visit>
void ForEachConnection(VQApplication& app, Visit&& visit) {
  for (KZFdData* record : *app.GetFdDataList()) {
    auto* client = dynamic_cast<VQClientSocket*>(record);
    if (client != nullptr && client->GetFDStatus() != KZFdData::kStatusRemove) visit(*client);
  }
}

// Null if it is gone, or about to go.
inline VQClientSocket* FindConnection(VQApplication& app, int id) {
  VQClientSocket* found = nullptr;
  static_cast<void>(app.GetSocket(static_cast<unsigned int>(id), &found));
  return found != nullptr && found->GetFDStatus() != KZFdData::kStatusRemove ? found : nullptr;
}

}  // namespace dorn::site

#endif  // SITE_CONNECTIONS_H_
