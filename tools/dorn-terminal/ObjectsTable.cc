// Tables of objects.
#include <algorithm>
#include <cstdlib>

#include "tools/dorn-terminal/Objects.h"
#include "tools/dorn-terminal/Width.h"

namespace dorn::terminal {

namespace {

using station::Item;
using station::Table;

constexpr int kWidestColumn = 40;
constexpr std::size_t kMeasuredRows = 200;  // Those behind them are cut to the same widths.

int GivenWidth(const Table& table, std::size_t column) {
  if (column >= table.mWidths.size()) return 0;
  return std::clamp(std::atoi(table.mWidths[column].c_str()), 0, kWidestColumn);
}

// The cells of each column; what is left over goes to the last one.
std::vector<int> ColumnWidths(const Table& table, const Texts& texts, int width) {
  std::vector<int> widths;
  int used = 0;
  for (std::size_t column = 0; column < table.mColumns.size(); ++column) {
    int wanted = GivenWidth(table, column);
    const bool isGiven = wanted > 0;
    wanted =
        std::max(wanted, std::min(TextWidth(table.mColumns[column], kWidestColumn), kWidestColumn));
    for (std::size_t row = 0; !isGiven && row < std::min(table.mRows.size(), kMeasuredRows);
         ++row) {
      const auto& cells = table.mRows[row].mCells;
      if (column < cells.size()) {
        wanted = std::max(wanted, std::min(TextWidth(cells[column], kWidestColumn), kWidestColumn));
      }
    }
    const bool isLast = column + 1 == table.mColumns.size();
    if (table.mIsAlarms && isLast) wanted = std::max(wanted, TextWidth(texts.ack) + 2);
    widths.push_back(std::max(wanted, 1));
    used += widths.back() + 1;
  }
  if (!widths.empty() && used - 1 < width) widths.back() += width - used + 1;
  return widths;
}

// Where a row says that it waits for somebody: its last empty cell.
std::size_t AckColumn(const station::TableRow& row, std::size_t columns) {
  for (std::size_t i = columns; row.mNeedsAck && i-- > 0;) {
    if (i >= row.mCells.size() || row.mCells[i].empty()) return i;
  }
  return columns;
}

}  // namespace

bool IsTableWider(const Item& item, const Texts& texts, int width, int firstColumn) {
  const std::vector<int> widths = ColumnWidths(item.mTable, texts, width);
  int used = -1;
  for (auto i = static_cast<std::size_t>(firstColumn); i < widths.size(); ++i)
    used += widths[i] + 1;
  return used > width;
}

void ObjectPainter::DrawTable(const Item& item, const Rect& rect) {
  const Table& table = item.mTable;
  const auto found = mStates.mCursors.find(item.mName);
  const Cursor cursor = found == mStates.mCursors.end() ? Cursor() : found->second;
  const std::vector<int> widths = ColumnWidths(table, mTexts, rect.mWidth);
  Style title = kDimStyle;
  title.mIsUnderlined = true;
  mPainter.Fill({rect.mX, rect.mY, rect.mWidth, 1}, title);
  int x = rect.mX;
  for (auto i = static_cast<std::size_t>(cursor.mColumn); i < widths.size() && x < rect.Right();
       ++i) {
    mPainter.Put(x, rect.mY, table.mColumns[i], title, std::min(widths[i], rect.Right() - x));
    x += widths[i] + 1;
  }
  const int visible = rect.mHeight - 1;
  const int rows = static_cast<int>(table.mRows.size());
  const int first = FirstRow(std::min(cursor.mRow, std::max(rows - 1, 0)), rows, visible);
  for (int row = first; row < std::min(rows, first + visible); ++row) {
    DrawRow(item, row, {rect.mX, rect.mY + 1 + row - first, rect.mWidth, 1}, widths);
  }
  if (rows <= visible) return;
  const std::string part = std::to_string(first + 1) + "-" +
                           std::to_string(std::min(rows, first + visible)) + "/" +
                           std::to_string(rows);
  mPainter.PutRight(rect.mX, rect.mY, " " + part, title, rect.mWidth);
}

void ObjectPainter::DrawRow(const Item& item, int row, const Rect& rect,
                            const std::vector<int>& widths) {
  const station::TableRow& cells = item.mTable.mRows[static_cast<std::size_t>(row)];
  const auto found = mStates.mCursors.find(item.mName);
  const Cursor cursor = found == mStates.mCursors.end() ? Cursor() : found->second;
  const int last = static_cast<int>(item.mTable.mRows.size()) - 1;
  Style style = StyleOf(item);
  if (style.mTone != Tone::kDim) style.mTone = ToneOf(cells.mState);
  style.mIsBold = cells.mNeedsAck && style.mTone != Tone::kPlain && style.mTone != Tone::kDim;
  style.mIsReverse = HasFocus(item) && std::min(cursor.mRow, last) == row;
  mPainter.Fill(rect, style);
  const std::size_t ack = AckColumn(cells, widths.size());
  int x = rect.mX;
  for (auto i = static_cast<std::size_t>(cursor.mColumn); i < widths.size() && x < rect.Right();
       ++i) {
    const bool isAck = i == ack;
    const std::string text = isAck                     ? "[" + std::string(mTexts.ack) + "]"
                             : i < cells.mCells.size() ? cells.mCells[i]
                                                       : std::string();
    mPainter.Put(x, rect.mY, text, style, std::min(widths[i], rect.Right() - x));
    x += widths[i] + 1;
  }
}

}  // namespace dorn::terminal
