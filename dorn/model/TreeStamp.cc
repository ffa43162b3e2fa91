#include "dorn/model/TreeStamp.h"

namespace dorn {

__thread TreeStamp tTreeStamp;

}  // namespace dorn
