// Lines on standard output. Internal: not installed. Any thread.
#ifndef DORN_SERVER_CONSOLE_H_
#define DORN_SERVER_CONSOLE_H_

#include <initializer_list>
#include <string_view>

namespace dorn {

// Prints the parts and a line end as one piece, zero bytes included. A part is never a format, so
// that texts of stations may be among them.
void PrintLine(std::initializer_list<std::string_view> parts);

}  // namespace dorn

#endif  // DORN_SERVER_CONSOLE_H_
