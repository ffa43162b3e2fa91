// The export macro of libdorn-site: only what hosts use is visible outside.
#ifndef SITE_EXPORT_H_
#define SITE_EXPORT_H_

#define DORN_SITE_EXPORT __attribute__((visibility("default")))

#endif  // SITE_EXPORT_H_
