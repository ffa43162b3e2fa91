// A dialog: one screen of objects that stations show by name. Including this file also gives
// VQDialogList.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_SERVER_VQDIALOG_H_
#define DORN_SERVER_VQDIALOG_H_

#include <sys/time.h>

#include <map>
#include <vector>

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonResource.h"

class VQClientSocket;

// Holds one tree that all sessions share, or one for each session, or both. Hosts derive from it
// and override the hooks; see there. A typical dialog loads its tree in OnInit() or OnChange(),
// sends all of it in OnChange() with SendSnapshot(), applies a command with UpdateResourceShare()
// (or -Unique) in OnCondition(), and sends the changes with SendUpdateShareToAll(false) (or
// SendUpdateUnique).
//
// Every hook runs without a lock and may do anything to the connections, sessions, timers, dialogs
// and trees, its own dialog included: a dialog that is removed, and a tree that RemoveSession()
// takes away, stay in memory until the dialog's hooks have returned. Trees erased from
// mSessionResourceList directly do not.
class DORN_EXPORT VQDialog {
 public:
  // Without name, file and trees; see Init().
  VQDialog();

  // Destroys the trees. Kept: timers of the dialog stay, and reach a later dialog of that name;
  // cancel them in OnFinal().
  virtual ~VQDialog();

  VQDialog(const VQDialog&) = delete;
  VQDialog& operator=(const VQDialog&) = delete;

  // Called by Init(). Does nothing by default.
  virtual void OnInit();

  // Called when a station that shows this dialog asks for another one, or for this one again.
  // Does nothing by default.
  virtual void OnChangeBefore(VQClientSocket* client, VQJsonCommand* command);

  // Called when a station has entered the dialog; `client` already carries its name.
  // Does nothing by default: the host loads its trees if need be and sends them.
  virtual void OnChange(VQClientSocket* client, VQJsonCommand* command);

  // Called with each CONDITION command of a station that shows the dialog: what its user changed.
  // Does nothing by default: the host applies the command and sends the changes.
  virtual void OnCondition(VQClientSocket* client, VQJsonCommand* command);

  // Called by UpdateResource() for each object of a command that the tree has: `target` is the
  // tree's, `source` the command's. By default copies every attribute but "Name" with SetValue(),
  // in key order, marked as a change of session `sid` when the dialog has a shared tree.
  // Kept: a dialog without a shared tree marks nothing by default, so its changes are not sent.
  // This is the place to refuse what a station may not set.
  virtual void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid);

  // Called after OnCondition() with the object of the command that its "ActionName" names, if the
  // dialog still exists, and the "ActionType". Does nothing by default.
  virtual void OnTouch(VQClientSocket* client, VQJsonObject* object, KZString actionType);

  // Called when a timer of this dialog fires, with the time of the loop's pass. Does nothing by
  // default.
  virtual void OnTimer(timeval time, unsigned int id);

  // Called when the dialog has left the dialog list, before it is deleted. Does nothing by default.
  virtual void OnFinal();

  // Called when a station asks for the resource file of this dialog. Returns other than 0 when it
  // has answered; 0 has the file itself sent. By default answers with the shared tree, if there is
  // one: the station that asks always gets the current tree.
  virtual int OnGetfile(VQClientSocket* client, KZString file, KZString date, KZString objectName);

  // Sets the name and the path of the resource file, then calls OnInit(). `file` is relative to the
  // `resources` directory beside the executable, with "@" for "/". Called by the host's
  // CreateDialog(). Not checked: see IsInsideResources() for names that come from stations.
  void Init(const KZString& name, const char* file);

  // Whether `file`, as given to Init(), stays below `resources`, as GETFILE judges it: it holds no
  // zero byte, does not climb above `resources` through "..", nor out of a linked folder on its
  // way. Links alone are followed wherever they lead. Looks at the disk, as it is now, for a name
  // with ".." only. The file need not exist.
  static bool IsInsideResources(const KZString& file);

  // Creates the session "SessionIdShared", which never expires, unless it exists, and loads the
  // resource file into the shared tree. Returns 1, also when the file could not be loaded.
  // Kept: a second call appends the whole file again. Call it once, such as in OnInit().
  int LoadJsonShare();

  // Loads the resource file into the tree of `sid` and returns 1, also when the file could not be
  // loaded; returns 0 when there is a tree of `sid` already.
  int LoadJsonUnique(const KZString& sid);

  // Appends a resource file (a path) to the tree of `sid`. Prints one line that says whether it
  // worked; on failure the tree stays as it was, and dorn::LastResource() tells what is wrong with
  // the file and where.
  void LoadJson(const KZString& file, const KZString& sid);

  // The trees. A missing one is created, empty. The pointer is valid until RemoveSession().
  VQJsonResource* GetResourceShare();
  VQJsonResource* GetResourceUnique(const KZString& sid);

  // Apply a station's command to the shared tree, or to the tree of `sid`, on behalf of `sid`.
  void UpdateResourceShare(VQJsonCommand* command, const KZString& sid);
  void UpdateResourceUnique(VQJsonCommand* command, const KZString& sid);

  // Calls OnUpdate() for each object of the command that has a namesake in `tree`, in order; prints
  // one line for each of the others.
  void UpdateResource(VQJsonCommand* command, VQJsonResource* tree, const KZString& sid);

  // Sends to each connection that shows the dialog what changed in the shared tree, without what
  // its own session changed, and forgets the changes. With `all` every attribute of every object is
  // sent instead. Returns whether anything was sent.
  // Kept: only the first connection gets the DELETE and ADD commands, since writing them clears
  // their records. Hosts that add or delete objects use SendUpdateShareToAll().
  bool SendUpdateShare(bool all);

  // The same, but every connection gets the DELETE and ADD commands.
  bool SendUpdateShareToAll(bool all);

  // Sends every attribute of every object of the shared tree to one connection and leaves all
  // change records alone, so that a station that enters does not make every other one receive
  // everything again. Objects whose ADD command is still to be sent are unknown to the station as
  // long; send the changes first. Returns whether anything was sent.
  bool SendSnapshot(VQClientSocket* client);

  // Sends the changes of the tree of `sid` to the connections of that session that show the dialog.
  // Returns whether anything was sent.
  // Kept: the changes are forgotten after the first connection, so a second one gets none.
  bool SendUpdateUnique(const KZString& sid, bool all);

  // Creates an empty tree of `sid` if there is none; returns the number of trees.
  int AddSession(const KZString& sid);

  // Destroys the tree of `sid`, if any; returns the number of trees left.
  int RemoveSession(const KZString& sid);

  // Start a periodic or a one-shot timer of this dialog, in milliseconds; OnTimer() gets its `id`.
  // A second call starts a second timer. An interval of 0 cancels every timer of that id in the
  // whole process. It must not be negative: such a timer is due at once.
  void SetTimerInterval(int interval, unsigned int id);
  void SetSingleTimerInterval(int interval, unsigned int id);

  KZString mDialogName;
  KZString mFileName;                                       // Full path.
  std::map<KZString, VQJsonResource> mSessionResourceList;  // By session, or "SessionIdShared".
};

// At the end because the list holds dialogs, and hooks work with the connection they are given.
#include "dorn/server/VQClientSocket.h"
#include "dorn/server/VQDialogList.h"

#endif  // DORN_SERVER_VQDIALOG_H_
