#include "site/SiteSessions.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "dorn/server/CommandCount.h"
#include "dorn/server/HeldLogIn.h"
#include "dorn/server/VQApplication.h"
#include "site/Connections.h"
#include "site/core/Sha256.h"

namespace dorn::site {

bool SiteSessions::Create(const KZString& sid, int ms, std::string_view data) {
  if (sid.empty() || data.size() > kMaxSessionData) return false;
  const unsigned int held = HoldLogIn();
  if (held == 0) return false;
  LogIn& logIn = mLogIns[held];
  logIn.sid = sid;
  logIn.start.sid = Sha256(sid);
  logIn.start.intervalMs = static_cast<std::uint32_t>(std::max(ms, 0));
  logIn.start.data = std::string(data);
  logIn.ticket = mNode->StartSession(logIn.start);
  return true;
}

// Also forgets the log-ins of stations that have gone: their sessions, if they come, end by
// themselves.
void SiteSessions::Retry() {
  for (auto each = mLogIns.begin(); each != mLogIns.end();) {
    if (ConnectionOfHeldLogIn(each->first) == nullptr) {
      each = mLogIns.erase(each);
      continue;
    }
    LogIn& logIn = each->second;
    if (!logIn.ticket.has_value()) logIn.ticket = mNode->StartSession(logIn.start);
    ++each;
  }
}

bool SiteSessions::Reattach(const KZString& sid, VQClientSocket* client) {
  // Nothing is known yet, so nothing can be said: the station tries again, here or elsewhere.
  if (!mNode->IsServing()) {
    client->Close();
    return true;
  }
  const Sequence session = sid.empty() ? 0 : mNode->FindSession(Sha256(sid));
  if (session == 0) {
    client->Authentication("");
    return false;
  }
  HaveLocal(sid, session);
  client->Authentication(sid);
  return true;
}

std::optional<KZString> SiteSessions::Data(const KZString& sid) const {
  const SessionStart* start = mNode->Session(mNode->FindSession(Sha256(sid)));
  if (start == nullptr) return std::nullopt;
  return KZString(start->data);
}

std::map<unsigned int, SiteSessions::LogIn>::iterator SiteSessions::FindLogIn(Ticket ticket) {
  return std::find_if(mLogIns.begin(), mLogIns.end(),
                      [ticket](const auto& each) { return each.second.ticket == ticket; });
}

void SiteSessions::Started(Sequence session, const SessionStart&, std::optional<Ticket> mine) {
  if (!mine.has_value()) return;
  const auto found = FindLogIn(*mine);
  if (found == mLogIns.end()) return;
  const unsigned int held = found->first;
  const KZString sid = found->second.sid;
  mLogIns.erase(found);
  LetIn(held, sid, session);
}

// The hooks that run here may change everything.
void SiteSessions::LetIn(unsigned int held, const KZString& sid, Sequence session) {
  VQClientSocket* client = ConnectionOfHeldLogIn(held);
  if (client == nullptr) return;
  HaveLocal(sid, session);
  client->Authentication(sid);
  static_cast<void>(FinishLogIn(held));  // It is held: see above.
}

bool SiteSessions::Refused(Ticket ticket) {
  const auto found = FindLogIn(ticket);
  if (found == mLogIns.end()) return false;
  const unsigned int held = found->first;
  mLogIns.erase(found);
  static_cast<void>(FinishLogIn(held));  // The station may have gone.
  return true;
}

bool SiteSessions::Passed(Ticket ticket) {
  const auto found = FindLogIn(ticket);
  if (found == mLogIns.end()) return false;
  const Sequence session = mNode->FindSession(found->second.start.sid);
  if (session == 0) return Refused(ticket);
  const unsigned int held = found->first;
  const KZString sid = found->second.sid;
  mLogIns.erase(found);
  LetIn(held, sid, session);
  return true;
}

void SiteSessions::HaveLocal(const KZString& sid, Sequence session) {
  mApp.CreateSession(sid, 0);
  mLocal[sid] = session;
}

void SiteSessions::Ended(Sequence session) {
  const auto found = std::find_if(mLocal.begin(), mLocal.end(),
                                  [session](const auto& each) { return each.second == session; });
  if (found != mLocal.end()) EndLocal(KZString(found->first));
}

void SiteSessions::Sweep() {
  std::vector<KZString> gone;
  for (auto& [sid, session] : mLocal) {
    session = mNode->FindSession(Sha256(sid));
    if (session == 0) gone.emplace_back(sid);
  }
  for (const KZString& sid : gone) EndLocal(sid);
}

// As an expiring session ends: its trees, its connections, itself.
void SiteSessions::EndLocal(const KZString& sid) {
  mLocal.erase(sid);
  mApp.DialogList()->RemoveBySession(sid);
  std::vector<int> connections;
  ForEachConnection(mApp, [&](VQClientSocket& client) {
    if (client.GetSessionId() == sid) connections.push_back(client.GetId());
  });
  for (const int connection : connections) {
    VQClientSocket* client = FindConnection(mApp, connection);
    if (client == nullptr || client->GetSessionId() != sid) continue;
    client->Authentication("");
    client->Close();
  }
  mApp.SessionList()->Remove(sid);
}

void SiteSessions::NoteUse() {
  std::map<int, std::uint64_t> seen;
  ForEachConnection(mApp, [&](VQClientSocket& client) {
    const auto local = mLocal.find(client.GetSessionId());
    if (local == mLocal.end()) return;
    const std::uint64_t commands = CommandCount(client);
    seen[client.GetId()] = commands;
    const auto before = mCommands.find(client.GetId());
    if (before == mCommands.end() || before->second != commands) {
      mNode->ExtendSession(local->second);
    }
  });
  mCommands.swap(seen);
}

Sequence SiteSessions::Of(const std::string& sid) const {
  const auto found = mLocal.find(sid);
  return found != mLocal.end() ? found->second : 0;
}

}  // namespace dorn::site
