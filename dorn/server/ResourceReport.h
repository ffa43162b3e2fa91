// Whether a resource file can be used, and if not, why. Loop thread only.
#ifndef DORN_SERVER_RESOURCEREPORT_H_
#define DORN_SERVER_RESOURCEREPORT_H_

#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"

namespace dorn {

struct ResourceReport {
  bool isUsable = false;
  KZString file;    // Full path.
  int line = 0;     // From 1 on; 0 when the trouble has no place in the text.
  int column = 0;   // In bytes, from 1 on; 0 likewise.
  KZString reason;  // In English, for whoever keeps the file; empty when all is well.

  // "FILE:LINE:COLUMN: REASON" as compilers write it, without the numbers that are 0.
  DORN_EXPORT KZString Text() const;
};

// Reads a resource file without making a tree of it. `file` is as for VQDialog::Init(): relative to
// `resources` beside the executable, with "@" for "/". For a host's OnInit(), which may refuse to
// start on a broken file: the dialog itself would be made much later, and be empty.
DORN_EXPORT ResourceReport CheckResource(const KZString& file);

// What became of the file that was loaded last: by LoadJson(), LoadJsonShare() or LoadJsonUnique()
// of any dialog. Before the first one: not usable, without a file.
DORN_EXPORT const ResourceReport& LastResource();

}  // namespace dorn

#endif  // DORN_SERVER_RESOURCEREPORT_H_
