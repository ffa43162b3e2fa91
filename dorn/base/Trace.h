// How much of the ordinary work appears on standard output.
#ifndef DORN_BASE_TRACE_H_
#define DORN_BASE_TRACE_H_

namespace dorn {

// See VQApplication::SetTrace(). What the process prints belongs to all of it, and so does this.
enum class Trace {
  kAll,        // Every line, with all that it holds: passwords and session ids, too.
  kNoSecrets,  // Every line; "***" for passwords, the first 8 characters of session ids.
  kNone        // Only what failed or was refused, likewise without secrets.
};

}  // namespace dorn

#endif  // DORN_BASE_TRACE_H_
