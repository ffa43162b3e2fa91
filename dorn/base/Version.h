// The version of the headers that a host is compiled against. The number after libdorn.so is that
// of the library that it runs with; one first number, one binary interface.
#ifndef DORN_BASE_VERSION_H_
#define DORN_BASE_VERSION_H_

// The build and the packages take the version from this line.
#define DORN_VERSION "1.8.7"

// For the preprocessor: 10000 times the first number, 100 times the second, and the third.
#define DORN_VERSION_NUMBER 10807

#endif  // DORN_BASE_VERSION_H_
