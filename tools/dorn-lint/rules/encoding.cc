// Stations show U+FFFD for bytes that are no UTF-8.
#include "station/Utf8.h"
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void Check(const File& file, const Site&, Report& report) {
  const std::string& text = file.mText;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = station::SequenceAt(text, at);
    if (length == 0) {
      report.At(at, "no UTF-8 from here on: save the file as UTF-8");
      return;
    }
    at += length;
  }
}

}  // namespace

const Rule kEncoding{"encoding", Severity::kError, "the file is no UTF-8", Check};

}  // namespace dorn::lint
