// The export macro. The library is built with hidden visibility; a class that hosts use is marked
// whole, so that its virtual table has one address on both sides of the library border: by that
// address the library tells its own classes from those of hosts. Type information is exported with
// it, for hosts that use dynamic_cast; the library itself does not, as hosts may have none.
#ifndef DORN_BASE_EXPORT_H_
#define DORN_BASE_EXPORT_H_

#define DORN_EXPORT __attribute__((visibility("default")))

#endif  // DORN_BASE_EXPORT_H_
