// The site's sessions, as this host's stations have them. Internal: not installed.
#ifndef SITE_SITESESSIONS_H_
#define SITE_SITESESSIONS_H_

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "dorn/base/KZString.h"
#include "site/core/Node.h"

class VQApplication;
class VQClientSocket;

namespace dorn::site {

// Each session of the site that a station of this host has used has a session of the application
// beside it, which never expires: it ends when the site's does.
class SiteSessions {
 public:
  explicit SiteSessions(VQApplication& app) : mApp(app) {}

  // The node must outlive this object. Before it is set nothing may be called.
  void SetNode(Node& node) { mNode = &node; }

  // See the public functions of these names.
  bool Create(const KZString& sid, int ms, std::string_view data);
  bool Reattach(const KZString& sid, VQClientSocket* client);
  std::optional<KZString> Data(const KZString& sid) const;

  // Hands in what could not be handed in before.
  void Retry();

  // What the node tells.
  void Started(Sequence session, const SessionStart& start, std::optional<Ticket> mine);
  void Ended(Sequence session);
  // False if the ticket is none of a session. It was not, or it was, accepted.
  bool Refused(Ticket ticket);
  bool Passed(Ticket ticket);

  // A whole state was loaded: ends what the site does not have any more.
  void Sweep();

  // Looks which sessions have been used since the last call.
  void NoteUse();

  // The site's session of that identifier if a station of this host has it; else 0.
  Sequence Of(const std::string& sid) const;

 private:
  // A log-in whose answer is held.
  struct LogIn {
    KZString sid;
    SessionStart start;
    std::optional<Ticket> ticket;
  };

  std::map<unsigned int, LogIn>::iterator FindLogIn(Ticket ticket);
  void LetIn(unsigned int held, const KZString& sid, Sequence session);
  void HaveLocal(const KZString& sid, Sequence session);
  void EndLocal(const KZString& sid);

  VQApplication& mApp;
  Node* mNode = nullptr;
  std::map<unsigned int, LogIn> mLogIns;  // By the number of the held log-in.
  std::map<std::string, Sequence> mLocal;
  std::map<int, std::uint64_t> mCommands;  // Of each connection, when they were last looked at.
};

}  // namespace dorn::site

#endif  // SITE_SITESESSIONS_H_
