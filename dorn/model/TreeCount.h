// Counts the trees that come and go. Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_TREECOUNT_H_
#define DORN_MODEL_TREECOUNT_H_

#include <cstdint>

namespace dorn {

// Grows by one whenever a VQJsonResource is made from nothing or destroyed: who knows which trees
// there are can tell from it that somebody else has changed that.
extern std::uint64_t gTreeCount;

}  // namespace dorn

#endif  // DORN_MODEL_TREECOUNT_H_
