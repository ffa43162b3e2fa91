#include "station/ScreenTable.h"

#include <algorithm>

namespace dorn::station {

namespace {

constexpr std::size_t kNoColumn = static_cast<std::size_t>(-1);

// A, B, ... Z, AA, AB, ...
std::string LetterOf(std::size_t column) {
  std::string letters;
  for (++column; column > 0; column = (column - 1) / 26) {
    letters.insert(letters.begin(), static_cast<char>('A' + (column - 1) % 26));
  }
  return letters;
}

const Json::Array& RowsOf(const Words& words) {
  static const Json::Array none;
  for (const Attribute attribute : {Attribute::kRows, Attribute::kData}) {
    const Json* rows = words.Find(attribute);
    if (IsTable(rows)) return rows->mElements;
  }
  return none;
}

std::size_t ColumnOf(const std::vector<std::string>& titles, std::string_view title) {
  const auto found = std::find(titles.begin(), titles.end(), title);
  return found == titles.end() ? kNoColumn : static_cast<std::size_t>(found - titles.begin());
}

std::string CellAt(const TableRow& row, std::size_t column) {
  return column < row.mCells.size() ? row.mCells[column] : std::string();
}

}  // namespace

Condition ConditionOf(std::string_view word) {
  if (word == "INFO") return Condition::kInfo;
  if (word == "WARN") return Condition::kWarn;
  if (word == "ALARM") return Condition::kAlarm;
  if (word == "BAD") return Condition::kBad;
  return word == "OFF" ? Condition::kOff : Condition::kNormal;
}

// Columns are found by their plain titles; those of a language are for display alone.
Table MakeTable(const Words& words) {
  Table table;
  table.mIsAlarms = words.Word(Attribute::kRole) == "ALARMS";
  std::vector<std::string> titles = TextsOf(words.Find(Attribute::kColumns));
  if (titles.empty() && table.mIsAlarms) titles = {"Time", "State", "Text", "Ack"};
  table.mWidths = TextsOf(words.Find(Attribute::kWidths));
  const std::size_t ack = table.mIsAlarms ? ColumnOf(titles, "Ack") : kNoColumn;
  const std::size_t state = table.mIsAlarms ? ColumnOf(titles, "State") : kNoColumn;
  const std::size_t text = table.mIsAlarms ? ColumnOf(titles, "Text") : kNoColumn;
  std::size_t key = ColumnOf(titles, words.Text(Attribute::kRowKey));
  if (key == kNoColumn) key = 0;
  std::size_t columns = titles.size();
  for (const Json& cells : RowsOf(words)) {
    TableRow row;
    row.mCells = TextsOf(&cells);
    columns = std::max(columns, row.mCells.size());
    row.mKey = CellAt(row, key);
    row.mText = CellAt(row, text);
    row.mState = ConditionOf(CellAt(row, state));
    row.mNeedsAck = ack != kNoColumn && CellAt(row, ack).empty();
    table.mRows.push_back(std::move(row));
  }
  table.mColumns = TextsOf(words.FindInLanguage(Attribute::kColumns));
  for (std::size_t i = table.mColumns.size(); i < titles.size(); ++i) {
    table.mColumns.push_back(titles[i]);
  }
  for (std::size_t i = table.mColumns.size(); i < columns; ++i) {
    table.mColumns.push_back(LetterOf(i));
  }
  return table;
}

}  // namespace dorn::station
