// Finds what changed in a tree. Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_TREESURVEY_H_
#define DORN_MODEL_TREESURVEY_H_

#include <string>
#include <vector>

#include "dorn/model/UpdateText.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonResource.h"

namespace dorn {

// One walk over a tree of the library's own classes that reads the change records of every object,
// so that composing an update and forgetting the records need no walk of their own. Every object is
// looked at each time, because hosts may write the records and the lists of children directly.
//
// The survey points to objects: it holds as long as nothing changes the tree but what is done here
// and what writing its entries does.
class TreeSurvey {
 public:
  // False if some object is of a host's class: such a class may override what is written, and the
  // survey is then of no use.
  bool Take(VQJsonResource& tree, bool allflag);

  // What an UPDATE command may name, in its order: the named objects that are dirty, or with
  // `allflag` all named objects. The root is never among them.
  const std::vector<VQJsonObject*>& Entries() const noexcept { return mEntries; }

  bool HasSideRecords() const noexcept { return !mDeleted.empty() || !mAdded.empty(); }

  // Appends the DELETE and ADD commands of the tree and clears their records, as
  // AppendDeleteCommandRaw() and AppendAddCommandRaw() do. Nothing when called again.
  void AppendSideCommands(std::string& out, int& comma);

  // What ResetDirty() of the tree does.
  void ResetDirty() const;

 private:
  bool Walk(const VQJsonObjectHasList& group);
  bool WalkBelow(VQJsonObject& object);
  void Note(VQJsonObject& object);
  void NoteRecords(VQJsonObject& object);

  bool mAllflag = false;
  std::vector<VQJsonObject*> mEntries;
  // With a record of each kind, the root included; parents before children, in list order.
  std::vector<VQJsonObject*> mDirty;
  std::vector<VQJsonObject*> mDeleted;
  std::vector<AddedObject> mAdded;
};

}  // namespace dorn

#endif  // DORN_MODEL_TREESURVEY_H_
