// The tree of the update tests, and what MakeUpdateCommand() gives for a tree.
#ifndef TESTS_MODEL_SMALLTREE_H_
#define TESTS_MODEL_SMALLTREE_H_

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "dorn/model/VQJsonParser.h"
#include "dorn/model/VQJsonResource.h"
#include "tests/model/Trees.h"

constexpr char kNothing[] = "{ \"Command\":\"UPDATE\", \"Objects\":[]}\n";

struct Update {
  bool any;
  std::string text;
};

inline bool operator==(const Update& a, const Update& b) {
  return a.any == b.any && a.text == b.text;
}

inline std::ostream& operator<<(std::ostream& out, const Update& update) {
  return out << update.any << ' ' << update.text;
}

inline Update Make(VQJsonResource& tree, bool all, const char* session) {
  KZString text = "what was there before";
  const bool any = VQJsonParser().MakeUpdateCommand(text, &tree, all, session);
  return {any, text};
}

// The root "top" holds the group "g1" with "b1" and "b2", then the object "b3"; nothing is marked.
class SmallTree : public testing::Test {
 protected:
  SmallTree() { Named(&mTree, "top"); }

  VQJsonResource mTree;
  VQJsonObjectHasList* mG1 = AddGroup(mTree, "g1");
  VQJsonObject* mB1 = AddChild(*mG1, "b1");
  VQJsonObject* mB2 = AddChild(*mG1, "b2");
  VQJsonObject* mB3 = AddChild(mTree, "b3");
  VQJsonParser mParser;
};

// As a host adds a child while the dialog is shown: both are marked.
inline VQJsonObject* AddNew(VQJsonObjectHasList& group, const char* name) {
  auto* child = Named(new VQJsonObject(&group), name);
  group.AddObject(child, 1);
  return child;
}

#endif  // TESTS_MODEL_SMALLTREE_H_
