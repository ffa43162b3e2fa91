#include "tools/dorn-lint/Dialog.h"

#include <algorithm>

namespace dorn::lint {

namespace {

std::string StringOf(const Node& node, std::string_view key) {
  const Member* member = node.Find(key);
  return member != nullptr && member->mValue.IsString() ? member->mValue.mText : std::string();
}

bool HasString(const Node& node, std::string_view key) {
  const Member* member = node.Find(key);
  return member != nullptr && member->mValue.IsString();
}

// Of an object below the dialog.
Made MadeOf(const Node& node) {
  if (IsDialogCommand(node)) return Made::kDialog;
  if (HasString(node, "Command")) return Made::kCommand;
  const std::string type = StringOf(node, "Type");
  if (type == "GRID") return Made::kGrid;
  if (type == "RADIOBTN") return Made::kRadioButton;
  if (type != "GROUP") return Made::kPlain;
  return StringOf(node, "Layout") == "RADIO" ? Made::kRadioGroup : Made::kGroup;
}

std::vector<const Node*> ChildrenOf(const Node& node) {
  std::vector<const Node*> children;
  for (const station::ChildrenWord& word : station::ChildrenWords()) {
    const Member* member = node.Find(word.mName);
    if (member == nullptr) continue;
    if (!word.mIsList && member->mValue.IsObject()) return {&member->mValue};
    if (!word.mIsList || !member->mValue.IsArray()) continue;
    for (const Node& element : member->mValue.mElements) {
      if (element.IsObject()) children.push_back(&element);
    }
    return children;
  }
  return children;
}

// The node has no more levels than the reader lets in.
std::unique_ptr<Object> MakeObject(const Node& node, const Object* parent) {
  auto object = std::make_unique<Object>();
  object->mNode = &node;
  object->mParent = parent;
  object->mMade = MadeOf(node);
  object->mName = StringOf(node, "Name");
  object->mType = StringOf(node, "Type");
  if (object->IsGroup()) {
    for (const Node* child : ChildrenOf(node)) {
      object->mChildren.push_back(MakeObject(*child, object.get()));
    }
  }
  const bool isRoot = parent == nullptr;
  object->mWidget = isRoot ? station::Widget::kGroup
                           : station::WidgetOf(object->mType, !object->mChildren.empty());
  return object;
}

}  // namespace

bool Object::IsGroup() const {
  return mMade == Made::kDialog || mMade == Made::kCommand || mMade == Made::kGroup ||
         mMade == Made::kRadioGroup;
}

const Node* Object::ValueOf(station::Attribute attribute) const {
  const Member* member = mNode->Find(station::NameOf(attribute));
  return member == nullptr ? nullptr : &member->mValue;
}

std::string Object::TextOf(station::Attribute attribute) const {
  const Node* value = ValueOf(attribute);
  return value == nullptr ? std::string() : value->Text();
}

bool IsDialogCommand(const Node& node) { return StringOf(node, "Command") == "DIALOG"; }

const Node* FindDialog(const Node& root) {
  const Member* commands = root.Find("Commands");
  const bool isList = commands != nullptr && commands->mValue.IsArray();
  if (!isList || commands->mValue.mElements.empty()) {
    return IsDialogCommand(root) ? &root : nullptr;
  }
  const auto& list = commands->mValue.mElements;
  const auto found = std::find_if(list.begin(), list.end(), IsDialogCommand);
  return found == list.end() ? nullptr : &*found;
}

std::unique_ptr<Object> MakeDialog(const Node& node) { return MakeObject(node, nullptr); }

void ForEachObject(const Object& dialog, const std::function<void(const Object&)>& visit) {
  visit(dialog);
  for (const auto& child : dialog.mChildren) ForEachObject(*child, visit);
}

}  // namespace dorn::lint
