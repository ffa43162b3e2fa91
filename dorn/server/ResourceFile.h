// Reading a resource file, and finding out what is wrong with one. Internal: not installed. Loop
// thread only.
#ifndef DORN_SERVER_RESOURCEFILE_H_
#define DORN_SERVER_RESOURCEFILE_H_

#include <string>

#include "dorn/base/KZString.h"
#include "dorn/server/ResourceReport.h"

namespace dorn {

enum class ResourceState {
  kMissing,     // It cannot be opened.
  kUnreadable,  // It cannot be read, or holds nothing.
  kRead
};

// Reads the file at `path` up to its first zero byte or its end. Never waits for a writer of a
// pipe. What went wrong is in `report`.
ResourceState ReadResource(const KZString& path, std::string& text, ResourceReport& report);

// Fills in what keeps `text` from being a dialog; without fault, makes the report a good one.
void DiagnoseResource(const std::string& text, ResourceReport& report);

// Becomes what LastResource() tells.
void RememberResource(ResourceReport report);

}  // namespace dorn

#endif  // DORN_SERVER_RESOURCEFILE_H_
