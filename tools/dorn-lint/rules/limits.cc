// What is too deep is not read; what is too long is not sent.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

constexpr int kDepthToWarnOf = 1000;
// A station for which more than this waits is closed.
constexpr std::size_t kLongest = std::size_t{10} * 1024 * 1024;

void Check(const File& file, const Site&, Report& report) {
  const Document& document = file.mDocument;
  const std::string most = std::to_string(kMaxDepth);
  if (document.mIsTooDeep) {
    report.At(document.mEnd, "more than " + most +
                                 " arrays and objects within each other: nothing of the file is "
                                 "read; make it flatter");
  } else if (document.mDepth > kDepthToWarnOf) {
    report.At(0, std::to_string(document.mDepth) +
                     " arrays and objects within each other, and beyond " + most +
                     " nothing of the file is read: make it flatter");
  }
  if (file.mText.size() > kLongest) {
    report.At(0,
              "longer than 10 MiB, and stations for which more is waiting are closed: make "
              "several dialogs of it");
  }
}

}  // namespace

const Rule kLimits{"limits", Severity::kError, "too deep or too long to be read or sent", Check};

}  // namespace dorn::lint
