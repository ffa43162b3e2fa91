// The texts of update commands. Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_UPDATETEXT_H_
#define DORN_MODEL_UPDATETEXT_H_

#include <cstddef>
#include <string>
#include <vector>

#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonResource.h"

namespace dorn {

// The entry of one object, without its children, in an UPDATE command: nothing at all if it has no
// name, is clean (without `allflag`), or has no member to write. `comma` counts the entries.
void AppendUpdateEntry(std::string& out, VQJsonObject& object, int& comma, bool allflag,
                       const KZString& sessionid);

// What VQJsonParser's writers of the same name write, appended to a string.
void AppendUpdateCommandRaw(std::string& out, VQJsonObject& object, int& comma, bool allflag,
                            const KZString& sessionid);
void AppendDeleteCommandRaw(std::string& out, VQJsonObject& object, int& comma);
void AppendAddCommandRaw(std::string& out, VQJsonObject& object, int& comma, int& indent);

// The DELETE command for the record of one object, without its children; nothing if it has none.
void AppendDeleteRecord(std::string& out, VQJsonObject& object, int& comma);

// An object that was added, in a list of all such objects of a tree, parents before children. What
// follows up to `end` lies below it.
struct AddedObject {
  VQJsonObject* object;
  std::size_t end;
};

// What AppendAddCommandRaw() appends for a tree of which `added`, from `first` up to `last`, lists
// the added objects. Objects that are not marked any more are passed over.
void AppendAddedObjects(std::string& out, const std::vector<AddedObject>& added, std::size_t first,
                        std::size_t last, int& comma, int& indent);

// The frame around the entries of an UPDATE command.
void BeginUpdateCommand(std::string& out);
void EndUpdateCommand(std::string& out);

// The UPDATE command followed by the DELETE and ADD commands in `side`; alone if `side` is empty.
KZString JoinCommands(const std::string& update, const std::string& side);

}  // namespace dorn

#endif  // DORN_MODEL_UPDATETEXT_H_
