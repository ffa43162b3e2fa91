#include "dorn/model/MemberText.h"

#include <cstddef>
#include <sstream>
#include <string_view>

#include "dorn/model/TreeWalk.h"
#include "dorn/model/WireWords.h"

namespace dorn {
namespace {

constexpr std::size_t kSessionMarkLength = sizeof(kSessionMark) - 1;

void AppendKey(std::string& out, std::string_view key, int& b) {
  AppendComma(out, b);
  out += '"';
  out += key;
  out += "\":";
}

// Not mList[key]: an inserted empty attribute would spoil every later full output.
void AppendStored(std::string& out, const VQJsonObject& object, const KZString& key) {
  const auto attribute = object.mList.find(key);
  if (attribute != object.mList.end()) attribute->second.AppendJson(out);
}

// Returns whether the entry was written: a session's own change is not echoed to it.
bool AppendDirtyEntry(std::string& out, const VQJsonObject& object, const KZString& entry, int& b,
                      const KZString& sessionid) {
  const std::size_t mark = sessionid.empty() ? KZString::npos : entry.find(kSessionMark);
  if (mark == KZString::npos) {
    AppendKey(out, entry, b);
    AppendStored(out, object, entry);
    return true;
  }
  if (entry.compare(mark + kSessionMarkLength, KZString::npos, sessionid) == 0) return false;
  const KZString key(entry.substr(0, mark));
  AppendKey(out, key, b);
  AppendStored(out, object, key);
  return true;
}

void AppendRow(std::string& out, const std::vector<VQValue>& row) {
  out += '[';
  int count = 0;
  for (const VQValue& cell : row) {
    AppendComma(out, count);
    cell.AppendJson(out);
  }
  out += ']';
}

void AppendList(std::string& out, VQJsonObjectHasList& group, int& b) {
  WriteList(
      group, b, [&out](std::string_view text) { out += text; },
      [&out](VQJsonObject& child) { AppendObject(out, child); });
}

void AppendOwnMembers(std::string& out, VQJsonObject& object, int& b) {
  AppendAttributes(out, object, b);
  if (IsPlainObject(object)) return;
  if (IsGrid(object)) AppendTable(out, static_cast<VQJsonGrid&>(object), b);
}

// Appends what `write` puts into a stream. Never inlined: a stream is big, and callers recurse.
template <class WriteText>
__attribute__((noinline)) void AppendStreamed(std::string& out, WriteText&& write) {
  std::ostringstream text;
  write(text);
  out += text.str();
}

}  // namespace

void AppendAttributes(std::string& out, const VQJsonObject& object, int& b) {
  for (const auto& [key, attribute] : object.mList) {
    AppendKey(out, key, b);
    attribute.AppendJson(out);
  }
}

void AppendDirtyAttributes(std::string& out, VQJsonObject& object, int& b,
                           const KZString& sessionid) {
  bool written = false;
  for (const KZString& entry : object.mDirty) {
    written |= AppendDirtyEntry(out, object, entry, b, sessionid);
  }
  if (!written) return;
  AppendKey(out, kKeyName, b);
  object.mList[kKeyName].AppendJson(out);
}

void AppendTable(std::string& out, const VQJsonGrid& grid, int& b) {
  if (b++ != 0) out += ",\n";
  out += "\"Data\":[";
  bool first = true;
  for (const std::vector<VQValue>& row : grid.mData) {
    if (!first) out += ",\n";
    first = false;
    AppendRow(out, row);
  }
  out += ']';
}

void AppendMembers(std::string& out, VQJsonObject& object, int& b) {
  if (IsOwnClass(object)) {
    AppendOwnMembers(out, object, b);
    return;
  }
  AppendStreamed(out, [&](std::ostream& text) { object.OutJsonMember(text, b); });
}

void AppendDirtyMembers(std::string& out, VQJsonObject& object, int& b, const KZString& sessionid) {
  if (IsOwnClass(object)) {
    AppendDirtyAttributes(out, object, b, sessionid);
    return;
  }
  AppendStreamed(out, [&](std::ostream& text) { object.OutJsonDirtyMember(text, b, sessionid); });
}

void AppendObject(std::string& out, VQJsonObject& object) {
  if (!IsOwnClass(object)) {
    AppendStreamed(out, [&](std::ostream& text) { object.OutJson(text); });
    return;
  }
  out += '{';
  int count = 0;
  AppendOwnMembers(out, object, count);
  if (VQJsonObjectHasList* group = AsGroup(object)) AppendList(out, *group, count);
  out += '}';
}

}  // namespace dorn
