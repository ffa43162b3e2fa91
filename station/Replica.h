// What one station knows of the dialog that it shows: the tree as the host sent it, and what the
// user has changed and the host has not yet confirmed.
//
//   entering   the fence `?f1`, the CHANGE and the GETFILE run in one piece at the host. What comes
//              before the answer to ?f1 belongs to the old dialog; what comes between it and the
//              file is kept and goes over the file's tree, UPDATEs alone.
//   acting     a change travels between two fences a and b. Until a, what others have set of the
//              same attributes is older than ours at the host; between a and b the host corrects
//              us.
#ifndef STATION_REPLICA_H_
#define STATION_REPLICA_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "station/Commands.h"
#include "station/Json.h"
#include "station/Tree.h"

namespace dorn::station {

class Replica {
 public:
  enum class State {
    kEmpty,   // No dialog was entered yet.
    kFence,   // Entering: what comes belongs to what was shown before.
    kBuffer,  // Entering: what comes is kept for the tree that follows.
    kLive,    // Showing the dialog.
    kNothing  // There is no such dialog, or it has nothing to show.
  };

  // Enters a dialog, or the same one again. Without a fence everything that comes is the new
  // dialog's, as on a new connection.
  void Enter(std::string_view dialog, std::optional<unsigned long> fence);

  // One command of a received text: UPDATE, ADD and DELETE; all others are ignored.
  void Receive(const Json& command);
  // The answer to a fence. Fences are numbered upwards.
  void ReceiveFence(unsigned long fence);
  // The file of the dialog, live from the host's memory or from its disk.
  void ReceiveTree(const Json& tree, bool isLive);
  // There is no such file: what was buffered is all there is.
  void ReceiveNoTree();

  // The user sets attributes, or touches an object by naming it alone; the change goes to the host
  // between these fences. Choosing a radio button switches its siblings off as the host will.
  void Act(const std::vector<SetObject>& objects, unsigned long before, unsigned long after);
  // The line is gone, and nothing will be confirmed any more.
  void ForgetActions() { mActions.clear(); }

  State GetState() const { return mState; }
  const std::string& DialogName() const { return mDialog; }
  // What the host has told, without what is pending.
  const Tree& Confirmed() const { return mTree; }
  // An attribute as it is to be shown, or nothing.
  std::optional<Json> Shown(const Object& object, std::string_view key) const;
  // All of them.
  Json::Object ShownAttributes(const Object& object) const;
  bool IsPending(std::string_view name) const;
  bool HasPending() const { return !mActions.empty(); }

  // Whether the dialog must be entered again to see what the host did not send. Asking forgets.
  bool TakeWantsEntry();

 private:
  struct Change {
    std::string mName;
    std::string mKey;
    Json mValue;
    bool mOnlyIfOn;  // Switches off a radio button, and leaves one that is not on as it is.
  };
  struct Action {
    unsigned long mBefore;
    unsigned long mAfter;
    bool mIsOurs;  // The fence before it has been answered: the host's tree has it.
    std::vector<std::string> mNames;
    std::vector<Change> mChanges;
  };

  void Apply(const Json& command);
  void AddChange(Action& action, const std::string& name, const std::string& key,
                 const Json& value) const;
  void Settle(const Action& action);
  void BecomeLive(Tree tree);

  State mState = State::kEmpty;
  std::string mDialog;
  std::optional<unsigned long> mFence;
  Tree mTree;
  std::vector<Json> mBuffer;  // UPDATEs.
  std::vector<Action> mActions;
  bool mWantsEntry = false;
};

// Whether a PUTFILE's date is that of a live tree: its year has two digits.
bool IsLiveDate(std::string_view date);

}  // namespace dorn::station

#endif  // STATION_REPLICA_H_
