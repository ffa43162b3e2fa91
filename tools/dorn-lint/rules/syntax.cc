// What the library cannot read leaves an empty dialog.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void Check(const File& file, const Site&, Report& report) {
  const Document& document = file.mDocument;
  if (document.IsRead() || document.mIsTooDeep) return;
  const bool isEmpty = file.mText.find_first_not_of(" \t\r\n") == std::string::npos;
  if (isEmpty) {
    report.At(0, "the file is empty: write a dialog");
  } else {
    report.At(document.mEnd, document.mReason);
  }
}

}  // namespace

const Rule kSyntax{"syntax", Severity::kError, "the file cannot be read", Check};

}  // namespace dorn::lint
