// How values have been lately: so many points for each object that is shown with them.
#ifndef TOOLS_DORN_TERMINAL_TRENDS_H_
#define TOOLS_DORN_TERMINAL_TRENDS_H_

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>

#include "station/Screen.h"

namespace dorn::terminal {

class Trends {
 public:
  using Ms = std::int64_t;

  struct Point {
    Ms mAt;
    double mValue;
  };

  void Clear() { mPoints.clear(); }
  // Notes the values of all objects of a screen that show their trend.
  void AddAll(const station::Screen& screen, Ms now);
  // Points that come faster than they can be told apart take the place of the last one.
  void Add(const std::string& name, double value, Ms now);
  const std::deque<Point>& Of(const std::string& name) const;

 private:
  void AddItems(const std::vector<station::Item>& items, Ms now);

  std::map<std::string, std::deque<Point>> mPoints;
};

// Points as columns of eight heights between `low` and `high`, the newest at the right.
std::string SparkText(const std::deque<Trends::Point>& points, double low, double high, int width);

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_TRENDS_H_
