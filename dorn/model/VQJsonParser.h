// From JSON text to object trees, and from the change records of a tree to update commands.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_MODEL_VQJSONPARSER_H_
#define DORN_MODEL_VQJSONPARSER_H_

#include <ostream>

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonResource.h"

class JsonParser;

// Has no state; make one where it is needed.
//
// Reading: `shard` is true for a tree that all sessions share, which keeps every attribute, and
// false for a tree of one session and for commands, where a "NotifyList" selects (see
// VQJsonObject::Parse()). A syntax error prints one line to standard output.
//
// Writing: the recursive writers put text to any stream; it need not be able to seek. `comma`
// counts the items written at the current level, as in VQJsonObject.
class DORN_EXPORT VQJsonParser {
 public:
  // Fills `jo` from the text of a resource file: a JSON object whose "Command" is "DIALOG", or one
  // with an array "Commands", of which the first element with that "Command" is taken. Returns
  // false, with `jo` untouched, if the text cannot be parsed or holds no such command.
  // Appends: in a tree that is already loaded, every child is there twice afterwards.
  bool ParseDialog(VQJsonResource* jo, const KZString& json, bool shard);

  // Appends the command or commands of a station's text to `jo`. Returns false, with `jo`
  // untouched, if the text cannot be parsed, is not an object, or has neither "Commands" nor
  // "Command". An empty array of commands gives true. Below the fourth level of objects, the
  // commands being the first, "Dialog" and "Commands" are attributes and make no children:
  // otherwise a small text could have attributes of any length.
  bool ParseCommand(VQJsonCommands* jo, const KZString& json);

  // A new object, which the caller owns, from the reader's current JSON object: a command if it has
  // a string "Command", else of the class that "Type" and "Layout" select. A group comes with its
  // children. `parent` becomes the object's parent, except for a command, which has none. Moves the
  // reader's cursor.
  VQJsonObject* ParseObject(JsonParser& jp, VQJsonObject* parent, bool shard);

  // Appends the children that the reader's current JSON object holds under "Objects", else
  // "Commands", else the one under "Object", else "Dialog", and returns how many `jo` took.
  // Elements that are not JSON objects are skipped. Kept: a child that AddObject() of a host's own
  // class refuses is not destroyed. Moves the reader's cursor.
  int ParseList(VQJsonObjectHasList* jo, JsonParser& jp, bool shard);

  // A new object, which the caller owns: a VQJsonResource for "DIALOG", else a VQJsonCommand.
  VQJsonObject* CreateCommand(const KZString& type);

  // A new object, which the caller owns, of the class that belongs to `type` and `layout`. Prints a
  // trace line for grids, radio buttons and radio groups.
  VQJsonObject* CreateObject(const KZString& type, const KZString& layout, VQJsonObject* parent);

  // Puts to `json` what the station of session `sessionid` has to hear about the tree: an UPDATE
  // command with the changed attributes that it did not set itself (with `allflag` every attribute
  // of every named object), and the DELETE and ADD commands for deleted and added objects. Returns
  // whether there is anything in it; without, `json` is an UPDATE command without objects.
  // DELETE and ADD records are cleared by being written, so only the first call carries them; the
  // changed attributes stay until ResetDirty().
  bool MakeUpdateCommand(KZString& json, VQJsonResource* jo, bool allflag,
                         const KZString& sessionid);

  // Writes `jo` and its subtree as entries of an UPDATE command. Objects without a name are left
  // out, their children are not; an object of which no member is written leaves no trace in `out`
  // and `comma`.
  void OutUpdateCommandRaw(std::ostream& out, VQJsonObject* jo, int& comma, bool allflag,
                           const KZString& sessionid);

  // Writes a DELETE command for each deletion record of `jo` and its subtree, and clears them.
  void OutDeleteCommandRaw(std::ostream& out, VQJsonObject* jo, int& comma);

  // Writes an ADD command for each added object of `jo` and its subtree, and clears the marks.
  // Inside an ADD command (`indent` above 0) it writes the objects of that command. `create` is
  // passed on and has no effect.
  void OutAddCommandRaw(std::ostream& out, VQJsonObject* jo, int& comma, int& indent, int create);
};

#endif  // DORN_MODEL_VQJSONPARSER_H_
