// All rules, each defined in the file of its name.
#ifndef TOOLS_DORN_LINT_RULES_RULES_H_
#define TOOLS_DORN_LINT_RULES_RULES_H_

#include <vector>

#include "tools/dorn-lint/Rule.h"

namespace dorn::lint {

extern const Rule kAttributePlace;
extern const Rule kAttributeSpelling;
extern const Rule kAttributeValue;
extern const Rule kCommandMember;
extern const Rule kDialog;
extern const Rule kDialogAttributes;
extern const Rule kDialogName;
extern const Rule kDuplicateKey;
extern const Rule kDuplicateName;
extern const Rule kEncoding;
extern const Rule kGoto;
extern const Rule kGridData;
extern const Rule kGridRows;
extern const Rule kImage;
extern const Rule kLimits;
extern const Rule kLostChildren;
extern const Rule kLostValue;
extern const Rule kName;
extern const Rule kNotifyList;
extern const Rule kNumber;
extern const Rule kOptions;
extern const Rule kOrderOfLimits;
extern const Rule kPlacement;
extern const Rule kRadioOn;
extern const Rule kRadioOutside;
extern const Rule kSyntax;
extern const Rule kTable;
extern const Rule kTrailingText;
extern const Rule kTranslation;
extern const Rule kTypeSpelling;
extern const Rule kUnsafeText;

// In the order of their names.
const std::vector<const Rule*>& Rules();

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_RULES_RULES_H_
