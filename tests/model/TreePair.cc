#include "tests/model/TreePair.h"

#include "dorn/model/VQJsonGrid.h"

namespace {

class HostPlain : public VQJsonObject {
 public:
  using VQJsonObject::VQJsonObject;
};

class HostGroup : public VQJsonObjectHasList {
 public:
  using VQJsonObjectHasList::VQJsonObjectHasList;
};

VQJsonObjectHasList& AsGroup(VQJsonObject* object) {
  return dynamic_cast<VQJsonObjectHasList&>(*object);
}

VQJsonObject* Create(RefNode::Class kind, VQJsonObject* parent) {
  switch (kind) {
    case RefNode::kGroup:
      return new VQJsonObjectHasList("Objects", parent);
    case RefNode::kButton:
      return new VQJsonRadioButtonObject(parent);
    case RefNode::kRadioGroup:
      return new VQJsonRadioButtonGroup(parent);
    case RefNode::kGrid:
      return new VQJsonGrid(parent);
    case RefNode::kHostPlain:
      return new HostPlain(parent);
    case RefNode::kHostGroup:
      return new HostGroup("Objects", parent);
    case RefNode::kPlain:
    case RefNode::kRoot:
      break;
  }
  return new VQJsonObject(parent);
}

std::string Compare(VQJsonObject& real, const RefNode& reference, const std::string& path) {
  const std::string here = path + "/" + reference.name;
  if (real.mName != reference.name) return here + ": name is " + real.mName;
  if (real.GetJson() != reference.Json())
    return here + ":\n" + real.GetJson() + "\n" + reference.Json();
  if (std::set<std::string>(real.mDirty.begin(), real.mDirty.end()) != reference.dirty)
    return here + ": dirty entries";
  if (real.mDirtyAdd != reference.added) return here + ": added";
  if (real.mDirtyDel != reference.deleted) return here + ": deleted is " + real.mDirtyDel;
  if (!reference.IsGroup()) return "";
  auto& children = AsGroup(&real).mObjectList;
  if (children.size() != reference.children.size()) return here + ": children";
  for (size_t i = 0; i < children.size(); ++i) {
    const std::string difference = Compare(*children[i], *reference.children[i], here);
    if (!difference.empty()) return difference;
  }
  return "";
}

}  // namespace

TreePair::TreePair(unsigned seed, bool hosts) : mRandom(seed), mHosts(hosts) {
  mReference.kind = RefNode::kRoot;
  if (Below(2) == 0) {
    mTree.SetValue("Name", "root", 0, "");
    mReference.SetValue("Name", RefValue::String("root"), 0, "");
  }
  for (int i = Below(12); i >= 0; --i) AddAny(AnyNode());
}

const std::string& TreePair::AnySession() {
  static const std::string kSessions[] = {"", "S1", "S2", "S3", "S", "S1|:|S2"};
  return kSessions[Below(6)];
}

const std::string& TreePair::AnyName() {
  static const std::string kNames[] = {
      "", "a", "b", "c", "d", "e", "f", "a name that is long enough to live on the heap", "12"};
  return kNames[Below(9)];
}

void TreePair::Collect(Both both, std::vector<Both>& nodes) {
  nodes.push_back(both);
  for (size_t i = 0; i < both.second->children.size(); ++i)
    Collect({AsGroup(both.first).mObjectList.at(i), both.second->children[i].get()}, nodes);
}

TreePair::Both TreePair::AnyNode() {
  std::vector<Both> nodes;
  Collect({&mTree, &mReference}, nodes);
  return nodes[static_cast<size_t>(Below(static_cast<int>(nodes.size())))];
}

RefValue TreePair::AnyValue(int depth) {
  static const char* const kTexts[] = {"", "ON", "OFF", "0", "5", "true", "7up", "a\"b", "[]"};
  switch (Below(depth > 0 ? 8 : 6)) {
    case 0:
      return RefValue::Int(Below(7) - 1);
    case 1:
      return RefValue::Bool(Below(2) == 0);
    case 2:
      return Below(4) == 0 ? RefValue::None() : RefValue::String("ON");
    case 6: {
      std::vector<RefValue> elements;
      for (int i = Below(4); i > 0; --i) elements.push_back(AnyValue(depth - 1));
      return RefValue::Array(elements);
    }
    case 7: {
      std::map<std::string, RefValue> members;
      for (int i = Below(4); i > 0; --i) members[kTexts[Below(9)]] = AnyValue(depth - 1);
      return RefValue::Object(members);
    }
    default:
      return RefValue::String(kTexts[Below(9)]);
  }
}

void TreePair::SetAny(Both both) {
  static const char* const kKeys[] = {"Attr", "Value", "Text", "Attr|:|S1", "Data", "", "Type"};
  const int mode = Below(5) == 0 ? Below(5) - 2 : -1;
  const std::string session = AnySession();
  if (Below(12) == 0) {
    const RefValue name = RefValue::String(AnyName());
    both.first->SetValue("Name", name.Real(), mode, session);
    both.second->SetValue("Name", name, mode, session);
    return;
  }
  const std::string key = kKeys[Below(7)];
  const RefValue value = AnyValue(2);
  both.first->SetValue(key, value.Real(), mode, session);
  both.second->SetValue(key, value, mode, session);
}

void TreePair::AddAny(Both both) {
  if (!both.second->IsGroup()) return;
  auto child = std::make_unique<RefNode>();
  child->kind = static_cast<RefNode::Class>(Below(mHosts ? 7 : 5));
  child->parent = both.second;
  VQJsonObject* real = Create(child->kind, both.first);
  const std::string name = AnyName();
  if (Below(8) == 0) {
    // As in a session's tree whose objects keep no attribute of that name.
    real->mName = name;
    child->name = name;
  } else {
    real->SetValue("Name", name, 0, "");
    child->SetValue("Name", RefValue::String(name), 0, "");
  }
  if (child->kind == RefNode::kButton) {
    real->SetValue("Type", "RADIOBTN", 0, "");
    child->SetValue("Type", RefValue::String("RADIOBTN"), 0, "");
  }
  const bool mark = Below(2) == 0;
  both.first->AddObject(real, mark ? 1 : 0);
  both.second->Add(std::move(child), mark);
}

void TreePair::DeleteAny(Both both) {
  switch (Below(4)) {
    case 0:
      both.first->Delete("CHILD");
      both.second->DeleteChildren();
      return;
    case 1: {
      const std::string name = AnyName();
      if (!both.second->IsGroup()) return;
      both.first->SetDirtyDel(name);
      both.second->RecordDeletion(name);
      return;
    }
    default:
      both.first->Delete("THIS");
      both.second->DeleteThis();
  }
}

void TreePair::ChangeGrid(Both both) {
  if (both.second->kind != RefNode::kGrid) return;
  auto& grid = dynamic_cast<VQJsonGrid&>(*both.first);
  auto& rows = both.second->rows;
  if (rows.empty() || Below(3) == 0) {
    const int x = Below(4);
    const int y = Below(4);
    grid.SetDataSize(x, y);
    rows.resize(static_cast<size_t>(y));
    for (auto& row : rows) row.resize(static_cast<size_t>(x));
    both.second->dirty.insert("Data");
    return;
  }
  const int x = Below(4);
  const int y = Below(4);
  const std::string text = AnyName();
  grid.SetData(x, y, text.c_str());
  if (static_cast<size_t>(y) < rows.size() && static_cast<size_t>(x) < rows[0].size())
    rows[static_cast<size_t>(y)][static_cast<size_t>(x)] = RefValue::String(text);
}

void TreePair::Change() {
  const Both both = AnyNode();
  switch (Below(16)) {
    case 0:
    case 1:
    case 2:
      return AddAny(both);
    case 3:
      return DeleteAny(both);
    case 4:
    case 5:
      return ChangeGrid(both);
    case 6:
      both.first->SetDirty("Text");
      both.second->dirty.insert("Text");
      return;
    case 7: {
      both.first->ResetDirty();
      both.second->ResetDirty();
      return;
    }
    case 8: {
      const std::string name = AnyName();
      const RefValue value = AnyValue(1);
      const std::string session = AnySession();
      mTree.SetValueByName("Value", value.Real(), name, -1, session);
      if (RefNode* found = mReference.Search(name)) found->SetValue("Value", value, -1, session);
      return;
    }
    default:
      return SetAny(both);
  }
}

void TreePair::ChangeByHand() {
  const Both both = AnyNode();
  switch (Below(5)) {
    case 0: {
      const std::string name = AnyName();
      both.first->mName = name;
      both.second->name = name;
      return;
    }
    case 1: {
      const std::string entry = Below(2) == 0 ? "Attr" : "Value|:|S1";
      both.first->mDirty.insert(entry);
      both.second->dirty.insert(entry);
      return;
    }
    case 2:
      both.first->mDirty.clear();
      both.second->dirty.clear();
      return;
    case 3: {
      both.first->mDirtyDel = "gone";
      both.second->deleted = "gone";
      return;
    }
    default: {
      auto& children = both.second->children;
      if (children.size() < 2) return;
      auto& list = AsGroup(both.first).mObjectList;
      std::swap(list.front(), list.back());
      std::swap(children.front(), children.back());
    }
  }
}

std::string TreePair::Difference() { return Compare(mTree, mReference, ""); }
