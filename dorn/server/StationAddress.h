// Where stations connect, and what the environment has to say about it. Internal: not installed.
// Loop thread only.
#ifndef DORN_SERVER_STATIONADDRESS_H_
#define DORN_SERVER_STATIONADDRESS_H_

#include <optional>
#include <string>
#include <string_view>

namespace dorn {

struct StationAddress {
  std::string host;  // Empty: every address of this machine.
  int port = 5000;   // 0: one that the system chooses.

  const char* HostOrNull() const { return host.empty() ? nullptr : host.c_str(); }
};

// Reads "address:port"; the address may be missing. Nothing for anything else.
std::optional<StationAddress> ReadStationAddress(std::string_view text);

// Whether the port is one. False with a line on standard error.
bool CheckPort(const StationAddress& address);

// Puts what the environment variable DORN_STATION says into `address`; nothing when it is unset or
// empty. A set-uid program does not listen to it. False, with a line on standard error, when it
// cannot be read.
bool ObeyEnvironment(StationAddress& address);

// The address that a listening descriptor really has; port 0 if it has none.
StationAddress AddressOf(int listener);

// Writes "address:port" and a line end to the file that the environment variable DORN_STATION_FILE
// names, if it names one. The file appears complete. A failure is one line on standard error.
void PublishStationAddress(int listener);

}  // namespace dorn

#endif  // DORN_SERVER_STATIONADDRESS_H_
