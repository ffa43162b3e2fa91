#include "dorn/model/KeptCommands.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "dorn/base/Poison.h"
#include "dorn/model/ClassTags.h"
#include "dorn/model/CommandReader.h"
#include "dorn/model/Family.h"
#include "dorn/model/ObjectClass.h"
#include "dorn/model/WireWords.h"

namespace dorn {
namespace {

using Node = CommandOutline::Node;

constexpr std::size_t kMostAttributes = 12;
constexpr std::size_t kMostBytes = 1024;  // Of the texts of one object.

VQJsonCommand& CommandAt(const VQJsonCommands& list, std::size_t i) {
  return static_cast<VQJsonCommand&>(*list.mObjectList[i]);
}

// Whether it is worth its memory. A container as an attribute would stay when a text is set.
bool IsSmall(const VQJsonObject& object) {
  if (object.mList.size() > kMostAttributes || object.mDirty.size() > 1) return false;
  std::size_t bytes = object.mName.capacity() + object.mDirtyDel.capacity();
  for (const auto& [key, attribute] : object.mList) {
    if (attribute.mObject != nullptr || attribute.mArray != nullptr) return false;
    bytes += key.capacity() + attribute.mString.capacity();
  }
  return bytes <= kMostBytes;
}

bool IsAsMade(const VQJsonObject& child, const VQJsonCommand& command) {
  return IsPlainObject(child) && child.mParent == &command && Family::HasOnlyHead(child, command) &&
         IsSmall(child);
}

bool IsAsMade(const VQJsonObject* entry, const VQJsonCommands& list) {
  if (entry == nullptr || !IsPlainCommand(*entry) || entry->mParent != nullptr) return false;
  const auto& command = static_cast<const VQJsonCommand&>(*entry);
  if (!Family::HasOnlyItsList(command, &list) || !IsSmall(command)) return false;
  const auto& children = command.mObjectList;
  return command.mListKey.capacity() <= kMostBytes &&
         std::all_of(children.begin(), children.end(), [&](const VQJsonObject* child) {
           return child != nullptr && IsAsMade(*child, command);
         });
}

bool IsAsMade(const VQJsonCommands& list) {
  const auto& entries = list.mObjectList;
  return !entries.empty() && Family::HasOnlyItsList(list, nullptr) &&
         std::all_of(entries.begin(), entries.end(),
                     [&](const VQJsonObject* entry) { return IsAsMade(entry, list); });
}

void FillAnew(VQJsonObject& object, int tag, const Node& node) {
  object.mDebugFlag = tag;
  object.mDirtyAdd = false;
  object.mDirtyDel.clear();
  FillObject(node, object);
}

// A new command has its word marked as changed.
void MarkWord(VQJsonCommand& command) {
  std::set<KZString>& dirty = command.mDirty;
  if (dirty.size() == 1 && Equals(*dirty.begin(), kKeyCommand)) return;
  dirty.clear();
  dirty.insert(kKeyCommand);
}

void Refill(const CommandOutline& outline, const VQJsonCommands& list) {
  const Node* node = outline.begin();
  for (std::size_t i = 0; i < list.mObjectList.size(); ++i) {
    VQJsonCommand& command = CommandAt(list, i);
    FillAnew(command, kTagCommand, *node++);
    MarkWord(command);
    if (!Equals(command.mListKey, kKeyObjects)) command.mListKey = kKeyObjects;
    for (VQJsonObject* child : command.mObjectList) {
      FillAnew(*child, kTagObjectOnHeap, *node++);
      child->mDirty.clear();
    }
  }
}

// Where a text is that is not within its object.
template <class Add>
void AddText(const std::string& text, Add&& add) {
  const bool isInside = text.capacity() == std::string().capacity();
  if (!isInside) add(text.data(), text.capacity() + 1);
}

}  // namespace

KeptCommands::~KeptCommands() {
  while (mCount > 0) TakeOut(mCount - 1);
}

KeptCommands::List KeptCommands::Read(const std::string& text, bool& isReadable) {
  CommandOutline outline(text);
  if (!outline.Read()) {
    auto list = std::make_unique<VQJsonCommands>();
    isReadable = ReadDocumentCommands(text, *list);
    return list;
  }
  isReadable = true;
  const Shape shape = ShapeOf(outline);
  for (std::size_t i = mCount; i-- > 0;) {
    if (mKept[i].shape != shape) continue;
    List list = TakeOut(i);
    Refill(outline, *list);
    return list;
  }
  auto list = std::make_unique<VQJsonCommands>();
  MakeCommands(outline, *list);
  return list;
}

void KeptCommands::GiveBack(List commands) {
  if (!IsAsMade(*commands)) return;
  const Shape shape = ShapeOf(*commands);
  if (shape == 0) return;
  const std::size_t objects = CountOf(shape);
  while (mCount == kMostLists || mObjects + objects > kMostObjects) TakeOut(0);
  Kept& kept = mKept[mCount++];
  kept.list = std::move(commands);
  kept.shape = shape;
  mObjects += objects;
  if (kHasPoison) PoisonAll(kept);
}

KeptCommands::List KeptCommands::TakeOut(std::size_t place) {
  Kept& kept = mKept[place];
  for (const Storage& storage : kept.poisoned) Unpoison(storage.bytes, storage.size);
  kept.poisoned.clear();
  mObjects -= CountOf(kept.shape);
  List list = std::move(kept.list);
  --mCount;
  for (std::size_t i = place; i < mCount; ++i) std::swap(mKept[i], mKept[i + 1]);
  return list;
}

KeptCommands::Shape KeptCommands::ShapeOf(const CommandOutline& outline) {
  Shape shape = 0;
  Shape bit = 1;
  for (const Node& node : outline) {
    if (node.isCommand) shape |= bit;
    bit <<= 1;
  }
  return shape | bit;
}

// 0, which no outline has, for more objects than one has.
KeptCommands::Shape KeptCommands::ShapeOf(const VQJsonCommands& list) {
  Shape shape = 0;
  std::size_t count = 0;
  for (std::size_t i = 0; i < list.mObjectList.size(); ++i) {
    shape |= Shape{1} << count;
    count += 1 + CommandAt(list, i).mObjectList.size();
    if (count > CommandOutline::kMostNodes) return 0;
  }
  return shape | Shape{1} << count;
}

std::size_t KeptCommands::CountOf(Shape shape) {
  std::size_t count = 0;
  for (; shape > 1; shape >>= 1) ++count;
  return count;
}

void KeptCommands::AddStorage(VQJsonObject& object, std::size_t size, std::vector<Storage>& to) {
  const auto add = [&to](const void* bytes, std::size_t length) { to.push_back({bytes, length}); };
  add(&object, size);
  AddText(object.mName, add);
  AddText(object.mDirtyDel, add);
  for (const auto& entry : object.mList) {
    add(&entry, sizeof entry);
    AddText(entry.first, add);
    AddText(entry.second.mString, add);
  }
  for (const KZString& key : object.mDirty) {
    add(&key, sizeof key);
    AddText(key, add);
  }
}

// All that hosts may have got to know. The list itself is not among it.
void KeptCommands::PoisonAll(Kept& kept) {
  for (std::size_t i = 0; i < kept.list->mObjectList.size(); ++i) {
    VQJsonCommand& command = CommandAt(*kept.list, i);
    AddStorage(command, sizeof command, kept.poisoned);
    const auto& children = command.mObjectList;
    for (VQJsonObject* child : children) AddStorage(*child, sizeof *child, kept.poisoned);
    kept.poisoned.push_back({children.data(), children.capacity() * sizeof(void*)});
  }
  for (const Storage& storage : kept.poisoned) Poison(storage.bytes, storage.size);
}

}  // namespace dorn
