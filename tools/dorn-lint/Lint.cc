#include "tools/dorn-lint/Lint.h"

#include <algorithm>
#include <utility>

#include "station/Utf8.h"
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

// Walks through a text once, for places that come in order.
class Places {
 public:
  explicit Places(std::string_view text) : mText(text) {}

  void MoveTo(std::size_t at) {
    for (; mAt < at && mAt < mText.size(); ++mAt) {
      const auto byte = static_cast<unsigned char>(mText[mAt]);
      if (byte == '\n') {
        ++mLine;
        mColumn = 1;
      } else if ((byte & 0xC0) != 0x80) {
        ++mColumn;
      }
    }
  }
  std::size_t Line() const { return mLine; }
  std::size_t Column() const { return mColumn; }

 private:
  const std::string_view mText;
  std::size_t mAt = 0;
  std::size_t mLine = 1;
  std::size_t mColumn = 1;
};

// In its place: the dialog refers to the document.
void ReadFile(Source& source, File& file) {
  file.mPath = std::move(source.mPath);
  file.mPlace = std::move(source.mPlace);
  file.mText = std::move(source.mText);
  file.mDocument = ReadDocument(file.mText);
  if (file.mDocument.IsRead()) {
    const Node* dialog = FindDialog(file.mDocument.mRoot);
    if (dialog != nullptr) file.mDialog = MakeDialog(*dialog);
  }
}

void Check(const File& file, const Site& site, std::vector<Finding>& findings) {
  std::vector<Found> found;
  for (const Rule* rule : Rules()) {
    Report report(*rule, found);
    rule->mCheck(file, site, report);
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const Found& a, const Found& b) { return a.mAt < b.mAt; });
  Places places(file.mText);
  for (Found& each : found) {
    places.MoveTo(each.mAt);
    const std::string subject = each.mObject.empty() ? std::string() : Cut(each.mObject) + ": ";
    findings.push_back({file.mPath, places.Line(), places.Column(), each.mRule->mSeverity,
                        station::Printable(subject + each.mText), std::move(each.mObject),
                        each.mRule->mName});
  }
}

}  // namespace

std::vector<Finding> Lint(std::vector<Source> sources,
                          std::function<bool(const std::string&)> hasFile) {
  Site site;
  site.mHasFile = std::move(hasFile);
  site.mFiles = std::vector<File>(sources.size());
  for (std::size_t i = 0; i < sources.size(); ++i) {
    ReadFile(sources[i], site.mFiles[i]);
    if (const Object* dialog = site.mFiles[i].mDialog.get()) site.mDialogs.insert(dialog->mName);
  }
  std::vector<Finding> findings;
  for (const File& file : site.mFiles) Check(file, site, findings);
  return findings;
}

}  // namespace dorn::lint
