// The texts of update commands. Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_UPDATETEXT_H_
#define DORN_MODEL_UPDATETEXT_H_

#include <cstddef>
#include <string>
#include <vector>

#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonObject.h"

namespace dorn {

// The entry of one object, without its children, in an UPDATE command: nothing at all if it has no
// name, is clean (without `allflag`), or has no member to write. `comma` counts the entries.
void AppendUpdateEntry(std::string& out, VQJsonObject& object, int& comma, bool allflag,
                       const KZString& sessionid);

// What VQJsonParser's writers of the same name write, appended to a string: the literal way, which
// walks the tree and asks each object. UpdateComposer is the fast way and has to give the same.
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

// An UPDATE command around what `appendEntries` appends to `out` and counts in its argument;
// returns that count.
template <class AppendEntries>
int AppendUpdateFrame(std::string& out, AppendEntries&& appendEntries) {
  int entries = 0;
  out += "{ \"Command\":\"UPDATE\", \"Objects\":[";
  appendEntries(entries);
  out += "]}\n";
  return entries;
}

// The UPDATE command of a tree, of which the root is not written; returns how many objects are.
int AppendUpdateCommand(std::string& out, VQJsonObject& tree, bool allflag,
                        const KZString& sessionid);

// The DELETE and then the ADD commands of a tree; clears their records.
void AppendSideCommands(std::string& out, VQJsonObject& tree, int& comma);

// The UPDATE command followed by the DELETE and ADD commands in `side`; alone if `side` is empty.
KZString JoinCommands(const std::string& update, const std::string& side);

}  // namespace dorn

#endif  // DORN_MODEL_UPDATETEXT_H_
