// The alarms of the station, as the rows of the grid that shows them.
#ifndef PUMPHOUSE_ALARMLIST_H_
#define PUMPHOUSE_ALARMLIST_H_

#include <dorn/dorn.h>

#include <string>

class AlarmList {
 public:
  static constexpr std::size_t kMostRows = 20;

  // `grid` may be null; otherwise it must live as long as the list.
  void Show(VQJsonObject* grid) { mGrid = grid; }

  // A new row at the top. What falls off at the bottom is forgotten.
  void Raise(const char* state, const char* text);

  // Notes who has seen the alarm of that number, unless somebody had before.
  void Acknowledge(const KZString& number, const std::string& who);

 private:
  VQJsonObject* mGrid = nullptr;
  int mRaised = 0;
};

// "12:34:56"
std::string TimeOfDay();

#endif  // PUMPHOUSE_ALARMLIST_H_
