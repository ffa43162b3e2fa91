#include "dorn/model/TreeStamp.h"

namespace dorn {

TreeStamp& CurrentTreeStamp() noexcept {
  static thread_local TreeStamp stamp;
  return stamp;
}

}  // namespace dorn
