// The bytes around a message, in both directions: STX text ETX. Internal: not installed.
#ifndef DORN_SERVER_FRAMEBYTES_H_
#define DORN_SERVER_FRAMEBYTES_H_

namespace dorn {

constexpr char kStx = 0x02;
constexpr char kEtx = 0x03;

}  // namespace dorn

#endif  // DORN_SERVER_FRAMEBYTES_H_
