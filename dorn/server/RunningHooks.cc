#include "dorn/server/RunningHooks.h"

#include <cstdio>
#include <utility>

#include "dorn/server/Connections.h"
#include "dorn/server/DialogIndex.h"
#include "dorn/server/MessageBatch.h"
#include "dorn/server/Storage.h"
#include "dorn/server/VQDialog.h"

namespace dorn {

namespace {
RunningHooks* gInnermost = nullptr;

void Delete(VQDialog* dialog) {
  if (!IsVariable(dialog)) {
    delete dialog;
    return;
  }
  std::fprintf(stderr, "dorn: dialog \"%s\" is a variable and not deleted; make dialogs with new\n",
               static_cast<const char*>(dialog->mDialogName));
}
}  // namespace

RunningHooks::RunningHooks(VQDialog* dialog) : mDialog(dialog), mOuter(gInnermost) {
  gInnermost = this;
  MessageBatch::BeforeHook();
  ForgetSurvey();
}

RunningHooks::~RunningHooks() {
  gInnermost = mOuter;
  if (mIsRetired) Delete(mDialog);
  for (TreeNode& tree : mTrees) {
    tree = TreeNode();
    DialogIndex::TreeDestroyed();
  }
}

RunningHooks* RunningHooks::FindOutermost(const VQDialog* dialog) {
  RunningHooks* outermost = nullptr;
  for (RunningHooks* scope = gInnermost; scope != nullptr; scope = scope->mOuter) {
    if (scope->mDialog == dialog) outermost = scope;
  }
  return outermost;
}

void RunningHooks::Retire(VQDialog* dialog) {
  const RunningHooks running(dialog);
  FindOutermost(dialog)->mIsRetired = true;
  dialog->OnFinal();
}

bool RunningHooks::IsRetired(const VQDialog* dialog) {
  const RunningHooks* outermost = FindOutermost(dialog);
  return outermost != nullptr && outermost->mIsRetired;
}

bool RunningHooks::IsAny() { return gInnermost != nullptr; }

void RunningHooks::Retire(VQDialog* dialog, TreeNode tree) {
  RunningHooks* outermost = FindOutermost(dialog);
  if (outermost != nullptr) outermost->mTrees.push_back(std::move(tree));
}

}  // namespace dorn
