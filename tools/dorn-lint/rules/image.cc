// A picture that stations will not get.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

bool HasExtension(const std::string& file) {
  return file.find('.', file.rfind('/') + 1) != std::string::npos;
}

void Check(const File& file, const Site& site, Report& report) {
  if (file.mDialog == nullptr) return;
  ForEachObject(*file.mDialog, [&](const Object& object) {
    const std::string image = object.TextOf(station::Attribute::kImage);
    if (image.empty()) return;
    const std::size_t at = object.ValueOf(station::Attribute::kImage)->mAt;
    if (!HasExtension(image)) {
      report.At(object, at,
                "stations ask for no file without an extension: write one such as .png");
    } else if (!site.mHasFile(FolderOf(file.mPlace) + image)) {
      report.At(object, at,
                "there is no file " + Shown(image) +
                    " among the resources: mend the name, or add the picture");
    }
  });
}

}  // namespace

const Rule kImage{"image", Severity::kWarning, "an Image whose file is not there", Check};

}  // namespace dorn::lint
