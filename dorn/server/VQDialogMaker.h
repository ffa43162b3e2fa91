// The factory through which a host supplies its dialog classes.
// Loop thread only: nothing in this file takes a lock.
#ifndef DORN_SERVER_VQDIALOGMAKER_H_
#define DORN_SERVER_VQDIALOGMAKER_H_

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

class VQDialog;

// A host overrides CreateDialog() in one of its two forms. The library calls the first; by default
// it hands the call to the second, so that it does not matter which one the host wrote, with or
// without const. GetFilename() is never called by the library.
class DORN_EXPORT VQDialogMaker {
 public:
  virtual ~VQDialogMaker();

  // The name of a dialog's resource file, for a host's own use. Null by default.
  virtual const char* GetFilename(const KZString& name);

  // Called when a dialog that does not exist yet is asked for by `name`, which usually comes from a
  // station: check it. Returns a new dialog on which Init() was called, or null for a name that is
  // none; then it is asked again the next time. The application's dialog list owns the result.
  virtual VQDialog* CreateDialog(const KZString& name);

  // The same for hosts that write const.
  virtual const char* GetFilename(const KZString& name) const;
  virtual VQDialog* CreateDialog(const KZString& name) const;
};

#endif  // DORN_SERVER_VQDIALOGMAKER_H_
