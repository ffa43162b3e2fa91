// The files that browsers get: the page, and the dialogs of the station's own folder.
#ifndef TOOLS_DORN_GATEWAY_PAGEFILES_H_
#define TOOLS_DORN_GATEWAY_PAGEFILES_H_

#include <optional>
#include <string>
#include <string_view>

#include "tools/dorn-gateway/Options.h"

namespace dorn::gateway {

struct PageFile {
  std::string mBytes;
  std::string_view mType;  // For Content-Type.
};

// The file that a path names: "/" is the page; "/local/..." lies in the local folder, a dialog of
// it comes as strict JSON; all else is the page's. Nothing where there is none, or when its name
// could lead out of the folder: parts of names are letters, digits and . _ - and none begins
// with a point.
std::optional<PageFile> FindPageFile(const Options& options, std::string_view path);

// A text for ETag, equal for equal bytes.
std::string TagOf(std::string_view bytes);

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_PAGEFILES_H_
