// The files that browsers get: the page, and the dialogs of the station's own folder.
#ifndef TOOLS_DORN_GATEWAY_PAGEFILES_H_
#define TOOLS_DORN_GATEWAY_PAGEFILES_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "tools/dorn-gateway/Options.h"
#include "tools/dorn-gateway/TextCache.h"

namespace dorn::gateway {

struct PageFile {
  std::string mBytes;
  std::string_view mType;  // For Content-Type.
  std::string mTag;        // For ETag, equal for equal bytes.
};

class PageFiles {
 public:
  // The options must outlive it.
  explicit PageFiles(const Options& options) : mOptions(options) {}

  // The file that a path names: "/" is the page; "/local/..." lies in the local folder, a dialog of
  // it comes as strict JSON; all else is the page's. Null where there is none, or when its name
  // could lead out of the folder: parts of names are letters, digits and . _ - and none begins
  // with a point.
  //
  // All that ask for a file share one copy, which is made anew when the file has changed.
  std::shared_ptr<const PageFile> Find(std::string_view path);

 private:
  std::shared_ptr<const PageFile> FindIn(const std::string& folder, std::string_view name,
                                         bool isLocal);
  std::shared_ptr<const PageFile> Keep(const std::string& key, PageFile file);

  const Options& mOptions;
  TextCache<PageFile> mKept{std::size_t{128} * 1024 * 1024};  // By name, age and size.
};

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_PAGEFILES_H_
