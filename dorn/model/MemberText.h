// The texts of an object's members. Internal: not installed. Loop thread only.
//
// The rules of the counter are those of the writers in VQJsonObject.h. `std::string` instead of a
// stream, because most of these texts are composed in memory anyhow.
#ifndef DORN_MODEL_MEMBERTEXT_H_
#define DORN_MODEL_MEMBERTEXT_H_

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>

#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonObjectHasList.h"

namespace dorn {

// A whole text, whatever the stream's width and flags are.
inline void WriteWhole(std::ostream& out, const std::string& text) {
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

// Counts one more item and puts a comma before it unless it is the first.
inline void AppendComma(std::string& out, int& b) {
  if (b++ != 0) out += ',';
}

// The member with a group's list. `text` writes what stands around the children, `object` a child;
// it may change the list.
template <class WriteText, class WriteObject>
void WriteList(const VQJsonObjectHasList& group, int& b, WriteText&& text, WriteObject&& object) {
  if (group.mObjectList.empty()) return;
  text(b++ != 0 ? ",\"" : "\"");
  text(group.mListKey);
  text("\":[");
  bool isFirst = true;
  for (std::size_t i = 0; i < group.mObjectList.size(); ++i) {
    if (group.mObjectList[i] == nullptr) continue;
    if (!std::exchange(isFirst, false)) text(",");
    object(*group.mObjectList[i]);
  }
  text("]");
}

// What VQJsonObject::OutJsonMember() writes, for an object of any class.
void AppendAttributes(std::string& out, const VQJsonObject& object, int& b);

// What VQJsonObject::OutJsonDirtyMember() writes, for an object of any class.
void AppendDirtyAttributes(std::string& out, VQJsonObject& object, int& b,
                           const KZString& sessionid);

// What VQJsonGrid::OutJsonData() writes.
void AppendTable(std::string& out, const VQJsonGrid& grid, int& b);

// What the object's own OutJsonMember(), three-argument OutJsonDirtyMember() and OutJson(out)
// write: through these operations for a host's class, which may override them.
void AppendMembers(std::string& out, VQJsonObject& object, int& b);
void AppendDirtyMembers(std::string& out, VQJsonObject& object, int& b, const KZString& sessionid);
void AppendObject(std::string& out, VQJsonObject& object);

}  // namespace dorn

#endif  // DORN_MODEL_MEMBERTEXT_H_
