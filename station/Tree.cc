#include "station/Tree.h"

#include <algorithm>
#include <utility>

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

Object& Adopt(Object& parent, std::unique_ptr<Object> child) {
  child->mParent = &parent;
  child->mPlace = parent.mChildren.size();
  parent.mChildren.push_back(std::move(child));
  return *parent.mChildren.back();
}

void Build(Object& object, const Json& json, Source source) {
  SetAttributes(object, json);
  const bool isGroup = object.mParent == nullptr || object.IsGroup();
  for (const Json* child : ChildrenOf(json, isGroup, source)) {
    if (!child->IsObject()) continue;
    Build(Adopt(object, std::make_unique<Object>()), *child, source);
  }
}

bool IsDialog(const Json& json) { return json.TextOf("Command") == "DIALOG"; }

bool IsWithin(const Object& object, const Object& ancestor) {
  for (const Object* each = &object; each != nullptr; each = each->mParent) {
    if (each == &ancestor) return true;
  }
  return false;
}

void Renumber(Object& parent) {
  std::size_t place = 0;
  for (const auto& child : parent.mChildren) child->mPlace = place++;
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
  if (found->second.mFirst == nullptr) {
    Index();
    found = mByName.find(name);
  }
  return found->second.mFirst;
}

void Tree::Index() {
  mByName.clear();
  std::vector<Object*> open{mRoot.get()};
  while (!open.empty()) {
    Object* object = open.back();
    open.pop_back();
    const auto [entry, isFirst] = mByName.emplace(object->mName, Named{object});
    if (!isFirst) entry->second.mIsShared = true;  // The first one stays.
    for (auto child = object->mChildren.rbegin(); child != object->mChildren.rend(); ++child) {
      if (*child != nullptr) open.push_back(child->get());
    }
  }
  mIsIndexed = true;
}

// A host adds thousands of objects at once, and each is looked for. Those without a name are not:
// which of them comes first stays open until somebody asks. Nothing comes before the root.
void Tree::Enter(Object& object) {
  if (!mIsIndexed) return;
  const auto [entry, isFirst] = mByName.emplace(object.mName, Named{&object});
  if (isFirst) return;
  entry->second.mIsShared = true;
  if (entry->second.mFirst != mRoot.get()) entry->second.mFirst = nullptr;
}

// Whoever has a name of his own is still the first of that name.
void Tree::Moved(const Object& object) {
  if (!mIsIndexed) return;
  const auto entry = mByName.find(object.mName);
  if (entry != mByName.end() && entry->second.mIsShared && entry->second.mFirst != mRoot.get()) {
    entry->second.mFirst = nullptr;
  }
  for (const auto& child : object.mChildren) {
    if (child != nullptr) Moved(*child);
  }
}

// A host may move thousands at once: the gaps that they leave are closed when all have gone.
void Tree::Move(Object& object, Object& parent) {
  Object& former = *object.mParent;
  mGapped.insert(&former);
  Adopt(parent, std::move(former.mChildren[object.mPlace]));
  Moved(object);
}

void Tree::CloseGaps() {
  for (Object* parent : std::exchange(mGapped, {})) {
    auto& children = parent->mChildren;
    children.erase(std::remove(children.begin(), children.end(), nullptr), children.end());
    Renumber(*parent);
  }
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
    if (key == "Name" || IsChildrenKey(key)) continue;
    if (isGrid && key == "Data" && !IsTable(&value)) {
      lacksTable = true;  // The plain attribute beside the table, or nothing at all.
    } else if (!value.IsNull()) {
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
  CloseGaps();
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
    if (object->mParent != &parent && !IsWithin(parent, *object)) Move(*object, parent);
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
  Object& object = Adopt(parent, std::make_unique<Object>());
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
  Object& parent = *object.mParent;
  const auto place = static_cast<std::ptrdiff_t>(object.mPlace);
  parent.mChildren.erase(parent.mChildren.begin() + place);  // Dies with all below it.
  Renumber(parent);
  mIsIndexed = false;
}

Json Tree::Written() const { return WrittenObject(*mRoot); }

}  // namespace dorn::station
