#include "dorn/model/MemberText.h"

#include <cstddef>
#include <sstream>
#include <string_view>

#include "dorn/base/ShortCopy.h"
#include "dorn/model/TreeWalk.h"
#include "dorn/model/WireWords.h"

namespace dorn {
namespace {

constexpr std::size_t kSessionMarkLength = sizeof(kSessionMark) - 1;

char* PutKey(char* to, std::string_view key, bool isFirst) {
  if (!isFirst) *to++ = ',';
  *to++ = '"';
  to = Put(to, key);
  *to++ = '"';
  *to++ = ':';
  return to;
}

void AppendKey(std::string& out, std::string_view key, int& b) {
  const bool isFirst = b++ == 0;
  static_cast<void>(PutKey(AppendRoom(out, key.size() + (isFirst ? 3 : 4)), key, isFirst));
}

// Whether VQValue::AppendJson() writes the stored text, in quotes if it is a text.
bool IsFlat(const VQValue& attribute) {
  return attribute.mType < VQValue::TYPE_OBJECT ||
         (attribute.mObject == nullptr && attribute.mArray == nullptr);
}

std::size_t FlatLength(const VQValue& attribute) {
  return attribute.mString.size() + (attribute.mType == VQValue::TYPE_STRING ? 2 : 0);
}

char* PutFlat(char* to, const VQValue& attribute) {
  const bool isText = attribute.mType == VQValue::TYPE_STRING;
  if (isText) *to++ = '"';
  to = Put(to, attribute.mString);
  if (isText) *to++ = '"';
  return to;
}

// The length of the attributes as they are written behind something else, each with its comma; -1
// if one of them is not flat.
std::ptrdiff_t FlatLength(const VQJsonObject& object) {
  std::size_t length = 0;
  for (const auto& [key, attribute] : object.mList) {
    if (!IsFlat(attribute)) return -1;
    length += key.size() + 4 + FlatLength(attribute);
  }
  return static_cast<std::ptrdiff_t>(length);
}

char* PutFlat(char* to, const VQJsonObject& object, int& b) {
  for (const auto& [key, attribute] : object.mList) {
    to = PutFlat(PutKey(to, key, b++ == 0), attribute);
  }
  return to;
}

// Most objects have nothing but flat attributes: their text is measured, then written. A negative
// counter, which may pass 0 on the way, is left to the literal way, and so is an object without
// any.
bool AppendFlatAttributes(std::string& out, const VQJsonObject& object, int& b) {
  if (b < 0) return false;
  const std::ptrdiff_t length = FlatLength(object);
  if (length <= 0) return false;
  static_cast<void>(
      PutFlat(AppendRoom(out, static_cast<std::size_t>(length) - (b == 0)), object, b));
  return true;
}

// As AppendObject() for a plain object. Those of a long list are worth the shortest way.
void AppendPlainObject(std::string& out, const VQJsonObject& object) {
  int count = 0;
  const std::ptrdiff_t length = FlatLength(object);
  if (length > 0) {
    char* to = AppendRoom(out, static_cast<std::size_t>(length) + 1);
    *to++ = '{';
    *PutFlat(to, object, count) = '}';
    return;
  }
  out += '{';
  AppendAttributes(out, object, count);
  out += '}';
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
  if (AppendFlatAttributes(out, object, b)) return;
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
  if (IsPlainObject(object)) {
    AppendPlainObject(out, object);
    return;
  }
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
