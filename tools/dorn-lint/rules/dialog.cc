// A file that is no dialog leaves an empty tree, and a second dialog in a file is never read.
#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

namespace {

void CheckCommands(const Node& root, const Node& dialog, Report& report) {
  for (const Node& command : root.Find("Commands")->mValue.mElements) {
    if (&command != &dialog) {
      report.At(command.mAt,
                "of Commands only the first DIALOG is read: give this a file of its own");
    }
  }
  for (const Member& member : root.mMembers) {
    if (member.mKey != "Commands") {
      report.At(member.mAt,
                Shown(member.mKey) + " beside Commands is not read: move it into the dialog");
    }
  }
}

void Check(const File& file, const Site&, Report& report) {
  if (!file.mDocument.IsRead()) return;
  const Node& root = file.mDocument.mRoot;
  if (file.mDialog == nullptr) {
    report.At(root.mAt, "no dialog: its object needs \"Command\": \"DIALOG\"");
  } else if (file.mDialog->mNode != &root) {
    CheckCommands(root, *file.mDialog->mNode, report);
  }
}

}  // namespace

const Rule kDialog{"dialog", Severity::kError, "no dialog in the file, or more beside it", Check};

}  // namespace dorn::lint
