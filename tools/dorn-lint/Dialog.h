// The dialog of a resource file as the library will make it: its objects, their classes, and which
// lists of children count.
#ifndef TOOLS_DORN_LINT_DIALOG_H_
#define TOOLS_DORN_LINT_DIALOG_H_

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "station/Vocabulary.h"
#include "tools/dorn-lint/Node.h"

namespace dorn::lint {

// What the library makes of a JSON object.
enum class Made { kDialog, kCommand, kGroup, kRadioGroup, kRadioButton, kGrid, kPlain };

struct Object {
  // Whether it keeps children.
  bool IsGroup() const;
  bool IsDialog() const { return mMade == Made::kDialog; }
  const Member* Find(std::string_view key) const { return mNode->Find(key); }
  const Node* ValueOf(station::Attribute attribute) const;
  // As Node::Text(); empty without the attribute.
  std::string TextOf(station::Attribute attribute) const;

  const Node* mNode = nullptr;
  const Object* mParent = nullptr;
  Made mMade = Made::kPlain;
  station::Widget mWidget = station::Widget::kLabel;
  std::string mName;  // Empty without a "Name" that is a text.
  std::string mType;  // Likewise.
  std::vector<std::unique_ptr<Object>> mChildren;
};

// The JSON object that is loaded: the root, or the first dialog among its "Commands". Null when
// there is none.
const Node* FindDialog(const Node& root);
bool IsDialogCommand(const Node& node);

// `node` and all that is in it must outlive the result.
std::unique_ptr<Object> MakeDialog(const Node& node);

// Depth first, the dialog itself first.
void ForEachObject(const Object& dialog, const std::function<void(const Object&)>& visit);

}  // namespace dorn::lint

#endif  // TOOLS_DORN_LINT_DIALOG_H_
