// Draws the objects of a sheet.
#ifndef TOOLS_DORN_TERMINAL_OBJECTS_H_
#define TOOLS_DORN_TERMINAL_OBJECTS_H_

#include <map>
#include <string>
#include <vector>

#include "tools/dorn-terminal/Editor.h"
#include "tools/dorn-terminal/Layout.h"
#include "tools/dorn-terminal/Painter.h"
#include "tools/dorn-terminal/Texts.h"
#include "tools/dorn-terminal/Trends.h"

namespace dorn::terminal {

// What was typed into an object and is not confirmed.
struct Draft {
  Editor mEditor;
  bool mWasSent = false;  // The line was lost before anybody knew whether it had arrived.
};

// Where somebody is in a list or table.
struct Cursor {
  int mRow = 0;
  int mColumn = 0;  // The first one of a table that is shown.
};

// What objects look like beyond what the host says.
struct ObjectStates {
  std::string mFocus;  // As FocusOf() names it; empty: nowhere.
  std::map<std::string, Draft> mDrafts;
  std::map<std::string, Cursor> mCursors;
  Choices mChoices;
  Trends mTrends;
  bool mIsStale = false;  // Nothing can be touched, and what is shown may have changed.
};

Tone ToneOf(station::Condition condition);

// How the focus names a spot: objects and tabs may have the same name.
std::string FocusOf(const Spot& spot);

// A text as the user types it: a number as it is shown, all else as the host has it.
std::string TypedForm(const station::Item& item);

// The row of a table that is shown first so that the cursor is in view.
int FirstRow(int cursor, int rows, int visible);

// Whether columns of a table stand beyond the right end of `width` cells.
bool IsTableWider(const station::Item& item, const Texts& texts, int width, int firstColumn);

class ObjectPainter {
 public:
  // All must outlive it.
  ObjectPainter(Painter& painter, const ObjectStates& states, const Texts& texts)
      : mPainter(painter), mStates(states), mTexts(texts) {}

  void Draw(const Sheet& sheet);

 private:
  void DrawSpot(const Spot& spot);
  void DrawFrame(const Spot& spot);
  void DrawTab(const Spot& spot);
  void DrawItem(const Spot& spot);
  void DrawLabel(const station::Item& item, const Rect& rect);
  void DrawValueBelow(const station::Item& item, const Rect& rect, const Style& style);
  void DrawGauge(const station::Item& item, const Rect& rect);
  void DrawButton(const station::Item& item, const Rect& rect);
  void DrawEdit(const station::Item& item, const Rect& rect);
  void DrawField(const station::Item& item, const Rect& field);
  void DrawCheck(const station::Item& item, const Rect& rect);
  void DrawSlider(const station::Item& item, const Rect& rect);
  void DrawList(const station::Item& item, const Rect& rect);
  void DrawCombo(const station::Item& item, const Rect& rect);
  void DrawImage(const station::Item& item, const Rect& rect);
  // ObjectsTable.cc
  void DrawTable(const station::Item& item, const Rect& rect);
  void DrawRow(const station::Item& item, int row, const Rect& rect,
               const std::vector<int>& widths);

  void DrawMark(const station::Item& item, const Rect& rect);
  // Returns the cells that are left at the right of the caption.
  int DrawCaption(const station::Item& item, const Rect& rect, int reserved);
  bool HasFocus(const station::Item& item) const { return mStates.mFocus == item.mName; }
  Style StyleOf(const station::Item& item) const;
  Style CaptionStyle(const station::Item& item) const;
  Style ControlStyle(const station::Item& item) const;

  Painter& mPainter;
  const ObjectStates& mStates;
  const Texts& mTexts;
};

}  // namespace dorn::terminal

#endif  // TOOLS_DORN_TERMINAL_OBJECTS_H_
