// Of which class a polymorphic object is, read from its table of virtual operations. Internal: not
// installed. Any thread.
//
// Not through `typeid` and `dynamic_cast`: the classes of a host that was compiled without type
// information have none, and asking for it is a null pointer read.
#ifndef DORN_BASE_VIRTUALTABLE_H_
#define DORN_BASE_VIRTUALTABLE_H_

#include <cstddef>
#include <cstring>

namespace dorn {

// All objects of exactly one class have the same table, and no object of another class has it.
// While a constructor runs, the table is that of the constructor's class.
template <class T>
const void* TableOf(const T& object) {
  const void* table = nullptr;
  std::memcpy(&table, static_cast<const void*>(&object), sizeof table);
  return table;
}

// The code behind one slot of the table: the same for a class and those derived from it as long as
// none of them overrides the operation.
template <class T>
const void* OperationOf(const T& object, std::size_t slot) {
  const void* operation = nullptr;
  std::memcpy(&operation, static_cast<const char*>(TableOf(object)) + slot * sizeof operation,
              sizeof operation);
  return operation;
}

}  // namespace dorn

#endif  // DORN_BASE_VIRTUALTABLE_H_
