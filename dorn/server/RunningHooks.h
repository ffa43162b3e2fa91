// Keeps a dialog and its trees in memory while its hooks are running.
// Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_RUNNINGHOOKS_H_
#define DORN_SERVER_RUNNINGHOOKS_H_

#include <map>
#include <vector>

#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonResource.h"

class VQDialog;

namespace dorn {

// Stands around every call of a dialog's hook. A hook may remove its own dialog or one of its
// trees, directly or by way of a session's expiry; whoever called the hook, and the hook itself,
// still use both. So they leave their lists at once but die only when the outermost scope of that
// dialog ends. After a hook, look the dialog up in the dialog list again before calling another.
class RunningHooks {
 public:
  using TreeNode = std::map<KZString, VQJsonResource>::node_type;

  explicit RunningHooks(VQDialog* dialog);
  ~RunningHooks();

  RunningHooks(const RunningHooks&) = delete;
  RunningHooks& operator=(const RunningHooks&) = delete;

  // Ends a dialog that has left the dialog list: calls OnFinal() and deletes it, at once or when
  // its running hooks have returned. A dialog that is a variable is not deleted, but reported.
  static void Retire(VQDialog* dialog);

  // Whether the dialog is ending: its OnFinal() has begun.
  static bool IsRetired(const VQDialog* dialog);

  // Whether a hook of any dialog is running.
  static bool IsAny();

  // Destroys a tree that was taken out of its dialog, at once or when the hooks have returned.
  static void Retire(VQDialog* dialog, TreeNode tree);

 private:
  static RunningHooks* FindOutermost(const VQDialog* dialog);

  VQDialog* mDialog;
  RunningHooks* mOuter;  // The scope around this one, of any dialog.
  bool mIsRetired = false;
  std::vector<TreeNode> mTrees;
};

}  // namespace dorn

#endif  // DORN_SERVER_RUNNINGHOOKS_H_
