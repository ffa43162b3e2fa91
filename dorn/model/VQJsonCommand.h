// Commands between stations and server, as objects.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_MODEL_VQJSONCOMMAND_H_
#define DORN_MODEL_VQJSONCOMMAND_H_

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonObject.h"

// One command: its members are the attributes, its "Objects" the children. Also used to compose a
// reply: set attributes, then GetJson() gives the text, with the members in key order.
class DORN_EXPORT VQJsonCommand : public VQJsonObjectHasList {
 public:
  // The name and the attribute "Command" are `word`; the list key is "Objects", the parent null.
  explicit VQJsonCommand(const KZString& word);
  VQJsonCommand(const VQJsonCommand& other);
  VQJsonCommand& operator=(const VQJsonCommand& other) = default;
  ~VQJsonCommand() override;
};

// The commands of one received text, in their order. Not every entry is a VQJsonCommand: an element
// without a "Command" is an object of its "Type", and "DIALOG" gives a VQJsonResource.
class DORN_EXPORT VQJsonCommands : public VQJsonObjectHasList {
 public:
  // An empty list with list key "Commands" and no parent.
  VQJsonCommands();
  VQJsonCommands(const VQJsonCommands& other) = default;
  VQJsonCommands& operator=(const VQJsonCommands& other) = default;
  ~VQJsonCommands() override;
};

#endif  // DORN_MODEL_VQJSONCOMMAND_H_
