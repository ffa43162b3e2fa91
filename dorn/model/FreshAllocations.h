// Remembers which storage came from the objects' allocation operator and has no object in it yet.
// Internal: not installed. Any thread; each one knows its own allocations.
#ifndef DORN_MODEL_FRESHALLOCATIONS_H_
#define DORN_MODEL_FRESHALLOCATIONS_H_

#include <cstddef>

namespace dorn {

// Remembers `storage`. There may be several at a time, up to 64: in `new A(new B)` the storage of A
// comes before that of B.
void NoteFresh(void* storage, std::size_t size) noexcept;

// Whether an object that is being constructed at `object` fills remembered storage from its first
// byte on. The storage is forgotten, also when the object only lies somewhere inside it.
bool TakeFresh(const void* object) noexcept;

// Forgets `storage`, which is about to be freed: its constructor may never have run.
void ForgetFresh(const void* storage) noexcept;

}  // namespace dorn

#endif  // DORN_MODEL_FRESHALLOCATIONS_H_
