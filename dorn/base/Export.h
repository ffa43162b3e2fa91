// The export macro. The library is built with hidden visibility; a class that hosts use is marked
// whole, so that its virtual table and type information have one address on both sides of the
// library border and dynamic_cast works across it.
#ifndef DORN_BASE_EXPORT_H_
#define DORN_BASE_EXPORT_H_

#define DORN_EXPORT __attribute__((visibility("default")))

#endif  // DORN_BASE_EXPORT_H_
