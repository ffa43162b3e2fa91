#include "site/SharedTrees.h"

#include <cstdint>
#include <utility>

#include "site/core/Bytes.h"
#include "site/core/TreeCodec.h"

namespace dorn::site {

namespace {

// The shortest dialog is a name and two texts, all empty.
constexpr std::size_t kLeastDialogBytes = 8;

// The names of all objects in their order, with where each group ends.
void AppendShape(VQJsonObject& object, std::string& shape) {
  shape += object.mName;
  shape += '\n';
  if (!object.HasGroup()) return;
  for (VQJsonObject* child : static_cast<VQJsonObjectHasList&>(object).mObjectList) {
    if (child != nullptr) AppendShape(*child, shape);
  }
  shape += '\v';
}

std::string ShapeOf(SharedDialog& dialog) {
  std::string shape;
  AppendShape(*dialog.GetResourceShare(), shape);
  return shape;
}

struct OneDialog {
  std::string_view tree;
  std::string_view members;
};

bool Read(std::string_view bytes, OneDialog& one) {
  ByteReader reader(bytes);
  reader.Get(one.tree);
  reader.Get(one.members);
  if (!reader.IsSound() || !reader.IsAtEnd()) return false;
  VQJsonResource scratch;
  return DecodeTree(one.tree, scratch);
}

// The bytes of each dialog by its name; false when any of them are broken.
bool ReadAll(std::string_view bytes, std::map<std::string, std::string_view>& all) {
  ByteReader reader(bytes);
  for (std::size_t left = reader.Count(kLeastDialogBytes); left > 0; --left) {
    std::string name;
    std::string_view one;
    reader.Get(name);
    reader.Get(one);
    OneDialog ignored;
    if (!Read(one, ignored) || !all.try_emplace(std::move(name), one).second) return false;
  }
  return reader.IsSound() && reader.IsAtEnd();
}

}  // namespace

std::string SharedTrees::SaveOne(SharedDialog& dialog) {
  ByteWriter bytes;
  bytes.Put(EncodeTree(*dialog.GetResourceShare()));
  Writer members;
  dialog.OnSave(members);
  bytes.Put(members.Bytes());
  return bytes.Take();
}

bool SharedTrees::LoadOne(std::string_view bytes, SharedDialog& dialog) {
  OneDialog one;
  if (!Read(bytes, one) || !DecodeTree(one.tree, *dialog.GetResourceShare())) return false;
  Reader members(one.members);
  dialog.OnLoad(members);
  return members.IsSound() && members.IsAtEnd();
}

std::string SharedTrees::Save() const {
  std::map<std::string, std::string> all = mOthers;
  for (const auto& [name, dialog] : mDialogs) all[name] = SaveOne(*dialog);
  ByteWriter bytes;
  bytes.Put(static_cast<std::uint32_t>(all.size()));
  for (const auto& [name, one] : all) {
    bytes.Put(name);
    bytes.Put(one);
  }
  return bytes.Take();
}

bool SharedTrees::IsLoadable(std::string_view bytes) {
  std::map<std::string, std::string_view> ignored;
  return ReadAll(bytes, ignored);
}

bool SharedTrees::Load(std::string_view bytes, std::vector<Loaded>& loaded,
                       std::vector<std::string>& missing) {
  std::map<std::string, std::string_view> all;
  if (!ReadAll(bytes, all)) return false;
  mOthers.clear();
  for (const auto& [name, one] : all) {
    const auto found = mDialogs.find(name);
    if (found == mDialogs.end()) {
      if (IsFormer(name)) continue;
      mOthers.emplace(name, one);
      missing.push_back(name);
      continue;
    }
    const std::string shape = ShapeOf(*found->second);
    if (!LoadOne(one, *found->second)) missing.push_back(name);
    loaded.push_back({found->second, ShapeOf(*found->second) == shape});
  }
  for (const auto& [name, dialog] : mDialogs) {
    if (all.count(name) == 0) missing.push_back(name);
  }
  return true;
}

}  // namespace dorn::site
