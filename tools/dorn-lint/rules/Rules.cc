#include "tools/dorn-lint/rules/Rules.h"

namespace dorn::lint {

const std::vector<const Rule*>& Rules() {
  static const std::vector<const Rule*> rules{&kAttributePlace, &kAttributeSpelling,
                                              &kAttributeValue, &kCommandMember,
                                              &kDialog,         &kDialogAttributes,
                                              &kDialogName,     &kDuplicateKey,
                                              &kDuplicateName,  &kEncoding,
                                              &kGoto,           &kGridData,
                                              &kGridRows,       &kImage,
                                              &kLimits,         &kLostChildren,
                                              &kLostValue,      &kName,
                                              &kNotifyList,     &kNumber,
                                              &kOptions,        &kOrderOfLimits,
                                              &kPlacement,      &kRadioOn,
                                              &kRadioOutside,   &kSyntax,
                                              &kTable,          &kTrailingText,
                                              &kTranslation,    &kTypeSpelling,
                                              &kUnsafeText};
  return rules;
}

}  // namespace dorn::lint
