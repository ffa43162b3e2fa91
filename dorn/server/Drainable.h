// What waits for room in a socket. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_DRAINABLE_H_
#define DORN_SERVER_DRAINABLE_H_

namespace dorn {

class Drainable {
 public:
  // The socket has room: to be written, and watched again if that was not all.
  virtual void Drain() = 0;

 protected:
  ~Drainable() = default;  // Owned by whoever watches it.
};

}  // namespace dorn

#endif  // DORN_SERVER_DRAINABLE_H_
