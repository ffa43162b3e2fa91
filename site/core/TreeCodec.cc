#include "site/core/TreeCodec.h"

#include <algorithm>
#include <cstdint>
#include <typeinfo>
#include <unordered_map>
#include <utility>
#include <vector>

#include "dorn/model/VQJsonGrid.h"
#include "dorn/model/VQJsonRadioButton.h"
#include "site/core/Bytes.h"
#include "site/core/ValueCodec.h"

// Bytes of a tree: the number of its objects, then each, in the order in which they are first met
// going from the root through the lists, parents before children:
//
//   object    class u8, tag i32, parent u32, name, members (see ValueCodec.h),
//             [grid: u32 rows, each an array's elements], [group: list key, u32 children, each u32]
//   parent, child: the place of that object, from 1 on; 0 is none.
namespace dorn::site {
namespace {

enum class Class : unsigned char {
  kObject,
  kRadioButton,
  kGrid,
  kGroup,
  kRadioGroup,
  kCommand,
  kCommands,
  kResource,
  kEnd
};

using Place = std::uint32_t;  // From 1 on; 0 is none.

bool IsGroup(Class kind) { return kind >= Class::kGroup; }

// Those are made without a parent.
bool HasParent(Class kind) { return kind < Class::kCommand; }

template <typename Type>
bool Is(const VQJsonObject& object) {
  return dynamic_cast<const Type*>(&object) != nullptr;
}

Class GroupClassOf(const VQJsonObject& group) {
  if (Is<VQJsonRadioButtonGroup>(group)) return Class::kRadioGroup;
  if (Is<VQJsonCommand>(group)) return Class::kCommand;
  if (Is<VQJsonCommands>(group)) return Class::kCommands;
  if (Is<VQJsonResource>(group)) return Class::kResource;
  return Class::kGroup;
}

Class ClassOf(const VQJsonObject& object) {
  if (typeid(object) == typeid(VQJsonObject)) return Class::kObject;  // As most are.
  if (Is<VQJsonObjectHasList>(object)) return GroupClassOf(object);
  if (Is<VQJsonGrid>(object)) return Class::kGrid;
  if (Is<VQJsonRadioButtonObject>(object)) return Class::kRadioButton;
  return Class::kObject;
}

class TreeWriter {
 public:
  // Null pointers in lists are written in trees, not in commands.
  explicit TreeWriter(bool writesNone) : mWritesNone(writesNone) {}

  std::string Write(const VQJsonObject& root);

 private:
  void Meet(const VQJsonObject& object);
  Place ParentOf(const VQJsonObject& object, Class kind) const;
  void PutTable(const VQJsonGrid& grid);
  void PutList(const VQJsonObjectHasList& group);

  const bool mWritesNone;
  ByteWriter mOut;
  ValueWriter mValues{mOut};
  std::vector<std::pair<const VQJsonObject*, Class>> mObjects;
  std::unordered_map<const VQJsonObject*, Place> mPlaces;
};

std::string TreeWriter::Write(const VQJsonObject& root) {
  Meet(root);
  mOut.Put(static_cast<std::uint32_t>(mObjects.size()));
  for (const auto& [object, kind] : mObjects) {
    mOut.Put(static_cast<unsigned char>(kind));
    mOut.Put(object->mDebugFlag);
    mOut.Put(ParentOf(*object, kind));
    mOut.Put(object->mName);
    mValues.Put(object->mList);
    if (kind == Class::kGrid) PutTable(static_cast<const VQJsonGrid&>(*object));
    if (IsGroup(kind)) PutList(static_cast<const VQJsonObjectHasList&>(*object));
  }
  return mOut.Take();
}

void TreeWriter::Meet(const VQJsonObject& object) {
  if (!mPlaces.emplace(&object, mObjects.size() + 1).second) return;
  const Class kind = ClassOf(object);
  mObjects.emplace_back(&object, kind);
  if (!IsGroup(kind)) return;
  for (const VQJsonObject* child : static_cast<const VQJsonObjectHasList&>(object).mObjectList) {
    if (child != nullptr) Meet(*child);
  }
}

// None if it is outside the tree, or if hosts have made objects their own forefathers.
Place TreeWriter::ParentOf(const VQJsonObject& object, Class kind) const {
  if (!HasParent(kind)) return 0;
  const auto parent = mPlaces.find(object.mParent);
  if (parent == mPlaces.end()) return 0;
  int generations = 0;
  for (auto next = parent; next != mPlaces.end(); next = mPlaces.find(next->first->mParent)) {
    const bool endsHere = !HasParent(mObjects[next->second - 1].second);
    if (endsHere) break;
    if (next->first == &object || ++generations > kMaxTreeDepth) return 0;
  }
  return parent->second;
}

void TreeWriter::PutTable(const VQJsonGrid& grid) {
  mOut.Put(static_cast<std::uint32_t>(grid.mData.size()));
  for (const std::vector<VQValue>& row : grid.mData) mValues.Put(row);
}

void TreeWriter::PutList(const VQJsonObjectHasList& group) {
  mOut.Put(group.mListKey);
  std::vector<Place> children;
  for (const VQJsonObject* child : group.mObjectList) {
    if (child == nullptr && !mWritesNone) continue;
    children.push_back(child != nullptr ? mPlaces.at(child) : Place{0});
  }
  mOut.Put(static_cast<std::uint32_t>(children.size()));
  for (const Place child : children) mOut.Put(child);
}

// One object as it was read; nothing of the tree is touched before all are known to be sound.
struct Node {
  Class kind = Class::kObject;
  int tag = 0;
  Place parent = 0;
  KZString name;
  VQJObject members;
  std::vector<std::vector<VQValue>> table;
  KZString listKey;
  std::vector<Place> children;
};

// Objects in an order in which each comes after those that it needs.
using Order = std::vector<std::size_t>;

// Reads all objects of a tree. What it gives can be built without another question: each object is
// met from the root, in the order of the bytes, and none is below itself or its own forefather.
class TreeReader {
 public:
  explicit TreeReader(std::string_view bytes) : mIn(bytes) {}

  // The root, which must be of that class, is the first of the nodes.
  bool Read(Class root);

  // Whether no list has a null pointer.
  bool IsWhole() const;

  std::vector<Node>& Nodes() { return mNodes; }
  const Order& ParentsFirst() const { return mParentsFirst; }
  const Order& ChildrenFirst() const { return mChildrenFirst; }

 private:
  // What is below an object; what is shared counts wherever it is.
  struct Extent {
    bool isComplete = false;
    int height = 0;
    std::size_t objects = 0;
  };

  void Get(Node& node);
  void GetTable(Node& node);
  void GetList(Node& node);
  bool Descend(std::size_t node, int depth);
  bool DescendTo(Place child, Extent& above, int depth);
  bool Ascend(std::size_t node);

  ByteReader mIn;
  ValueReader mValues{mIn};
  std::vector<Node> mNodes;
  std::vector<Extent> mMet;  // By the order of the bytes, which is that of the descent.
  Order mParentsFirst;
  Order mChildrenFirst;
  std::vector<bool> mIsPlaced;    // In mParentsFirst.
  std::vector<bool> mIsOnTheWay;  // On the way up to there.
};

bool TreeReader::Read(Class root) {
  constexpr std::size_t kLeastObject = 17;
  const std::size_t count = mIn.Count(kLeastObject);
  if (count == 0 || count > kMaxTreeObjects) return false;
  for (std::size_t i = 0; i < count && mIn.IsSound(); ++i) Get(mNodes.emplace_back());
  if (!mIn.IsSound() || !mIn.IsAtEnd()) return false;
  if (mNodes.front().kind != root || !Descend(0, 1) || mMet.size() != count) return false;
  mIsPlaced.resize(count);
  mIsOnTheWay.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    if (!Ascend(i)) return false;
  }
  return true;
}

bool TreeReader::IsWhole() const {
  return std::all_of(mNodes.begin(), mNodes.end(), [](const Node& node) {
    return std::find(node.children.begin(), node.children.end(), 0U) == node.children.end();
  });
}

void TreeReader::Get(Node& node) {
  const auto kind = mIn.Number<unsigned char>();
  if (kind >= static_cast<unsigned char>(Class::kEnd)) return mIn.Fail();
  node.kind = static_cast<Class>(kind);
  mIn.Get(node.tag);
  mIn.Get(node.parent);
  if (node.parent != 0 && !HasParent(node.kind)) return mIn.Fail();
  mIn.Get(static_cast<std::string&>(node.name));
  mValues.Get(node.members);
  if (node.kind == Class::kGrid) GetTable(node);
  if (IsGroup(node.kind)) GetList(node);
}

void TreeReader::GetTable(Node& node) {
  const std::size_t rows = mIn.Count(sizeof(std::uint32_t));
  for (std::size_t i = 0; i < rows && mIn.IsSound(); ++i) mValues.Get(node.table.emplace_back());
}

void TreeReader::GetList(Node& node) {
  mIn.Get(static_cast<std::string&>(node.listKey));
  node.children.resize(mIn.Count(sizeof(Place)));
  for (Place& child : node.children) mIn.Get(child);
}

// False if the object is met elsewhere than the bytes have it, holds itself, or holds too much.
bool TreeReader::Descend(std::size_t node, int depth) {
  if (node != mMet.size() || depth > kMaxTreeDepth) return false;
  mMet.emplace_back();
  Extent below{true, 1, 1};
  for (const Place child : mNodes[node].children) {
    if (child != 0 && !DescendTo(child, below, depth)) return false;
  }
  mMet[node] = below;
  mChildrenFirst.push_back(node);
  return true;
}

bool TreeReader::DescendTo(Place child, Extent& above, int depth) {
  const std::size_t node = child - 1;
  if (node >= mNodes.size()) return false;
  if (node >= mMet.size() && !Descend(node, depth + 1)) return false;
  const Extent& below = mMet[node];
  above.height = std::max(above.height, below.height + 1);
  above.objects += below.objects;
  return below.isComplete && depth + below.height <= kMaxTreeDepth &&
         above.objects <= kMaxTreeObjects;
}

// Puts the object behind its parent, that behind its own, and so on.
bool TreeReader::Ascend(std::size_t node) {
  Order way;
  for (Place place = static_cast<Place>(node) + 1; place != 0; place = mNodes[place - 1].parent) {
    if (place > mNodes.size()) return false;
    if (mIsPlaced[place - 1]) break;
    if (mIsOnTheWay[place - 1]) return false;
    mIsOnTheWay[place - 1] = true;
    way.push_back(place - 1);
  }
  for (auto next = way.rbegin(); next != way.rend(); ++next) {
    mIsPlaced[*next] = true;
    mParentsFirst.push_back(*next);
  }
  return true;
}

// The caller, or the group that the object is given to, owns it.
VQJsonObject* Create(const Node& node, VQJsonObject* parent) {
  switch (node.kind) {
    case Class::kRadioButton:
      return new VQJsonRadioButtonObject(parent);
    case Class::kGrid:
      return new VQJsonGrid(parent);
    case Class::kGroup:
      return new VQJsonObjectHasList(node.listKey, parent);
    case Class::kRadioGroup:
      return new VQJsonRadioButtonGroup(parent);
    case Class::kCommand:
      return new VQJsonCommand(node.name);
    case Class::kCommands:
      return new VQJsonCommands;
    case Class::kResource:
      return new VQJsonResource;
    case Class::kObject:
    case Class::kEnd:
      break;
  }
  return new VQJsonObject(parent);
}

void Fill(Node& node, VQJsonObject& object) {
  object.mDebugFlag = node.tag;
  object.mName = std::move(node.name);
  object.mList = std::move(node.members);
  if (node.kind == Class::kGrid) static_cast<VQJsonGrid&>(object).mData = std::move(node.table);
  if (IsGroup(node.kind)) {
    static_cast<VQJsonObjectHasList&>(object).mListKey = std::move(node.listKey);
  }
}

// AddObject() takes a child once and no null pointer; a host that has worked on its list may have
// either.
void Append(VQJsonObject* child, VQJsonObjectHasList& group) {
  const std::size_t before = group.mObjectList.size();
  group.VQJsonObjectHasList::AddObject(child, 0);
  if (group.mObjectList.size() == before) group.mObjectList.push_back(child);
}

void Build(TreeReader& reader, VQJsonObjectHasList& root) {
  std::vector<Node>& nodes = reader.Nodes();
  std::vector<VQJsonObject*> objects(nodes.size());
  objects.front() = &root;
  for (const std::size_t i : reader.ParentsFirst()) {
    const Place parent = nodes[i].parent;
    if (i != 0) objects[i] = Create(nodes[i], parent != 0 ? objects[parent - 1] : nullptr);
    Fill(nodes[i], *objects[i]);
  }
  // So that no group has been given away yet when it gets its own children: AddObject() would look
  // for it below each of them.
  for (const std::size_t i : reader.ChildrenFirst()) {
    for (const Place child : nodes[i].children) {
      Append(child != 0 ? objects[child - 1] : nullptr,
             static_cast<VQJsonObjectHasList&>(*objects[i]));
    }
  }
}

}  // namespace

std::string EncodeTree(const VQJsonResource& tree) { return TreeWriter(true).Write(tree); }

bool DecodeTree(std::string_view bytes, VQJsonResource& tree) {
  TreeReader reader(bytes);
  if (!reader.Read(Class::kResource)) return false;
  tree.DeleteChildAll();
  tree.VQJsonObject::ResetDirty();
  tree.ResetDirtyAdd();
  tree.ResetDirtyDel();
  Build(reader, tree);
  return true;
}

std::string EncodeCommand(const VQJsonCommand& command) { return TreeWriter(false).Write(command); }

std::unique_ptr<VQJsonCommand> DecodeCommand(std::string_view bytes) {
  TreeReader reader(bytes);
  if (!reader.Read(Class::kCommand) || !reader.IsWhole()) return nullptr;
  auto command = std::make_unique<VQJsonCommand>(reader.Nodes().front().name);
  Build(reader, *command);
  return command;
}

}  // namespace dorn::site
