// The trees of the shared dialogs and what the dialogs remember beside them, as bytes.
// Internal: not installed.
#ifndef SITE_SHAREDTREES_H_
#define SITE_SHAREDTREES_H_

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "site/SharedDialog.h"

namespace dorn::site {

class SharedTrees {
 public:
  using Dialogs = std::map<std::string, SharedDialog*>;

  explicit SharedTrees(const Dialogs& dialogs) : mDialogs(dialogs) {}

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

  // One dialog.
  static std::string SaveOne(SharedDialog& dialog);
  static bool LoadOne(std::string_view bytes, SharedDialog& dialog);

 private:
  const Dialogs& mDialogs;
  std::map<std::string, std::string> mOthers;  // Of dialogs that this host does not have.
};

}  // namespace dorn::site

#endif  // SITE_SHAREDTREES_H_
