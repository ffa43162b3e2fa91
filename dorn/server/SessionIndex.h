// Finds the session of a timer. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_SESSIONINDEX_H_
#define DORN_SERVER_SESSIONINDEX_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "dorn/base/KZString.h"

class VQSession;
class VQSessionList;

namespace dorn {

// Where sessions are by the thousand, one that expires must not cost a look at all the others.
//
// The list's map is the truth and public; hosts may change it by hand. Hence:
// - A list of few sessions is walked.
// - The index is built anew when it was made for another list, or when the map has not the size
//   that the list's own operations gave it.
// - A session that is found still has its key and its timer id; if not, or if none is found, the
//   index is built anew.
// - Only the timer of a session that the list has removed is known to find nothing, and only while
//   no two sessions have the same one.
class SessionIndex {
 public:
  using Map = std::map<KZString, VQSession*>;

  // The index of the list that was used last.
  static SessionIndex& Of(const VQSessionList& list);

  // The first session, in the order of the keys, that has this timer; the map's end if there is
  // none.
  Map::const_iterator Find(unsigned int timerId);

  // Around the list's own changes: `size` is that of the map before.
  void Added(std::size_t size, const KZString& key, unsigned int timerId);
  void Erased(std::size_t size, const KZString& key, unsigned int timerId);

  // A session was removed while its timer, which nobody cancels, is still to fire, if it has one.
  void Removed(unsigned int timerId);

  // Before the list is destroyed.
  static void Forget(const VQSessionList& list);

  // How many sessions were looked at in walks so far.
  static std::uint64_t Steps();

 private:
  Map::const_iterator Walk(unsigned int timerId) const;
  Map::const_iterator Look(unsigned int timerId) const;
  void Rebuild();
  void DropCancelled();
  void Clear();

  const VQSessionList* mList = nullptr;
  std::size_t mSize = 0;
  std::unordered_map<unsigned int, KZString> mKeys;  // Of the first session with each timer.
  bool mIsShared = false;                            // Two sessions may have the same timer.
  std::unordered_set<unsigned int> mOrphans;         // Timers of removed sessions.
  std::size_t mOrphanLimit = 0;
};

}  // namespace dorn

#endif  // DORN_SERVER_SESSIONINDEX_H_
