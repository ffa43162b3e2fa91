// Where the objects of a screen stand: boxes side by side in columns of at least 40 cells, on a
// sheet that may be higher than the terminal.
#ifndef TOOLS_DORN_TERMINAL_LAYOUT_H_
#define TOOLS_DORN_TERMINAL_LAYOUT_H_

#include <map>
#include <string>
#include <vector>

#include "station/Screen.h"
#include "tools/dorn-terminal/Cells.h"

namespace dorn::terminal {

enum class Part {
  kBox,      // The frame of a card or group.
  kCaption,  // A group's caption without a frame.
  kTab,      // The tab of a group in TABS; mItem is what it shows.
  kItem
};

struct Spot {
  Part mPart = Part::kItem;
  const station::Item* mItem = nullptr;  // Of the screen; null for the frame of loose objects.
  Rect mRect;
  std::string mOwner;      // Of a tab: the group with the tabs.
  bool mIsChosen = false;  // Of a tab: it is shown.
};

struct Sheet {
  int mWidth = 0;
  int mHeight = 0;
  std::vector<Spot> mSpots;  // In the order of the screen; frames before what stands in them.
};

// What the station knows beyond the screen.
struct Choices {
  std::map<std::string, std::string> mTabs;      // The chosen tab by its group.
  std::map<std::string, std::string> mRefusals;  // Why a typed value was not sent, by its object.
};

// The screen must outlive the sheet.
Sheet MakeSheet(const station::Screen& screen, const Choices& choices, int width);

// The Error of the host, or why a value was not sent.
std::string ErrorOf(const station::Item& item, const Choices& choices);

// Whether a spot can have the focus.
bool CanHaveFocus(const Spot& spot);

constexpr int kMarkWidth = 2;  // In front of each line, for its state.
constexpr int kListLines = 6;
constexpr int kMostTableRows = 8;
constexpr int kFewestTableRows = 3;

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_LAYOUT_H_
