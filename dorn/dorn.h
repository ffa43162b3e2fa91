// Includes the whole public interface of libdorn.
#ifndef DORN_DORN_H_
#define DORN_DORN_H_

#endif  // DORN_DORN_H_
