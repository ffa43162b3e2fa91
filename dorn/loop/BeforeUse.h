// What a record that keeps bytes back does before somebody else uses its descriptor.
// Internal: not installed.
#ifndef DORN_LOOP_BEFOREUSE_H_
#define DORN_LOOP_BEFOREUSE_H_

#include "dorn/loop/KZFdData.h"

namespace dorn {

// From now on KZFdData::GetFD() and SetFD() call `write`, on whatever thread they are called,
// before they hand the descriptor out: every operation that sends or closes asks for it first.
// Null: no more. To be called where the record is constructed or destroyed only.
void SetBeforeUse(KZFdData& record, BeforeUse write);

}  // namespace dorn

#endif  // DORN_LOOP_BEFOREUSE_H_
