// Any bytes as a tree, or as a command: what is read gives the same bytes again, and is a tree that
// can be written, changed and destroyed like any other.
#include <string>

#include "dorn/model/VQJsonParser.h"
#include "fuzz/FuzzTarget.h"
#include "site/core/TreeCodec.h"

namespace {

// As hosts would: a value for each child, and one child less.
void Use(VQJsonObjectHasList& tree) {
  static_cast<void>(tree.GetJson());
  for (VQJsonObject* child : tree.mObjectList) {
    if (child != nullptr) child->SetValue("Attr", "ON", -1, "S1");
  }
  if (!tree.mObjectList.empty() && tree.mObjectList.front() != nullptr) {
    tree.mObjectList.front()->Delete("THIS");
  }
}

void ReadTree(std::string_view bytes) {
  VQJsonResource tree;
  auto* before = new VQJsonObject(&tree);
  tree.AddObject(before, 0);
  if (!dorn::site::DecodeTree(bytes, tree)) {
    FUZZ_CHECK(tree.mObjectList.size() == 1 && tree.mObjectList.front() == before);
    return;
  }
  FUZZ_CHECK(dorn::site::EncodeTree(tree) == bytes);
  Use(tree);
  KZString update;
  VQJsonParser().MakeUpdateCommand(update, &tree, true, "");
}

void ReadCommand(std::string_view bytes) {
  const std::unique_ptr<VQJsonCommand> command = dorn::site::DecodeCommand(bytes);
  if (command == nullptr) return;
  FUZZ_CHECK(dorn::site::EncodeCommand(*command) == bytes);
  Use(*command);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  ReadTree(bytes);
  ReadCommand(bytes);
  return 0;
}
