// The library stops behind the first complete value.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void Check(const File& file, const Site&, Report& report) {
  if (!file.mDocument.IsRead()) return;
  const std::size_t at = file.mText.find_first_not_of(" \t\r\n", file.mDocument.mEnd);
  if (at == std::string::npos) return;
  report.At(at,
            "what follows the end of the dialog is not read: take it out, or a bracket too many "
            "before it");
}

}  // namespace

const Rule kTrailingText{"trailing-text", Severity::kError, "text behind the end of the dialog",
                         Check};

}  // namespace dorn::lint
