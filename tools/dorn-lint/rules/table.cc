// Rows, Columns, Widths and RowKey of a grid that do not fit each other.
#include <algorithm>

#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

using station::Attribute;

std::vector<std::string> TextsOf(const Node* value) {
  std::vector<std::string> texts;
  if (value == nullptr) return texts;
  for (const Node& element : value->mElements) texts.push_back(element.Text());
  return texts;
}

std::string Count(std::size_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

void CheckRows(const Object& grid, std::size_t columns, Report& report) {
  const Node* rows = grid.ValueOf(Attribute::kRows);
  if (rows == nullptr) return;
  for (const Node& row : rows->mElements) {
    if (!row.IsArray() || row.mElements.size() == columns) continue;
    report.At(grid, row.mAt,
              "a row of " + Count(row.mElements.size(), "cell") + " under " +
                  Count(columns, "column") + ": write one for each");
  }
}

// Columns of another language, and Widths.
void CheckLengths(const Object& grid, std::size_t columns, Report& report) {
  for (const Member& member : grid.mNode->mMembers) {
    const station::AttributeWord* word = station::FindAttribute(member.mKey);
    const bool isPerColumn = word != nullptr && (word->mAttribute == Attribute::kColumns ||
                                                 word->mAttribute == Attribute::kWidths);
    if (!isPerColumn || !member.mValue.IsArray()) continue;
    if (member.mValue.mElements.size() == columns) continue;
    report.At(grid, member.mAt,
              Cut(member.mKey) + " has " + std::to_string(member.mValue.mElements.size()) +
                  (member.mValue.mElements.size() == 1 ? " entry" : " entries") + " for " +
                  Count(columns, "column") + ": write one for each");
  }
}

void CheckTitles(const Object& grid, const std::vector<std::string>& titles, Report& report) {
  const auto isThere = [&titles](const std::string& title) {
    return std::find(titles.begin(), titles.end(), title) != titles.end();
  };
  const std::string key = grid.TextOf(Attribute::kRowKey);
  if (!key.empty() && !isThere(key)) {
    report.At(grid, grid.ValueOf(Attribute::kRowKey)->mAt,
              "RowKey " + Shown(key) +
                  " is none of Columns, so the first column counts: write its "
                  "title");
  }
  if (grid.TextOf(Attribute::kRole) != "ALARMS") return;
  for (const char* title : {"Time", "State", "Text", "Ack"}) {
    if (!isThere(title)) {
      report.At(grid, grid.ValueOf(Attribute::kColumns)->mAt,
                std::string("alarms without a column ") + title +
                    ": add it under this title, and translate it in Columns:ja");
    }
  }
}

void CheckGrid(const Object& grid, Report& report) {
  std::vector<std::string> titles = TextsOf(grid.ValueOf(Attribute::kColumns));
  if (titles.empty()) return;
  CheckRows(grid, titles.size(), report);
  CheckLengths(grid, titles.size(), report);
  CheckTitles(grid, titles, report);
}

void Check(const File& file, const Site&, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&report](const Object& object) {
    if (object.mMade == Made::kGrid) CheckGrid(object, report);
  });
}

}  // namespace

const Rule kTable{"table", Severity::kWarning, "Rows, Columns, Widths and RowKey that do not fit",
                  Check};

}  // namespace dorn::lint
