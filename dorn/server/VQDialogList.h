// The application's dialogs by name.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_SERVER_VQDIALOGLIST_H_
#define DORN_SERVER_VQDIALOGLIST_H_

#include <map>

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

class VQDialog;

// Owns the dialogs and deletes those that it removes. A dialog that is removed while one of its
// hooks is running leaves the list and gets OnFinal() at once, but is deleted only when that hook
// has returned, so a hook may remove its own dialog. From the beginning of its OnFinal() on it
// cannot be added again: Add() refuses with one line on standard error.
//
// Dialogs are made with `new`. One that is a static or local variable stays alive when it is
// removed, with one line on standard error; one that is a member of something else would be deleted
// all the same.
class DORN_EXPORT VQDialogList {
 public:
  VQDialogList();

  // Destroys no dialog: at the end of the process, objects that a dialog uses may be gone already.
  virtual ~VQDialogList();

  VQDialogList(const VQDialogList&) = delete;
  VQDialogList& operator=(const VQDialogList&) = delete;

  bool Has(const KZString& name) const;

  // The dialog or null.
  VQDialog* Search(const KZString& name) const;

  // Stores `dialog` and owns it from then on; null is ignored. A dialog that had the name before is
  // forgotten, not deleted. A dialog may have several names.
  void Add(const KZString& name, VQDialog* dialog);

  // Takes the dialog out of the list, under all of its names, calls its OnFinal() and deletes it.
  // Nothing for an unknown name.
  void Remove(const KZString& name);

  // Takes the tree of session `sid` from every dialog, in the order of their names, and removes
  // every dialog that is left without any tree. Called when a session expires.
  // Kept: that includes dialogs that never had a tree. A dialog that is to stay loads its shared
  // tree.
  void RemoveBySession(const KZString& sid);

  std::map<KZString, VQDialog*> mDialogList;
};

#endif  // DORN_SERVER_VQDIALOGLIST_H_
