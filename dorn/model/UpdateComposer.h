// Composes the update texts of one tree for many recipients.
// Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_UPDATECOMPOSER_H_
#define DORN_MODEL_UPDATECOMPOSER_H_

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonResource.h"

namespace dorn {

// Who gets the DELETE and ADD commands of a tree.
enum class SideCommands {
  kFirst,     // The first recipient alone, as with one MakeUpdateCommand() after the other.
  kEveryone,  // Every recipient.
};

// Gives for each session the text that VQJsonParser::MakeUpdateCommand() would give, called for the
// same sessions in the same order, and leaves the tree behind as those calls would: the first call
// clears the add and delete records, and attributes "Name" are inserted where they were looked up.
// Sessions that no change is tagged with share one text. Make one composer for each round of
// sending; ResetDirty() stays with the caller.
//
// Should an operation change the tree between two calls, what was composed is composed anew. A tree
// with an object of a host's own class gets a literal call for every recipient, since that class
// may override a writer.
class UpdateComposer {
 public:
  // `tree` must outlive the composer. `allflag` as for MakeUpdateCommand().
  UpdateComposer(VQJsonResource* tree, bool allflag, SideCommands sideCommands);

  // The text for a recipient, or null if there is nothing to send to it. Recipients that get the
  // same text get the same pointer.
  std::shared_ptr<const KZString> Compose(const KZString& sessionid);

 private:
  struct Update;

  std::shared_ptr<const KZString> ComposeLiterally(const KZString& sessionid);
  const Update& Find(const KZString& sessionid);
  void Survey();

  VQJsonResource* mTree;
  bool mAllflag;
  SideCommands mSideCommands;
};

}  // namespace dorn

#endif  // DORN_MODEL_UPDATECOMPOSER_H_
