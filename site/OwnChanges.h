// The changes of this host's stations that have not come back yet. Internal: not installed.
#ifndef SITE_OWNCHANGES_H_
#define SITE_OWNCHANGES_H_

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "site/core/Node.h"

namespace dorn::site {

// Of whom a change is, and what it is about.
struct OwnChange {
  int connection = 0;   // The number of its record.
  std::string session;  // To which it was bound then: a number may be another connection's later.
  std::string dialog;
  std::vector<std::string> objects;  // That the tree had, each once.
  bool namesOthers = false;          // Beside them.

  // The station shows what it has sent: nothing else about these objects went to it since.
  bool isShown = true;
  // The station was told that nobody knows what became of it.
  bool isUnknown = false;
};

class OwnChanges {
 public:
  void Add(Ticket ticket, OwnChange change);
  // Null for an unknown ticket. Valid until the next change of the list.
  OwnChange* Find(Ticket ticket);
  std::optional<OwnChange> Take(Ticket ticket);

  // The connection was sent objects of the dialog, those for which `isSent` holds: what it had sent
  // of them before may not be what it shows.
  void Sent(int connection, const std::string& dialog,
            const std::function<bool(const std::string&)>& isSent);

  // Whether the connection waits for what became of such an object.
  bool HasUnknown(int connection, const std::string& dialog, const std::string& object) const;

  bool Has(int connection) const { return mTickets.count(connection) != 0; }
  std::size_t Size() const { return mChanges.size(); }

 private:
  std::map<Ticket, OwnChange> mChanges;
  std::map<int, std::vector<Ticket>> mTickets;  // By connection.
};

}  // namespace dorn::site

#endif  // SITE_OWNCHANGES_H_
