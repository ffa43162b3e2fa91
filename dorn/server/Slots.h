// Who gets the descriptors that the loop can watch. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_SLOTS_H_
#define DORN_SERVER_SLOTS_H_

#include <string>

namespace dorn {

// Peers that never log in must not keep others out. A slot is a descriptor that a station may have;
// a connection that is not logged in has its slot only as long as nobody else needs it:
// - When no slot is free, the address that holds most slots without a log-in gives up its oldest.
// - Once fewer than a quarter of the slots are free, one address holds at most a quarter of them
//   without a log-in: a further one replaces its oldest.
// A connection that is logged in is never closed for another one.

// Whether a station may have this descriptor.
bool IsSlot(int fd);

// The limit of descriptors may be another one now.
void CountSlotsAnew();

// For a new connection of `address` on descriptor `fd`, which is a slot: keeps the address within
// its share.
void KeepShare(int fd, const std::string& address);

// Closes one connection to make room. False if all are logged in.
bool MakeRoom();

}  // namespace dorn

#endif  // DORN_SERVER_SLOTS_H_
