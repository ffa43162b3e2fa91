// The figures of hosts as people and scripts read them.
#ifndef TOOLS_DORN_TOP_TABLE_H_
#define TOOLS_DORN_TOP_TABLE_H_

#include <optional>
#include <string>
#include <vector>

#include "tools/dorn-top/Source.h"

namespace dorn::top {

// In at most four characters for numbers below a thousand billions: 7.5, 812, 9.1K, 64M.
std::string ShortNumber(double number);
// 812us, 12.3ms, 1.25s.
std::string ShortTime(double microseconds);

// The names of the columns, and what a host has in them: a number, or a dash where it is not known;
// in place of them why there is nothing to tell. The path comes last: a narrow screen cuts it.
std::string HeadLine();
std::string RowOf(const Source& source);

// What has become of the connections of a host: "accepted 40, refused 0, closed: station 12". Empty
// while it is gone.
std::string ConnectionsOf(const Source& source);

// Of all hosts: {"host":...,"now":{"stations":...},"closed":{...},"rates":{...}}, with what the
// host counts under its own names, or {"host":...,"error":...}.
std::string AsJson(const std::vector<Source>& sources);

}  // namespace dorn::top

#endif  // TOOLS_DORN_TOP_TABLE_H_
