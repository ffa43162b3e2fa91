// Finds the dialogs of a session. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_DIALOGINDEX_H_
#define DORN_SERVER_DIALOGINDEX_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "dorn/base/KZString.h"

class VQDialog;
class VQDialogList;

namespace dorn {

// Where hosts make dialogs or trees by the thousand, the end of a session must not cost a look at
// all of them.
//
// The list's map and the dialogs' maps of trees are the truth and public; hosts may change them by
// hand. Hence:
// - A list of few dialogs is walked.
// - The index is built anew when it was made for another list, when the list's map has not the size
//   that the list's own operations gave it, or when trees came or went otherwise than through the
//   dialogs' own operations, or when a dialog that is looked for has not the names that it had, or
//   while there are dialogs that have never been in the list.
// - A dialog is taken from the list's map, under a name that the index knows; its pointer in the
//   index is only compared.
class DialogIndex {
 public:
  using Map = std::map<KZString, VQDialog*>;

  // The index of the list that was used last.
  static DialogIndex& Of(const VQDialogList& list);

  // The names of the dialogs that have a tree of `session` or none at all, and perhaps of others;
  // of those names that are greater than `*behind`, if that is given.
  std::set<KZString> NamesFor(const KZString& session, const KZString* behind);

  // Another number than before when NamesFor() may have more to tell.
  std::uint64_t Version();

  // All names of a dialog; `*foundAs` is one under which it was just found, if that is given.
  std::vector<KZString> NamesOf(const VQDialog* dialog, const KZString* foundAs);

  // Behind the list's own changes: `size` is that of the map before, and `previous` the dialog that
  // had the name before, if any.
  void Added(std::size_t size, const KZString& name, const VQDialog* dialog,
             const VQDialog* previous);
  void Erased(std::size_t size, const KZString& name, const VQDialog* dialog);

  // A dialog was made; it is about to be destroyed.
  static void DialogMade(const VQDialog& dialog);
  static void DialogGone(const VQDialog& dialog);

  // Behind a dialog's own changes: one tree came; one left the dialog, destroyed or not; a tree
  // that had left before was destroyed.
  static void TreeAdded(const VQDialog& dialog, const KZString& session);
  static void TreeRemoved(const VQDialog& dialog, const KZString& session);
  static void TreeDestroyed();

  // Before the list is destroyed.
  static void Forget(const VQDialogList& list);

  // How many dialogs and trees were looked at in walks so far.
  static std::uint64_t Steps();

 private:
  using Dialogs = std::unordered_set<const VQDialog*>;

  bool IsFew() const;
  bool Expects(std::uint64_t more) const;
  bool IsRightFor(std::size_t size);
  void Synchronise();
  void Rebuild();
  void Enter(const KZString& name, const VQDialog* dialog);
  void Leave(const KZString& name, const VQDialog* dialog);
  // False when a dialog has not the name in the list's map that it has here.
  bool CollectFor(const KZString& session, const KZString* behind, std::set<KZString>& names) const;
  bool AddNames(std::set<KZString>& names, const Dialogs& dialogs, const KZString* behind) const;
  bool KnowsNamesOf(const VQDialog* dialog, const KZString* foundAs) const;
  bool Has(const KZString& name, const VQDialog* dialog) const;

  const VQDialogList* mList = nullptr;
  bool mIsBuilt = false;
  std::size_t mSize = 0;
  std::uint64_t mTreeCount = 0;
  std::uint64_t mVersion = 0;
  std::unordered_map<const VQDialog*, std::set<KZString>> mNames;
  std::unordered_map<KZString, Dialogs> mBySession;
  Dialogs mBare;       // Without any tree.
  Dialogs mStrangers;  // Without a name: somebody may write them into the map.
};

}  // namespace dorn

#endif  // DORN_SERVER_DIALOGINDEX_H_
