#include "station/Tree.h"

#include <algorithm>

namespace dorn::station {

namespace {

bool IsChildrenKey(std::string_view key) { return key == "Objects" || key == "Object"; }

void SetAttributes(Object& object, const Json& json) {
  for (const auto& [key, value] : json.mMembers) {
    if (!IsChildrenKey(key) && !value.IsNull()) object.mAttributes[key] = value;
  }
  const std::string_view name = object.TextOf("Name");
  if (object.mName != name) object.mName = name;  // The index looks at the text that is there.
}

enum class Source { kLive, kFile };

std::vector<const Json*> ElementsOf(const Json* list) {
  std::vector<const Json*> elements;
  for (const Json& each : list->mElements) elements.push_back(&each);
  return elements;
}

// The children of a group in a file, for which hosts know four ways.
std::vector<const Json*> ChildrenInFile(const Json& json) {
  for (const char* key : {"Objects", "Commands"}) {
    const Json* list = json.Find(key);
    if (list != nullptr && list->IsArray()) return ElementsOf(list);
  }
  for (const char* key : {"Object", "Dialog"}) {
    const Json* child = json.Find(key);
    if (child != nullptr && child->IsObject()) return {child};
  }
  return {};
}

// From their memory hosts write "Objects", and the other three are attributes. Of a file they read
// the children of groups alone: what else has "Objects" there has no children at the host either.
std::vector<const Json*> ChildrenOf(const Json& json, bool isGroup, Source source) {
  if (source == Source::kFile) return isGroup ? ChildrenInFile(json) : std::vector<const Json*>();
  const Json* list = json.Find("Objects");
  return list != nullptr && list->IsArray() ? ElementsOf(list) : std::vector<const Json*>();
}

void Build(Object& object, const Json& json, Source source) {
  SetAttributes(object, json);
  const bool isGroup = object.mParent == nullptr || object.IsGroup();
  for (const Json* child : ChildrenOf(json, isGroup, source)) {
    if (!child->IsObject()) continue;
    object.mChildren.push_back(std::make_unique<Object>());
    object.mChildren.back()->mParent = &object;
    Build(*object.mChildren.back(), *child, source);
  }
}

bool IsDialog(const Json& json) { return json.TextOf("Command") == "DIALOG"; }

bool IsWithin(const Object& object, const Object& ancestor) {
  for (const Object* each = &object; each != nullptr; each = each->mParent) {
    if (each == &ancestor) return true;
  }
  return false;
}

std::unique_ptr<Object> TakeFromParent(Object& object) {
  auto& siblings = object.mParent->mChildren;
  const auto place = std::find_if(siblings.begin(), siblings.end(),
                                  [&object](const auto& each) { return each.get() == &object; });
  std::unique_ptr<Object> taken = std::move(*place);
  siblings.erase(place);
  return taken;
}

Json WrittenObject(const Object& object) {
  Json json = Json::MakeObject(object.mAttributes);
  if (object.mChildren.empty()) return json;
  Json& children = json.mMembers["Objects"] = Json::MakeArray();
  for (const auto& child : object.mChildren) children.mElements.push_back(WrittenObject(*child));
  return json;
}

}  // namespace

std::string_view Object::TextOf(std::string_view key) const {
  const Json* found = Find(key);
  return found == nullptr ? std::string_view() : found->Text();
}

const Json* Object::Find(std::string_view key) const {
  const auto found = mAttributes.find(key);
  return found == mAttributes.end() ? nullptr : &found->second;
}

bool IsTable(const Json* json) {
  return json != nullptr && json->IsArray() &&
         std::all_of(json->mElements.begin(), json->mElements.end(),
                     [](const Json& row) { return row.IsArray(); });
}

const Json::Array& ObjectsOf(const Json& command) {
  static const Json::Array none;
  const Json* objects = command.Find("Objects");
  return objects == nullptr ? none : objects->mElements;
}

Tree::Tree() : mRoot(std::make_unique<Object>()) {}

Tree Tree::FromLive(const Json& tree) {
  Tree made;
  Build(*made.mRoot, tree, Source::kLive);
  return made;
}

std::optional<Tree> Tree::FromFile(const Json& file) {
  const Json* commands = file.Find("Commands");
  if (commands == nullptr || !commands->IsArray() || commands->mElements.empty()) {
    if (!IsDialog(file)) return std::nullopt;
    Tree made;
    Build(*made.mRoot, file, Source::kFile);
    return made;
  }
  const auto dialog =
      std::find_if(commands->mElements.begin(), commands->mElements.end(), IsDialog);
  if (dialog == commands->mElements.end()) return std::nullopt;
  Tree made;
  Build(*made.mRoot, *dialog, Source::kFile);
  return made;
}

Tree Tree::Flat(std::string_view name, const std::vector<Json>& updates) {
  Tree made;
  made.mRoot->mName = name;
  made.mRoot->mAttributes["Name"] = Json::String(name);
  for (const Json& update : updates) {
    for (const Json& object : ObjectsOf(update)) {
      const std::string_view child = object.TextOf("Name");
      if (child.empty()) continue;
      Object* known = made.Find(child);
      if (known == nullptr || known == made.mRoot.get()) {
        made.Enter(Append(*made.mRoot, object));
      } else {
        SetAttributes(*known, object);
      }
    }
  }
  return made;
}

Object* Tree::Find(std::string_view name) {
  if (!mIsIndexed) Index();
  auto found = mByName.find(name);
  if (found == mByName.end()) return nullptr;
  if (found->second == nullptr) {
    Index();
    found = mByName.find(name);
  }
  return found->second;
}

void Tree::Index() {
  mByName.clear();
  std::vector<Object*> open{mRoot.get()};
  while (!open.empty()) {
    Object* object = open.back();
    open.pop_back();
    mByName.emplace(object->mName, object);  // The first one stays.
    for (auto child = object->mChildren.rbegin(); child != object->mChildren.rend(); ++child) {
      open.push_back(child->get());
    }
  }
  mIsIndexed = true;
}

// A host adds thousands of objects at once, and each is looked for. Those without a name are not:
// which of them comes first stays open until somebody asks. Nothing comes before the root.
void Tree::Enter(Object& object) {
  if (!mIsIndexed) return;
  const auto [entry, isFirst] = mByName.emplace(object.mName, &object);
  if (!isFirst && entry->second != mRoot.get()) entry->second = nullptr;
}

const Object* Tree::Find(std::string_view name) const {
  return const_cast<Tree*>(this)->Find(name);  // The index is all that changes.
}

bool Tree::Update(const Json& command) {
  bool wantsAll = false;
  for (const Json& json : ObjectsOf(command)) {
    const std::string_view name = json.TextOf("Name");
    Object* object = name.empty() ? nullptr : Find(name);
    if (object != nullptr) wantsAll = UpdateObject(*object, json) || wantsAll;
  }
  return wantsAll;
}

bool Tree::UpdateObject(Object& object, const Json& json) {
  const bool isGrid = object.TextOf("Type") == "GRID";
  bool lacksTable = isGrid && (json.mHadEmptyData || json.mMembers.size() == 1);
  for (const auto& [key, value] : json.mMembers) {
    if (key == "Name" || IsChildrenKey(key) || value.IsNull()) continue;
    if (isGrid && key == "Data" && !IsTable(&value)) {
      lacksTable = true;  // The plain attribute beside the table.
    } else {
      object.mAttributes[key] = value;
    }
  }
  return lacksTable && !IsTable(json.Find("Data")) && !IsTable(object.Find("Rows"));
}

bool Tree::Add(const Json& command) {
  Object* group = Find(command.TextOf("Name"));
  bool wantsAll = false;
  if (group == nullptr) return wantsAll;
  for (const Json& json : ObjectsOf(command)) {
    if (json.IsObject()) wantsAll = Merge(json, *group) || wantsAll;
  }
  return wantsAll;
}

// An object that is there already stays: a group that got new children is marked as added itself,
// and so is told again inside the ADD of its own group, with its new children alone.
bool Tree::Merge(const Json& json, Object& parent) {
  const std::string name(json.TextOf("Name"));
  Object* object = name.empty() ? nullptr : Find(name);
  const bool isNew = object == nullptr || object == mRoot.get();
  if (isNew) {
    object = &Append(parent, json);
    Enter(*object);
  } else {
    if (object->mParent != &parent && !IsWithin(parent, *object)) {
      parent.mChildren.push_back(TakeFromParent(*object));
      object->mParent = &parent;
      mIsIndexed = false;
    }
    SetAttributes(*object, json);  // The name stays: the object was found by it.
  }
  const Json::Array& children = ObjectsOf(json);
  bool wantsAll = isNew && object->IsGroup() && children.empty();
  for (const Json& child : children) {
    if (child.IsObject()) wantsAll = Merge(child, *object) || wantsAll;
  }
  return wantsAll;
}

Object& Tree::Append(Object& parent, const Json& json) {
  parent.mChildren.push_back(std::make_unique<Object>());
  Object& object = *parent.mChildren.back();
  object.mParent = &parent;
  SetAttributes(object, json);
  return object;
}

void Tree::Delete(const Json& command) {
  Object* object = Find(command.TextOf("Name"));
  if (object == nullptr) return;
  if (command.TextOf("Delete") == "CHILD") {
    object->mChildren.clear();
    mIsIndexed = false;
  } else if (command.TextOf("Delete") == "THIS" && object->mParent != nullptr) {
    Remove(*object);
  }
}

void Tree::Remove(Object& object) {
  static_cast<void>(TakeFromParent(object));  // Dies with all below it.
  mIsIndexed = false;
}

Json Tree::Written() const { return WrittenObject(*mRoot); }

}  // namespace dorn::station
