#include "dorn/server/RunningHooks.h"

#include <utility>

#include "dorn/server/MessageBatch.h"
#include "dorn/server/VQDialog.h"

namespace dorn {

namespace {
RunningHooks* gInnermost = nullptr;
}

RunningHooks::RunningHooks(VQDialog* dialog) : mDialog(dialog), mOuter(gInnermost) {
  gInnermost = this;
  MessageBatch::BeforeHook();
}

RunningHooks::~RunningHooks() {
  gInnermost = mOuter;
  if (mDelete) delete mDialog;
}

RunningHooks* RunningHooks::FindOutermost(const VQDialog* dialog) {
  RunningHooks* outermost = nullptr;
  for (RunningHooks* scope = gInnermost; scope != nullptr; scope = scope->mOuter) {
    if (scope->mDialog == dialog) outermost = scope;
  }
  return outermost;
}

void RunningHooks::Retire(VQDialog* dialog) {
  RunningHooks running(dialog);
  dialog->OnFinal();
  FindOutermost(dialog)->mDelete = true;
}

void RunningHooks::Retire(VQDialog* dialog, TreeNode tree) {
  RunningHooks* outermost = FindOutermost(dialog);
  if (outermost != nullptr) outermost->mTrees.push_back(std::move(tree));
}

}  // namespace dorn
