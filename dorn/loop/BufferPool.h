// Keeps large receive buffers for the next connection. Internal: not installed.
#ifndef DORN_LOOP_BUFFERPOOL_H_
#define DORN_LOOP_BUFFERPOOL_H_

#include <cstddef>

namespace dorn {

// A large buffer of which a connection has used little costs more to be made, by the system's calls
// and the page that it fills with zeros, than it costs to be kept: one page. At most 16 are kept.
// Any thread.

// From this size on buffers are kept.
constexpr std::size_t kPooledSize = std::size_t{64} * 1024;

// A buffer of exactly `size` bytes that was kept, to be freed with delete[]; null when there is
// none. What it held before is gone.
char* TakeKeptBuffer(std::size_t size);

// Keeps a buffer, made by new[], of which only the first `used` bytes were ever written. False:
// the caller frees it.
bool KeepBuffer(char* buffer, std::size_t size, std::size_t used);

}  // namespace dorn

#endif  // DORN_LOOP_BUFFERPOOL_H_
