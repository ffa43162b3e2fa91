#ifndef DORN_BASE_EXPORT_H_
#define DORN_BASE_EXPORT_H_
#define DORN_EXPORT __attribute__((visibility("default")))
#endif
