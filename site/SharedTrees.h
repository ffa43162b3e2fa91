// The trees of the shared dialogs and what the dialogs remember beside them, as bytes.
// Internal: not installed.
#ifndef SITE_SHAREDTREES_H_
#define SITE_SHAREDTREES_H_

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "site/SharedDialog.h"

namespace dorn::site {

class SharedTrees {
 public:
  using Dialogs = std::map<std::string, SharedDialog*>;

  // What is `former` is passed over: the site had such dialogs, and has them no longer.
  SharedTrees(const Dialogs& dialogs, std::set<std::string> former)
      : mDialogs(dialogs), mFormer(std::move(former)) {}

  // All dialogs in the order of their names; also what was loaded for dialogs that are not here.
  std::string Save() const;

  // What loading has done to a dialog: with another shape, stations cannot be told by an update.
  struct Loaded {
    SharedDialog* dialog;
    bool isSameShape;
  };

  // False, and nothing is changed, when the bytes are broken. `missing` gets the dialogs of this
  // host that the bytes do not have, and those that this host does not have.
  bool Load(std::string_view bytes, std::vector<Loaded>& loaded, std::vector<std::string>& missing);

  // Whether there are dialogs that this host does not have.
  bool HasOthers() const { return !mOthers.empty(); }
  bool IsFormer(const std::string& name) const { return mFormer.count(name) != 0; }

  // Whether that loads, as far as the bytes decide.
  static bool IsLoadable(std::string_view bytes);

  // One dialog.
  static std::string SaveOne(SharedDialog& dialog);
  static bool LoadOne(std::string_view bytes, SharedDialog& dialog);

 private:
  const Dialogs& mDialogs;
  const std::set<std::string> mFormer;
  std::map<std::string, std::string> mOthers;  // Of dialogs that this host does not have.
};

}  // namespace dorn::site

#endif  // SITE_SHAREDTREES_H_
