// A dialog whose shared tree is the same on every host of a site.
// Loop thread only: nothing in this file takes a lock.
#ifndef SITE_SHAREDDIALOG_H_
#define SITE_SHAREDDIALOG_H_

#include <sys/time.h>

#include <cstdint>

#include "dorn/server/VQDialog.h"
#include "site/Archive.h"
#include "site/Export.h"

namespace dorn::site {

// Hosts derive from it as from VQDialog, and name it in SiteOptions::dialogs. What a station
// changes goes to the site's log first. When it comes back from there, every host applies it, in
// the same order, and every station that shows the dialog hears of it; on the way back it is also
// known that it was accepted.
//
// A dialog loads its shared tree in OnInit(), with LoadJsonShare(), and sends it in OnChange(),
// with SendSnapshot(). Per-session trees stay what they are: each lives on one host. The shared
// tree is to have objects of the library's classes only. It is written down and read back, by the
// keeper's snapshots and in debug builds at each change: an object of a host's own class comes back
// as one of the library's class that it derives from, without what it had beside.
//
// A station whose change is not known to be accepted after two seconds is shown what the tree
// holds, with "Error" "pending" at each object of the change; the same with "refused" if it will
// never be accepted. Both are taken back when a change of that object goes through. Where the tree
// has an object of the name SiteOptions::statusObject, its "State" is "BAD" at the stations of a
// host that does not reach the log, and "NORMAL" again when it does; the trees do not hold that.
class DORN_SITE_EXPORT SharedDialog : public VQDialog {
 public:
  // A change that the site has accepted.
  struct Change {
    // What the station has sent, or the keeper proposed; its children are the objects, and what
    // was touched is named by its "ActionName" and "ActionType". Never null. May be worked on.
    VQJsonCommand* command = nullptr;

    // When it was made, by the clock of the host that it came from: the only time that OnApply()
    // may use.
    timeval time{};

    // Whose it is, by a number that is the same on every host; 0 for a change of the keeper, and of
    // a station whose session is not the site's. And what CreateSession() was given for it.
    std::uint64_t session = 0;
    KZString sessionData;

    bool isFromKeeper = false;

    // To be given to SetValue() as the session that makes the change, so that the station which
    // shows it already is not told again. Differs from host to host; not to be kept.
    KZString mark;
  };

  SharedDialog();
  ~SharedDialog() override;

  // Called on every host for each accepted change, in the same order. Works on the shared tree, on
  // members that OnSave() saves, with change.time, and on nothing else: no clocks, random numbers,
  // connections, sessions, other dialogs or trees, and it sends nothing. What it changes is sent to
  // the stations afterwards. By default does to the tree what VQDialog does for a command: every
  // attribute but "Name" of each object that the tree has.
  // Refuses what a station may not set by target->SetDirty(key): the station then gets what the
  // tree holds.
  virtual void OnApply(const Change& change);

  // Called after OnApply(), when the change has been sent, on the host that it came from alone and
  // only if the station still has its connection. May send, and do all that a hook may. Does
  // nothing by default.
  virtual void OnApplied(VQClientSocket* client, const Change& change);

  // Called some ten times a second on one host of the site at a time, or on none. What sensors,
  // clocks and simulations bring goes to Propose(); the tree is not to be touched here. Does
  // nothing by default.
  virtual void OnKeep(timeval now);

  // Write down, and read back, what OnApply() uses beside the tree. OnLoad() is called when the
  // tree is a new one, too: whatever points into the old one is void. Do nothing by default.
  virtual void OnSave(Writer& out) const;
  virtual void OnLoad(Reader& in);

  // For OnKeep(): has the command applied on every host. False when it could not be handed in; it
  // is dropped as well when another host keeps the site by the time it comes back.
  bool Propose(const VQJsonCommand& command);

  // As in VQDialog. The changes that were not sent yet are sent to all stations before.
  bool SendSnapshot(VQClientSocket* client);

  // Changes are sent by the site.
  bool SendUpdateShare(bool all) = delete;
  bool SendUpdateShareToAll(bool all) = delete;

  void OnCondition(VQClientSocket* client, VQJsonCommand* command) final;
  void OnUpdate(VQJsonObject* target, VQJsonObject* source, KZString sid) final;
  // Everything about a touch is in the change.
  void OnTouch(VQClientSocket* client, VQJsonObject* object, KZString actionType) final;
  // An override that answers with the tree calls this one.
  int OnGetfile(VQClientSocket* client, KZString file, KZString date, KZString objectName) override;

 private:
  // Room for more, so that hosts that are compiled today can be told more some day.
  virtual void SpareOfSite1();
  virtual void SpareOfSite2();
  virtual void SpareOfSite3();
  virtual void SpareOfSite4();
};

}  // namespace dorn::site

#endif  // SITE_SHAREDDIALOG_H_
