// Where an object lies. Internal: not installed. Any thread.
#ifndef DORN_SERVER_STORAGE_H_
#define DORN_SERVER_STORAGE_H_

namespace dorn {

// Whether the object is a variable, static or on this thread's stack, which nobody may delete. An
// object inside another one on the heap cannot be told from one of its own.
bool IsVariable(const void* object);

}  // namespace dorn

#endif  // DORN_SERVER_STORAGE_H_
