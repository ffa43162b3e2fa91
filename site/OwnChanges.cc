#include "site/OwnChanges.h"

#include <algorithm>
#include <utility>

namespace dorn::site {

void OwnChanges::Add(Ticket ticket, OwnChange change) {
  mTickets[change.connection].push_back(ticket);
  mChanges.insert_or_assign(ticket, std::move(change));
}

OwnChange* OwnChanges::Find(Ticket ticket) {
  const auto found = mChanges.find(ticket);
  return found != mChanges.end() ? &found->second : nullptr;
}

std::optional<OwnChange> OwnChanges::Take(Ticket ticket) {
  auto node = mChanges.extract(ticket);
  if (node.empty()) return std::nullopt;
  const auto tickets = mTickets.find(node.mapped().connection);
  auto& list = tickets->second;
  list.erase(std::remove(list.begin(), list.end(), ticket), list.end());
  if (list.empty()) mTickets.erase(tickets);
  return std::move(node.mapped());
}

void OwnChanges::Sent(int connection, const std::string& dialog,
                      const std::function<bool(const std::string&)>& isSent) {
  const auto tickets = mTickets.find(connection);
  if (tickets == mTickets.end()) return;
  for (const Ticket ticket : tickets->second) {
    OwnChange& change = mChanges.at(ticket);
    if (!change.isShown || change.dialog != dialog) continue;
    change.isShown = std::none_of(change.objects.begin(), change.objects.end(), isSent);
    // What the tree did not have may be among what was added to it; that holds for any name.
    if (change.namesOthers && isSent(std::string())) change.isShown = false;
  }
}

bool OwnChanges::HasUnknown(int connection, const std::string& dialog,
                            const std::string& object) const {
  const auto tickets = mTickets.find(connection);
  if (tickets == mTickets.end()) return false;
  return std::any_of(tickets->second.begin(), tickets->second.end(), [&](Ticket ticket) {
    const OwnChange& change = mChanges.at(ticket);
    const auto& objects = change.objects;
    return change.isUnknown && change.dialog == dialog &&
           std::find(objects.begin(), objects.end(), object) != objects.end();
  });
}

}  // namespace dorn::site
