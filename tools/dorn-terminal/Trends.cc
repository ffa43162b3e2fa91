#include "tools/dorn-terminal/Trends.h"

#include <algorithm>
#include <cstdlib>

#include "station/Numbers.h"

namespace dorn::terminal {

namespace {

constexpr std::size_t kMostPoints = 240;
constexpr Trends::Ms kStep = 600'000 / static_cast<Trends::Ms>(kMostPoints);

}  // namespace

void Trends::AddAll(const station::Screen& screen, Ms now) {
  for (const station::Card& card : screen.mCards) AddItems(card.mItems, now);
}

void Trends::AddItems(const std::vector<station::Item>& items, Ms now) {
  for (const station::Item& item : items) {
    AddItems(item.mChildren, now);
    if (item.mFormat != station::Format::kSpark || !station::ReadDecimal(item.mRaw)) continue;
    Add(item.mName, std::strtod(item.mRaw.c_str(), nullptr), now);
  }
}

void Trends::Add(const std::string& name, double value, Ms now) {
  std::deque<Point>& points = mPoints[name];
  if (points.size() > 1 && now - points[points.size() - 2].mAt < kStep) points.pop_back();
  points.push_back({now, value});
  if (points.size() > kMostPoints) points.pop_front();
}

const std::deque<Trends::Point>& Trends::Of(const std::string& name) const {
  static const std::deque<Point> none;
  const auto found = mPoints.find(name);
  return found == mPoints.end() ? none : found->second;
}

std::string SparkText(const std::deque<Trends::Point>& points, double low, double high, int width) {
  static const char* const kHeights[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
  const std::size_t shown = std::min(points.size(), static_cast<std::size_t>(std::max(width, 0)));
  std::string text(static_cast<std::size_t>(std::max(width, 0)) - shown, ' ');
  for (std::size_t i = points.size() - shown; i < points.size(); ++i) {
    const double part = high > low ? (points[i].mValue - low) / (high - low) : 0;
    text += kHeights[static_cast<std::size_t>(std::clamp(part, 0.0, 0.999) * 8)];
  }
  return text;
}

}  // namespace dorn::terminal
