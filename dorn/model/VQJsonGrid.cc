#include "dorn/model/VQJsonGrid.h"

#include <cstddef>
#include <string>

#include "dorn/model/ClassTags.h"
#include "dorn/model/MemberText.h"
#include "dorn/model/WireWords.h"

namespace {

bool IsInside(const std::vector<std::vector<VQValue>>& rows, int x, int y) {
  return x >= 0 && y >= 0 && static_cast<std::size_t>(y) < rows.size() &&
         static_cast<std::size_t>(x) < rows[static_cast<std::size_t>(y)].size();
}

}  // namespace

VQJsonGrid::VQJsonGrid(VQJsonObject* parent) : VQJsonObject(parent) { mDebugFlag = dorn::kTagGrid; }

VQJsonGrid::~VQJsonGrid() = default;

void VQJsonGrid::OutJsonMember(std::ostream& out, int& b) {
  VQJsonObject::OutJsonMember(out, b);
  OutJsonData(out, b);
}

void VQJsonGrid::OutJsonDirtyMember(std::ostream& out, int& b) { OutJsonMember(out, b); }

void VQJsonGrid::OutJsonData(std::ostream& out, int& b) {
  std::string text;
  dorn::AppendTable(text, *this, b);
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

void VQJsonGrid::SetDataSize(int x, int y) {
  if (x < 0 || y < 0) return;
  mData.resize(static_cast<std::size_t>(y));
  for (std::vector<VQValue>& row : mData) row.resize(static_cast<std::size_t>(x));
  SetDirty(dorn::kKeyData);
}

void VQJsonGrid::SetData(int x, int y, const char* text) {
  if (!IsInside(mData, x, y)) return;
  mData[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] = text;
}

KZString VQJsonGrid::GetData(int x, int y) {
  if (!IsInside(mData, x, y)) return {};
  return mData[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)].GetChar();
}
