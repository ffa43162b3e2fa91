// Counts changes of object trees, so that what was derived from a tree can be told to be stale.
// Internal: not installed. Any thread; each one counts its own changes.
#ifndef DORN_MODEL_TREESTAMP_H_
#define DORN_MODEL_TREESTAMP_H_

#include <cstdint>

namespace dorn {

// The counts are of all trees together. They only see what the operations of the objects do, not
// what a host assigns to public members.
struct TreeStamp {
  std::uint64_t structure = 0;  // Objects created, destroyed, added, removed or renamed.
  std::uint64_t content = 0;    // The same, and attributes and change records.
};

// This thread's counts, at a fixed distance from the thread's own data: every command counts a
// dozen changes.
extern __thread TreeStamp tTreeStamp __attribute__((tls_model("initial-exec")));

inline const TreeStamp& CurrentTreeStamp() noexcept { return tTreeStamp; }

inline void NoteStructureChange() noexcept {
  TreeStamp& stamp = tTreeStamp;
  ++stamp.structure;
  ++stamp.content;
}

inline void NoteContentChange() noexcept { ++tTreeStamp.content; }

}  // namespace dorn

#endif  // DORN_MODEL_TREESTAMP_H_
